// What the pane's buttons and boxes do: enabling, disabling, and changing for whom a plug-in is installed.

#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
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
/// for any other.
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
                               {QStringLiteral("Disable"), QStringLiteral("Enable")},
                               {QStringLiteral("Disabled"), QStringLiteral("Enabled")}};
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
        {QStringLiteral("Install for Current User"), QStringLiteral("Install for All Users")},
        {QStringLiteral("Installed for the current user"), QStringLiteral("Installed for all users")}};
    return change;
}

const QString& AddonryController::keyOf(const Change& change) {
    return change.key;
}

// ---- What the pane calls

void AddonryController::addonrySyncAction() {
    startRun(QStringLiteral("addonrySyncPlugins"),
             {.action = QStringLiteral("Synchronise"),
              .actionDone = QStringLiteral("Synchronised"),
              .subject = QStringLiteral("plug-ins"),
              .isChange = true},
             [this] { addonrySyncPlugins(); });
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
                .subject = subjectOf(edits, QStringLiteral("plug-ins")),
                .isChange = true},
               clientsOf(edits), [this, &change, edits] { runChanges(change, edits); });
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
    QVariantList restricted;  // paths
    forEachJob(change.operation, copies, [&](const RemoteClientPtr& client, const ClientCopy& copy) {
        VLLog::appendLog(Change::textFor(change.oneHost, value), copy.text(nameKey), copy.hostName);
        const QVariant path = copy.values.value(pathKey);
        const bool needsAdmin = change.needsAdministrator(*this, {copy}, value, client);
        if (isStopped()) return;
        if (!needsAdmin)
            return context().runner->executeRemoteMethod(change.selector, {}, objects(path, value), client);
        const std::lock_guard lock(mutex);
        restricted.append(path);
    });
    for (const QVariant& path : std::as_const(restricted))
        if (!isStopped()) context().authorizedRunner->authExecuteRemoteMethods(change.selector, path, value);
}

void AddonryController::applyToRows(const Change& change, const QList<ClientCopy>& copies, qlonglong value) {
    if (copies.isEmpty()) return;
    context().progress->startStatusProgress();
    forEachJob(change.operation, copies, [&](const RemoteClientPtr& client, const ClientCopy& copy) {
        const QVariant path = copy.values.value(pathKey);
        const bool needsAdmin = change.needsAdministrator(*this, {copy}, value, client);
        if (isStopped()) return;
        if (needsAdmin)
            context().authorizedRunner->authExecuteRemoteMethod(change.selector, path, value, client);
        else
            context().runner->executeRemoteMethod(change.selector, {}, objects(path, value), client);
    });
}

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
