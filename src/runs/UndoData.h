#pragma once

#include <QByteArray>
#include <QVariantMap>

/// What is kept on disk of the data that takes a change back on one computer.
namespace UndoData {

inline constexpr qsizetype largestData = 64 << 10;    ///< of one data value; larger ones are files
inline constexpr qsizetype largestOfAll = 256 << 10;  ///< of one computer
inline constexpr qsizetype largestOfRun = 16 << 20;

/// Without what must not be kept, wherever it is nested: what is stored under a name of a password, and data
/// values that are the contents of files.
[[nodiscard]] QVariantMap withoutSecrets(const QVariantMap& undo);

/// A binary property list of that. Empty when nothing is left, or when it is too large to be kept: part of it
/// would take back part of a change.
[[nodiscard]] QByteArray toBytes(const QVariantMap& undo);
/// Empty when the bytes hold no dictionary.
[[nodiscard]] QVariantMap fromBytes(const QByteArray& bytes);

}  // namespace UndoData
