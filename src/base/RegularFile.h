#pragma once

#include <QFile>
#include <QString>

#include <optional>

/// The program's own files, in whose place anything may lie: a pipe or a device would block whoever opens it,
/// or swallow what is written. Links are followed. Any thread.
namespace RegularFile {

/// What is wrong with what lies there, with the path; empty for a regular file, and where there is nothing.
[[nodiscard]] QString problem(const QString& path);
/// Never waits for the other end of a pipe. False, and `*error` set, when it is no regular file.
[[nodiscard]] bool openForReading(QFile& file, const QString& path, QString* error = nullptr);
/// The same, unbuffered and at the end; made where there is none.
[[nodiscard]] bool openForAppending(QFile& file, const QString& path, QString* error = nullptr);

inline constexpr int mostDamaged = 9;
/// Puts a damaged file out of the way: as "<path>.damaged", then "<path>.damaged-2" and so on up to
/// `mostDamaged`. None that is there already is overwritten. The new path; nothing, and `*error` set, when it
/// stays where it is.
[[nodiscard]] std::optional<QString> keepDamaged(const QString& path, QString* error = nullptr);

}  // namespace RegularFile
