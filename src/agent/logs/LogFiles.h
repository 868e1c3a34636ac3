#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

struct AgentContext;

struct LogFile {
    QString name;  ///< unique among the machine's logs; what consoles ask for
    QString path;  ///< absolute, on the workstation
    QDateTime modified;
    bool isOwn = false;  ///< this agent's own log, which may lie outside the workstation's tree
};

/// The suite's logs on this machine: the ".log" files in "Logs/Velmora" of every user and of the machine, the
/// suite's crash logs in "Logs/CrashReporter" beside them, and this agent's own log. Links are none of them:
/// a user could have any file of the machine gathered through one. Any thread.
namespace LogFiles {

inline constexpr int maximumFiles = 500;

/// Sorted by name. A name that occurs twice is the file's path instead.
[[nodiscard]] QList<LogFile> list(const AgentContext& agent);
/// The last `maximumBytes` of a log.
[[nodiscard]] std::optional<QByteArray> readEnd(const AgentContext& agent, const LogFile& file,
                                                qint64 maximumBytes);

}  // namespace LogFiles
