#pragma once

#include "clients/VLService.h"

#include <QObject>

class ClientCommands;
class SoftwareUpdates;
class ToolSet;
class QWidget;

/// Answers clicks on the badges of the client list.
class BadgeClicks : public QObject {
    Q_OBJECT
public:
    /// All of them outlive this object.
    BadgeClicks(ClientCommands& commands, ToolSet& tools, SoftwareUpdates& updates, QWidget* window);

    /// `badge`: "updates", "errors" or "maintenance".
    void serviceOutlineBadgeClicked(const VLServicePtr& service, const QString& badge);
    void showUpdates(const VLServicePtr& service);

Q_SIGNALS:
    void errorsRequested(const VLServicePtr& service);
    void toolRequested(const QString& identifier);

private:
    void askWhetherToCancelMaintenance(const VLServicePtr& service);
    void explainMaintenance(const VLServicePtr& service);

    ClientCommands& m_commands;
    ToolSet& m_tools;
    SoftwareUpdates& m_updates;
    QWidget* m_window;
};
