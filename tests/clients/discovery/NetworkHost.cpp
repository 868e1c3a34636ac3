#include "clients/discovery/NetworkHost.h"

#include <QProcess>

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>

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
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(words.first(), words.mid(1));
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}
