#include "remote/VLCorvalinServerProtocol.h"

#include "remote/VLProxyObject.h"

#include <QDateTime>
#include <QHash>

#include <cmath>
#include <limits>
#include <vector>

namespace VLCorvalinServerProtocol {
namespace {

// Arguments that several operations share.
constexpr Argument anyObject[] = {{"object"}};
constexpr Argument hostName[] = {{"hostname", Type::String}};
constexpr Argument appIdentifier[] = {{"app", Type::String}};
constexpr Argument fileName[] = {{"filename", Type::String}};
constexpr Argument prefKeys[] = {{"keys", Type::String}};
constexpr Argument path[] = {{"path", Type::String}};
constexpr Argument jobs[] = {{"jobs", Type::Array}};
constexpr Argument errorOnly[] = {{"error", Type::Dictionary}};
constexpr Argument errorUserInfo[] = {{"error", Type::Dictionary}, {"userInfo", Type::Dictionary}};
constexpr Argument stringOnly[] = {{"message", Type::String}};
constexpr Argument stringUserInfo[] = {{"message", Type::String}, {"userInfo", Type::Dictionary}};

// An operation that may run authorised gets two dictionaries: the credentials ("authUser", "authPass") and
// the arguments proper ("obj1", "obj2"). Where the plain way is open too, there are no credentials.
constexpr Argument authorizedOnly[] = {{"credentials", Type::Dictionary}, {"arguments", Type::Dictionary}};
constexpr Argument authorizedOrPlain[] = {{"credentials", Type::Dictionary, Passing::Copy, true},
                                          {"arguments", Type::Dictionary}};
constexpr Argument credentialsOnly[] = {{"credentials", Type::Dictionary}};

constexpr Argument iconSize[] = {{"size", Type::Any, Passing::Plain, true}};
constexpr Argument requester[] = {{"requester", Type::Any, Passing::Plain, true}};
constexpr Argument errorCallback[] = {{"callback", Type::Object, Passing::Reference}};
constexpr Argument userAndPassword[] = {{"username", Type::String},
                                        {"password", Type::Data, Passing::Copy, true}};
constexpr Argument task[] = {
    {"task", Type::String}, {"bundleID", Type::String}, {"options", Type::Dictionary, Passing::Copy, true}};
constexpr Argument authTask[] = {{"task", Type::String},
                                 {"bundleID", Type::String},
                                 {"options", Type::Dictionary, Passing::Copy, true},
                                 {"username", Type::String},
                                 {"password", Type::Data, Passing::Copy, true}};
constexpr Argument authTaskCallback[] = {{"task", Type::String},
                                         {"bundleID", Type::String},
                                         {"options", Type::Dictionary, Passing::Copy, true},
                                         {"username", Type::String},
                                         {"password", Type::Data, Passing::Copy, true},
                                         {"callback", Type::Object, Passing::Reference},
                                         {"callbackName", Type::String}};

constexpr Argument backupNameType[] = {{"name", Type::String}, {"type", Type::Number}};
constexpr Argument backupSelection[] = {{"selection", Type::Dictionary}};
constexpr Argument backupData[] = {{"data", Type::Data}};
constexpr Argument routemarkPaths[] = {{"paths", Type::Dictionary}};
constexpr Argument routemarkPathKey[] = {{"path", Type::String}, {"key", Type::String}};
constexpr Argument routemarkKey[] = {{"key", Type::String}};
constexpr Argument pluginArchive[] = {{"plugin", Type::Dictionary}, {"data", Type::Data}};
constexpr Argument pluginsSettings[] = {{"plugins", Type::Array}, {"settings", Type::Dictionary}};
constexpr Argument sinceDate[] = {{"date", Type::Date, Passing::Copy, true},
                                  {"delegate", Type::Object, Passing::Reference, true}};
constexpr Argument fileNameComment[] = {{"filename", Type::String}, {"comment", Type::String}};
constexpr Argument tidyhandTasks[] = {{"tasks", Type::Array}};
constexpr Argument hostbenchCaches[] = {{"caches", Type::Array},
                                        {"settings", Type::Dictionary, Passing::Copy, true}};
constexpr Argument clusterSettings[] = {{"settings", Type::Dictionary}};
constexpr Argument installerUrl[] = {{"url", Type::String, Passing::Plain}};
constexpr Argument clientSettings[] = {{"settings", Type::Dictionary}};

// The crash logs may be anything: an answer that is no list still counts as one without logs.
constexpr Argument crashLogs[] = {{"logs", Type::Any, Passing::Copy, true}, {"hostname", Type::String}};
constexpr Argument updateCount[] = {{"count", Type::Number}, {"hostname", Type::String}};
constexpr Argument errorHost[] = {{"error", Type::Dictionary}, {"hostname", Type::String}};
constexpr Argument stringHost[] = {{"message", Type::String}, {"hostname", Type::String}};
constexpr Argument exceptionHost[] = {{"exception", Type::Dictionary}, {"hostname", Type::String}};
constexpr Argument callbackInfo[] = {{"info", Type::Dictionary}};

using Arguments = std::span<const Argument>;

/// Permissions and authorisation are added to an entry with the functions below.
struct Entry : Operation {
    constexpr Entry(const Operation& operation) : Operation(operation) {}
    [[nodiscard]] constexpr Entry executableInError() const { return with(&Operation::executeOnErrorClient); }
    [[nodiscard]] constexpr Entry readableInError() const { return with(&Operation::readOnErrorClient); }
    [[nodiscard]] constexpr Entry readableWhenDisabled() const {
        return readableInError().with(&Operation::readOnDisabledClient);
    }
    [[nodiscard]] constexpr Entry withCredentials() const { return with(&Operation::authorized); }
    [[nodiscard]] constexpr Entry withLargeAnswer() const { return with(&Operation::largeAnswer); }
    [[nodiscard]] constexpr Entry besideOthers() const { return with(&Operation::control); }
    [[nodiscard]] constexpr Entry withCredentialsInError() const {
        return withCredentials().with(&Operation::authorizedOnErrorClient);
    }

private:
    [[nodiscard]] constexpr Entry with(bool Operation::*flag) const {
        Entry changed = *this;
        changed.*flag = true;
        return changed;
    }
};

/// Builds the entries of one heading.
struct Group {
    const char* name;
    Side side = Side::Agent;

