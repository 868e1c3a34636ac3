#include "agent/logs/LogFiles.h"

#include "agent/AgentContext.h"
#include "logs/VLLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

bool isSuiteCrashLog(const QString& name) {
    return name.endsWith(QLatin1String(".crash")) &&
           (name.startsWith(QLatin1String("Corvalin")) || name.startsWith(QLatin1String("corvalin")));
}

bool isLog(const QString& name) {
    return name.endsWith(QLatin1String(".log"));
}

void collect(const WorkstationTree& tree, const QString& folder, bool (*wanted)(const QString&),
             QList<LogFile>& files) {
    const auto entries = tree.entries(folder, WorkstationTree::Links::Refuse);
    for (const auto& listed : entries) {
        if (files.size() >= LogFiles::maximumFiles || !wanted(listed.name)) continue;
        if (listed.kind == WorkstationTree::Kind::File)
            files.append({listed.name, folder + u'/' + listed.name, listed.modified, false});
    }
}

void collectOwn(QList<LogFile>& files) {
    const QFileInfo current(VLLog::currentLogPath());
    // "<name>.1.log" is the current one, its older ones differ in the number.
    const QString stem = current.fileName().section(u'.', 0, -3);
    if (stem.isEmpty()) return;
    const auto own = current.dir().entryInfoList({stem + QStringLiteral(".?.log")}, QDir::Files, QDir::Name);
    for (const QFileInfo& file : own) {
        const bool known = std::any_of(files.cbegin(), files.cend(), [&file](const LogFile& listed) {
            return listed.path == file.absoluteFilePath();
        });
        if (!known) files.append({file.fileName(), file.absoluteFilePath(), file.lastModified(), true});
    }
}

/// Gives the files whose names are not unique their paths as names.
void makeNamesUnique(QList<LogFile>& files) {
    QHash<QString, int> counts;
    for (const LogFile& file : std::as_const(files))
        ++counts[file.name];
    for (LogFile& file : files) {
        if (counts.value(file.name) > 1) file.name = file.path;
    }
}

}  // namespace

QList<LogFile> LogFiles::list(const AgentContext& agent) {
    QStringList libraries{QStringLiteral("/Library")};
    const auto users = agent.tree.userNames();
    for (const QString& user : users)
        libraries.append(WorkstationTree::homePath(user) + QStringLiteral("/Library"));

    QList<LogFile> files;
    for (const QString& library : std::as_const(libraries)) {
        collect(agent.tree, library + QStringLiteral("/Logs/Velmora"), isLog, files);
        collect(agent.tree, library + QStringLiteral("/Logs/CrashReporter"), isSuiteCrashLog, files);
    }
    collectOwn(files);
    makeNamesUnique(files);
    std::sort(files.begin(), files.end(), [](const LogFile& a, const LogFile& b) { return a.name < b.name; });
    return files;
}

std::optional<QByteArray> LogFiles::readEnd(const AgentContext& agent, const LogFile& file,
                                            qint64 maximumBytes) {
    if (!file.isOwn) return agent.tree.readEnd(file.path, maximumBytes, WorkstationTree::Links::Refuse);
    QFile own(file.path);
    if (!own.open(QIODevice::ReadOnly)) return std::nullopt;
    own.seek(std::max<qint64>(0, own.size() - maximumBytes));
    return own.read(maximumBytes);
}
