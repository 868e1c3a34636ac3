// What the pane's buttons and boxes do: enabling, disabling, and changing for whom a plug-in is installed.

#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
#include "remote/Aggregation.h"
#include "system/VLException.h"
#include "tools/addonry/AddonryController.h"

#include <QScopeGuard>
#include <QSet>

#include <algorithm>
#include <mutex>
#include <utility>

namespace {

using namespace PluginKeys;

QVariantMap objects(const QVariant& path, qlonglong value) {
    QVariantMap result{{QStringLiteral("obj2"), value}};
    if (path.isValid()) result.insert(QStringLiteral("obj1"), path);
    return result;
}

/// The copies as they are sent, without those that say nothing new.
QVariantList flattened(const QList<ClientCopy>& copies) {
    QVariantList instances;
    QSet<QString> seen;
    for (const ClientCopy& copy : copies) {
        const QString place =
            copy.text(disabledKey) + u' ' + copy.text(accessTypeKey) + u' ' + copy.text(pathKey);
        if (seen.contains(place)) continue;
        seen.insert(place);
        instances.append(copy.dictionary());
    }
    return instances;
}

bool differsIn(const VLPluginItem& row, const QString& key) {
    const QList<ClientCopy>& copies = row.copies();
    return std::any_of(copies.cbegin(), copies.cend(), [&](const ClientCopy& copy) {
        return !Aggregation::sameValue(copy.values.value(key), copies.first().values.value(key));
    });
}

bool isYes(const QVariant& answer) {
    switch (answer.typeId()) {
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::LongLong:
            return answer.toBool();
        default:
            return false;
    }
}

}  // namespace

/// One of the two things that can be changed about a plug-in. The texts come in pairs: for the value 1, and
/// for any other. Those of `all`, `oneHost` and `allHosts` go to the log only.
struct AddonryController::Change {
    QString operation;  ///< of the controller
    QString selector;   ///< of the agent
    QString key;
    QString all[2], oneHost[2], allHosts[2];
    QString action[2], done[2];

    [[nodiscard]] static const QString& textFor(const QString (&texts)[2], qlonglong value) {
        return texts[value == 1 ? 0 : 1];
    }
    [[nodiscard]] bool needsAdministrator(const AddonryController& controller,
                                          const QList<ClientCopy>& copies, qlonglong value,
                                          const RemoteClientPtr& service) const {
        const bool isAccess = key == accessTypeKey;
        return controller.addonryNeedsAdminAccess(copies, isAccess ? QVariant() : value,
                                                  isAccess ? value : QVariant(), service);
    }
};

const AddonryController::Change& AddonryController::enabling() {
    static const Change change{QStringLiteral("addonryEnablePlugin:"),
                               QStringLiteral("addonryEnablePlugin:settings:"),
                               disabledKey,
                               {QStringLiteral("Disabling all Addonry plugins..."),
                                QStringLiteral("Enabling all Addonry plugins...")},
                               {QStringLiteral("Disabling Addonry plugin %@ on host %@..."),
                                QStringLiteral("Enabling Addonry plugin %@ on host %@...")},
                               {QStringLiteral("Disabling Addonry plugin on all hosts..."),
                                QStringLiteral("Enabling Addonry plugin on all hosts...")},
                               {tr("Disable"), tr("Enable")},
                               {tr("Disabled"), tr("Enabled")}};
    return change;
}

const AddonryController::Change& AddonryController::changingAccess() {
    static const Change change{
        QStringLiteral("addonryChangeAccessType:"),
        QStringLiteral("addonryChangeAccess:settings:"),
        accessTypeKey,
        {QStringLiteral("Changing all plugins to Current User access type..."),
         QStringLiteral("Changing all plugins to All Users access type...")},
        {QStringLiteral("Change access type of plugin %@ on host %@ to Current User..."),
         QStringLiteral("Change access type of plugin %@ on host %@ to All Users...")},
        {QStringLiteral("Setting access type of Addonry plugin to Current User on all hosts..."),
         QStringLiteral("Setting access type of Addonry plugin to All Users on all hosts...")},
        {tr("Install for Current User"), tr("Install for All Users")},
        {tr("Installed for the current user"), tr("Installed for all users")}};
    return change;
}

const QString& AddonryController::keyOf(const Change& change) {
    return change.key;
}

// ---- What the pane calls

/// A client that gave no answer may have anything: it is left alone.
void AddonryController::addonrySyncAction() {
    const Answered answered = answeredClients();
    if (answered.clients.isEmpty()) return;
    startRunOn(
        QStringLiteral("addonrySyncPlugins"),
        {.action = tr("Synchronise"),
         .actionDone = tr("Synchronised"),
         .subject = tr("plug-ins"),
         .isChange = true,
         .keeping = keepingOfSync()},
        answered.clients, [this] { addonrySyncPlugins(); }, answered.alone);
}

