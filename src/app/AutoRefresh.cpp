#include "app/AutoRefresh.h"

#include "foundation/VLUserDefaults.h"

#include <algorithm>
#include <limits>

namespace {

bool isTurnedOn() {
    return VLUserDefaults::standardUserDefaults().integerForKey(QStringLiteral("autoRefresh")) == 1;
}

}  // namespace

AutoRefresh::AutoRefresh(Environment environment, QObject* parent)
    : QObject(parent), m_environment(std::move(environment)) {
    connect(&m_timer, &QTimer::timeout, this, [this] { autoRefreshData(true); });
}

void AutoRefresh::setupAutoRefresh(std::function<void()> operation, int interval) {
    m_timer.stop();
    m_operation = std::move(operation);
    if (!m_operation) return toolbarRefreshDisable();

    constexpr int longest = std::numeric_limits<int>::max() / 1000;  // QTimer counts milliseconds
    if (interval > 0) m_timer.start(std::min(interval, longest) * 1000);
    setRefreshEnabled(!m_environment.isProcessing());
}

bool AutoRefresh::canRefreshNow() const {
    return m_operation && !m_environment.isProcessing() && !m_environment.isInstallingUpdate();
}

void AutoRefresh::autoRefreshData(bool byTimer) {
    if (byTimer && (!m_environment.isApplicationActive() || !isTurnedOn())) return;
    if (canRefreshNow()) m_environment.startOnThread(m_operation);
}

void AutoRefresh::setRefreshEnabled(bool enabled) {
    if (m_refreshEnabled == enabled) return;
    m_refreshEnabled = enabled;
    Q_EMIT refreshEnabledChanged(enabled);
}
