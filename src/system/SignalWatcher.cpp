#include "system/SignalWatcher.h"

#include "system/VLException.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace {

// A signal handler may touch nothing but these.
std::atomic<int> writeEnd{-1};
std::atomic<bool> isNoted{false};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

void noteSignal(int signal) {
    const int savedErrno = errno;
    isNoted.store(true);
    const auto number = static_cast<unsigned char>(signal);
    [[maybe_unused]] const auto written = write(writeEnd.load(), &number, 1);
    errno = savedErrno;
}

bool endsTheProgram(int signal) {
    return signal == SIGINT || signal == SIGTERM;
}

void setHandler(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    if (endsTheProgram(signal)) action.sa_flags |= static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

}  // namespace

SignalWatcher::SignalWatcher(std::vector<int> signals, Handler handler, QObject* parent)
    : QObject(parent), m_signals(std::move(signals)), m_handler(std::move(handler)) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        throw VLException(VLException::generic, QStringLiteral("Unable to make a pipe."));
    m_readEnd = ends[0];
    writeEnd.store(ends[1]);
    isNoted.store(false);
    m_notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { readPipe(); });
    for (const int signal : m_signals)
        setHandler(signal, &noteSignal);
}

SignalWatcher::~SignalWatcher() {
    for (const int signal : m_signals)
        setHandler(signal, endsTheProgram(signal) ? SIG_DFL : SIG_IGN);
    delete m_notifier;
    close(writeEnd.exchange(-1));
    close(m_readEnd);
}

bool SignalWatcher::hasNoted() const noexcept {
    return isNoted.load();
}

void SignalWatcher::readPipe() {
    unsigned char number = 0;
    while (read(m_readEnd, &number, 1) == 1)
        m_handler(number);
}
