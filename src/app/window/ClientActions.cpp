#include "app/window/ClientActions.h"

#include "app/ClientCommands.h"
#include "app/ClientDetails.h"
#include "app/SoftwareUpdates.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/IdentitySheet.h"
#include "desktop/VLAlert.h"
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

bool canCancelMaintenance(const VLService& service) {
    return service.needsMaintenance() && ClientCommands::canCancelMaintenance(service);
}

bool hasNewIdentity(const VLService& service) {
    return !service.changedCertificate().isEmpty();
}

QString shownName(const VLService& service) {
    constexpr qsizetype longestShown = 60;
    return service.name().left(longestShown);
}

}  // namespace

ClientActions::ClientActions(Parts parts, ClientOutline& outline, QWidget* window)
    : QObject(window), m_parts(parts), m_outline(outline), m_window(window) {
    addForOne(tr("Show Information"), "info", tr("Show what is known of the computer"), always,
              [this](const VLServicePtr& service) { m_parts.details.showInfo(service); });
    m_entries.last().action->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_I));
    addClientCommands();
    addForOne(
        tr("Review New Identity…"), "identity",
        tr("Compare the computer's new key with the one it was known by"), hasNewIdentity,
        [this](const VLServicePtr& service) { reviewIdentity(service); }, true);
    connect(&m_parts.updates, &SoftwareUpdates::softwareUpdateCountChanged, this, &ClientActions::update);
    update();
}

void ClientActions::addClientCommands() {
    ClientCommands& commands = m_parts.commands;
    addCommand(
        tr("Reconnect"), tr("Reconnect %1 Computers"), "reconnect", tr("Connect to the computer anew"),
        always, [&commands](const Services& services) { commands.reconnectClients(services); }, true);
    QAction* remove = add(tr("Disconnect"), "disconnect",
                          tr("End the connection and take the computer off the list; one that was added by "
                             "hand is also forgotten, after asking"),
                          always);
    connect(remove, &QAction::triggered, this, &ClientActions::disconnectClient);
    addCommand(
        tr("Refresh Client Info"), tr("Refresh Client Info of %1 Computers"), "refresh",
        tr("Read the computer's configuration again"), connected,
        [&commands](const Services& services) { commands.refreshClientInfo(services); }, true);
    addCommand(tr("Cancel Maintenance Request"), tr("Cancel %1 Maintenance Requests"), "maintenance",
               tr("Tell the computer that its request for maintenance is done with"), canCancelMaintenance,
               [&commands](const Services& services) { commands.cancelMaintenance(services); });
    addForOne(tr("Show Errors"), "error-log", tr("Show the computer's errors in the error log"), always,
              [this](const VLServicePtr& service) { Q_EMIT errorsRequested(service); });
    // The same as a click on the badge, which no key reaches.
    const auto hasUpdates = [this](const VLService& service) {
        return m_parts.updates.softwareUpdateCount(service.hostName()) > 0;
    };
    addForOne(tr("Show Software Updates"), "software-update",
              tr("Show the software updates that wait for the computer"), hasUpdates,
              [this](const VLServicePtr& service) { Q_EMIT updatesRequested(service); });
    addSwitch();
    addCommand(
        tr("Restart Client"), tr("Restart %1 Clients…"), "restart",
        tr("Start the computer's client agent anew"), ClientCommands::canRestart,
        [this](const Services& services) { restart(services); }, true);
    addCommand(tr("Stop Client…"), tr("Stop %1 Clients…"), "stop",
               tr("End the computer's client agent; it has to be started there again"),
               ClientCommands::canStop, [this](const Services& services) { stop(services); });
}

QAction* ClientActions::add(const QString& text, const char* symbol, const QString& help, Possible possible,
                            bool startsGroup) {
    auto* action = new QAction(symbolIcon(QLatin1String(symbol)), text, this);
    action->setToolTip(help);
    action->setStatusTip(help);
    m_entries.append({action, std::move(possible), startsGroup, text, {}});
    return action;
}

void ClientActions::addForOne(const QString& text, const char* symbol, const QString& help, Possible possible,
                              const std::function<void(const VLServicePtr&)>& run, bool startsGroup) {
    connect(add(text, symbol, help, std::move(possible), startsGroup), &QAction::triggered, this,
            [this, run] {
                if (const VLServicePtr service = m_outline.singleSelectedService()) run(service);
            });
}

