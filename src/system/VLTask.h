#pragma once

#include <QString>
#include <QStringList>

/// Runs other programs. No shell is ever between: arguments reach the program as they are.
class VLTask {
public:
    /// Status of a program that could not be started, or that a signal ended.
    static constexpr int notStarted = 127;
    static constexpr int endedBySignal = 128;

    /// Runs the program to its end and returns its exit status. It reads nothing, its output is dropped, its
    /// error output goes where ours goes: to the system log. Blocks without a time limit; any thread.
    static int runTaskAndReturn(const QString& path, const QStringList& arguments);
};
