// What the pane's buttons and boxes do: enabling, disabling, and changing for whom a plug-in is installed.

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "logs/VLLog.h"
#include "system/VLException.h"
#include "tools/addonry/AddonryController.h"
#include "tools/addonry/PluginKeys.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace {

using namespace PluginKeys;

const QString pluginKey = QStringLiteral("plugin");

bool isRow(const QVariant& plugin) {
    return plugin.metaType() == QMetaType::fromType<VLPluginItem>();
}

QVariantMap objects(const QVariant& path, const QVariant& value) {
    QVariantMap result{{QStringLiteral("obj2"), value}};
    if (path.isValid()) result.insert(QStringLiteral("obj1"), path);
    return result;
}

/// The copies that rows and copies amount to, without those that say nothing new.
QVariantList flattened(const QVariantList& plugins) {
    QVariantList instances;
    QSet<QString> seen;
    const auto add = [&](const QVariant& instance) {
        const QVariantMap values = instance.toMap();
        const QString place = values.value(disabledKey).toString() + u' ' +
                              values.value(accessTypeKey).toString() + u' ' +
                              values.value(pathKey).toString();
        if (seen.contains(place)) return;
        seen.insert(place);
        instances.append(instance);
    };
    for (const QVariant& plugin : plugins) {
        if (!isRow(plugin)) {
            add(plugin);
            continue;
        }
        const QVariantList children = plugin.value<VLPluginItem>().children();
        std::for_each(children.begin(), children.end(), add);
    }
    return instances;
}

/// Index of the row's child that is meant; -1 when it is gone. A copy that was moved meanwhile is still meant
/// where its client has no other.
qsizetype childFor(const AddonryController::Target& target, const QVariantList& children) {
    qsizetype found = -1;
    int copies = 0;
    for (qsizetype i = 0; i < children.size(); ++i) {
        const QVariantMap copy = children.at(i).toMap();
        if (copy.value(hostNameKey).toString() != target.hostName) continue;
        if (copy.value(pathKey).toString() == target.fullPath) return i;
        found = i;
        ++copies;
    }
    return copies == 1 ? found : -1;
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

    [[nodiscard]] static const QString& textFor(const QString (&texts)[2], const QVariant& value) {
        return texts[value.toLongLong() == 1 ? 0 : 1];
    }
    [[nodiscard]] bool isNeededFor(const AddonryController& controller, const QVariantList& plugins,
                                   const QVariant& value, const VLServicePtr& service) const {
        const bool isAccess = key == accessTypeKey;
        return controller.addonryNeedsAdminAccess(plugins, isAccess ? QVariant() : value,
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
                                QStringLiteral("Enabling Addonry plugin on all hosts...")}};
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
         QStringLiteral("Setting access type of Addonry plugin to All Users on all hosts...")}};
    return change;
}

const QString& AddonryController::keyOf(const Change& change) {
    return change.key;
}

// ---- What the pane calls

void AddonryController::addonrySyncAction() {
    startWorker(QStringLiteral("addonrySyncPlugins"), [this] { addonrySyncPlugins(); });
}

void AddonryController::addonryEnableAllAction() {
    startChanges(enabling(), {{{disabledKey, 0}}});
}

void AddonryController::addonryDisableAllAction() {
    startChanges(enabling(), {{{disabledKey, 1}}});
}

void AddonryController::setDisabled(const QList<Target>& targets, bool disabled) {
    edit(enabling(), targets, qlonglong(disabled));
}

void AddonryController::setAccessType(const QList<Target>& targets, qlonglong accessType) {
    edit(changingAccess(), targets, accessType);
}

void AddonryController::edit(const Change& change, const QList<Target>& targets, qlonglong value) {
    QHash<QString, VLPluginItem*> rowByName;
    for (VLPluginItem& row : m_addonryArray)
        rowByName.insert(row.name(), &row);
    QList<QVariantMap> requests;
    for (const Target& target : targets) {
        VLPluginItem* const row = rowByName.value(target.name);
        const QVariant plugin = row ? write(change, *row, target, value) : QVariant();
        if (plugin.isValid()) requests.append({{pluginKey, plugin}, {change.key, value}});
    }
    if (requests.isEmpty()) return;
    startChanges(change, requests);
    Q_EMIT changed();
}

/// The row or copy with the new value in it; invalid when it is gone.
QVariant AddonryController::write(const Change& change, VLPluginItem& row, const Target& target,
                                  qlonglong value) {
    QVariantList children = row.children();
    const auto writeChild = [&](qsizetype child) {
        QVariantMap copy = children.at(child).toMap();
        copy.insert(change.key, value);
        children[child] = copy;
    };
    if (!target.hostName.isEmpty()) {
        const qsizetype child = childFor(target, children);
        if (child < 0) return {};
        writeChild(child);
        row.setChildren(children);
        return children.at(child);
    }
    for (qsizetype child = 0; child < children.size(); ++child)
        writeChild(child);
    row.setChildren(children);
    if (change.key == disabledKey) row.setDisabled(static_cast<int>(value));
    if (change.key == accessTypeKey) row.setAccessType(value);
    return QVariant::fromValue(row);
}

