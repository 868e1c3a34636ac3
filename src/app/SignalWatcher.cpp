#include "app/SignalWatcher.h"

#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace {

// All that a signal handler may touch.
std::atomic<int> signalFd{-1};
std::atomic<int> lastSignal{0};

void handleSignal(int number) {
    const int savedError = errno;
    lastSignal = number;
    const eventfd_t one = 1;
    [[maybe_unused]] const auto written = ::write(signalFd, &one, sizeof one);
    errno = savedError;
}

void setHandler(int number, void (*handler)(int), int flags) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    ::sigaction(number, &action, nullptr);
}

}  // namespace

SignalWatcher::SignalWatcher(QObject* parent) : QObject(parent) {
    m_eventFd = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_eventFd < 0) return;
    signalFd = m_eventFd;
    m_notifier = std::make_unique<QSocketNotifier>(m_eventFd, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        eventfd_t count = 0;
        ::eventfd_read(m_eventFd, &count);
        Q_EMIT terminationRequested(lastSignal);
    });
    // The second of the same kind ends the program at once, should the orderly end hang.
    for (const int number : {SIGINT, SIGTERM})
        setHandler(number, handleSignal, SA_RESTART | static_cast<int>(SA_RESETHAND));
}

SignalWatcher::~SignalWatcher() {
    if (m_eventFd < 0) return;
    for (const int number : {SIGINT, SIGTERM})
        setHandler(number, SIG_DFL, 0);
    signalFd = -1;
    ::close(m_eventFd);
}
