#pragma once

#include <QByteArray>
#include <QVariantMap>

/// What is kept on disk of the data that takes a change back on one computer.
namespace UndoData {

inline constexpr qsizetype largestData = 64 << 10;  ///< of one data value; larger ones are files
/// Of one computer: what hardly gets smaller by compression, what does, and what that may come to.
inline constexpr qsizetype largestPlain = 256 << 10, largestUnpacked = 1 << 20, largestPacked = 64 << 10;
inline constexpr qsizetype largestOfRun = 32 << 20;  ///< of the bytes that are kept

/// Without what must not be kept, wherever it is nested: what is stored under a name of a password, and data
/// values that are the contents of files.
[[nodiscard]] QVariantMap withoutSecrets(const QVariantMap& undo);

/// A binary property list of that, compressed where that is of use. Empty when nothing is left, or when it is
/// too large to be kept: part of it would take back part of a change.
[[nodiscard]] QByteArray toBytes(const QVariantMap& undo);
/// Empty when the bytes hold no dictionary, or more than toBytes() puts there.
[[nodiscard]] QVariantMap fromBytes(const QByteArray& bytes);

/// About how much memory it takes.
[[nodiscard]] qint64 bytesIn(const QVariantMap& undo);

}  // namespace UndoData
