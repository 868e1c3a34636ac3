#include "desktop/PrivilegedHelper.h"

#include "base/VLLocalPaths.h"
#include "desktop/helper/HelperProtocol.h"
#include "foundation/MainThread.h"
#include "foundation/Snapshot.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr auto pkexecPath = "/usr/bin/pkexec";
constexpr auto endLimit = 3s;

Snapshot<QString>& testPath() {
    static Snapshot<QString> path;
    return path;
}

QString helperPath() {
    if (const QString path = testPath().get(); !path.isEmpty()) return path;
    const QString programs = QFileInfo(VLLocalPaths::executablePath()).path();
    return QDir::cleanPath(programs + QStringLiteral("/../" ORLENDO_LIBEXECDIR "/orlendo-helper"));
}

/// The process, with `socket` as its standard input; -1 and errno when it can't be started.
pid_t spawn(const QStringList& command, int socket) {
    std::vector<std::string> strings;
    for (const QString& word : command)
        strings.push_back(QFile::encodeName(word).toStdString());
    std::vector<char*> arguments;
    for (std::string& string : strings)
        arguments.push_back(string.data());
    arguments.push_back(nullptr);
    // pkexec refuses to work for some values of the user's variables, and needs none of them.
    char path[] = "PATH=/usr/bin:/bin";
    char* environment[] = {path, nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, socket, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // A process group of its own: Ctrl-C at our terminal must not end a tool halfway.
    sigset_t noSignals;
    sigset_t defaults;
    sigemptyset(&noSignals);
    sigemptyset(&defaults);
    for (const int signal : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGCHLD})
        sigaddset(&defaults, signal);
    posix_spawnattr_setsigmask(&attributes, &noSignals);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes,
                             POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    pid_t process = -1;
    const int error =
        posix_spawn(&process, arguments[0], &actions, &attributes, arguments.data(), environment);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (error == 0) return process;
    errno = error;
    return -1;
}

bool isReadable(int socket) {
    pollfd descriptor{socket, POLLIN, 0};
    return poll(&descriptor, 1, 0) > 0;
}

bool readStatus(int socket, HelperProtocol::Status& status) {
    for (;;) {
        const ssize_t got = recv(socket, &status, sizeof status, MSG_WAITALL);
        if (got == sizeof status) return true;
        if (got >= 0 || errno != EINTR) return false;
    }
}

bool sendWhole(int socket, const QByteArray& bytes) {
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t count = send(socket, bytes.constData() + sent,
                                   static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        sent += count;
    }
    return true;
}

/// Empty when the helper would not take it.
QByteArray encodeRequest(const QString& program, const QStringList& arguments) {
    QByteArray body;
    for (const QString& word : QStringList{program} + arguments) {
        if (word.contains(QChar(u'\0'))) return {};
        body += QFile::encodeName(word) + '\0';
    }
    const bool isTooLong = body.size() > qsizetype{HelperProtocol::maxRequestLength} ||
                           std::size_t(arguments.size()) + 1 > HelperProtocol::maxStrings;
    if (isTooLong || !program.startsWith(QLatin1Char('/'))) return {};
    const auto length = static_cast<HelperProtocol::Length>(body.size());
    return QByteArray(reinterpret_cast<const char*>(&length), sizeof length) + body;
}

void reap(pid_t process) {
    const auto end = std::chrono::steady_clock::now() + endLimit;
    while (waitpid(process, nullptr, WNOHANG) == 0 && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(5ms);
}

}  // namespace

QString PrivilegedHelper::missingPart() {
    if (access(pkexecPath, X_OK) != 0)
        return QStringLiteral("%1 (polkit) is not installed.").arg(QLatin1String(pkexecPath));
    if (!QFileInfo(helperPath()).isExecutable())
        return QStringLiteral("%1 is not installed.").arg(helperPath());
    return {};
}

void PrivilegedHelper::setPath(const QString& path) {
    testPath().set(path);
}

std::shared_ptr<PrivilegedHelper> PrivilegedHelper::start(std::chrono::milliseconds limit) {
    // Without the option pkexec would ask at our terminal where no desktop does.
    return start({QLatin1String(pkexecPath), QStringLiteral("--disable-internal-agent"), helperPath()},
                 limit);
}

std::shared_ptr<PrivilegedHelper> PrivilegedHelper::start(const QStringList& command,
                                                          std::chrono::milliseconds limit) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return nullptr;
    const pid_t process = spawn(command, ends[1]);
    const int error = errno;
    close(ends[1]);
    if (process < 0) {
        close(ends[0]);
        VLLog::printToSystemLog(QStringLiteral("Unable to start %1: %2")
                                    .arg(command.first(), QString::fromLocal8Bit(std::strerror(error))));
        return nullptr;
    }
    const std::shared_ptr<PrivilegedHelper> helper(new PrivilegedHelper(process, ends[0]));
    if (!helper->waitUntilReady(limit)) return nullptr;
    return helper;
}

PrivilegedHelper::~PrivilegedHelper() {
    close(m_socket);
    // As long as it is pkexec, waiting for an answer, it doesn't notice; once it is root's it can't be
    // signalled.
    kill(m_process, SIGTERM);
    reap(m_process);
}

bool PrivilegedHelper::waitUntilReady(std::chrono::milliseconds limit) const {
    MainThread::waitUntil(
        [this] { return isReadable(m_socket) || VLThread::isCancelled() || MainThread::isQuitting(); },
        limit);
    HelperProtocol::Status status = -1;
    return isReadable(m_socket) && readStatus(m_socket, status) && status == HelperProtocol::ready;
}

int PrivilegedHelper::run(const QString& program, const QStringList& arguments) {
    const QByteArray request = encodeRequest(program, arguments);
    if (request.isEmpty()) return invalidRequest;
    const std::lock_guard lock(m_mutex);
    HelperProtocol::Status status = helperLost;
    if (!sendWhole(m_socket, request) || !readStatus(m_socket, status)) return helperLost;
    return status;
}
