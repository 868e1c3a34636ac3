#pragma once

#include "agent/tree/WorkstationTree.h"

#include <QByteArray>
#include <QMap>
#include <QString>

/// Zip archives of what lies on a workstation's disk, and back. Throws VLException with the reason in plain
/// words. Any thread.
namespace TreeArchive {

inline constexpr qint64 largestArchive = qint64(256) * 1024 * 1024;
inline constexpr qint64 largestContents = qint64(1024) * 1024 * 1024;  ///< unpacked
inline constexpr int mostEntries = 50'000;  ///< with the folders that their names imply

/// `items`: the name in the archive (may hold "/") to the path on the disk of a file or folder. Dates and
/// permissions are kept; links are kept as links when they stay inside the archive, else left out.
[[nodiscard]] QByteArray pack(const WorkstationTree& tree, const QMap<QString, QString>& items);

/// Unpacks into `folder`, which is made and must not be there before. An entry whose name is absolute or
/// climbs, a link that leads out, a device, an archive that is too large: nothing of it stays and it throws.
/// What everybody may write to according to the archive only its owner and group may.
void unpack(const WorkstationTree& tree, const QByteArray& archive, const QString& folder,
            qint64 mostContents = largestContents);

/// Names of the entries on the archive's top level.
[[nodiscard]] QStringList topLevelNames(const QByteArray& archive);

}  // namespace TreeArchive
