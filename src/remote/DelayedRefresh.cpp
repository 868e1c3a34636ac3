#include "remote/DelayedRefresh.h"

#include "foundation/MainThread.h"
#include "foundation/VLThread.h"

#include <algorithm>
#include <chrono>

namespace {

bool waited(double seconds) {
    constexpr double longest = 24.0 * 60 * 60;
    const std::chrono::duration<double> delay(std::clamp(seconds, 0.0, longest));
    return VLThread::sleepFor(std::chrono::ceil<std::chrono::milliseconds>(delay));
}

}  // namespace

void DelayedRefresh::delayedRefresh(const std::function<void()>& refresh, double seconds) {
    if (waited(seconds) && refresh) onMainThreadAndWait(refresh);
}

void DelayedRefresh::delayedRefreshOnNewThread(std::function<void()> refresh, int seconds) {
    VLThread::detach(QStringLiteral("delayedRefreshOnNewThread:"), [refresh = std::move(refresh), seconds] {
        if (waited(seconds) && refresh) refresh();
    });
}
