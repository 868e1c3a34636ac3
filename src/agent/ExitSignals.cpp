#include "agent/ExitSignals.h"

#include "system/VLException.h"

#include <QSocketNotifier>

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace {

// A signal handler may touch nothing but this.
std::atomic<int> writeEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free);

void noteSignal(int signal) {
    const int savedErrno = errno;
    const auto number = static_cast<unsigned char>(signal);
    [[maybe_unused]] const auto written = write(writeEnd.load(), &number, 1);
    errno = savedErrno;
}

void setHandler(void (*handler)(int), void (*hangUp)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    action.sa_handler = hangUp;
    sigaction(SIGHUP, &action, nullptr);
}

}  // namespace

ExitSignals::ExitSignals(std::function<void(int)> handler, QObject* parent)
    : QObject(parent), m_handler(std::move(handler)) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        throw VLException(VLException::generic, QStringLiteral("Unable to make a pipe."));
    m_readEnd = ends[0];
    writeEnd.store(ends[1]);
    m_notifier = new QSocketNotifier(m_readEnd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { readPipe(); });
    setHandler(&noteSignal, &noteSignal);
}

ExitSignals::~ExitSignals() {
    setHandler(SIG_DFL, SIG_IGN);
    delete m_notifier;
    close(writeEnd.exchange(-1));
    close(m_readEnd);
}

void ExitSignals::readPipe() {
    unsigned char number = 0;
    while (read(m_readEnd, &number, 1) == 1)
        m_handler(number);
}
