#include "dnssd/Stack.h"

#include "dnssd/Interfaces.h"

#include <utility>

namespace dnssd {

using namespace std::chrono_literals;

namespace {
constexpr auto reviewInterval = 2000ms;
}

Stack::Stack(AvahiLoop& loop, Settings settings, Delegate delegate)
    : loop_(loop), settings_(std::move(settings)), delegate_(std::move(delegate)) {}

Stack::~Stack() {
    loop_.stopTimer(timer_);
    use(nullptr);
}

void Stack::start() {
    review();
}

void Stack::review() {
    loop_.stopTimer(timer_);
    reviewDaemon();
    if (daemonAnswers()) {
        use(canUse(*daemon_) ? daemon_.get() : nullptr);
        embedded_.reset();
        return;  // the next change comes as an event
    }
    reviewEmbedded();
    // Neither the appearance of a system bus nor that of a network interface is reported to us.
    reviewLater(reviewInterval);
}

void Stack::reviewDaemon() {
    if (daemon_ && daemon_->isBroken()) {
        if (current_ == daemon_.get()) {
            use(nullptr);
            embeddedNotBefore_ = AvahiLoop::Clock::now() + settings_.embeddedDelay;
        }
        daemon_.reset();
    }
    if (!daemon_) daemon_ = connectDaemon(loop_, settings_.backend, stateObserver());
}

void Stack::reviewEmbedded() {
    const bool isUsable = hasUsableInterface(settings_.backend.interfaces);
    if (embedded_ && (embedded_->isBroken() || !isUsable)) {
        use(nullptr);
        embedded_.reset();
    }
    const bool isDue = AvahiLoop::Clock::now() >= embeddedNotBefore_;
    if (!embedded_ && isUsable && isDue) embedded_ = startEmbedded(loop_, settings_.backend, stateObserver());
    use(embedded_ && canUse(*embedded_) ? embedded_.get() : nullptr);
}

void Stack::use(Backend* backend) {
    if (backend == current_) return;
    if (current_) {
        current_ = nullptr;
        delegate_.lost();
    }
    current_ = backend;
    if (current_) delegate_.ready(*current_);
}

void Stack::reviewLater(std::chrono::milliseconds delay) {
    timer_ = loop_.startTimer(delay, [this] { review(); });
}

bool Stack::daemonAnswers() const {
    return daemon_ && daemon_->state() != Backend::State::Absent;
}

bool Stack::hasCandidate() const {
    return daemonAnswers() || embedded_;
}

bool Stack::canUse(const Backend& backend) const {
    const Backend::State state = backend.state();
    return settings_.mustPublish ? state == Backend::State::Running : state != Backend::State::Absent;
}

std::function<void()> Stack::stateObserver() {
    return [this, alive = std::weak_ptr(alive_)] {
        loop_.post([this, alive] {
            if (!alive.expired()) review();
        });
    };
}

}  // namespace dnssd
