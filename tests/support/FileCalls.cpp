#include "support/FileCalls.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/fs.h>
#include <linux/openat2.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <vector>

namespace {

constexpr int making = O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY);

/// They change a file that is open already; it is the first argument.
constexpr std::array onDescriptors{
    SYS_write,     SYS_writev, SYS_pwrite64, SYS_pwritev,  SYS_pwritev2,  SYS_copy_file_range, SYS_ftruncate,
    SYS_fallocate, SYS_fchmod, SYS_fchown,   SYS_sendfile, SYS_fsetxattr, SYS_utimensat,       SYS_ioctl};
/// They make, move, change or remove what has a name.
constexpr std::array onNames{
#ifdef SYS_rename
    SYS_creat,     SYS_rename,   SYS_link,      SYS_symlink,  SYS_unlink,    SYS_mkdir,
    SYS_rmdir,     SYS_mknod,    SYS_chmod,     SYS_chown,    SYS_lchown,
#endif
    SYS_renameat2, SYS_linkat,   SYS_symlinkat, SYS_unlinkat, SYS_mkdirat,   SYS_mknodat,
    SYS_fchmodat,  SYS_fchownat, SYS_truncate,  SYS_setxattr, SYS_lsetxattr,
#ifdef SYS_renameat
    SYS_renameat,
#endif
};
/// They count where their flags say that they make or empty a file.
constexpr std::array onFlags{
#ifdef SYS_open
    SYS_open,
#endif
    SYS_openat, SYS_openat2};

template <typename Calls>
bool contains(const Calls& calls, int call) {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

int installFilter() {
    std::vector<sock_filter> program{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    const auto stopAt = [&](const auto& calls) {
        for (const int call : calls) {
            program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, std::uint32_t(call), 0, 1));
            program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
        }
    };
    stopAt(onDescriptors);
    stopAt(onNames);
    stopAt(onFlags);
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return -1;
    return int(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &filter));
}

