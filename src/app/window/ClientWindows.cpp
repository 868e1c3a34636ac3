#include "app/window/ClientWindows.h"

#include "app/ClientCommands.h"
#include "app/ClientDetails.h"
#include "app/ConnectionTroubleshooter.h"
#include "app/window/ClientActions.h"
#include "clients/view/ClientInfoPanel.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/TroubleshooterWindow.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QApplication>
#include <QMenu>

namespace {

void bringToFront(QWidget& window) {
    window.show();
    window.raise();
    window.activateWindow();
}

/// For a window that nobody asked for: whoever is typing goes on typing, and a sheet stays in front.
void showQuietly(QWidget& window) {
    if (window.isVisible()) return;
    QWidget* const active = QApplication::activeWindow();
    window.setAttribute(Qt::WA_ShowWithoutActivating);
    window.show();
    window.setAttribute(Qt::WA_ShowWithoutActivating, false);
    if (!QApplication::activeModalWidget()) window.raise();
    if (active) active->activateWindow();  // not every platform heeds the attribute
}

}  // namespace

ClientWindows::ClientWindows(Parts parts, ClientOutline& outline, ClientActions& actions, QWidget* window)
    : QObject(window), m_parts(parts), m_outline(outline), m_actions(actions), m_window(window) {
    connect(&parts.troubleshooter, &ConnectionTroubleshooter::requested, this,
            &ClientWindows::showTroubleshooter);
    connect(&parts.details, &ClientDetails::infoRequested, this, &ClientWindows::showInfo);
    connect(&parts.details, &ClientDetails::largeServiceIconFetched, this,
            [this](const VLServicePtr& service, const QImage& picture) {
                if (m_info) m_info->setLargeIcon(service, picture);
            });
    connect(&parts.details, &ClientDetails::infoPopulated, this,
            [this](const VLServicePtr& service, const QVariantMap& machine) {
                if (m_info) m_info->setMachine(service, machine);
            });
    connect(&outline, &ClientOutline::serviceActivated, this, &ClientWindows::activate);
    connect(&parts.services, &ServiceList::selectionChanged, this, &ClientWindows::followSelection);
    connect(&parts.services, &ServiceList::serviceUpdated, this, [this] {
        if (m_info) m_info->refresh();
    });
}

void ClientWindows::addTo(QMenu* menu) {
    QAction* action = menu->addAction(
        symbolIcon(QStringLiteral("plug")), tr("Connection &Troubleshooter…"), this,
        [this] { m_parts.troubleshooter.showConnectionTroubleshooter(m_outline.singleSelectedService()); });
    action->setObjectName(QStringLiteral("troubleshooterAction"));
    action->setToolTip(tr("What is wrong with computers that cannot be reached, and what to try"));
}

void ClientWindows::closeAll() {
    for (QWidget* window :
         {static_cast<QWidget*>(m_troubleshooter.data()), static_cast<QWidget*>(m_info.data())})
        if (window) window->close();
}

TroubleshooterWindow* ClientWindows::makeTroubleshooter() {
    return new TroubleshooterWindow(
        m_parts.troubleshooter.failingClients(),
        {
            [this](const VLServicePtr& service) { m_parts.commands.reconnectClients({service}); },
            [this] { Q_EMIT logRequested(); },
            [this](const VLServicePtr& service, QWidget* over) { m_actions.reviewIdentity(service, over); },
            [this](bool visible) { m_parts.troubleshooter.setVisible(visible); },
        },
        m_window);
}

void ClientWindows::showTroubleshooter(const VLServicePtr& service, bool automatic) {
    if (!m_troubleshooter) m_troubleshooter = makeTroubleshooter();
    if (automatic)
        showQuietly(*m_troubleshooter);
    else
        bringToFront(*m_troubleshooter);
    m_troubleshooter->select(service);
}

ClientInfoPanel* ClientWindows::makeInfoPanel() {
    return new ClientInfoPanel({
                                   [this](const VLServicePtr& service, const QVariantMap& machine) {
                                       return m_parts.details.infoOfService(service, machine);
                                   },
                                   [this](const VLServicePtr& service) {
                                       m_parts.details.populateInfoForService(service);
                                       m_parts.details.fetchLargeServiceIcon(service);
                                   },
                               },
                               m_window);
}

void ClientWindows::showInfo(const VLServicePtr& service) {
    if (!m_info) m_info = makeInfoPanel();
    m_info->showService(service);
    bringToFront(*m_info);
}

void ClientWindows::followSelection() {
    if (m_info) m_info->showService(m_outline.singleSelectedService());
}

void ClientWindows::activate(const VLServicePtr& service) {
    if (!service) return;
    if (!service->changedCertificate().isEmpty())
        m_actions.reviewIdentity(service);
    else
        m_parts.details.showInfo(service);
}
