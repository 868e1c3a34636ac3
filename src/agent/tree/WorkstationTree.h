#pragma once

#include "agent/tree/TemporaryFolders.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <kj/io.h>

#include <memory>
#include <optional>

/// The disk of a workstation below one folder. Paths are absolute and mean what they mean on the workstation:
/// "/Library/Logs" is the folder Library/Logs below the root.
///
/// The kernel resolves every path with the root as its "/", so neither a link nor a link that is swapped
/// during the call leads out of it; a path that says ".." is refused before that. Every answer is bounded.
/// Nothing here throws except the constructor. Any thread.
///
/// What lies in a folder that a user can write to is read with Links::Refuse: a link that the user made would
/// otherwise have this program, which may read everything, read for the user.
class WorkstationTree {
public:
    enum class Kind { File, Folder, Link, Other };
    /// Refuse: nothing below the first folder of a path ("/Users", "/Library") may be a link, symbolic or
    /// hard. The first one may: only the administrator can have made that.
    enum class Links { Follow, Refuse };
    struct Entry {
        QString name;
        Kind kind = Kind::Other;
        qint64 size = 0;     ///< bytes; 0 for what is not a file
        QDateTime modified;  ///< UTC
    };

    static constexpr int maximumEntries = 20'000;

    /// Throws VLException when `root` is no folder that can be opened.
    /// `temporaries`: the file in which it is noted down where temporary files are made; see
    /// TemporaryFolders.
    explicit WorkstationTree(const QString& root, const QString& temporaries = {});

    [[nodiscard]] QString rootPath() const { return m_rootPath; }

    /// False for a path that is relative, climbs (".."), is too long, or holds a NUL.
    [[nodiscard]] static bool isAcceptablePath(const QString& path);

    /// What `path` is, links inside the tree followed unless refused. Nothing when it does not exist or leads
    /// nowhere.
    [[nodiscard]] std::optional<Entry> entry(const QString& path, Links links = Links::Follow) const;

    /// The entries of a folder by name, links shown as links, at most maximumEntries. Empty when it is no
    /// folder. Names that are no valid text are left out: no operation could name them.
    [[nodiscard]] QList<Entry> entries(const QString& folder, Links links = Links::Follow) const;

    /// The whole content of a regular file. Nothing when it is none, or larger than `maximumBytes`.
    [[nodiscard]] std::optional<QByteArray> read(const QString& path, qint64 maximumBytes,
                                                 Links links = Links::Follow) const;
    /// The last `maximumBytes` of a regular file, or all of it when it is shorter.
    [[nodiscard]] std::optional<QByteArray> readEnd(const QString& path, qint64 maximumBytes,
                                                    Links links = Links::Follow) const;
    /// The dictionary in a property-list file. Empty when there is none or it is damaged.
    [[nodiscard]] QVariantMap readPropertyList(const QString& path) const;

    /// Names of the users that have a home folder, sorted.
    [[nodiscard]] QStringList userNames() const;
    void clearLeftovers() const { m_temporaries->clearLeftovers(*this); }
    [[nodiscard]] static QString homePath(const QString& user) { return QStringLiteral("/Users/") + user; }

private:
    friend struct TreeAccess;  // the way of TreeWriter and TreeArchive to descriptors
    [[nodiscard]] kj::AutoCloseFd open(const QString& path, int flags, Links links = Links::Follow) const;

    QString m_rootPath;
    kj::AutoCloseFd m_root;
    std::unique_ptr<TemporaryFolders> m_temporaries;
};
