#include "app/window/ClientActions.h"

#include "app/AppController.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/IdentitySheet.h"
#include "system/VLAlert.h"
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

/// What is dropped on its way to the client is not offered.
bool canRestart(const VLService& service) {
    return connected(service) && RemoteRunner::mayExecute(QStringLiteral("relaunch"), service);
}

bool canStop(const VLService& service) {
    return connected(service) && RemoteRunner::mayExecute(QStringLiteral("disconnect"), service);
}

bool canCancelMaintenance(const VLService& service) {
    return service.needsMaintenance() && AppController::canCancelMaintenance(service);
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
    QAction* remove =
        add(QStringLiteral("Disconnect"), "disconnect",
            QStringLiteral("End the connection and take the computer off the list; one that was added by "
                           "hand is also forgotten, after asking"),
            always, false);
    connect(remove, &QAction::triggered, this, &ClientActions::disconnectClient);
    addCommand(QStringLiteral("Refresh Client Info"), "refresh",
               QStringLiteral("Read the computer's configuration again"), connected,
               &AppController::refreshClientInfo, true);
    addCommand(QStringLiteral("Cancel Maintenance Request"), "maintenance",
               QStringLiteral("Tell the computer that its request for maintenance is done with"),
               canCancelMaintenance, &AppController::cancelMaintenance);
    QAction* errors = add(QStringLiteral("Show Errors"), "error-log",
                          QStringLiteral("Show the computer's errors in the error log"), always, false);
    connect(errors, &QAction::triggered, this, [this] {
        if (const VLServicePtr service = m_outline.singleSelectedService()) Q_EMIT errorsRequested(service);
    });
    addShowUpdates();
    addSwitch();
    addCommand(QStringLiteral("Restart Client"), "restart",
               QStringLiteral("Start the computer's client agent anew"), canRestart,
               &AppController::restartClient, true);
    addCommand(QStringLiteral("Stop Client"), "stop",
               QStringLiteral("End the computer's client agent; it has to be started there again"), canStop,
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

/// The same as a click on the badge, which no key reaches.
void ClientActions::addShowUpdates() {
    const auto hasUpdates = [this](const VLService& service) {
        return m_controller.softwareUpdateCount(service.hostName()) > 0;
    };
    QAction* updates =
        add(QStringLiteral("Show Software Updates"), "software-update",
            QStringLiteral("Show the software updates that wait for the computer"), hasUpdates, false);
    connect(updates, &QAction::triggered, this, [this] {
        if (const VLServicePtr service = m_outline.singleSelectedService())
            Q_EMIT m_controller.serviceOutlineBadgeClicked(service, QStringLiteral("updates"));
    });
    connect(&m_controller, &AppController::softwareUpdateCountChanged, this, &ClientActions::update);
}

/// A discovered client comes back by itself; of one added by hand nothing would be left.
void ClientActions::disconnectClient() {
    const VLServicePtr service = m_outline.singleSelectedService();
    if (!service) return;
    if (!service->isManual()) return m_controller.disconnectClient(service);
    constexpr qsizetype longestShown = 60;
    const QString selector = QStringLiteral("disconnectAlertDidEnd:returnCode:contextInfo:");
    const auto answered = [self = QPointer(this), service](int returnCode) {
        if (self && returnCode == VLAlert::DefaultReturn) self->m_controller.disconnectClient(service);
    };
    VLAlert::alertSheetWithMessageText(
        QStringLiteral("Remove “%1”?").arg(service->name().left(longestShown)), QStringLiteral("Remove"),
        QStringLiteral("Cancel"), {},
        QStringLiteral("The computer was added by hand. To have it in the list again, its address and port "
                       "must be entered again."),
        m_window,
        std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{{selector, answered}}),
        selector, false);
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
