#include "dnssd/Stack.h"

#include "dnssd/Interfaces.h"

#include <utility>

namespace dnssd {

using namespace std::chrono_literals;

namespace {
constexpr auto reviewInterval = 2000ms;
}

Stack::Stack(AvahiLoop& loop, Settings settings, Delegate delegate)
    : m_loop(loop), m_settings(std::move(settings)), m_delegate(std::move(delegate)) {}

Stack::~Stack() {
    m_loop.stopTimer(m_timer);
    use(nullptr);
}

void Stack::start() {
    review();
}

void Stack::review() {
    m_loop.stopTimer(m_timer);
    reviewDaemon();
    if (daemonAnswers()) {
        use(canUse(*m_daemon) ? m_daemon.get() : nullptr);
        m_embedded.reset();
        return;  // the next change comes as an event
    }
    reviewEmbedded();
    // Neither the appearance of a system bus nor that of a network interface is reported to us.
    reviewLater(reviewInterval);
}

void Stack::reviewDaemon() {
    if (m_daemon && m_daemon->isBroken()) {
        if (m_current == m_daemon.get()) {
            use(nullptr);
            m_embeddedNotBefore = AvahiLoop::Clock::now() + m_settings.embeddedDelay;
        }
        m_daemon.reset();
    }
    if (!m_daemon) m_daemon = connectDaemon(m_loop, m_settings.backend, stateObserver());
}

void Stack::reviewEmbedded() {
    const bool isUsable = hasUsableInterface(m_settings.backend.interfaces);
    if (m_embedded && (m_embedded->isBroken() || !isUsable)) {
        use(nullptr);
        m_embedded.reset();
    }
    const bool isDue = AvahiLoop::Clock::now() >= m_embeddedNotBefore;
    if (!m_embedded && isUsable && isDue)
        m_embedded = startEmbedded(m_loop, m_settings.backend, stateObserver());
    use(m_embedded && canUse(*m_embedded) ? m_embedded.get() : nullptr);
}

void Stack::use(Backend* backend) {
    if (backend == m_current) return;
    if (m_current) {
        m_current = nullptr;
        m_delegate.lost();
    }
    m_current = backend;
    if (m_current) m_delegate.ready(*m_current);
}

void Stack::reviewLater(std::chrono::milliseconds delay) {
    m_timer = m_loop.startTimer(delay, [this] { review(); });
}

bool Stack::daemonAnswers() const {
    return m_daemon && m_daemon->state() != Backend::State::Absent;
}

bool Stack::hasCandidate() const {
    return daemonAnswers() || m_embedded;
}

bool Stack::canUse(const Backend& backend) const {
    const Backend::State state = backend.state();
    return m_settings.mustPublish ? state == Backend::State::Running : state != Backend::State::Absent;
}

std::function<void()> Stack::stateObserver() {
    return [this, alive = std::weak_ptr(m_alive)] {
        m_loop.post([this, alive] {
            if (!alive.expired()) review();
        });
    };
}

}  // namespace dnssd
