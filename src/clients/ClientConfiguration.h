#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>

#include <optional>

class VLBundle;

/// What an agent says about itself, read with care: a value of the wrong type counts as missing and is
/// logged.
struct ClientConfiguration {
    bool maintenanceRequested = false;
    qlonglong version = 0;          ///< build of the agent; 0 when it does not say
    qlonglong corvalinVersion = 0;  ///< build of the suite; 0 when it does not say
    QString preferredHostName;
    std::optional<qlonglong> availableUpdateCount;
    QDateTime availableUpdateCountLastUpdate;  ///< invalid when missing
    std::optional<qlonglong> minAdminVersion;
    std::optional<QString> selfCrashLog;

    /// `client` names it in the log; without one nothing is logged.
    [[nodiscard]] static ClientConfiguration read(const QVariantMap& dictionary, const QString& client);

    /// A value as what it should be; nothing when it is of another type.
    [[nodiscard]] static std::optional<qlonglong> integer(const QVariant& value);
    [[nodiscard]] static std::optional<QDateTime> date(const QVariant& value);

    /// The error codes that the versions call for, in the order in which they are set.
    [[nodiscard]] QList<int> versionErrors(const VLBundle& bundle) const;

    enum class Updates { Ignored, Known, Outdated };
    /// Whether the count of waiting updates is there and less than a day old.
    [[nodiscard]] Updates updates(const QDateTime& now) const;

    [[nodiscard]] bool wantsNewerConsole(const VLBundle& bundle) const;
};
