#include "agent/tree/TreeWriter.h"

#include "agent/tree/TreeAccess.h"
#include "agent/tree/TreeCopier.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

#include <QFile>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <optional>

namespace {

constexpr int mostTrashNames = 1000;
constexpr mode_t writeBits = 0222, ownerWrite = 0200;

const QString moveWord = QStringLiteral("move");
const QString lockWord = QStringLiteral("lock or unlock");

/// Everything written below `folder` outlasts a crash from here on.
void syncContents(int folder, const QString& path) {
    if (syncfs(folder) != 0) TreeAccess::fail(QStringLiteral("write"), path);
}

/// A copy that appears under its name when it is complete.
void copyTo(const WorkstationTree& tree, const TreeAccess::Place& source, const TreeAccess::Place& target,
            TreeCopier::Owners owners) {
    struct stat status {};
    if (TreeAccess::statusOf(target.folder, target.name, status))
        TreeAccess::fail(QStringLiteral("make"), target.path, EEXIST);
    TemporaryEntry copy(tree, target.folder);
    TreeCopier(source.path, owners).copy(source.folder, source.name, target.folder, copy.name());
    syncContents(target.folder, target.path);
    if (!TreeAccess::renameNew(target.folder, copy.name(), target.folder, target.name))
        TreeAccess::fail(QStringLiteral("make"), target.path);
    copy.keep();
    TreeAccess::syncFolder(target.folder);
}

void requireThere(const TreeAccess::Place& place, const QString& what) {
    struct stat status {};
    if (!TreeAccess::statusOf(place.folder, place.name, status)) TreeAccess::fail(what, place.path);
}

/// False, with errno, when it could not; EEXIST when there is something at `target`.
bool moveTo(const WorkstationTree& tree, const TreeAccess::Place& source, const TreeAccess::Place& target) {
    if (TreeAccess::renameNew(source.folder, source.name, target.folder, target.name)) {
        TreeAccess::syncFolder(target.folder);
        TreeAccess::syncFolder(source.folder);
        return true;
    }
    if (errno != EXDEV) return false;
    copyTo(tree, source, target, TreeCopier::Owners::Kept);
    TreeAccess::removeAll(source.folder, source.name, source.path);
    return true;
}

/// Removes what was replaced. The change stands, whether that works or not.
void removeFormer(int folder, const QByteArray& name, const QString& path) {
    try {
        TreeAccess::removeAll(folder, name, path);
    } catch (const VLException& exception) {
        VLLog::appendLog(QStringLiteral("%@"), exception.reason());
    }
}

/// For file systems that cannot exchange two names. A file is replaced in one step all the same; a folder is
/// gone for a moment.
void replaceInSteps(const TreeAccess::Place& staged, const TreeAccess::Place& target) {
    const QString what = QStringLiteral("replace");
    struct stat stagedStatus {
    }, targetStatus{};
    if (!TreeAccess::statusOf(staged.folder, staged.name, stagedStatus) ||
        !TreeAccess::statusOf(target.folder, target.name, targetStatus))
        TreeAccess::fail(what, target.path);
    const auto rename = [](int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to) {
        return renameat(fromFolder, from.constData(), toFolder, to.constData()) == 0;
    };
    if (!S_ISDIR(targetStatus.st_mode) && !S_ISDIR(stagedStatus.st_mode)) {
        if (!rename(staged.folder, staged.name, target.folder, target.name))
            TreeAccess::fail(what, target.path);
        return;
    }
    const QByteArray aside = ".corvalin-old-" + target.name;
    TreeAccess::removeAll(target.folder, aside,
                          target.path);  // of a run that was killed; the target is there
    if (!TreeAccess::renameNew(target.folder, target.name, target.folder, aside))
        TreeAccess::fail(what, target.path);
    if (!rename(staged.folder, staged.name, target.folder, target.name)) {
        const int error = errno;
        rename(target.folder, aside, target.folder, target.name);
        TreeAccess::fail(what, target.path, error);
    }
    removeFormer(target.folder, aside, target.path);
}

QString uniqueName(const QString& name, int attempt) {
    if (attempt == 1) return name;
    const auto dot = name.lastIndexOf(u'.');
    const QString base = dot > 0 ? name.left(dot) : name;
    return base + u' ' + QString::number(attempt) + (dot > 0 ? name.mid(dot) : QString());
}

/// Whether the flag is on; nothing where the file system has none.
std::optional<int> flagsOf(int file) {
    int flags = 0;
    if (ioctl(file, FS_IOC_GETFLAGS, &flags) != 0) return std::nullopt;
    return flags;
}

/// False where the file system or the machine does not let us.
bool setImmutable(int file, bool immutable) {
    const auto flags = flagsOf(file);
    if (!flags) return false;
    int wanted = immutable ? *flags | FS_IMMUTABLE_FL : *flags & ~FS_IMMUTABLE_FL;
    return wanted == *flags || ioctl(file, FS_IOC_SETFLAGS, &wanted) == 0;
}

bool isFileLocked(int file) {
    struct stat status {};
    if (fstat(file, &status) == 0 && (status.st_mode & ownerWrite) == 0) return true;
    return (flagsOf(file).value_or(0) & FS_IMMUTABLE_FL) != 0;
}

bool setFileLocked(int file, bool locked, const QString& path) {
    const bool couldDoIt = setImmutable(file, locked);
    if (locked && couldDoIt) return true;
    struct stat status {};
    if (fstat(file, &status) != 0) TreeAccess::fail(lockWord, path);
    const mode_t mode = status.st_mode & TreeAccess::permissions;
    const mode_t wanted = locked ? mode & ~writeBits : mode | ownerWrite;
    if (wanted != mode && fchmod(file, wanted) != 0) TreeAccess::fail(lockWord, path);
    if (!locked && isFileLocked(file)) TreeAccess::fail(lockWord, path, EPERM);
    return couldDoIt;
}

/// Calls `visit` with every regular file that `name` is or holds, until it returns false.
template <typename Visit>
bool visitFiles(int folder, const QByteArray& name, const QString& path, const Visit& visit, int depth = 0) {
    struct stat status {};
    if (!TreeAccess::statusOf(folder, name, status)) {
        if (depth > 0) return true;  // gone meanwhile
        TreeAccess::fail(QStringLiteral("find"), path);
    }
    if (S_ISREG(status.st_mode)) {
        const auto file = TreeAccess::openFile(folder, name);
        if (file.get() < 0) TreeAccess::fail(lockWord, path);
        return visit(file.get());
    }
    if (!S_ISDIR(status.st_mode)) return true;
    const auto below = TreeAccess::openFolder(folder, name);
    if (below.get() < 0) TreeAccess::fail(lockWord, path);
    if (depth >= TreeAccess::deepestFolder)
        TreeAccess::refuse(lockWord, path, QStringLiteral("too many folders in each other"));
    const auto names = TreeAccess::namesIn(below, path, TreeCopier::mostEntries);
    return std::all_of(names.begin(), names.end(), [&](const QByteArray& child) {
        return visitFiles(below, child, path + u'/' + QFile::decodeName(child), visit, depth + 1);
    });
}

}  // namespace

