#pragma once

#include <QString>

/// Where files of the user and of the machine live. Folders are not created. Any thread.
class VLLocalPaths {
public:
    /// The user's cache folder (XDG cache home), or the machine's.
    [[nodiscard]] static QString cacheDirectory(bool user);
    /// The folder that holds "Logs": the user's state folder (XDG state home plus "/orlendo"), or the
    /// machine's ("/var/lib/orlendo").
    [[nodiscard]] static QString libraryDirectory(bool user);
    [[nodiscard]] static QString logDirectory(bool user);  ///< libraryDirectory plus "/Logs"
    [[nodiscard]] static QString configDirectory();        ///< the user's settings of this program
    /// Where the desktop keeps the items of the user's trash (XDG data home plus "/Trash/files").
    [[nodiscard]] static QString trashDirectory();
    /// For tests: every folder above lies below `root` until an empty one is set.
    static void setTestRoot(const QString& root);

    /// The file of the running program; works without a QCoreApplication.
    [[nodiscard]] static QString executablePath();
};