void AddonryController::startChanges(const Change& change, const QList<QVariantMap>& requests) {
    startWorker(change.operation, [this, &change, requests] { runChanges(change, requests); });
}

// ---- Workers

void AddonryController::addonryEnablePlugin(const QVariantMap& request) {
    runChanges(enabling(), {request});
}

void AddonryController::addonryChangeAccessType(const QVariantMap& request) {
    runChanges(changingAccess(), {request});
}

void AddonryController::runChanges(const Change& change, const QList<QVariantMap>& requests) {
    const VLCallLock lock;
    const int run = context().progress->beginRun();
    for (const QVariantMap& request : requests)
        if (!isStopped(run)) attempt(change, request, run);
    context().progress->endStatusProgress();
    startRefresh(QStringLiteral("refreshAddonryPlugins"));
}

/// One that fails does not keep the next from being done.
void AddonryController::attempt(const Change& change, const QVariantMap& request, int run) {
    try {
        apply(change, request, run);
    } catch (const std::exception& exception) {
        const QByteArray method = QStringLiteral("-[AppController %1]").arg(change.operation).toUtf8();
        VLException::logException(exception, method.constData());
    }
}

void AddonryController::apply(const Change& change, const QVariantMap& request, int run) {
    const QVariant plugin = request.value(pluginKey);
    const QVariant value = request.value(change.key);
    if (!plugin.isValid()) return applyToAll(change, value, run);
    if (isRow(plugin)) return applyToRow(change, plugin.value<VLPluginItem>(), value);
    applyToInstance(change, plugin.toMap(), value, run);
}

void AddonryController::applyToAll(const Change& change, const QVariant& value, int run) {
    VLLog::appendLog(Change::textFor(change.all, value));
    QVariantList rows;
    const QList<VLPluginItem> present = copyOfRows();
    for (const VLPluginItem& row : present)
        rows.append(QVariant::fromValue(row));
    const bool needsAdmin = change.isNeededFor(*this, rows, value, nullptr);
    if (isStopped(run)) return;
    if (needsAdmin)
        context().authorizedRunner->authExecuteRemoteMethods(change.selector, {}, value);
    else
        context().runner->executeRemoteMethods(change.selector, {}, objects({}, value));
}

void AddonryController::applyToInstance(const Change& change, const QVariantMap& instance,
                                        const QVariant& value, int run) {
    const QString hostName = instance.value(hostNameKey).toString();
    VLLog::appendLog(Change::textFor(change.oneHost, value), instance.value(nameKey).toString(), hostName);
    const VLServicePtr service = context().serviceWithHostName(hostName);
    if (!service) return;  // gone meanwhile; without a client all would be asked
    const bool needsAdmin = change.isNeededFor(*this, {instance}, value, service);
    if (isStopped(run)) return;
    const QVariant path = instance.value(pathKey);
    // With administrator rights every selected client is told, not this one alone.
    if (needsAdmin)
        context().authorizedRunner->authExecuteRemoteMethods(change.selector, path, value);
    else
        context().runner->executeRemoteMethod(change.selector, {}, objects(path, value), service);
}

void AddonryController::applyToRow(const Change& change, const VLPluginItem& row, const QVariant& value) {
    context().progress->startStatusProgress();
    const int run = context().progress->currentRun();
    VLLog::appendLog(Change::textFor(change.allHosts, value));
    for (const QVariant& child : row.children()) {
        if (isStopped(run)) return;
        const QVariantMap instance = child.toMap();
        if (const VLServicePtr service =
                context().serviceWithHostName(instance.value(hostNameKey).toString())) {
            const QVariant path = instance.value(pathKey);
            const bool needsAdmin = change.isNeededFor(*this, {instance}, value, service);
            if (isStopped(run)) return;
            if (needsAdmin)
                context().authorizedRunner->authExecuteRemoteMethod(change.selector, path, value, service);
            else
                context().runner->executeRemoteMethod(change.selector, {}, objects(path, value), service);
        }
        context().progress->incrementStatusProgress();
    }
}

bool AddonryController::addonryNeedsAdminAccess(const QVariantList& plugins, const QVariant& destDisabled,
                                                const QVariant& destAccess,
                                                const VLServicePtr& service) const {
    const QString selector = QStringLiteral("addonryNeedsAdminAccess:settings:");
    const QVariantList instances = flattened(plugins);
    QVariantMap settings;
    if (destDisabled.isValid()) settings.insert(QStringLiteral("destDisabled"), destDisabled);
    if (destAccess.isValid()) settings.insert(QStringLiteral("destAccess"), destAccess);
    if (service)
        return isYes(context().runner->objectFromRemoteMethod(selector, instances, settings, service));
    const QVariantMap answers =
        context().runner->objectsFromRemoteMethod(selector, instances, settings).toMap();
    return std::any_of(answers.begin(), answers.end(), isYes);
}

QList<VLPluginItem> AddonryController::copyOfRows() const {
    QList<VLPluginItem> rows;
    onMainThreadAndWait([&] { rows = m_addonryArray; });
    return rows;
}
