#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// Questions about files of this machine. Nothing here needs rights, or changes more than the user's own
/// trash. Any thread.
class VLFileManager {
public:
    /// The path as it is acted on: absolute, links in its folders followed, without a trailing slash. The
    /// item itself may be a link and stays one. Null for an empty path.
    [[nodiscard]] static QString resolvedPath(const QString& path);

    /// True for a folder that the machine, or an account, cannot do without: "/", "/usr", "/etc", "/home",
    /// every home folder and so on. Without `exactMatch` also for everything inside those that belong to the
    /// system alone ("/usr/bin/env", but not "/home/ann/notes" or "/usr/local/tool").
    [[nodiscard]] static bool isPathSystemDirectory(const QString& path, bool exactMatch);

    /// True when there is something at the path (a dangling link too), or when we may not look.
    [[nodiscard]] static bool mayExist(const QString& path);

    /// Names of all entries, hidden ones too; none when the folder cannot be read.
    [[nodiscard]] static std::optional<QStringList> contentsOfDirectory(const QString& path);

    /// Name without its extension, and the extension without its dot: "Report", "pdf". A name that only
    /// begins with a dot has none.
    [[nodiscard]] static std::pair<QString, QString> splitExtension(const QString& path);

    /// Makes the desktop show `target` in the user's trash as what was at `path`, resp. takes that back.
    static void addTrashInfo(const QString& target, const QString& path);
    static void removeTrashInfo(const QString& target);
};