/// One descriptor in a message. `listener` of the sender may be -1: there is none.
struct DescriptorMessage {
    DescriptorMessage() {
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
    }
    char byte = 0;
    iovec part{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
};

/// sendmsg() is none of the calls that stop.
bool sendDescriptor(int socket, int descriptor) {
    DescriptorMessage sent;
    cmsghdr* header = CMSG_FIRSTHDR(&sent.message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    return sendmsg(socket, &sent.message, 0) == 1;
}

int receiveDescriptor(int socket) {
    DescriptorMessage received;
    if (recvmsg(socket, &received.message, MSG_CMSG_CLOEXEC) != 1) return -1;
    const cmsghdr* header = CMSG_FIRSTHDR(&received.message);
    int descriptor = -1;
    if (header) std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
    return descriptor;
}

int statusOf(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

/// Answers the process's questions until it has ended.
class Supervisor {
public:
    Supervisor(pid_t process, int listener, const QString& folder, const FileCalls::Trouble& trouble)
        : m_process(process),
          m_listener(listener),
          m_folder(QFile::encodeName(QFileInfo(folder).canonicalFilePath())),
          m_trouble(trouble) {}

    FileCalls::Result serve() {
        pollfd waiting{m_listener, POLLIN, 0};
        while (poll(&waiting, 1, -1) >= 0 || errno == EINTR) {
            if ((waiting.revents & POLLIN) == 0) {
                if ((waiting.revents & (POLLHUP | POLLERR)) != 0) break;
                continue;
            }
            seccomp_notif asked{};
            if (ioctl(m_listener, SECCOMP_IOCTL_NOTIF_RECV, &asked) == 0) answer(asked);
        }
        const int status = statusOf(m_process);
        m_result.isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        m_result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return m_result;
    }

private:
    void answer(const seccomp_notif& asked) {
        seccomp_notif_resp answer{asked.id, 0, 0, SECCOMP_USER_NOTIF_FLAG_CONTINUE};
        if (changesFiles(asked)) {
            const int call = ++m_result.calls;
            if (call == m_trouble.killedAt) {
                kill(m_process, SIGKILL);
                return;
            }
            if (call == m_trouble.failingAt) answer = {asked.id, 0, -EIO, 0};
            if (m_trouble.cannotExchange && asked.data.nr == SYS_renameat2 &&
                (asked.data.args[4] & RENAME_EXCHANGE) != 0)
                answer = {asked.id, 0, -EINVAL, 0};
        }
        ioctl(m_listener, SECCOMP_IOCTL_NOTIF_SEND, &answer);
    }

    [[nodiscard]] bool changesFiles(const seccomp_notif& asked) const {
        const auto& arguments = asked.data.args;
        const int call = asked.data.nr;
        if (call == SYS_openat) return (arguments[2] & making) != 0;
#ifdef SYS_open
        if (call == SYS_open) return (arguments[1] & making) != 0;
#endif
        if (call == SYS_openat2) return (flagsAt(asked.pid, arguments[2]) & making) != 0;
        if (call == SYS_ioctl && std::uint32_t(arguments[1]) != std::uint32_t(FS_IOC_SETFLAGS)) return false;
        return !contains(onDescriptors, call) || isOurs(asked.pid, int(arguments[0]));
    }

    /// The flags of openat2() lie in the memory of the process.
    [[nodiscard]] static std::uint64_t flagsAt(pid_t thread, std::uint64_t address) {
        open_how how{};
        const int memory =
            ::open(qPrintable(QStringLiteral("/proc/%1/mem").arg(thread)), O_RDONLY | O_CLOEXEC);
        if (memory < 0 || pread(memory, &how, sizeof how, off_t(address)) < 0) how.flags = 0;
        if (memory >= 0) ::close(memory);
        return how.flags;
    }

    /// Sockets, pipes, the terminal and the log are not.
    [[nodiscard]] bool isOurs(pid_t thread, int descriptor) const {
        if (descriptor < 0) return true;  // relative to the current folder
        const QByteArray link = QStringLiteral("/proc/%1/fd/%2").arg(thread).arg(descriptor).toLatin1();
        std::array<char, 4096> target{};
        const ssize_t length = readlink(link.constData(), target.data(), target.size());
        return length > 0 && QByteArrayView(target.data(), length).startsWith(m_folder + '/');
    }

    const pid_t m_process;
    const int m_listener;
    const QByteArray m_folder;
    const FileCalls::Trouble m_trouble;
    FileCalls::Result m_result;
};

[[noreturn]] void workInChild(int socket, const std::function<int()>& work) {
    const int listener = installFilter();
    if (listener < 0 || !sendDescriptor(socket, listener)) _exit(126);
    ::close(listener);
    int exitCode = 125;
    try {
        exitCode = work();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "the child throws: %s\n", error.what());
    }
    _exit(exitCode);
}

}  // namespace

bool FileCalls::areSupported() {
    static const bool are = run(QStringLiteral("/"), {}, [] { return 7; }).exitCode == 7;
    return are;
}

FileCalls::Result FileCalls::run(const QString& folder, const Trouble& trouble,
                                 const std::function<int()>& work) {
    int sockets[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) return {};
    const pid_t process = fork();
    if (process == 0) {
        ::close(sockets[0]);
        workInChild(sockets[1], work);
    }
    ::close(sockets[1]);
    const int listener = process > 0 ? receiveDescriptor(sockets[0]) : -1;
    ::close(sockets[0]);
    Result result;
    if (listener >= 0)
        result = Supervisor(process, listener, folder, trouble).serve();
    else if (process > 0)
        statusOf(process);
    if (listener >= 0) ::close(listener);
    return result;
}

std::optional<QStringList> FileCalls::inChild(const std::function<QStringList()>& work) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
    const pid_t process = fork();
    if (process == 0) {
        try {
            const QByteArray told = work().join(QChar(u'\0')).toUtf8();
            for (qsizetype at = 0; at < told.size();) {
                const auto written = ::write(ends[1], told.constData() + at, std::size_t(told.size() - at));
                if (written <= 0) _exit(1);
                at += written;
            }
            _exit(0);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "the child throws: %s\n", error.what());
        }
        _exit(1);
    }
    ::close(ends[1]);
    QByteArray told;
    std::array<char, 65536> part{};
    for (ssize_t count = 0; (count = ::read(ends[0], part.data(), part.size())) > 0;)
        told.append(part.data(), count);
    ::close(ends[0]);
    if (process < 0 || statusOf(process) != 0) return std::nullopt;
    return told.isEmpty() ? QStringList() : QString::fromUtf8(told).split(QChar(u'\0'));
}
