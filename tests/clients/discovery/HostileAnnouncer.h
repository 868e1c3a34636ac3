#pragma once

#include <QByteArray>

/// Sends multicast DNS answers, made up byte by byte, on the loopback interface.
class HostileAnnouncer {
public:
    HostileAnnouncer();
    ~HostileAnnouncer();
    HostileAnnouncer(const HostileAnnouncer&) = delete;
    HostileAnnouncer& operator=(const HostileAnnouncer&) = delete;

    [[nodiscard]] bool isOpen() const { return socket_ >= 0; }

    void addPointer(const QByteArray& instance);
    void addServer(const QByteArray& instance, const QByteArray& host, quint16 port);
    void addText(const QByteArray& instance, const QByteArray& data);
    void addAddress(const QByteArray& host, const QByteArray& address);
    /// Sends what was added, with `extra` bytes of nonsense behind it.
    bool send(const QByteArray& extra = {});

private:
    void add(const QByteArray& name, quint16 type, const QByteArray& data, bool isUnique);

    int socket_ = -1;
    quint16 count_ = 0;
    QByteArray records_;
};
