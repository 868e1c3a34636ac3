#include "agent/AgentLock.h"

#include "logs/VLLog.h"
#include "system/VLException.h"

#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <cstring>

namespace {

[[noreturn]] void fail(const QString& reason) {
    throw VLException(VLException::generic, reason);
}

void lock(const kj::AutoCloseFd& descriptor, const QString& what) {
    if (flock(descriptor.get(), LOCK_EX | LOCK_NB) == 0) return;
    if (errno == EWOULDBLOCK) fail(QStringLiteral("Another agent runs on %1 already.").arg(what));
    // Some network file systems have no locks; that is no reason to leave a machine without its agent.
    VLLog::appendLog(QStringLiteral("Unable to lock %@: %@"), what, QString::fromUtf8(strerror(errno)));
}

kj::AutoCloseFd open(const QString& path, int flags) {
    return kj::AutoCloseFd(::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC | O_NOFOLLOW, 0600));
}

}  // namespace

AgentLock::AgentLock(const AgentSettings& settings) {
    const QString state = settings.stateDirectory, path = state + QStringLiteral("/agent.lock");
    QDir().mkpath(state);
    m_state = open(path, O_RDWR | O_CREAT | O_NONBLOCK);
    if (m_state.get() < 0)
        fail(QStringLiteral("Unable to open %1: %2").arg(path, QString::fromUtf8(strerror(errno))));
    lock(m_state, QStringLiteral("the state folder %1").arg(state));
    // Every user may lock the root of the file system, and would so keep the machine's agent from starting.
    // That one has its state folder.
    const QString root = QDir(settings.root).canonicalPath();
    if (root.isEmpty() || root == u"/") return;
    m_root = open(root, O_RDONLY | O_DIRECTORY);
    if (m_root.get() >= 0) lock(m_root, root);
}
