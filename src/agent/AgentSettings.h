#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

/// What one agent was told on its command line and in its configuration file. A plain value, constant once
/// the agent runs.
struct AgentSettings {
    static constexpr quint16 standardPort = 5473;

    QString root = QStringLiteral("/");  ///< the workstation's disk
    QString stateDirectory;              ///< key pair, requests, and what the disk cannot hold
    QString listenAddress = QStringLiteral("0.0.0.0");
    quint16 port = standardPort;  ///< 0: the system chooses
    QString name;                 ///< as advertised
    QString hostName;             ///< with a trailing dot, as the consoles know this machine
    QString model;                ///< for example "MacPro4,1"; may be empty
    QString consoleUser;          ///< whose home folder counts; empty: the first one on the disk
    QStringList authorized;       ///< files and folders with the certificates of consoles
    QString adminFile;            ///< "name:crypt(3) hash" lines; empty: none
    QStringList adminGroups{QStringLiteral("sudo"), QStringLiteral("wheel"), QStringLiteral("admin")};
    QString pamFolder;              ///< where PAM's service file is; empty: the system's folder
    qlonglong minAdminVersion = 0;  ///< lowest console build that is welcome; 0: any
    bool advertise = true;
    QString settingsFile;  ///< where these come from; empty: from nowhere

    /// Takes over what a configuration file says. Relative paths are meant from `directory`, the file's own.
    /// False, with a reason in `error`, for a key that is unknown or holds a value of a wrong type.
    bool apply(const QVariantMap& configuration, const QString& directory, QString* error);
    /// Fills in what nobody said: names, model and folders.
    void complete();
};
