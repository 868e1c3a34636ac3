#include "agent/logs/LogService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "agent/logs/LogFiles.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

namespace {

// A log of the suite is about half a megabyte; more than this is a mistake whose end tells the most.
constexpr qint64 largestLog = 8 * 1024 * 1024;
constexpr qint64 largestGathering = 64 * 1024 * 1024;

QVariant filenames(const AgentContext& agent) {
    QVariantList names;
    const auto files = LogFiles::list(agent);
    for (const LogFile& file : files)
        names.append(file.name);
    return names;
}

/// Only what the list names can be asked for, so no path of a peer is ever opened.
QVariant logText(const AgentContext& agent, const QString& name) {
    VLLog::finishWriting();
    const auto files = LogFiles::list(agent);
    for (const LogFile& file : files) {
        if (file.name != name) continue;
        const auto content = LogFiles::readEnd(agent, file, largestLog);
        if (!content) break;
        return QString::fromUtf8(*content);
    }
    throw VLException(VLException::generic,
                      QStringLiteral("There is no log with the name \"%1\".").arg(name.left(255)));
}

QVariant gatherLogs(AgentContext& agent, quint64 peer) {
    agent.log.append(peer, QStringLiteral("Gathering logs..."));
    VLLog::finishWriting();
    QVariantMap contents;
    qint64 left = largestGathering;
    int leftOut = 0;
    const auto files = LogFiles::list(agent);
    for (const LogFile& file : files) {
        const auto content = LogFiles::readEnd(agent, file, largestLog);
        if (!content || content->size() > left) {
            ++leftOut;
            continue;
        }
        left -= content->size();
        contents.insert(file.path, *content);
    }
    if (leftOut > 0)
        agent.log.append(peer, QStringLiteral("%i logs are left out: unreadable, or too much."), leftOut);
    return contents;
}

}  // namespace

void addLogOperations(OperationTable& table, AgentContext& agent) {
    table.add(QStringLiteral("populateVLLogFilenames"),
              [&agent](const OperationCall&) { return filenames(agent); });
    table.add(QStringLiteral("logWithFilename:"), [&agent](const OperationCall& call) {
        return logText(agent, call.arguments.at(0).toString());
    });
    table.add(QStringLiteral("gatherLogs"),
              [&agent](const OperationCall& call) { return gatherLogs(agent, call.peer); });
}
