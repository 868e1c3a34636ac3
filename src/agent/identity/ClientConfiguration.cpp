#include "agent/identity/ClientConfiguration.h"

#include "agent/AgentContext.h"
#include "agent/identity/MaintenanceRequest.h"
#include "agent/logs/LogFiles.h"
#include "agent/tree/BundleInfo.h"
#include "agent/updates/UpdateCount.h"
#include "base/PropertyList.h"

#include <QDateTime>
#include <QSysInfo>
#include <QThread>

#include <sys/sysinfo.h>

namespace {

constexpr QLatin1StringView suiteApplication("/Applications/Corvalin.app");

QVariantMap readState(const AgentContext& agent, const char* fileName) {
    return PropertyList::readFile(agent.settings.stateDirectory + u'/' + QLatin1String(fileName)).toMap();
}

constexpr int crashDays = 14;

/// Name of the newest crash log of the agent itself. The names carry the date, so the last one in order is
/// the newest; one that has lain there for long is of no interest any more.
QString ownCrashLog(const AgentContext& agent) {
    const QDateTime oldest = QDateTime::currentDateTimeUtc().addDays(-crashDays);
    QString newest;
    const auto files = LogFiles::list(agent);
    for (const LogFile& file : files) {
        if (file.name.startsWith(QLatin1String("corvalin-agent_")) &&
            file.name.endsWith(QLatin1String(".crash")) && file.modified >= oldest && file.name > newest) {
            newest = file.name;
        }
    }
    return newest;
}

void addUpdateCount(const AgentContext& agent, QVariantMap& configuration) {
    const auto counted = UpdateCount::lastCounted(agent);
    if (!counted) return;  // nobody has looked for updates here yet
    configuration.insert(QStringLiteral("availableUpdateCount"), counted->count);
    configuration.insert(QStringLiteral("availableUpdateCountLastUpdate"), counted->date);
}

/// Of the machine that this program runs on; only meant when the disk is that machine's own.
void addOwnHardware(QVariantMap& facts) {
    struct sysinfo memory {};
    if (sysinfo(&memory) == 0) {
        facts.insert(QStringLiteral("memoryBytes"),
                     static_cast<qlonglong>(memory.totalram) * static_cast<qlonglong>(memory.mem_unit));
    }
    facts.insert(QStringLiteral("processorCount"), qlonglong(QThread::idealThreadCount()));
    facts.insert(QStringLiteral("processor"), QSysInfo::currentCpuArchitecture());
    facts.insert(QStringLiteral("systemName"), QSysInfo::prettyProductName());
    facts.insert(QStringLiteral("systemVersion"), QSysInfo::kernelVersion());
}

}  // namespace

QVariantMap ClientConfiguration::current(const AgentContext& agent) {
    QVariantMap configuration{
        {QStringLiteral("maintenanceRequested"),
         MaintenanceRequest::isRequested(agent.settings.stateDirectory)},
        {QStringLiteral("version"), agentVersion},
        {QStringLiteral("preferredHostName"), agent.hostName.get()},
    };
    if (const auto suite = readBundleInfo(agent.tree, suiteApplication)) {
        if (const qlonglong build = suite->buildVersion.toLongLong(); build > 0)
            configuration.insert(QStringLiteral("corvalinVersion"), build);
    }
    addUpdateCount(agent, configuration);
    if (const qlonglong least = agent.minAdminVersion; least > 0)
        configuration.insert(QStringLiteral("minAdminVersion"), least);
    if (const QString crash = ownCrashLog(agent); !crash.isEmpty())
        configuration.insert(QStringLiteral("selfCrashLog"), crash);
    return configuration;
}

QVariantMap ClientConfiguration::systemSpecs(const AgentContext& agent) {
    QVariantMap facts = readState(agent, "machine.plist");
    if (facts.isEmpty() && agent.tree.rootPath() == u"/") addOwnHardware(facts);
    const QVariantMap system =
        agent.tree.readPropertyList(QStringLiteral("/System/Library/CoreServices/SystemVersion.plist"));
    for (const auto& [key, source] :
         {std::pair{"systemName", "ProductName"}, std::pair{"systemVersion", "ProductVersion"},
          std::pair{"systemBuild", "ProductBuildVersion"}}) {
        const QVariant value = system.value(QLatin1String(source));
        if (value.typeId() == QMetaType::QString) facts.insert(QLatin1String(key), value);
    }
    facts.insert(QStringLiteral("name"), agent.settings.name);
    facts.insert(QStringLiteral("hostName"), agent.hostName.get());
    facts.insert(QStringLiteral("model"), agent.settings.model);
    facts.insert(QStringLiteral("consoleUser"), agent.consoleUser());
    return facts;
}
