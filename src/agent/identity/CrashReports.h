#pragma once

#include <QString>

#include <mutex>

/// Remembers, in the state folder, which console has been told of which crash of the agent. Any thread.
class CrashReports {
public:
    explicit CrashReports(const QString& stateDirectory);

    /// True when `console` has not been told of `logName`, or of a newer one, before: it counts as told now.
    /// The names carry the date, so that they sort by it.
    [[nodiscard]] bool takeFor(const QString& console, const QString& logName);

private:
    const QString m_path;
    std::mutex m_mutex;
};
