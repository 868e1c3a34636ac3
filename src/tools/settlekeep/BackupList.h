#pragma once

#include "tools/AgentAnswer.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

/// The backups of one client, from its answer to settlekeepBackups. Every entry has a "path"; "name" and
/// "keys" (joined by commas) are texts, "type" and "size" numbers, "date" is a date wherever they are there.
/// Of further keys some are kept as they come. One that the client made by itself has an "origin" and no
/// "type".
[[nodiscard]] AgentAnswer::Entries checkedBackups(const QVariant& answer);
inline constexpr qsizetype mostBackups = 10'000;
/// The names of the keys that its agent gave it beyond those.
[[nodiscard]] QStringList furtherKeys(const QVariantMap& backup);

/// Names of the columns in the stored sort settings: keys of a backup dictionary, in the order shown.
[[nodiscard]] const QStringList& backupColumnNames();
/// Its name, or that of its folder when it has none.
[[nodiscard]] QString backupName(const QVariantMap& backup);
/// Orders backups by what one of those columns shows, alike ones by name, client and date. `friendlyName`
/// turns a host name into the name shown for its client.
void sortBackups(QList<QVariantMap>& backups, const QString& column, bool descending,
                 const std::function<QString(const QString& hostName)>& friendlyName);

/// Titles of the type menu. A backup's type is its index in it.
[[nodiscard]] QStringList backupTypeTitles();
/// The title of a backup's type, also of one that this console does not know; "Automatic" for those of the
/// client itself.
[[nodiscard]] QString backupTypeText(const QVariantMap& backup);
/// The same for scripts: not translated.
[[nodiscard]] QString backupTypeWord(const QVariantMap& backup);
