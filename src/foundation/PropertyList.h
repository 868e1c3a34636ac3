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

/// Reads XML or binary data. Invalid and `*error` set on failure.
[[nodiscard]] QVariant fromData(const QByteArray& data, QString* error = nullptr);
/// Values of types that a property list cannot hold (and invalid ones) are left out of their container.
[[nodiscard]] QByteArray toData(const QVariant& value, Format format = Format::Xml);

[[nodiscard]] QVariant readFile(const QString& path, QString* error = nullptr);
/// Readers see the old file or the new one, never a part (also after a crash or with a full disk).
bool writeFileAtomically(const QString& path, const QVariant& value, QString* error = nullptr,
                         Format format = Format::Xml);

}  // namespace PropertyList
