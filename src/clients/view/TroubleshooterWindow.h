#pragma once

#include "clients/troubleshooter/FailingClientsModel.h"
#include "clients/troubleshooter/PortTest.h"

#include <QListView>
#include <QWidget>

#include <functional>

class EmptyState;
class ProblemView;
class QPushButton;
class QSplitter;
class QStackedWidget;

/// The connection troubleshooter: at the left the clients that fail, at the right what is wrong with the
/// selected one, what to try, and buttons that do it. Shows the model; decides nothing.
class TroubleshooterWindow : public QWidget {
    Q_OBJECT
public:
    struct Actions {
        std::function<void(const VLServicePtr& service)> retry;
        std::function<void()> showLog;
        std::function<void(const VLServicePtr& service, QWidget* window)> reviewIdentity;
        std::function<void(bool visible)> visibleChanged;
    };
    /// `clients` outlives the window.
    TroubleshooterWindow(FailingClientsModel& clients, Actions actions, QWidget* parent = nullptr);

    /// Selects this client, if it fails.
    void select(const VLServicePtr& service);
    [[nodiscard]] VLServicePtr selectedService() const;
    /// Everything that is shown about the selected client.
    [[nodiscard]] QString details() const;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    [[nodiscard]] QWidget* buildSidebar();
    [[nodiscard]] QWidget* buildDetail();
    QPushButton* addButton(const QString& text, const char* name, const QString& help,
                           const std::function<void()>& action);
    void update();
    void selectionChanged();
    void testPort();

    FailingClientsModel& m_clients;
    Actions m_actions;
    PortTest m_portTest;
    VLServicePtr m_tested;  ///< the client whose port test is shown
    QStackedWidget* m_stack;
    QSplitter* m_splitter;
    QListView* m_list;
    ProblemView* m_problem;
    EmptyState* m_empty;
    QPushButton* m_retry = nullptr;
    QPushButton* m_test = nullptr;
    QPushButton* m_review = nullptr;
};