    [[nodiscard]] constexpr Entry read(const char* selector, Arguments arguments, Type result,
                                       const char* summary) const {
        return Operation{selector, side,  name,  arguments, Result::Copy, result, Mode::Sync,
                         false,    false, false, false,     false,        false,  summary};
    }
    [[nodiscard]] constexpr Entry run(const char* selector, Arguments arguments, const char* summary) const {
        return Operation{selector, side,  name,  arguments, Result::Nothing, Type::Any, Mode::Sync,
                         false,    false, false, false,     false,           false,     summary};
    }
    [[nodiscard]] constexpr Entry post(const char* selector, Arguments arguments, const char* summary) const {
        return Operation{selector, side,  name,  arguments, Result::Nothing, Type::Any, Mode::Oneway,
                         false,    false, false, false,     false,           false,     summary};
    }
};

constexpr Group connection{"Connection and identity"};
constexpr Group tasks{"Tasks and authorization"};
constexpr Group applications{"Applications"};
constexpr Group logs{"Logs"};
constexpr Group settings{"Agent settings"};
constexpr Group settlekeep{"Settlekeep: preference backups"};
constexpr Group routemark{"Routemark: paths"};
constexpr Group addonry{"Addonry: plug-ins"};
constexpr Group cronwell{"Cronwell: scheduled tasks"};
constexpr Group faultscope{"Faultscope: crash logs"};
constexpr Group comparing{"Varispot, Tidyhand, Purgewright, Hostbench"};
constexpr Group qmaster{"Qmaster"};
constexpr Group updates{"Software updates"};
constexpr Group callback{"Error callback", Side::Console};
constexpr Group answer{"Task callback", Side::Console};

constexpr Entry entries[] = {
    connection
        .read("fetchInitialConfiguration:", requester, Type::Dictionary,
              "The configuration dictionary. The answer is the result; the console applies it. The "
              "console sends nothing as the argument and uses the operation to probe a new connection.")
        .besideOthers(),
    connection.read("initialConfiguration", {}, Type::Dictionary, "The configuration dictionary.")
        .besideOthers(),
    connection.read("systemSpecs", {}, Type::Any, "Facts about the machine, for the information panel.")
        .readableWhenDisabled()
        .besideOthers(),
    connection.read("computerIcon", {}, Type::Data, "Picture of the machine, as image data.").besideOthers(),
    connection.read("computerIcon:", iconSize, Type::Data, "Picture of the machine at the given size.")
        .readableWhenDisabled()
        .besideOthers(),
    connection.read("needsAdminAccess:", anyObject, Type::Any,
                    "Whether something needs administrator rights. The console never asks."),
    connection.run("ping", {}, "Does nothing; a liveness test.").besideOthers(),
    connection.post("setErrorCallback:", errorCallback, "Hands the agent the object that it calls back.")
        .besideOthers(),
    connection.post("disconnect", {}, "The agent quits.").executableInError().besideOthers(),
    connection.post("relaunch", {}, "The agent starts anew.").executableInError().besideOthers(),
    connection.post("cancelMaintenanceRequest", {}, "Clears the client's maintenance request.")
        .besideOthers(),
    connection.post("postFinishedTask", {},
                    "For the agent's own processes: passed on to the console as taskFinished."),
    connection.post("incrementRemoteProgress", {},
                    "For the agent's own processes: passed on to the console as incrementProgress."),
    connection.post("postError:", errorOnly, "For the agent's own processes: passed on to the error queue."),
    connection.post("postError:userInfo:", errorUserInfo, "The same, with further information."),
    connection.post("postErrorString:", stringOnly, "The same for a plain text."),
    connection.post("postErrorString:userInfo:", stringUserInfo, "The same, with further information."),

    tasks.run("executeTask:bundleID:options:", task, "Runs a task of one of the suite's applications."),
    tasks
        .run("authExecuteTask:bundleID:options:username:password:", authTask,
             "The same with administrator rights; the password is encrypted.")
        .withCredentials(),
    tasks
        .post("authExecuteTask:bundleID:options:username:password:callback:callbackName:", authTaskCallback,
              "The same; the outcome is posted to the callback object later.")
        .withCredentials(),
    tasks
        .read("validateUsername:password:", userAndPassword, Type::Boolean,
              "Whether an administrator of the client has this name and (encrypted) password.")
        .readableWhenDisabled()
        .besideOthers(),

    applications.read(
        "corvalinAppInfo", {}, Type::Dictionary,
        "The suite's applications: identifier to facts, among them \"installed\" and \"running\"."),
    applications.read("finalCutStudioAppInfo", {}, Type::Dictionary,
                      "The same for the editing suite's applications."),
    applications.run("launchApp:", appIdentifier, "Starts an application."),
    applications.run("terminateApp:", appIdentifier, "Asks an application to quit."),
    applications.run("forceQuitApp:", appIdentifier, "Ends an application at once."),
    applications.read("vlAppTasks", {}, Type::Array,
                      "The suite's applications with the tasks that they offer for scheduling."),

    logs.read("populateVLLogFilenames", {}, Type::Array, "Names of the client's log files.")
        .readableWhenDisabled(),
    logs.read("logWithFilename:", fileName, Type::String, "Text of one log file.")
        .readableWhenDisabled()
        .withLargeAnswer(),
    logs.read("gatherLogs", {}, Type::Dictionary, "All logs: path on the client to the file's contents.")
        .readableWhenDisabled()
        .withLargeAnswer(),

    settings.read("networkClientSettings", {}, Type::Dictionary,
                  "Numbers under \"autoUpdateCheck\", \"globalUpdateCheck\", \"showMenuBarIcon\", "
                  "\"enableMaintenanceRequests\"."),
    settings.run("setNetworkClientSettings:", clientSettings, "Changes them; -1 leaves a setting as it is."),

    settlekeep.read("settlekeepBackups", {}, Type::Dictionary,
                    "The client's preference backups; each is a dictionary with at least \"path\". One "
                    "that the client made before a change has \"origin\": \"restore\" or \"trash\"."),
    settlekeep.run("settlekeepBackup:type:", backupNameType, "Quick backup under a name, with a type."),
    settlekeep.run("settlekeepBackupSelected:", backupSelection,
                   "Backup of chosen preferences: \"backupName\", \"backupType\", \"keys\"."),
    settlekeep.read("settlekeepBackupData:", path, Type::Data, "Contents of one backup.").withLargeAnswer(),
    settlekeep.run("settlekeepRestoreLocalBackup:", path, "Restores a backup that the client holds."),
    settlekeep.run("settlekeepRestoreRemoteBackup:", backupData, "Restores a backup from its contents."),
    settlekeep.read("settlekeepLastUndo", {}, Type::Dictionary,
                    "The backup that the client made before the console's last restore or trash; empty when "
                    "that replaced nothing."),
    settlekeep.read("settlekeepLockedKeys", {}, Type::Array,
                    "The keys of those groups of preferences of which a part is locked."),
    settlekeep.run("settlekeepTrashSelected:", prefKeys, "Trashes preferences; keys joined by commas."),
    settlekeep.run("settlekeepLockSelected:", prefKeys, "Makes preference files immutable."),
    settlekeep.run("settlekeepUnlockSelected:", prefKeys, "Makes them writable again."),

    routemark.read("routemarkPaths", {}, Type::Dictionary, "The applications' media and scratch paths."),
    routemark.run("setRoutemarkPaths:", routemarkPaths, "Replaces all of them."),
    routemark.run("setRoutemarkPath:forKey:", routemarkPathKey, "Changes one."),
    routemark.run("resetRoutemarkPath:", routemarkKey, "Sets one back to its default."),

    addonry.read("addonryPluginList", {}, Type::Array, "Plug-ins of the client, one dictionary each."),
    addonry.read("addonryPluginData:", path, Type::Data, "One plug-in as an archive.").withLargeAnswer(),
    addonry.run("addonryInstallPlugin:withData:", pluginArchive,
                "Installs a plug-in for the current user from its archive."),
    addonry
        .run("addonryUpdatePlugin:settings:", authorizedOrPlain,
             "Replaces a plug-in: \"obj1\" the plug-in, \"obj2\" the archive.")
        .withCredentials(),
    addonry
        .run("addonryEnablePlugin:settings:", authorizedOrPlain,
             "Enables or disables: \"obj1\" the plug-in's path (all plug-ins without it), \"obj2\" 1 to "
             "disable.")
        .withCredentials(),
    addonry
        .run("addonryChangeAccess:settings:", authorizedOrPlain,
             "Changes for whom a plug-in is installed: \"obj1\" its path (all plug-ins without it), "
             "\"obj2\" 1 for the current user.")
        .withCredentials(),
    addonry.read("addonryNeedsAdminAccess:settings:", pluginsSettings, Type::Boolean,
                 "Whether a change (\"destDisabled\", \"destAccess\") of these plug-ins needs administrator "
                 "rights."),

    cronwell.read("cronwellTaskDictionary", {}, Type::Dictionary,
                  "Scheduled tasks: file name to task dictionary."),
    cronwell
        .run("cronwellAddTask:settings:", authorizedOrPlain,
             "Adds a task: \"obj1\" its settings. With \"former\" = 1 one that was removed comes back as it "
             "was, under "
             "its \"filename\".")
        .withCredentials(),
    cronwell
        .run("cronwellEditTask:settings:", authorizedOrPlain,
             "Changes a task: \"obj1\" its settings. With \"former\" = 1 it becomes what it was when it had "
             "them.")
        .withCredentials(),
    cronwell
        .run("cronwellRemoveTask:settings:", authorizedOrPlain,
             "Removes a task: its file name in \"obj2\" when plain, in \"obj1\" when authorised.")
        .withCredentials(),
    cronwell.run("cronwellEnableTask:settings:", authorizedOrPlain, "Enables or disables tasks.")
        .withCredentials(),

    faultscope.post("crashLogsSinceDate:delegate:", sinceDate,
                    "Asks for newer crash logs (all without a date); they arrive as "
                    "faultscopeAddLogs:hostName: at the delegate, or at the error callback without one."),
    faultscope.read("fcsCrashLog:", fileName, Type::String, "Text of one crash log.").withLargeAnswer(),
    faultscope.read("faultscopeGetDefinition:", fileName, Type::String, "Explanation of a crash, as HTML."),
    faultscope.run("faultscopeRemoveLogFilename:", fileName, "Deletes a crash log."),
    faultscope.run("faultscopeSubmitCrashLog:comment:", fileNameComment,
                   "The client sends the crash log with the comment to the maker."),
    faultscope
        .run("consolidateCrashLogs:", credentialsOnly, "Gathers the crash logs of all users in one place.")
        .withCredentials(),

    comparing.read("varispotSystemInfo", {}, Type::Dictionary, "System facts for comparison."),
    comparing.run("tidyhandRunTasks:", tidyhandTasks, "Runs cleaning tasks in the order of the list."),
    comparing
        .run("purgewrightRemoveApps:settings:", authorizedOnly,
             "Removes applications: \"obj1\" the mask of components.")
        .withCredentials(),
    comparing.run("hostbenchTrashCaches:settings:", hostbenchCaches, "Trashes caches."),

    qmaster.read("qmasterJobs", {}, Type::Dictionary, "Clusters, their batches and the jobs in them."),
    qmaster.run("qmasterJobPause:", jobs, "Pauses jobs."),
    qmaster.run("qmasterJobResume:", jobs, "Resumes jobs."),
    qmaster.run("qmasterJobTerminate:", jobs, "Ends jobs."),
    qmaster.run("qmasterStartSharing", {}, "Starts sharing."),
    qmaster.run("qmasterStopSharing", {}, "Stops sharing."),
    qmaster.run("qmasterResetServices", {}, "Resets the services."),
    qmaster.post("processQmasterClusterOnThread:", clusterSettings,
                 "For the agent's own processes; the console never sends it."),

    updates
        .read("listVelmoraSoftwareUpdates", {}, Type::Dictionary,
              "Available updates of the suite, a list under \"updates\".")
        .readableInError(),
    updates
        .post("fetchSoftwareUpdateAvailableUpdateCount", {},
              "Asks for the number of updates; it arrives as setSoftwareUpdateCount:hostname:.")
        .readableInError(),
    updates
        .post("installVelmoraSoftwareUpdate:settings:", authorizedOnly,
              "Installs an update: \"obj1\" the update, \"obj2\" application path or bundle identifier.")
        .withCredentialsInError(),
    updates.post("softwareUpdateManualInstall:", installerUrl,
                 "Starts an installer for a person at the machine."),

    callback.post("ping", {}, "Does nothing; the agent tests with it that the console is still there."),
    callback.run("cancelProcessing", {}, "Does nothing. The only callback that is answered."),
    callback.post("requestMaintenance:", hostName, "The client wants maintenance."),
    callback.post("cancelMaintenance:", hostName, "It does not want it any more."),
    callback.post("updateConfig:", hostName, "The console fetches the client's configuration again."),
    callback.post("forceConfigReload:", hostName, "The same, with a line in the log."),
    callback.post("willDisconnect:", hostName, "The agent goes away; the console ends the connection."),
    callback.post("faultscopeAddLogs:hostName:", crashLogs, "New crash logs of the client."),
    callback.post("setSoftwareUpdateCount:hostname:", updateCount, "Number of updates waiting."),
    callback.post("taskFinished", {}, "A task of the client has ended."),
    callback.post("incrementProgress", {}, "A task of the client has advanced."),
    callback.post("addErrorToQueue:hostname:", errorHost,
                  "An error: \"domain\", \"code\", and where given \"description\", \"info\"."),
    callback.post(
        "addErrorToQueue:userInfo:", errorUserInfo,
        "The same; \"hostname\" and \"appName\" in the second dictionary. Of an operation that the "
        "client would not do it has \"refused\" = 1 and the selector under \"operation\", and is sent "
        "before the answer."),
    callback.post("addStringToQueue:hostname:", stringHost, "An error in words."),
    callback.post("addStringToQueue:userInfo:", stringUserInfo, "The same."),
    callback.post("addExceptionToQueue:hostname:", exceptionHost, "An exception: \"name\", \"reason\"."),

    answer.post("postCallback:", callbackInfo, "The outcome of an authorised task, under \"output\"."),
};

/// The table without the builder type.
std::vector<Operation> plainEntries() {
    return {std::begin(entries), std::end(entries)};
}

using Index = QHash<QStringView, const Operation*>;

Index indexOf(Side side) {
    // The texts that the views look at; they live as long as the index.
    static const QStringList selectors = [] {
        QStringList list;
        for (const Operation& operation : operations())
            list.append(QString::fromLatin1(operation.selector));
        return list;
    }();
    Index index;
    for (qsizetype i = 0; i < selectors.size(); ++i) {
        const Operation& operation = operations()[static_cast<std::size_t>(i)];
        if (operation.side == side) index.insert(selectors.at(i), &operation);
    }
    return index;
}

bool isNumeric(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::ULong:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
        case QMetaType::Float:
            return true;
        default:
            return false;
    }
}

Type typeOf(const QVariant& value) {
    if (value.typeId() == QMetaType::Bool) return Type::Boolean;
    if (isNumeric(value)) return Type::Number;
    switch (value.typeId()) {
        case QMetaType::QString:
            return Type::String;
        case QMetaType::QByteArray:
            return Type::Data;
        case QMetaType::QDateTime:
            return Type::Date;
        case QMetaType::QVariantList:
        case QMetaType::QStringList:
            return Type::Array;
        case QMetaType::QVariantMap:
            return Type::Dictionary;
        default:
            break;
    }
    const bool object = value.canConvert<VLCallbackTargetPtr>() || value.canConvert<VLRemoteCallbackPtr>();
    return object ? Type::Object : Type::Any;
}

}  // namespace

