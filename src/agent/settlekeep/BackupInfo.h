#pragma once

#include "agent/settlekeep/PreferenceKeys.h"
#include "agent/tree/TreeWriter.h"
#include "agent/tree/WorkstationTree.h"

#include <QDateTime>
#include <QString>
#include <QVariant>

/// What is noted down about a backup, in its folder, and how that is called.
namespace BackupInfo {

inline const QString extension = QStringLiteral(".backup");
inline const QString file = QStringLiteral("/Info.plist");
inline constexpr int longestName = 255;

inline const QString pathKey = QStringLiteral("path");
inline const QString nameKey = QStringLiteral("name");
inline const QString typeKey = QStringLiteral("type");
inline const QString dateKey = QStringLiteral("date");
inline const QString keysKey = QStringLiteral("keys");
inline const QString sizeKey = QStringLiteral("size");
/// Only of a backup that the agent made by itself: what it made it before.
inline const QString originKey = QStringLiteral("origin");

[[nodiscard]] QVariantMap make(const QString& name, const QString& user,
                               const QList<PreferenceKeys::Group>& groups, const QDateTime& date);
/// Whatever the user may have made of it; empty when it is no dictionary. `folder` is that of the backup.
[[nodiscard]] QVariantMap read(const WorkstationTree& tree, const QString& folder);
/// What is listed: all but the size, with `date` where none is noted down.
[[nodiscard]] QVariantMap describe(const QVariantMap& info, const QString& folder, const QDateTime& date);
/// Those that this version knows.
[[nodiscard]] QList<PreferenceKeys::Group> groupsOf(const QVariantMap& info);
/// A backup of that name goes back to what was there, down to what was not.
[[nodiscard]] bool isAutomatic(const QVariantMap& info);

/// The path of a backup in `folder` that is not there yet: several may have the same name and differ in their
/// date. Throws VLException when there are too many.
[[nodiscard]] QString freePath(const TreeWriter& writer, const QString& folder, const QString& name,
                               const QDateTime& date);

}  // namespace BackupInfo
