#include "agent/tree/TreeAccess.h"

#include "system/VLException.h"

#include <QFile>
#include <QRandomGenerator>

#include <dirent.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

namespace {

constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr qsizetype namesAtOnce = 10'000;
constexpr int mostRounds = 100;          // of reading a folder that fills while it is emptied
constexpr time_t leftoverAge = 10 * 60;  // seconds

/// Begins every temporary name; what follows is this process's own mark.
const QByteArray temporaryPrefix = ".corvalin-tmp-";

const QByteArray& temporaryMark() {
    static const QByteArray mark =
        temporaryPrefix + QByteArray::number(QRandomGenerator::system()->generate64(), 16) + '-';
    return mark;
}

bool isNotSupported(int error) {
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

QString pathOf(const QStringList& parts) {
    return u'/' + parts.join(u'/');
}

QString childPath(const QString& path, const QByteArray& name) {
    return path + u'/' + QFile::decodeName(name);
}

void removeLeftovers(int folder) {
    const auto names = TreeAccess::namesIn(folder, {}, namesAtOnce);
    for (const QByteArray& name : names) {
        if (!name.startsWith(temporaryPrefix) || name.startsWith(temporaryMark())) continue;
        struct stat status {};
        // Young ones may be in use by a process that is on its way out.
        if (!TreeAccess::statusOf(folder, name, status) || status.st_ctime > time(nullptr) - leftoverAge)
            continue;
        try {
            TreeAccess::removeAll(folder, name, {});
        } catch (const VLException&) {
            continue;  // not what anybody asked for
        }
    }
}

}  // namespace

void TreeAccess::fail(const QString& what, const QString& path, int error) {
    QString reason = QString::fromUtf8(strerror(error));
    if (error == ELOOP) reason = QStringLiteral("a link is in the way");
    if (error == ENOSPC || error == EDQUOT || error == EFBIG)
        reason = QStringLiteral("there is no room left on the disk");
    if (error == EMLINK) reason = QStringLiteral("it is another name of somebody else's file");
    if (error == EPERM) reason = QStringLiteral("it is locked or not permitted");
    refuse(what, path, reason);
}

void TreeAccess::refuse(const QString& what, const QString& path, const QString& reason) {
    throw VLException(VLException::generic, QStringLiteral("Unable to %1 %2: %3").arg(what, path, reason));
}

QStringList TreeAccess::partsOf(const QString& path) {
    const QStringList parts = path.split(u'/', Qt::SkipEmptyParts);
    if (!WorkstationTree::isAcceptablePath(path) || parts.isEmpty() || parts.contains(u".")) {
        throw VLException(VLException::invalidArgument,
                          QStringLiteral("Not a path that may be changed: %1").arg(path.left(200)));
    }
    return parts;
}

kj::AutoCloseFd TreeAccess::openPath(const WorkstationTree& tree, const QStringList& parts) {
    return tree.open(pathOf(parts), folderFlags, WorkstationTree::Links::Refuse);
}

TreeAccess::Place TreeAccess::placeOf(const WorkstationTree& tree, const QString& path) {
    const QStringList parts = partsOf(path);
    auto folder = openPath(tree, parts.mid(0, parts.size() - 1));
    if (folder.get() < 0) fail(QStringLiteral("find"), path);
    return {std::move(folder), QFile::encodeName(parts.last()), path};
}

TreeAccess::Place TreeAccess::makePlace(const WorkstationTree& tree, const QString& path) {
    const QStringList parts = partsOf(path);
    return {makeFolders(tree, parts.mid(0, parts.size() - 1)), QFile::encodeName(parts.last()), path};
}

kj::AutoCloseFd TreeAccess::makeFolders(const WorkstationTree& tree, const QStringList& parts) {
    if (auto there = openPath(tree, parts); there.get() >= 0) return there;
    if (errno != ENOENT) fail(QStringLiteral("open the folder"), pathOf(parts));
    // The first folder may be a link that the administrator made, so the tree resolves it.
    qsizetype found = 1;
    auto folder = openPath(tree, parts.mid(0, found));
    if (folder.get() < 0) folder = openPath(tree, parts.mid(0, found = 0));
    if (folder.get() < 0) fail(QStringLiteral("open the folder"), pathOf(parts));
    for (; found < parts.size(); ++found) {
        auto next = makeFolder(folder, QFile::encodeName(parts.at(found)), pathOf(parts.mid(0, found + 1)));
        syncFolder(folder);
        folder = std::move(next);
    }
    return folder;
}

kj::AutoCloseFd TreeAccess::makeFolder(int parent, const QByteArray& name, const QString& path) {
    const bool isNew = mkdirat(parent, name.constData(), 0755) == 0;
    if (!isNew && errno != EEXIST) fail(QStringLiteral("make the folder"), path);
    auto folder = openFolder(parent, name);
    if (folder.get() < 0) fail(QStringLiteral("open the folder"), path, errno == ENOTDIR ? ELOOP : errno);
    if (!isNew) return folder;
    // Who may write to `parent` could have put another folder there meanwhile, to be made its owner.
    const Owner owner = ownerOf(parent, path);
    const uid_t made = ownerOf(folder, path).user;
    if ((made != geteuid() && made != owner.user) || !namesIn(folder, path, 1).isEmpty())
        refuse(QStringLiteral("make the folder"), path, QStringLiteral("it was replaced by another one"));
    handOver(folder, owner, path);
    return folder;
}

kj::AutoCloseFd TreeAccess::openFolder(int parent, const QByteArray& name) {
    return kj::AutoCloseFd(openat(parent, name.constData(), folderFlags | O_NOFOLLOW));
}

kj::AutoCloseFd TreeAccess::openFile(int parent, const QByteArray& name) {
    struct stat folder {
    }, file{};
    kj::AutoCloseFd opened(
        openat(parent, name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC));
    if (opened.get() < 0 || fstat(opened, &file) != 0 || fstat(parent, &folder) != 0) return nullptr;
    if (!S_ISREG(file.st_mode)) {
        errno = EINVAL;
        return nullptr;
    }
    // A hard link to somebody else's file would have this program, which may read everything, read it for
    // whoever made the link.
    if (file.st_nlink > 1 && file.st_uid != folder.st_uid) {
        errno = EMLINK;
        return nullptr;
    }
    return opened;
}

bool TreeAccess::statusOf(int parent, const QByteArray& name, struct stat& status) {
    return fstatat(parent, name.constData(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

QList<QByteArray> TreeAccess::namesIn(int folder, const QString& path, qsizetype most) {
    kj::AutoCloseFd own(openat(folder, ".", folderFlags));  // with a reading position of its own
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(own.get() < 0 ? nullptr : fdopendir(own.get()),
                                                      &closedir);
    if (!listing) fail(QStringLiteral("list the folder"), path);
    own.release();  // owned by `listing` now
    QList<QByteArray> names;
    while (const dirent* item = readdir(listing.get())) {
        const QByteArray name(item->d_name);
        if (name == "." || name == "..") continue;
        names.append(name);
        if (names.size() >= most) break;
    }
    return names;
}

TreeAccess::Owner TreeAccess::ownerOf(int descriptor, const QString& path) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) fail(QStringLiteral("examine"), path);
    return {status.st_uid, status.st_gid};
}

void TreeAccess::handOver(int descriptor, const Owner& owner, const QString& path) {
    if (geteuid() != 0) return;  // what it makes is its user's
    if (fchown(descriptor, owner.user, owner.group) != 0) fail(QStringLiteral("set the owner of"), path);
}

void TreeAccess::handOverLink(int folder, const QByteArray& name, const Owner& owner, const QString& path) {
    if (geteuid() != 0) return;
    const QString what = QStringLiteral("set the owner of");
    const kj::AutoCloseFd link(openat(folder, name.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (link.get() < 0 || fstat(link, &status) != 0) fail(what, path);
    if (!S_ISLNK(status.st_mode)) refuse(what, path, QStringLiteral("it was replaced by something else"));
    if (fchownat(link, "", owner.user, owner.group, AT_EMPTY_PATH) != 0) fail(what, path);
}

void TreeAccess::writeAll(int descriptor, const char* bytes, qsizetype size, const QString& path) {
    while (size > 0) {
        const auto written = ::write(descriptor, bytes, static_cast<size_t>(size));
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) fail(QStringLiteral("write"), path);
        bytes += written;
        size -= written;
    }
}

void TreeAccess::syncFolder(int folder) {
    // Some file systems cannot; there is nothing more to do then.
    [[maybe_unused]] const int ignored = fsync(folder);
}

QByteArray TreeAccess::temporaryName(const WorkstationTree& tree, int folder) {
    removeLeftovers(folder);
    tree.m_temporaries->note(tree.m_root.get(), folder, temporaryMark());
    return temporaryMark() + QByteArray::number(QRandomGenerator::system()->generate64(), 16);
}

bool TreeAccess::renameNew(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to) {
    if (renameat2(fromFolder, from.constData(), toFolder, to.constData(), RENAME_NOREPLACE) == 0) return true;
    if (!isNotSupported(errno)) return false;
    struct stat status {};
    if (statusOf(toFolder, to, status)) {
        errno = EEXIST;
        return false;
    }
    return renameat(fromFolder, from.constData(), toFolder, to.constData()) == 0;
}

void TreeAccess::removeAll(int folder, const QByteArray& name, const QString& path, int depth) {
    if (unlinkat(folder, name.constData(), 0) == 0 || errno == ENOENT) return;
    const int error = errno;
    const auto below = openFolder(folder, name);
    if (below.get() < 0) fail(QStringLiteral("remove"), path, error);
    if (depth >= deepestFolder)
        refuse(QStringLiteral("remove"), path, QStringLiteral("too many folders in each other"));
    for (int round = 0; round < mostRounds; ++round) {
        const auto names = namesIn(below, path, namesAtOnce);
        for (const QByteArray& child : names)
            removeAll(below, child, childPath(path, child), depth + 1);
        if (names.size() < namesAtOnce) break;
    }
    if (unlinkat(folder, name.constData(), AT_REMOVEDIR) != 0 && errno != ENOENT)
        fail(QStringLiteral("remove"), path);
}

TemporaryEntry::~TemporaryEntry() {
    if (m_isKept) return;
    try {
        TreeAccess::removeAll(m_folder, m_name, {});
    } catch (const VLException&) {
        // The next one to work in this folder tries again.
    }
}
