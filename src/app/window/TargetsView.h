#pragma once

#include <QTimer>
#include <QWidget>

class ClientOutline;
class ElidedLabel;
class QToolButton;
class ServiceList;

/// Says on which computers a tool works: their number, or the names of a few, with all of them on a click;
/// and how many of them the search of the client list hides. Main thread.
class TargetsView : public QWidget {
    Q_OBJECT
public:
    /// Both outlive the widget.
    TargetsView(ServiceList& services, const ClientOutline& outline, QWidget* parent = nullptr);

private:
    void update();
    void showList();

    ServiceList& m_services;
    const ClientOutline& m_outline;
    QToolButton* m_button;
    ElidedLabel* m_hidden;
    QTimer m_soon;  ///< changes come in quick succession
};
