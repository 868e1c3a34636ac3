#pragma once

#include "foundation/VLThread.h"

#include <QTest>

#include <chrono>

/// Waits for every worker but those that last as long as the console: its connections' and the activity
/// file's.
[[nodiscard]] inline bool waitForWorkers(std::chrono::milliseconds limit) {
    const auto isDone = [] {
        const int all = VLThread::activeCount();
        const int lasting = (all - VLThread::activeCountWithout(QStringLiteral("client "))) +
                            (all - VLThread::activeCountWithout(QStringLiteral("activity")));
        return all <= lasting;
    };
    return QTest::qWaitFor(isDone, int(limit.count()));
}
