#pragma once

#include <QByteArray>
#include <QString>

namespace dnssd {

/// Longest instance name that DNS-SD can carry.
inline constexpr int maxLabelBytes = 63;

/// A name as one DNS label: UTF-8, without NUL, cut to `maxBytes` between two characters.
[[nodiscard]] QByteArray toLabel(const QString& name, int maxBytes = maxLabelBytes);

/// A name as an instance of `type` that every Avahi can resolve: besides the 63 bytes, Avahi reads names from
/// the network into 255 characters with everything but ASCII letters and digits escaped (four characters a
/// byte). Leaves room for the " #2" of a name that was taken.
[[nodiscard]] QByteArray toInstanceName(const QString& name, const char* type);

/// Host names compare without regard to case and to a trailing dot.
[[nodiscard]] QString withoutTrailingDot(const QString& name);
[[nodiscard]] bool isSameHost(const QString& one, const QString& other);

}  // namespace dnssd