QAction* ClientActions::addCommand(const QString& text, const QString& textForMany, const char* symbol,
                                   const QString& help, Possible possible,
                                   std::function<void(const Services&)> run, bool startsGroup) {
    QAction* action = add(text, symbol, help, possible, startsGroup);
    m_entries.last().textForMany = textForMany;
    action->setObjectName(QLatin1String(symbol) + QLatin1String("ClientAction"));
    connect(action, &QAction::triggered, this, [this, possible = std::move(possible), run = std::move(run)] {
        Services services = m_parts.services.selectedServices();
        services.removeIf([&](const VLServicePtr& service) { return !possible(*service); });
        if (!services.isEmpty()) run(services);
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

void ClientActions::addCommandsTo(QMenu* menu) const {
    menu->setToolTipsVisible(true);
    for (const Entry& entry : m_entries)
        if (!entry.textForMany.isEmpty()) menu->addAction(entry.action);
}

void ClientActions::update() {
    const VLServicePtr single = m_outline.singleSelectedService();
    const Services selected = m_parts.services.selectedServices();
    for (const Entry& entry : m_entries) {
        const auto isPossible = [&](const VLServicePtr& service) { return entry.possible(*service); };
        if (entry.textForMany.isEmpty()) {
            entry.action->setEnabled(single && isPossible(single));
            continue;
        }
        const auto count = std::count_if(selected.begin(), selected.end(), isPossible);
        entry.action->setEnabled(count > 0);
        entry.action->setText(count > 1 ? entry.textForMany.arg(count) : entry.text);
    }
    updateSwitch();
}

void ClientActions::ask(const QString& question, const QString& verb, const QString& explanation,
                        std::function<void()> then) {
    const QString selector = QStringLiteral("clientCommandAlertDidEnd:returnCode:contextInfo:");
    const auto answered = [self = QPointer(this), then = std::move(then)](int returnCode) {
        if (self && returnCode == VLAlert::DefaultReturn) then();
    };
    VLAlert::alertSheetWithMessageText(
        question, verb, tr("Cancel"), {}, explanation, m_window,
        std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{{selector, answered}}),
        selector, false);
}

/// One is back in a moment; many at once are asked about.
void ClientActions::restart(const Services& services) {
    if (services.size() == 1) return m_parts.commands.restartClients(services);
    ask(tr("Restart the client agents of %1 computers?").arg(services.size()), tr("Restart"),
        tr("What the agents are doing is cut short; they connect again by themselves."),
        [this, services] { m_parts.commands.restartClients(services); });
}

void ClientActions::stop(const Services& services) {
    ask(services.size() == 1 ? tr("Stop the client agent of “%1”?").arg(shownName(*services.first()))
                             : tr("Stop the client agents of %1 computers?").arg(services.size()),
        tr("Stop"), tr("Orlendo cannot start it again: that has to be done on the computer itself."),
        [this, services] { m_parts.commands.stopClients(services); });
}

/// A discovered client comes back by itself; of one added by hand nothing would be left.
void ClientActions::disconnectClient() {
    const VLServicePtr service = m_outline.singleSelectedService();
    if (!service) return;
    if (!service->isManual()) return m_parts.commands.disconnectClient(service);
    ask(tr("Remove “%1”?").arg(shownName(*service)), tr("Remove"),
        tr("The computer was added by hand. To have it in the list again, its address and port "
           "must be entered again."),
        [this, service] { m_parts.commands.disconnectClient(service); });
}

// ---- Enabling and disabling

void ClientActions::addSwitch() {
    m_switch = add(tr("Disable Computer"), "off",
                   tr("Leave the computer out of what is done with the selected ones"), always, true);
    m_switch->setObjectName(QStringLiteral("enableComputerAction"));
    connect(m_switch, &QAction::triggered, this, &ClientActions::switchEnabled);
}

ClientActions::Services ClientActions::chosenServices() const {
    const ServiceList& services = m_parts.services;
    return services.chosenGroups().isEmpty() ? services.chosenServices() : QList<VLServicePtr>();
}

void ClientActions::updateSwitch() {
    const QList<VLServicePtr> chosen = chosenServices();
    const bool disables = std::all_of(chosen.begin(), chosen.end(),
                                      [](const VLServicePtr& service) { return service->enabled(); });
    if (chosen.size() < 2)
        m_switch->setText(disables ? tr("Disable Computer") : tr("Enable Computer"));
    else
        m_switch->setText(
            (disables ? tr("Disable %1 Computers") : tr("Enable %1 Computers")).arg(chosen.size()));
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
    m_parts.services.serviceChanged(nullptr);
}

void ClientActions::reviewIdentity(const VLServicePtr& service, QWidget* over) {
    if (!service || !hasNewIdentity(*service)) return;
    auto* sheet = new IdentitySheet(
        service,
        [this, service](const QByteArray& certificateShown) {
            m_parts.commands.acceptIdentity(service, certificateShown);
        },
        over ? over : m_window);
    sheet->open();
}