std::span<const Operation> operations() {
    static const std::vector<Operation> table = plainEntries();
    return table;
}

const Operation* operation(Side side, QStringView selector) {
    static const Index agent = indexOf(Side::Agent);
    static const Index console = indexOf(Side::Console);
    return (side == Side::Agent ? agent : console).value(selector, nullptr);
}

int argumentCount(QStringView selector) {
    return static_cast<int>(selector.count(u':'));
}

bool accepts(Type type, const QVariant& value) {
    if (type == Type::Any) return true;
    const Type actual = typeOf(value);
    if (type == Type::Boolean || type == Type::Number)
        return actual == Type::Boolean || actual == Type::Number;
    return actual == type;
}

qlonglong integerValue(const QVariant& value) {
    if (!accepts(Type::Number, value)) return 0;
    const bool isReal = value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float;
    if (!isReal) return value.toLongLong();
    const double real = value.toDouble();
    if (std::isnan(real)) return 0;
    constexpr double bound = 9223372036854775808.0;  // 2^63
    if (real >= bound) return std::numeric_limits<qlonglong>::max();
    if (real < -bound) return std::numeric_limits<qlonglong>::min();
    return static_cast<qlonglong>(real);
}

QString textValue(const QVariant& value) {
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

QString typeName(Type type) {
    switch (type) {
        case Type::Any:
            return QStringLiteral("any value");
        case Type::Boolean:
            return QStringLiteral("truth value");
        case Type::Number:
            return QStringLiteral("number");
        case Type::String:
            return QStringLiteral("string");
        case Type::Data:
            return QStringLiteral("data");
        case Type::Date:
            return QStringLiteral("date");
        case Type::Array:
            return QStringLiteral("array");
        case Type::Dictionary:
            return QStringLiteral("dictionary");
        case Type::Object:
            return QStringLiteral("object");
    }
    return {};
}

QString typeName(const QVariant& value) {
    if (!value.isValid()) return QStringLiteral("nothing");
    const Type type = typeOf(value);
    return type == Type::Any ? QStringLiteral("unknown value") : typeName(type);
}

QString argumentError(const Operation& operation, const QVariantList& arguments) {
    const auto& declared = operation.arguments;
    if (static_cast<std::size_t>(arguments.size()) != declared.size())
        return QStringLiteral("%1 arguments instead of %2").arg(arguments.size()).arg(declared.size());
    for (std::size_t i = 0; i < declared.size(); ++i) {
        const QVariant& value = arguments.at(static_cast<qsizetype>(i));
        const bool fits = value.isValid() ? accepts(declared[i].type, value)
                                          : declared[i].optional || declared[i].type == Type::Any;
        if (fits) continue;
        return QStringLiteral("argument \"%1\" is %2 instead of %3")
            .arg(QString::fromLatin1(declared[i].name), typeName(value), typeName(declared[i].type));
    }
    return {};
}

}  // namespace VLCorvalinServerProtocol
