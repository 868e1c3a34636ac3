#pragma once

#include "clients/VLService.h"

#include <QObject>
#include <QPointer>

#include <functional>

class ClientCommands;
class ClientDetails;
class ConnectionTroubleshooter;
class ServiceList;
class ClientActions;
class ClientInfoPanel;
class ClientOutline;
class QMenu;
class QWidget;
class TroubleshooterWindow;

/// The windows about clients beside the main one: connection troubleshooter and client information. Opens
/// them when the controller asks for it, and keeps them up to date.
class ClientWindows : public QObject {
    Q_OBJECT
public:
    /// All of them outlive this object.
    struct Parts {
        ServiceList& services;
        ClientCommands& commands;
        ClientDetails& details;
        ConnectionTroubleshooter& troubleshooter;
    };
    ClientWindows(Parts parts, ClientOutline& outline, ClientActions& actions, QWidget* window);

    /// The entry that opens the troubleshooter.
    void addTo(QMenu* menu);
    void closeAll();

Q_SIGNALS:
    void logRequested();

private:
    void showTroubleshooter(const VLServicePtr& service, bool automatic);
    void showInfo(const VLServicePtr& service);
    void followSelection();
    /// Double click or Return on a client: what it waits for, else what is known of it.
    void activate(const VLServicePtr& service);
    [[nodiscard]] TroubleshooterWindow* makeTroubleshooter();
    [[nodiscard]] ClientInfoPanel* makeInfoPanel();

    const Parts m_parts;
    ClientOutline& m_outline;
    ClientActions& m_actions;
    QWidget* m_window;
    QPointer<TroubleshooterWindow> m_troubleshooter;
    QPointer<ClientInfoPanel> m_info;
};
