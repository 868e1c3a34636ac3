#pragma once

#include <QByteArray>
#include <QString>

namespace dnssd {

/// Longest instance name that DNS-SD can carry.
inline constexpr int maxLabelBytes = 63;

/// A name as one DNS label: UTF-8, without NUL, cut to `maxBytes` between two characters.
[[nodiscard]] QByteArray toLabel(const QString& name, int maxBytes = maxLabelBytes);

/// Host names compare without regard to case and to a trailing dot.
[[nodiscard]] QString withoutTrailingDot(const QString& name);
[[nodiscard]] bool isSameHost(const QString& one, const QString& other);

}  // namespace dnssd
