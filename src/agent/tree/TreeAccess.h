#pragma once

#include "agent/tree/WorkstationTree.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <kj/io.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>

/// What TreeWriter and TreeArchive share: descriptors of a tree's folders, and work below one. A name is
/// always looked up in an open folder and never through a link, so a user who swaps folders for links
/// meanwhile gains nothing. Throws VLException with the path and the reason in plain words.
struct TreeAccess {
    struct Owner {
        uid_t user;
        gid_t group;
    };
    /// An open folder and the name of something in it, whether that is there or not.
    struct Place {
        kj::AutoCloseFd folder;
        QByteArray name;
        QString path;
    };

    static constexpr int deepestFolder = 100;  ///< below what an operation is called with
    static constexpr mode_t permissions = 0777;

    [[noreturn]] static void fail(const QString& what, const QString& path, int error = errno);
    [[noreturn]] static void refuse(const QString& what, const QString& path, const QString& reason);

    /// The names that a path consists of; throws for a path that a change may not have.
    [[nodiscard]] static QStringList partsOf(const QString& path);
    [[nodiscard]] static Place placeOf(const WorkstationTree& tree, const QString& path);
    /// The same, and makes the folders that lead to it.
    [[nodiscard]] static Place makePlace(const WorkstationTree& tree, const QString& path);

    /// Descriptor of the folder, made when it is missing, with all that lead to it.
    [[nodiscard]] static kj::AutoCloseFd makeFolders(const WorkstationTree& tree, const QStringList& parts);
    /// The folder `name` in an open one, made when it is missing.
    [[nodiscard]] static kj::AutoCloseFd makeFolder(int parent, const QByteArray& name, const QString& path);
    [[nodiscard]] static kj::AutoCloseFd openFolder(int parent, const QByteArray& name);
    /// A regular file, for reading. Not one that somebody linked here who does not own it: negative, and
    /// errno says why.
    [[nodiscard]] static kj::AutoCloseFd openFile(int parent, const QByteArray& name);
    /// False when there is nothing of that name.
    static bool statusOf(int parent, const QByteArray& name, struct stat& status);
    [[nodiscard]] static QList<QByteArray> namesIn(int folder, const QString& path, qsizetype most);

    /// Gives what was just made to the owner of the folder that it lies in.
    static void handOver(int descriptor, const Owner& owner, const QString& path);
    /// The same for a link; whatever somebody put in its place meanwhile is left alone.
    static void handOverLink(int folder, const QByteArray& name, const Owner& owner, const QString& path);
    [[nodiscard]] static Owner ownerOf(int descriptor, const QString& path);
    static void writeAll(int descriptor, const char* bytes, qsizetype size, const QString& path);
    /// Makes names that changed in a folder outlast a crash.
    static void syncFolder(int folder);

    /// A hidden name that nobody uses. What an earlier run of this program left behind in that folder when
    /// it was killed is removed on the way.
    [[nodiscard]] static QByteArray temporaryName(const WorkstationTree& tree, int folder);
    /// As rename(2), but never in the place of something. False, with errno, when it could not.
    static bool renameNew(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to);
    static void removeAll(int folder, const QByteArray& name, const QString& path, int depth = 0);

private:
    static kj::AutoCloseFd openPath(const WorkstationTree& tree, const QStringList& parts);
};

/// Removes what is being made under a temporary name, unless keep() was called.
class TemporaryEntry {
public:
    TemporaryEntry(const WorkstationTree& tree, int folder)
        : m_folder(folder), m_name(TreeAccess::temporaryName(tree, folder)) {}
    ~TemporaryEntry();
    TemporaryEntry(const TemporaryEntry&) = delete;
    TemporaryEntry& operator=(const TemporaryEntry&) = delete;

    [[nodiscard]] const QByteArray& name() const { return m_name; }
    void keep() { m_isKept = true; }

private:
    int m_folder;
    QByteArray m_name;
    bool m_isKept = false;
};
