#include "app/window/ClientActions.h"

#include "app/AppController.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/IdentitySheet.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QMenu>

#include <algorithm>
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
    addCommand(QStringLiteral("Show Information"), "info",
               QStringLiteral("Show what is known of the computer"), always, &AppController::showInfo)
        ->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_I));
    addCommand(QStringLiteral("Reconnect"), "reconnect", QStringLiteral("Connect to the computer anew"),
               always, &AppController::reconnectClient, true);
    addCommand(QStringLiteral("Disconnect"), "disconnect",
               QStringLiteral("End the connection and take the computer off the list"), always,
               &AppController::disconnectClient);
    addCommand(QStringLiteral("Refresh Client Info"), "refresh",
               QStringLiteral("Read the computer's configuration again"), connected,
               &AppController::refreshClientInfo, true);
    addCommand(QStringLiteral("Cancel Maintenance Request"), "maintenance",
               QStringLiteral("Tell the computer that its request for maintenance is done with"),
               wantsMaintenance, &AppController::cancelMaintenance);
    QAction* errors = add(QStringLiteral("Show Errors"), "error-log",
                          QStringLiteral("Show the computer's errors in the error log"), always, false);
    connect(errors, &QAction::triggered, this, [this] {
        if (const VLServicePtr service = m_outline.singleSelectedService()) Q_EMIT errorsRequested(service);
    });
    addSwitch();
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

QAction* ClientActions::addCommand(const QString& text, const char* symbol, const QString& help,
                                   Possible possible, Run run, bool startsGroup) {
    QAction* action = add(text, symbol, help, possible, startsGroup);
    connect(action, &QAction::triggered, this, [this, run] {
        if (const VLServicePtr service = m_outline.singleSelectedService())
            std::invoke(run, m_controller, service);  // GCC 12 gets ".*" wrong here under UBSan
    });
    return action;
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
    updateSwitch();
}

// ---- Enabling and disabling

void ClientActions::addSwitch() {
    m_switch =
        add(QStringLiteral("Disable Computer"), "off",
            QStringLiteral("Leave the computer out of what is done with the selected ones"), always, true);
    m_switch->setObjectName(QStringLiteral("enableComputerAction"));
    connect(m_switch, &QAction::triggered, this, &ClientActions::switchEnabled);
}

QList<VLServicePtr> ClientActions::chosenServices() const {
    const ServiceList& services = m_controller.services();
    return services.chosenGroups().isEmpty() ? services.chosenServices() : QList<VLServicePtr>();
}

void ClientActions::updateSwitch() {
    const QList<VLServicePtr> chosen = chosenServices();
    const bool disables = std::all_of(chosen.begin(), chosen.end(),
                                      [](const VLServicePtr& service) { return service->enabled(); });
    const QString verb = disables ? QStringLiteral("Disable") : QStringLiteral("Enable");
    m_switch->setText(chosen.size() < 2 ? QStringLiteral("%1 Computer").arg(verb)
                                        : QStringLiteral("%1 %2 Computers").arg(verb).arg(chosen.size()));
    m_switch->setIcon(symbolIcon(disables ? QStringLiteral("off") : QStringLiteral("on")));
    m_switch->setEnabled(!chosen.isEmpty());
}

/// Those that are enabled are disabled when all are; else all are enabled.
void ClientActions::switchEnabled() {
    const QList<VLServicePtr> chosen = chosenServices();
    const bool disables = std::all_of(chosen.begin(), chosen.end(),
                                      [](const VLServicePtr& service) { return service->enabled(); });
    for (const VLServicePtr& service : chosen)
        service->setEnabled(!disables);
    m_controller.services().serviceChanged(nullptr);
}

void ClientActions::reviewIdentity(const VLServicePtr& service, QWidget* over) {
    if (!service || !hasNewIdentity(*service)) return;
    auto* sheet = new IdentitySheet(
        service,
        [this, service](const QByteArray& certificateShown) {
            service->acceptChangedCertificate(certificateShown, m_controller.errorCallback());
        },
        over ? over : m_window);
    sheet->open();
}
