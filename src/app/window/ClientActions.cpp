#include "app/window/ClientActions.h"

#include "app/AppController.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/IdentitySheet.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QMenu>

#include <functional>

namespace {

bool always(const VLService&) {
    return true;
}

bool connected(const VLService& service) {
    return service.isConnected();
}

bool wantsMaintenance(const VLService& service) {
    return service.isConnected() && service.needsMaintenance();
}

bool hasNewIdentity(const VLService& service) {
    return !service.changedCertificate().isEmpty();
}

}  // namespace

ClientActions::ClientActions(AppController& controller, ClientOutline& outline, QWidget* window)
    : QObject(window), m_controller(controller), m_outline(outline), m_window(window) {
    addCommand(QStringLiteral("Reconnect"), "reconnect", QStringLiteral("Connect to the computer anew"),
               always, &AppController::reconnectClient);
    addCommand(QStringLiteral("Disconnect"), "disconnect",
               QStringLiteral("End the connection and take the computer off the list"), always,
               &AppController::disconnectClient);
    addCommand(QStringLiteral("Refresh Client Info"), "refresh",
               QStringLiteral("Read the computer's configuration again"), connected,
               &AppController::refreshClientInfo, true);
    addCommand(QStringLiteral("Cancel Maintenance Request"), "maintenance",
               QStringLiteral("Tell the computer that its request for maintenance is done with"),
               wantsMaintenance, &AppController::cancelMaintenance);
    addCommand(QStringLiteral("Restart Client"), "restart",
               QStringLiteral("Start the computer's client agent anew"), connected,
               &AppController::restartClient, true);
    addCommand(QStringLiteral("Stop Client"), "stop",
               QStringLiteral("End the computer's client agent; it has to be started there again"), connected,
               &AppController::stopClient);
    QAction* review = add(QStringLiteral("Review New Identity…"), "identity",
                          QStringLiteral("Compare the computer's new key with the one it was known by"),
                          hasNewIdentity, true);
    connect(review, &QAction::triggered, this, [this] { reviewIdentity(m_outline.singleSelectedService()); });
    update();
}

QAction* ClientActions::add(const QString& text, const char* symbol, const QString& help, Possible possible,
                            bool startsGroup) {
    auto* action = new QAction(symbolIcon(QLatin1String(symbol)), text, this);
    action->setToolTip(help);
    action->setStatusTip(help);
    m_entries.append({action, possible, startsGroup});
    return action;
}

void ClientActions::addCommand(const QString& text, const char* symbol, const QString& help,
                               Possible possible, Run run, bool startsGroup) {
    QAction* action = add(text, symbol, help, possible, startsGroup);
    connect(action, &QAction::triggered, this, [this, run] {
        if (const VLServicePtr service = m_outline.singleSelectedService())
            std::invoke(run, m_controller, service);  // GCC 12 gets ".*" wrong here under UBSan
    });
}

void ClientActions::addTo(QMenu* menu) const {
    menu->setToolTipsVisible(true);
    for (const Entry& entry : m_entries) {
        if (entry.startsGroup) menu->addSeparator();
        menu->addAction(entry.action);
    }
}

void ClientActions::update() {
    const VLServicePtr service = m_outline.singleSelectedService();
    for (const Entry& entry : m_entries)
        entry.action->setEnabled(service && entry.possible(*service));
}

void ClientActions::reviewIdentity(const VLServicePtr& service) {
    if (!service || !hasNewIdentity(*service)) return;
    auto* sheet = new IdentitySheet(
        service,
        [this, service](const QByteArray& certificateShown) {
            service->acceptChangedCertificate(certificateShown, m_controller.errorCallback());
        },
        m_window);
    sheet->open();
}
