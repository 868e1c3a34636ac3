#pragma once

#include "remote/RemoteClient.h"

#include <QStringList>
#include <QTimer>
#include <QWidget>

#include <functional>

class ClientOutline;
class ElidedLabel;
class QToolButton;
class ServiceList;

/// Says on which computers a tool works: their number, or the names of a few, with all of them on a click;
/// how many of them the search of the client list hides, and which ones a run on all leaves out. Main thread.
class TargetsView : public QWidget {
    Q_OBJECT
public:
    /// The names of those that a run over these clients would leave out.
    using LeftOut = std::function<QStringList(const QList<RemoteClientPtr>& clients)>;

    /// All outlive the widget.
    TargetsView(ServiceList& services, const ClientOutline& outline, LeftOut leftOut,
                QWidget* parent = nullptr);
    ~TargetsView() override;

private:
    void update();
    [[nodiscard]] QStringList warnings() const;
    void showList();

    ServiceList& m_services;
    const ClientOutline& m_outline;
    const LeftOut m_leftOut;
    QToolButton* m_button;
    ElidedLabel* m_hidden;
    QTimer m_soon;  ///< changes come in quick succession
};