void TreeWriter::makeFolders(const QString& folder) const {
    const auto made = TreeAccess::makeFolders(m_tree, TreeAccess::partsOf(folder));
    static_cast<void>(made);
}

void TreeWriter::write(const QString& path, const QByteArray& contents) const {
    const auto place = TreeAccess::placeOf(m_tree, path);
    TreeAccess::Owner owner = TreeAccess::ownerOf(place.folder, path);
    mode_t mode = 0644;
    struct stat status {};
    if (TreeAccess::statusOf(place.folder, place.name, status)) {
        if (!S_ISREG(status.st_mode))
            TreeAccess::refuse(QStringLiteral("write"), path, QStringLiteral("it is no file"));
        owner = {status.st_uid, status.st_gid};
        mode = status.st_mode & TreeAccess::permissions;
    }
    TemporaryEntry entry(m_tree, place.folder);
    const kj::AutoCloseFd file(
        openat(place.folder, entry.name().constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (file.get() < 0) TreeAccess::fail(QStringLiteral("write"), path);
    TreeAccess::writeAll(file, contents.constData(), contents.size(), path);
    TreeAccess::handOver(file, owner, path);
    if (fchmod(file, mode) != 0 || fsync(file) != 0) TreeAccess::fail(QStringLiteral("write"), path);
    if (renameat(place.folder, entry.name().constData(), place.folder, place.name.constData()) != 0)
        TreeAccess::fail(QStringLiteral("write"), path);
    entry.keep();
    TreeAccess::syncFolder(place.folder);
}

void TreeWriter::move(const QString& from, const QString& to) const {
    const auto source = TreeAccess::placeOf(m_tree, from);
    requireThere(source, moveWord);
    if (!moveTo(m_tree, source, TreeAccess::makePlace(m_tree, to)))
        TreeAccess::fail(moveWord, errno == EEXIST || errno == ENOTEMPTY ? to : from);
}

void TreeWriter::replace(const QString& staged, const QString& target) const {
    const auto from = TreeAccess::placeOf(m_tree, staged);
    const auto to = TreeAccess::placeOf(m_tree, target);
    requireThere(from, QStringLiteral("replace by"));
    syncContents(from.folder, staged);
    struct stat status {};
    if (!TreeAccess::statusOf(to.folder, to.name, status)) {
        if (!TreeAccess::renameNew(from.folder, from.name, to.folder, to.name))
            TreeAccess::fail(QStringLiteral("make"), target);
    } else if (renameat2(from.folder, from.name.constData(), to.folder, to.name.constData(),
                         RENAME_EXCHANGE) == 0) {
        TreeAccess::syncFolder(to.folder);
        removeFormer(from.folder, from.name, staged);
    } else if (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) {
        replaceInSteps(from, to);
    } else {
        TreeAccess::fail(QStringLiteral("replace"), target);
    }
    TreeAccess::syncFolder(to.folder);
    TreeAccess::syncFolder(from.folder);
}

bool TreeWriter::exchange(const QString& first, const QString& second) const {
    const auto one = TreeAccess::placeOf(m_tree, first);
    const auto other = TreeAccess::placeOf(m_tree, second);
    if (renameat2(one.folder, one.name.constData(), other.folder, other.name.constData(), RENAME_EXCHANGE) !=
        0) {
        if (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP) return false;
        TreeAccess::fail(QStringLiteral("replace"), second);
    }
    TreeAccess::syncFolder(other.folder);
    TreeAccess::syncFolder(one.folder);
    return true;
}

quint64 TreeWriter::identity(const QString& path) const {
    const auto isMissing = [] { return errno == ENOENT || errno == ENOTDIR || errno == ELOOP; };
    const QString examine = QStringLiteral("examine");
    const QString folder = path.left(path.lastIndexOf(u'/'));
    if (!m_tree.entry(folder, WorkstationTree::Links::Refuse)) {
        if (!isMissing()) TreeAccess::fail(examine, path);
        return 0;
    }
    const auto place = TreeAccess::placeOf(m_tree, path);
    struct stat status {};
    if (TreeAccess::statusOf(place.folder, place.name, status)) return status.st_ino;
    if (!isMissing()) TreeAccess::fail(examine, path);
    return 0;
}

void TreeWriter::copy(const QString& from, const QString& to) const {
    const auto source = TreeAccess::placeOf(m_tree, from);
    requireThere(source, QStringLiteral("copy"));
    copyTo(m_tree, source, TreeAccess::makePlace(m_tree, to), TreeCopier::Owners::OfNewFolder);
}

qint64 TreeWriter::copyAll(const QList<Copy>& copies) const {
    qint64 bytes = 0;
    for (const Copy& copy : copies) {
        const auto source = TreeAccess::placeOf(m_tree, copy.from);
        requireThere(source, QStringLiteral("copy"));
        const auto target = TreeAccess::makePlace(m_tree, copy.to);
        TreeCopier copier(source.path, TreeCopier::Owners::OfNewFolder);
        copier.copy(source.folder, source.name, target.folder, target.name);
        bytes += copier.bytes();
    }
    if (!copies.isEmpty()) {
        const auto last = TreeAccess::placeOf(m_tree, copies.last().to);
        syncContents(last.folder, last.path);
    }
    return bytes;
}

void TreeWriter::remove(const QString& path) const {
    const auto place = TreeAccess::placeOf(m_tree, path);
    TreeAccess::removeAll(place.folder, place.name, path);
    TreeAccess::syncFolder(place.folder);
}

QString TreeWriter::trash(const QString& path, const QString& user) const {
    if (user.isEmpty() || user == u"." || user.contains(u'/'))
        TreeAccess::refuse(moveWord, path, QStringLiteral("there is no user to whose trash it could go"));
    const auto source = TreeAccess::placeOf(m_tree, path);
    requireThere(source, moveWord);
    const QString folder = WorkstationTree::homePath(user) + QStringLiteral("/.Trash");
    const QString name = path.section(u'/', -1, -1, QString::SectionSkipEmpty);
    for (int attempt = 1; attempt <= mostTrashNames; ++attempt) {
        const QString target = folder + u'/' + uniqueName(name, attempt);
        const auto place = TreeAccess::makePlace(m_tree, target);
        struct stat status {};
        if (TreeAccess::statusOf(place.folder, place.name, status)) continue;
        if (moveTo(m_tree, source, place)) return target;
        if (errno != EEXIST) break;
    }
    TreeAccess::fail(moveWord, path);
}

bool TreeWriter::setLocked(const QString& path, bool locked) const {
    const auto place = TreeAccess::placeOf(m_tree, path);
    bool couldDoAll = true;
    visitFiles(place.folder, place.name, path, [&](int file) {
        couldDoAll = setFileLocked(file, locked, path) && couldDoAll;
        return true;
    });
    return couldDoAll;
}

bool TreeWriter::isLocked(const QString& path) const {
    const auto place = TreeAccess::placeOf(m_tree, path);
    return !visitFiles(place.folder, place.name, path, [](int file) { return !isFileLocked(file); });
}
