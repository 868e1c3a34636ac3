#pragma once

#include <QByteArray>
#include <QString>

class QDebug;

/// The administrator of one client as the console keeps him: the password is encrypted (VLEncryption), and
/// absent where none was typed. They are for one agent only (RemoteClient::identity()). A copy overwrites its
/// password as it goes if no other holds it.
struct HostCredentials {
    QString authName;
    QByteArray authPass;
    QString identity;

    HostCredentials() = default;
    HostCredentials(QString name, QByteArray pass, QString agent)
        : authName(std::move(name)), authPass(std::move(pass)), identity(std::move(agent)) {}
    HostCredentials(const HostCredentials&) = default;
    HostCredentials(HostCredentials&&) noexcept = default;
    HostCredentials& operator=(const HostCredentials&) = default;
    HostCredentials& operator=(HostCredentials&&) noexcept = default;
    ~HostCredentials() {
        if (authPass.isDetached()) authPass.fill('\0');
    }
};

QDebug operator<<(QDebug debug, const HostCredentials& credentials) = delete;
