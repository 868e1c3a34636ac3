#include "clients/discovery/NetworkHost.h"

#include <net/if.h>
#include <sched.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>
#include <vector>

QString NetworkHost::run(const QString& hostName, const std::function<void()>& body) {
    QString refusal;
    std::thread thread([&] {
        if (unshare(CLONE_NEWNET | CLONE_NEWUTS) != 0) {
            refusal = QStringLiteral("no rights to make a network of its own: ") +
                      QString::fromLocal8Bit(std::strerror(errno));
            return;
        }
        const QByteArray name = hostName.toLatin1();
        if (sethostname(name.constData(), static_cast<size_t>(name.size())) != 0)
            refusal = QStringLiteral("no rights to set a host name");
        else
            body();
    });
    thread.join();
    return refusal;
}

void NetworkHost::bringLoopbackUp() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    ioctl(fd, SIOCSIFFLAGS, &request);
    close(fd);
}

int NetworkHost::threadId() {
    return gettid();
}

bool NetworkHost::command(const QStringList& words) {
    // Not QProcess: ThreadSanitizer takes its fork for one after which no thread may be started.
    std::vector<QByteArray> texts;
    for (const QString& word : words)
        texts.push_back(word.toLocal8Bit());
    std::vector<char*> arguments;
    for (QByteArray& text : texts)
        arguments.push_back(text.data());
    arguments.push_back(nullptr);
    pid_t process = 0;
    int status = 0;
    return posix_spawnp(&process, arguments.front(), nullptr, nullptr, arguments.data(), environ) == 0 &&
           waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
