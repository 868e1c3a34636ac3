#include "app/window/BadgeClicks.h"

#include "app/ClientCommands.h"
#include "app/SoftwareUpdates.h"
#include "app/ToolSet.h"
#include "widgets/Sheet.h"

#include <algorithm>

namespace {

constexpr auto updateTool = "softwareupdate";
constexpr qsizetype longestNameShown = 60;

QString shownName(const VLServicePtr& service) {
    return service->name().left(longestNameShown);
}

}  // namespace

BadgeClicks::BadgeClicks(ClientCommands& commands, ToolSet& tools, SoftwareUpdates& updates, QWidget* window)
    : QObject(window), m_commands(commands), m_tools(tools), m_updates(updates), m_window(window) {}

void BadgeClicks::serviceOutlineBadgeClicked(const VLServicePtr& service, const QString& badge) {
    if (!service) return;
    if (badge == u"errors")
        Q_EMIT errorsRequested(service);
    else if (badge == u"maintenance")
        askWhetherToCancelMaintenance(service);
    else if (badge == u"updates")
        showUpdates(service);
}

void BadgeClicks::askWhetherToCancelMaintenance(const VLServicePtr& service) {
    if (!ClientCommands::canCancelMaintenance(*service)) return explainMaintenance(service);
    auto* sheet = new Sheet(tr("Cancel the maintenance request of “%1”?").arg(shownName(service)),
                            tr("The computer asks for maintenance. When nothing is left to do on it, cancel "
                               "the request: the mark goes from the list, and the computer is told."),
                            m_window);
    sheet->setObjectName(QStringLiteral("maintenanceSheet"));
    sheet->addCancelButton(tr("Keep Request"));
    sheet->addPrimaryButton(tr("Cancel Request"));
    connect(sheet, &QDialog::accepted, this, [this, service] {
        // The client may have gone while the sheet was open.
        if (!ClientCommands::canCancelMaintenance(*service)) return explainMaintenance(service);
        m_commands.cancelMaintenance({service});
    });
    sheet->open();
}

/// Nothing can be told to this client now.
void BadgeClicks::explainMaintenance(const VLServicePtr& service) {
    const QString reason = !service->enabled() ? tr("it is disabled. Enable the computer first")
                           : service->isConnected()
                               ? tr("its client software is not in order. Show its errors")
                               : tr("it is not connected. Connect to it first");
    auto* sheet =
        new Sheet(tr("“%1” asks for maintenance").arg(shownName(service)),
                  tr("The request cannot be cancelled from here at present: the computer cannot be told, "
                     "because %1.")
                      .arg(reason),
                  m_window);
    sheet->setObjectName(QStringLiteral("maintenanceSheet"));
    sheet->addPrimaryButton(tr("OK"));
    sheet->open();
}

void BadgeClicks::showUpdates(const VLServicePtr& service) {
    const Tool* const tool = m_tools.tool(QLatin1String(updateTool));
    if (tool && tool->makeController) return Q_EMIT toolRequested(QLatin1String(updateTool));
    const qlonglong count = m_updates.softwareUpdateCount(service->hostName());
    auto* sheet =
        new Sheet((count == 1 ? tr("%1 software update for “%2”") : tr("%1 software updates for “%2”"))
                      .arg(count)
                      .arg(shownName(service)),
                  tr("Installing software updates is not part of this version yet. They can be installed "
                     "on the computer itself."),
                  m_window);
    sheet->setObjectName(QStringLiteral("updatesSheet"));
    sheet->addPrimaryButton(tr("OK"));
    sheet->open();
}