void AddonryController::addonryEnableAllAction() {
    startChanges(enabling(), {Edit{{}, 0}});
}

void AddonryController::addonryDisableAllAction() {
    startChanges(enabling(), {Edit{{}, 1}});
}

void AddonryController::setDisabled(const QList<RowTarget>& targets, bool disabled) {
    startChanges(enabling(), write(targets, disabledKey, disabled));
}

void AddonryController::setAccessType(const QList<RowTarget>& targets, qlonglong accessType) {
    startChanges(changingAccess(), write(targets, accessTypeKey, accessType));
}

void AddonryController::startChanges(const Change& change, const QList<Edit>& edits) {
    if (edits.isEmpty()) return;
    const qlonglong value = edits.first().value;
    startRunOn(change.operation,
               {.action = Change::textFor(change.action, value),
                .actionDone = Change::textFor(change.done, value),
                .subject = subjectOf(edits, {tr("%1 plug-ins"), tr("all plug-ins")}),
                .isChange = true,
                .keeping = keepingOf(change, edits)},
               clientsOf(edits, CopyConcerns::AllClients),
               [this, &change, edits] { runChanges(change, edits); });
}

// ---- Workers

void AddonryController::addonryEnablePlugin(const Edit& disabled) {
    runChanges(enabling(), {disabled});
}

void AddonryController::addonryChangeAccessType(const Edit& accessType) {
    runChanges(changingAccess(), {accessType});
}

void AddonryController::runChanges(const Change& change, const QList<Edit>& edits) {
    const VLCallLock lock;
    const RunScope scope(runHere());
    // The refresh starts a display of its own.
    const auto refreshAfterwards = qScopeGuard([this] {
        context().progress->endStatusProgress();
        startRefresh(QStringLiteral("refreshAddonryPlugins"));
    });
    const qlonglong value = edits.first().value;
    QList<ClientCopy> ofRows;
    for (const Edit& edit : edits) {
        if (isStopped()) return;
        if (const auto* row = std::get_if<VLPluginItem>(&edit.subject)) {
            VLLog::appendLog(Change::textFor(change.allHosts, value));
            ofRows += row->copies();
            continue;
        }
        applyToRows(change, std::exchange(ofRows, {}), value);
        if (const auto* copy = std::get_if<ClientCopy>(&edit.subject))
            applyToCopies(change, {*copy}, value);
        else
            applyToAll(change, value);
    }
    applyToRows(change, ofRows, value);
}

void AddonryController::applyToAll(const Change& change, qlonglong value) {
    VLLog::appendLog(Change::textFor(change.all, value));
    QList<ClientCopy> copies;
    for (const VLPluginItem& row : copyOfRows())
        copies += row.copies();
    const bool needsAdmin = change.needsAdministrator(*this, copies, value, nullptr);
    if (isStopped()) return;
    if (needsAdmin)
        context().authorizedRunner->authExecuteRemoteMethods(change.selector, {}, value);
    else
        context().runner->executeRemoteMethods(change.selector, {}, objects({}, value));
}

/// With administrator rights every client of the run is told, not the one alone.
void AddonryController::applyToCopies(const Change& change, const QList<ClientCopy>& copies,
                                      qlonglong value) {
    std::mutex mutex;
    QStringList restricted;  // paths
    forEachJob(change.operation, copies, [&](const RemoteClientPtr& client, const ClientCopy& copy) {
        VLLog::appendLog(Change::textFor(change.oneHost, value), copy.text(nameKey), copy.hostName);
        const QVariant path = copy.values.value(pathKey);
        const bool needsAdmin = change.needsAdministrator(*this, {copy}, value, client);
        if (isStopped()) return;
        if (!needsAdmin) {
            context().runner->executeRemoteMethod(change.selector, {}, objects(path, value), client);
            return;
        }
        const std::lock_guard lock(mutex);
        restricted.append(path.toString());
    });
    restricted.removeDuplicates();  // it is the same one on many clients
    for (const QString& path : std::as_const(restricted))
        if (!isStopped()) context().authorizedRunner->authExecuteRemoteMethods(change.selector, path, value);
}

void AddonryController::applyToRows(const Change& change, const QList<ClientCopy>& copies, qlonglong value) {
    if (copies.isEmpty()) return;
    context().progress->startStatusProgress();
    forEachJob(change.operation, copies, [&](const RemoteClientPtr& client, const ClientCopy& copy) {
        const bool needsAdmin = change.needsAdministrator(*this, {copy}, value, client);
        if (!isStopped()) apply(change, client, copy, value, needsAdmin);
    });
}

void AddonryController::apply(const Change& change, const RemoteClientPtr& client, const ClientCopy& copy,
                              qlonglong value, bool needsAdmin) const {
    const QVariant path = copy.values.value(pathKey);
    if (needsAdmin)
        context().authorizedRunner->authExecuteRemoteMethod(change.selector, path, value, client);
    else
        context().runner->executeRemoteMethod(change.selector, {}, objects(path, value), client);
}

