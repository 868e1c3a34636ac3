#include "agent/tree/TreeCopier.h"

#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>

namespace {

const QString copyWord = QStringLiteral("copy");
constexpr mode_t setByOthers = 0022;
constexpr int newFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

struct stat statusOf(int descriptor, const QString& path) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) TreeAccess::fail(copyWord, path);
    return status;
}

/// A file with holes may claim more than any disk has; it is not written until the disk is full.
void requireRoom(int target, off_t size, const QString& path) {
    struct statvfs disk {};
    if (fstatvfs(target, &disk) == 0 && quint64(size) / disk.f_frsize > disk.f_bavail)
        TreeAccess::fail(copyWord, path, ENOSPC);
}

}  // namespace

void TreeCopier::copy(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to, int depth) {
    if (depth > TreeAccess::deepestFolder || ++m_entries > mostEntries)
        TreeAccess::refuse(copyWord, m_path, QStringLiteral("there is too much in it"));
    struct stat status {};
    if (!TreeAccess::statusOf(fromFolder, from, status)) TreeAccess::fail(copyWord, m_path);
    if (S_ISREG(status.st_mode)) return copyFile(fromFolder, from, toFolder, to);
    if (S_ISLNK(status.st_mode)) return copyLink(fromFolder, from, toFolder, to);
    if (S_ISDIR(status.st_mode)) return copyFolder(fromFolder, from, toFolder, to, depth);
    if (depth == 0) TreeAccess::refuse(copyWord, m_path, QStringLiteral("it is neither a file nor a folder"));
}

void TreeCopier::copyFile(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to) {
    const auto source = TreeAccess::openFile(fromFolder, from);
    if (source.get() < 0) TreeAccess::fail(copyWord, m_path);
    const kj::AutoCloseFd target(openat(toFolder, to.constData(), newFileFlags, 0600));
    if (target.get() < 0) TreeAccess::fail(copyWord, m_path);
    requireRoom(target, statusOf(source, m_path).st_size, m_path);
    copyContents(source, target);
    setAttributes(target, toFolder, statusOf(source, m_path));
}

void TreeCopier::copyContents(int source, int target) {
    std::array<char, 128 * 1024> buffer;
    while (true) {
        const auto count = read(source, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) TreeAccess::fail(copyWord, m_path);
        if (count == 0) return;
        TreeAccess::writeAll(target, buffer.data(), count, m_path);
        m_bytes += count;
    }
}

void TreeCopier::copyLink(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to) const {
    std::array<char, 4096> target;
    const auto length = readlinkat(fromFolder, from.constData(), target.data(), target.size());
    if (length < 0 || length >= qsizetype(target.size())) TreeAccess::fail(copyWord, m_path);
    struct stat status {};
    if (!TreeAccess::statusOf(fromFolder, from, status)) TreeAccess::fail(copyWord, m_path);
    const QByteArray text(target.data(), length);
    if (symlinkat(text.constData(), toFolder, to.constData()) != 0) TreeAccess::fail(copyWord, m_path);
    const timespec times[] = {status.st_atim, status.st_mtim};
    utimensat(toFolder, to.constData(), times, AT_SYMLINK_NOFOLLOW);  // of a link it hardly matters
    TreeAccess::handOverLink(toFolder, to, ownerFor(toFolder, status), m_path);
}

void TreeCopier::copyFolder(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to,
                            int depth) {
    const auto source = TreeAccess::openFolder(fromFolder, from);
    if (source.get() < 0) TreeAccess::fail(copyWord, m_path);
    if (mkdirat(toFolder, to.constData(), 0700) != 0) TreeAccess::fail(copyWord, m_path);
    const auto target = TreeAccess::openFolder(toFolder, to);
    if (target.get() < 0) TreeAccess::fail(copyWord, m_path);
    // Its owner first: everything in it is given to whom the folder belongs to.
    TreeAccess::handOver(target, ownerFor(toFolder, statusOf(source, m_path)), m_path);
    const auto names = TreeAccess::namesIn(source, m_path, mostEntries);
    for (const QByteArray& name : names)
        copy(source, name, target, name, depth + 1);
    setAttributes(target, toFolder, statusOf(source, m_path));
}

TreeAccess::Owner TreeCopier::ownerFor(int toFolder, const struct stat& source) const {
    if (m_owners == Owners::Kept) return {source.st_uid, source.st_gid};
    return TreeAccess::ownerOf(toFolder, m_path);
}

void TreeCopier::setAttributes(int made, int toFolder, const struct stat& source) const {
    const auto owner = ownerFor(toFolder, source);
    TreeAccess::handOver(made, owner, m_path);
    // Whoever may run it as its owner may not any more once it belongs to somebody else, nor change it.
    mode_t mode = source.st_mode & TreeAccess::permissions;
    if (owner.user != source.st_uid) mode &= ~setByOthers;
    const timespec times[] = {source.st_atim, source.st_mtim};
    if (fchmod(made, mode) != 0 || futimens(made, times) != 0) TreeAccess::fail(copyWord, m_path);
}
