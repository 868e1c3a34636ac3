#include "clients/discovery/HostileAnnouncer.h"

#include <QList>
#include <QtEndian>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr quint16 multicastDnsPort = 5353;
enum RecordType : quint16 { A = 1, Ptr = 12, Txt = 16, Srv = 33 };

QByteArray bigEndian(quint16 value) {
    QByteArray bytes(2, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray wireName(const QList<QByteArray>& labels) {
    QByteArray bytes;
    for (const QByteArray& label : labels)
        bytes += static_cast<char>(label.size()) + label;
    return bytes + '\0';
}

QByteArray instanceName(const QByteArray& instance) {
    return wireName({instance, "_corvalin", "_tcp", "local"});
}

}  // namespace

HostileAnnouncer::HostileAnnouncer() {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int on = 1, hopLimit = 255;
    const in_addr loopback{htonl(INADDR_LOOPBACK)};
    setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    setsockopt(fd, SOL_SOCKET, SO_REUSEPORT, &on, sizeof on);
    setsockopt(fd, IPPROTO_IP, IP_MULTICAST_TTL, &hopLimit, sizeof hopLimit);
    setsockopt(fd, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback);
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_port = htons(multicastDnsPort);
    own.sin_addr = loopback;
    if (bind(fd, reinterpret_cast<const sockaddr*>(&own), sizeof own) == 0)
        socket_ = fd;
    else
        close(fd);
}

HostileAnnouncer::~HostileAnnouncer() {
    if (socket_ >= 0) close(socket_);
}

void HostileAnnouncer::addPointer(const QByteArray& instance) {
    add(wireName({"_corvalin", "_tcp", "local"}), Ptr, instanceName(instance), false);
}

void HostileAnnouncer::addServer(const QByteArray& instance, const QByteArray& host, quint16 port) {
    add(instanceName(instance), Srv, QByteArray(4, '\0') + bigEndian(port) + wireName({host, "local"}), true);
}

void HostileAnnouncer::addText(const QByteArray& instance, const QByteArray& data) {
    add(instanceName(instance), Txt, data, true);
}

void HostileAnnouncer::addAddress(const QByteArray& host, const QByteArray& address) {
    add(wireName({host, "local"}), A, address, true);
}

void HostileAnnouncer::add(const QByteArray& name, quint16 type, const QByteArray& data, bool isUnique) {
    const quint16 internetClass =
        isUnique ? 0x8001 : 0x0001;  // the top bit asks caches to forget older records
    const QByteArray timeToLive = QByteArray(2, '\0') + bigEndian(120);
    records_ += name + bigEndian(type) + bigEndian(internetClass) + timeToLive +
                bigEndian(static_cast<quint16>(data.size())) + data;
    ++count_;
}

bool HostileAnnouncer::send(const QByteArray& extra) {
    const QByteArray header =
        bigEndian(0) + bigEndian(0x8400) + bigEndian(0) + bigEndian(count_) + QByteArray(4, '\0');
    const QByteArray packet = header + records_ + extra;
    sockaddr_in group{};
    group.sin_family = AF_INET;
    group.sin_port = htons(multicastDnsPort);
    group.sin_addr.s_addr = inet_addr("224.0.0.251");
    return sendto(socket_, packet.constData(), static_cast<size_t>(packet.size()), 0,
                  reinterpret_cast<const sockaddr*>(&group), sizeof group) == packet.size();
}