// ---- Taking back

Run::Keeping AddonryController::keepingOf(const Change& change, const QList<Edit>& edits) const {
    QSet<QString> names;
    bool isAboutAll = false;
    for (const Edit& edit : edits) {
        if (const auto* row = std::get_if<VLPluginItem>(&edit.subject))
            names.insert(row->name());
        else if (const auto* copy = std::get_if<ClientCopy>(&edit.subject))
            names.insert(copy->text(nameKey));
        else
            isAboutAll = true;
    }
    const auto isMeant = [&change, names, isAboutAll,
                          value = edits.first().value](const QVariantMap& plugin) {
        const bool isNamed = isAboutAll || names.contains(plugin.value(nameKey).toString());
        return isNamed && (plugin.value(change.key).toLongLong() == 1) != (value == 1);
    };
    return keepingFormer(change.key, isMeant);
}

/// What is transferred stays; what is kept is how the plug-ins were set that are to be set alike.
Run::Keeping AddonryController::keepingOfSync() const {
    QSet<QString> names;
    for (const VLPluginItem& row : rows())
        if (differsIn(row, disabledKey) || differsIn(row, accessTypeKey)) names.insert(row.name());
    const auto isMeant = [names](const QVariantMap& plugin) {
        return names.contains(plugin.value(nameKey).toString());
    };
    return keepingFormer({}, isMeant);
}

/// `changed`, `isMeant`: see AddonryUndo::former.
Run::Keeping AddonryController::keepingFormer(const QString& changed,
                                              const std::function<bool(const QVariantMap&)>& isMeant) const {
    const auto before = [=, this](const RemoteClientPtr& client) -> std::optional<QVariantMap> {
        const std::optional<Plugins> plugins = pluginsOf(client);
        if (!plugins) return std::nullopt;
        return AddonryUndo::former(*plugins, changed, isMeant);
    };
    return {before, {}};
}

std::optional<AddonryController::Plugins> AddonryController::pluginsOf(const RemoteClientPtr& client) const {
    const QVariant answer =
        context().runner->objectFromRemoteMethod(QStringLiteral("addonryPluginList"), {}, {}, client);
    if (!answer.isValid()) return std::nullopt;
    return VLPluginItem::checked(answer).entries;
}

bool AddonryController::takeBack(const VLServicePtr& client, const QVariantMap& undo) {
    const std::optional<Plugins> present = pluginsOf(client);
    if (!present) return false;
    const AddonryUndo::Plan plan = AddonryUndo::plan(undo, *present);
    if (const RunPtr run = Run::current()) run->keepUndo(Run::keyOf(*client), plan.undo);
    applyAll(enabling(), client, plan.enabling);
    applyAll(changingAccess(), client, plan.access);
    if (plan.missing.isEmpty()) return true;
    throw VLException(
        VLException::generic,
        tr("It does not have these plug-ins any more: %1.").arg(plan.missing.join(QStringLiteral(", "))));
}

void AddonryController::applyAll(const Change& change, const RemoteClientPtr& client,
                                 const QList<AddonryUndo::Plan::Step>& steps) const {
    for (const qlonglong value : {0LL, 1LL}) {
        QList<ClientCopy> copies;
        for (const AddonryUndo::Plan::Step& step : steps)
            if (step.value == value) copies.append({client->hostName(), step.plugin});
        if (copies.isEmpty()) continue;
        if (isStopped()) return noteStopped(client->hostName());
        // One question where none of them needs it.
        const bool anyNeedsAdmin = change.needsAdministrator(*this, copies, value, client);
        for (const ClientCopy& copy : std::as_const(copies)) {
            const bool needsAdmin = anyNeedsAdmin && change.needsAdministrator(*this, {copy}, value, client);
            if (isStopped()) return noteStopped(client->hostName());
            apply(change, client, copy, value, needsAdmin);
        }
    }
}

// ---- What needs an administrator

bool AddonryController::addonryNeedsAdminAccess(const QList<ClientCopy>& copies, const QVariant& destDisabled,
                                                const QVariant& destAccess,
                                                const RemoteClientPtr& service) const {
    const QString selector = QStringLiteral("addonryNeedsAdminAccess:settings:");
    const QVariantList instances = flattened(copies);
    QVariantMap settings;
    if (destDisabled.isValid()) settings.insert(QStringLiteral("destDisabled"), destDisabled);
    if (destAccess.isValid()) settings.insert(QStringLiteral("destAccess"), destAccess);
    if (service)
        return isYes(context().runner->objectFromRemoteMethod(selector, instances, settings, service));
    const QVariantMap answers =
        context().runner->objectsFromRemoteMethod(selector, instances, settings).toMap();
    return std::any_of(answers.begin(), answers.end(), isYes);
}
