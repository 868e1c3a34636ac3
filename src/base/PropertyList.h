#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

/// Property lists as QVariant values: QVariantMap, QVariantList, QString, QByteArray, QDateTime (UTC), bool,
/// qlonglong, double. The files come from other people's folders: size and nesting are bounded, and anything
/// malformed gives an invalid QVariant and an error text, never a crash. Any thread.
namespace PropertyList {

enum class Format { Xml, Binary };

inline constexpr qint64 maximumFileSize = 64LL * 1024 * 1024;
inline constexpr int maximumNesting = 128;
inline constexpr int maximumValues = 1'000'000;  ///< shared objects of a binary list count at every use

/// Reads XML or binary data. Invalid and `*error` set on failure.
[[nodiscard]] QVariant fromData(const QByteArray& data, QString* error = nullptr);
/// Values of types that a property list cannot hold (and invalid ones) are left out of their container.
/// Empty when nothing is left, or when containers are nested deeper than `maximumNesting`. Characters that
/// XML cannot hold become U+FFFD.
[[nodiscard]] QByteArray toData(const QVariant& value, Format format = Format::Xml);
/// The value as it comes back from a file: every integer type a qlonglong, every real a double, and so on.
[[nodiscard]] QVariant normalized(const QVariant& value);

/// Regular files only (links are followed), so that a pipe in somebody's folder cannot block the caller.
[[nodiscard]] QVariant readFile(const QString& path, QString* error = nullptr);
/// Readers see the old file or the new one, never a part (also after a crash or with a full disk).
bool writeFileAtomically(const QString& path, const QVariant& value, QString* error = nullptr,
                         Format format = Format::Xml);

}  // namespace PropertyList
