#pragma once

#include "agent/tree/WorkstationTree.h"

#include <QDateTime>
#include <QList>
#include <QString>

/// A crash log of an application, as far as it could be read: it is somebody else's file.
struct CrashLog {
    QString path;         ///< on the workstation; names the log in every later request
    QDateTime date;       ///< of the crash; of the file where the log names none
    QString application;  ///< that crashed
    QString cause;        ///< what kind of code it crashed in; "Unknown" where that says nothing
};

/// The ".crash" files in "Logs/CrashReporter" of every user and of the machine. Any thread.
namespace CrashLogs {

inline constexpr qsizetype maximumLogs = 2'000;

/// Those that were written later than `since`, all for an invalid date; the newest first, no more than
/// maximumLogs. The date of the file counts: a log may be written long after the crash.
[[nodiscard]] QList<CrashLog> newerThan(const WorkstationTree& tree, const QDateTime& since);

/// What the text of a log says, without its path.
[[nodiscard]] CrashLog parse(const QString& text);

}  // namespace CrashLogs
