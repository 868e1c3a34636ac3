#pragma once

#include <QString>
#include <QVariant>

#include <optional>

/// The clients entered by hand, stored under "manualConnections" in the user defaults. Main thread.
namespace ManualConnections {

struct Entry {
    QString name;
    QString ip;  ///< dotted IPv4, or "localhost"
    int port = 0;
    bool operator==(const Entry&) const = default;
};

/// Whether the form's texts may be submitted.
[[nodiscard]] bool validateManualConnectionSettings(const QString& name, const QString& ip,
                                                    const QString& port);
/// The stored entries in order; those of a wrong form are left out with a log line.
[[nodiscard]] QList<Entry> stored();
void append(const Entry& entry);
/// Drops the stored entry with that address and port.
void remove(const QString& ip, int port);

}  // namespace ManualConnections
