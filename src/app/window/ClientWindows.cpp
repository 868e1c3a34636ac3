#include "app/window/ClientWindows.h"

#include "app/AppController.h"
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

ClientWindows::ClientWindows(AppController& controller, ClientOutline& outline, ClientActions& actions,
                             QWidget* window)
    : QObject(window), m_controller(controller), m_outline(outline), m_actions(actions), m_window(window) {
    connect(&controller, &AppController::connectionTroubleshooterRequested, this,
            &ClientWindows::showTroubleshooter);
    connect(&controller, &AppController::infoRequested, this, &ClientWindows::showInfo);
    connect(&controller, &AppController::largeServiceIconFetched, this,
            [this](const VLServicePtr& service, const QImage& picture) {
                if (m_info) m_info->setLargeIcon(service, picture);
            });
    connect(&controller, &AppController::infoPopulated, this,
            [this](const VLServicePtr& service, const QVariantMap& machine) {
                if (m_info) m_info->setMachine(service, machine);
            });
    connect(&outline, &ClientOutline::serviceActivated, this, &ClientWindows::activate);
    connect(&controller.services(), &ServiceList::selectionChanged, this, &ClientWindows::followSelection);
    connect(&controller.services(), &ServiceList::serviceUpdated, this, [this] {
        if (m_info) m_info->refresh();
    });
}

void ClientWindows::addTo(QMenu* menu) {
    QAction* action = menu->addAction(
        symbolIcon(QStringLiteral("plug")), QStringLiteral("Connection &Troubleshooter…"), this,
        [this] { m_controller.showConnectionTroubleshooter(m_outline.singleSelectedService()); });
    action->setObjectName(QStringLiteral("troubleshooterAction"));
    action->setToolTip(
        QStringLiteral("What is wrong with computers that cannot be reached, and what to try"));
}

void ClientWindows::closeAll() {
    for (QWidget* window :
         {static_cast<QWidget*>(m_troubleshooter.data()), static_cast<QWidget*>(m_info.data())})
        if (window) window->close();
}

TroubleshooterWindow* ClientWindows::makeTroubleshooter() {
    return new TroubleshooterWindow(
        m_controller.failingClients(),
        {
            [this](const VLServicePtr& service) { m_controller.reconnectClient(service); },
            [this] { Q_EMIT logRequested(); },
            [this](const VLServicePtr& service, QWidget* over) { m_actions.reviewIdentity(service, over); },
            [this](bool visible) { m_controller.setTroubleshooterVisible(visible); },
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
                                       return m_controller.infoOfService(service, machine);
                                   },
                                   [this](const VLServicePtr& service) {
                                       m_controller.populateInfoForService(service);
                                       m_controller.fetchLargeServiceIcon(service);
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
        m_controller.showInfo(service);
}
