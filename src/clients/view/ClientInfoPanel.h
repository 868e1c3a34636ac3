#pragma once

#include "clients/ClientInfo.h"

#include <QWidget>

#include <functional>

class EmptyState;
class QFormLayout;
class QLabel;
class QPushButton;
class QScrollArea;
class QStackedWidget;

/// What is known of the one selected client. Values can be selected and copied; a value that stays the same
/// keeps what is selected in it.
class ClientInfoPanel : public QWidget {
    Q_OBJECT
public:
    struct Source {
        std::function<ClientInfo(const VLServicePtr& service, const QVariantMap& machine)> info;
        /// Asks the agent about its machine and for its picture: they come back through setMachine() and
        /// setLargeIcon().
        std::function<void(const VLServicePtr& service)> askAgent;
    };
    explicit ClientInfoPanel(Source source, QWidget* parent = nullptr);

    /// Null: asks for one computer to be selected.
    void showService(const VLServicePtr& service);
    [[nodiscard]] const VLServicePtr& service() const { return m_service; }
    /// Reads the shown client again.
    void refresh();
    /// The machine's facts; those of another client are ignored.
    void setMachine(const VLServicePtr& service, const QVariantMap& machine);
    /// The picture that was fetched; one of another client is ignored.
    void setLargeIcon(const VLServicePtr& service, const QImage& picture);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    [[nodiscard]] QWidget* buildContents();
    void buildRows();
    void askAgent();
    void showPicture(const QImage& picture);

    Source m_source;
    VLServicePtr m_service;
    ClientInfo m_info;
    QVariantMap m_machine;
    bool m_askedWhileConnected = false;
    QImage m_image;
    QStackedWidget* m_stack;
    EmptyState* m_empty;
    QLabel* m_picture = nullptr;
    QLabel* m_name = nullptr;
    QFormLayout* m_rows = nullptr;
    QStringList m_titles;  ///< of the rows that are built
    QList<QLabel*> m_values;
};
