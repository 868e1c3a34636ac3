#pragma once

#include "base/VLFormat.h"

#include <QString>

#include <memory>

/// The program's own log: timestamped lines in "<library>/Logs/Velmora/<app>.1.log", older files 2 to 5.
/// Any thread may append; the writes run one at a time on a serial queue of their own.
class VLLog {
public:
    [[nodiscard]] static VLLog& sharedController();

    /// Starts a new current file and shifts the older ones up. `name` counts only while no name is set.
    static void createNewLog(const QString& name = {});

    /// Trims the format, fills it in (see vlFormat) and queues one line. Returns at once. Without values the
    /// text is taken as it is: a percent sign in it means nothing. Control characters in the line are
    /// replaced (see printableLine()): nothing that another machine says can look like a line of its own.
    template <typename... Values>
    static void appendLog(const QString& format, const Values&... values) {
        if constexpr (sizeof...(values) == 0)
            queueLine(format.trimmed());
        else
            queueLine(vlFormat(format.trimmed(), values...));
    }
    /// The same line in the application log and in the system log (standard error).
    static void appendLogAndPrint(const QString& text);
    /// One line in the system log only; control characters are replaced.
    static void printToSystemLog(const QString& text);
    /// From here on the system log's lines also go to syslog: for a program whose standard error nobody
    /// reads.
    static void copySystemLogToSyslog();

    /// Waits until every line queued so far has been written, however many follow.
    static void finishWriting();

    /// Path of the current file.
    [[nodiscard]] static QString currentLogPath();

    VLLog(const VLLog&) = delete;
    VLLog& operator=(const VLLog&) = delete;

private:
    VLLog();
    ~VLLog();
    static void queueLine(const QString& line);
    struct Private;
    std::unique_ptr<Private> d;
};
