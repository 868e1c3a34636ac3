#include "agent/tree/WorkstationTree.h"

#include "base/PropertyList.h"
#include "system/VLException.h"

#include <QDir>
#include <QFile>
#include <QTimeZone>

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace {

constexpr int longestPath = 4000;  // bytes; the kernel takes 4096
constexpr qint64 largestPropertyList = 4 * 1024 * 1024;
constexpr int largestAttemptCount = 8;

QDateTime dateOf(const timespec& time) {
    return QDateTime::fromMSecsSinceEpoch(time.tv_sec * 1000LL + time.tv_nsec / 1'000'000, Qt::UTC);
}

WorkstationTree::Entry entryOf(const QString& name, const struct stat& status) {
    WorkstationTree::Entry entry;
    entry.name = name;
    entry.modified = dateOf(status.st_mtim);
    if (S_ISREG(status.st_mode)) {
        entry.kind = WorkstationTree::Kind::File;
        entry.size = status.st_size;
    } else if (S_ISDIR(status.st_mode)) {
        entry.kind = WorkstationTree::Kind::Folder;
    } else if (S_ISLNK(status.st_mode)) {
        entry.kind = WorkstationTree::Kind::Link;
    }
    return entry;
}

/// Size of the regular file behind `descriptor`; nothing for anything else, such as a pipe or a device.
std::optional<qint64> regularFileSize(int descriptor, WorkstationTree::Links links) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    if (links == WorkstationTree::Links::Refuse && status.st_nlink > 1) return std::nullopt;
    return status.st_size;
}

/// As open(), below the folder `base`.
kj::AutoCloseFd openBelow(int base, const QByteArray& path, int flags, quint64 resolve) {
    open_how how{};
    how.flags = static_cast<__u64>(flags | O_CLOEXEC);
    how.resolve = resolve | RESOLVE_NO_MAGICLINKS;
    // EAGAIN: something was renamed while a ".." in a link was being resolved; the kernel refuses to guess.
    for (int attempt = 0; attempt < largestAttemptCount; ++attempt) {
        const auto descriptor = syscall(SYS_openat2, base, path.constData(), &how, sizeof(how));
        if (descriptor >= 0) return kj::AutoCloseFd(static_cast<int>(descriptor));
        if (errno != EAGAIN && errno != EINTR) break;
    }
    return nullptr;
}

/// Reads from the current position until the end, at most `maximumBytes`.
std::optional<QByteArray> readAtMost(int descriptor, qint64 maximumBytes) {
    QFile file;
    if (!file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered)) return std::nullopt;
    QByteArray content = file.read(maximumBytes);
    if (file.error() != QFileDevice::NoError) return std::nullopt;
    return content;
}

}  // namespace

WorkstationTree::WorkstationTree(const QString& root, const QString& temporaries)
    : m_rootPath(QDir::cleanPath(QDir(root).absolutePath())),
      m_temporaries(std::make_unique<TemporaryFolders>(temporaries)) {
    const int descriptor =
        ::open(QFile::encodeName(m_rootPath).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        throw VLException(VLException::generic, QStringLiteral("Unable to open the folder %1: %2")
                                                    .arg(m_rootPath, QString::fromUtf8(strerror(errno))));
    }
    m_root = kj::AutoCloseFd(descriptor);
    if (open(QStringLiteral("/"), O_PATH | O_DIRECTORY).get() < 0) {
        throw VLException(VLException::generic,
                          QStringLiteral("This system cannot confine paths to a folder (no openat2): %1")
                              .arg(QString::fromUtf8(strerror(errno))));
    }
}

bool WorkstationTree::isAcceptablePath(const QString& path) {
    if (!path.startsWith(u'/') || path.contains(QChar(u'\0'))) return false;
    if (QFile::encodeName(path).size() > longestPath) return false;
    const auto parts = QStringView(path).split(u'/');
    return std::none_of(parts.begin(), parts.end(), [](QStringView part) { return part == u".."; });
}

kj::AutoCloseFd WorkstationTree::open(const QString& path, int flags, Links links) const {
    if (!isAcceptablePath(path)) {
        errno = EINVAL;
        return nullptr;
    }
    const QString below = path.section(u'/', 1, -1, QString::SectionSkipEmpty);
    if (links == Links::Follow || below.isEmpty())
        return openBelow(m_root.get(), QFile::encodeName(path), flags, RESOLVE_IN_ROOT);
    const QString first = u'/' + path.section(u'/', 0, 0, QString::SectionSkipEmpty);
    const auto base =
        openBelow(m_root.get(), QFile::encodeName(first), O_PATH | O_DIRECTORY, RESOLVE_IN_ROOT);
    if (base.get() < 0) return nullptr;
    return openBelow(base.get(), QFile::encodeName(below), flags, RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS);
}

std::optional<WorkstationTree::Entry> WorkstationTree::entry(const QString& path, Links links) const {
    const auto descriptor = open(path, O_PATH, links);
    struct stat status {};
    if (descriptor.get() < 0 || fstat(descriptor, &status) != 0) return std::nullopt;
    return entryOf(path.section(u'/', -1, -1, QString::SectionSkipEmpty), status);
}

QList<WorkstationTree::Entry> WorkstationTree::entries(const QString& folder, Links links) const {
    auto descriptor = open(folder, O_RDONLY | O_DIRECTORY, links);
    if (descriptor.get() < 0) return {};
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(fdopendir(descriptor.get()), &closedir);
    if (!directory) return {};
    const int directoryDescriptor = descriptor.release();  // owned by `directory` now

    QList<Entry> found;
    while (const dirent* item = readdir(directory.get())) {
        const QByteArray rawName(item->d_name);
        if (rawName == "." || rawName == "..") continue;
        const QString name = QFile::decodeName(rawName);
        if (QFile::encodeName(name) != rawName) continue;
        struct stat status {};
        if (fstatat(directoryDescriptor, item->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
        found.append(entryOf(name, status));
        if (found.size() >= maximumEntries) break;
    }
    std::sort(found.begin(), found.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return found;
}

std::optional<QByteArray> WorkstationTree::read(const QString& path, qint64 maximumBytes, Links links) const {
    const auto descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY, links);
    if (descriptor.get() < 0) return std::nullopt;
    const auto size = regularFileSize(descriptor, links);
    if (!size || *size > maximumBytes) return std::nullopt;
    auto content = readAtMost(descriptor, maximumBytes + 1);
    if (!content || content->size() > maximumBytes) return std::nullopt;  // it grew meanwhile
    return content;
}

std::optional<QByteArray> WorkstationTree::readEnd(const QString& path, qint64 maximumBytes,
                                                   Links links) const {
    const auto descriptor = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY, links);
    if (descriptor.get() < 0) return std::nullopt;
    const auto size = regularFileSize(descriptor, links);
    if (!size) return std::nullopt;
    if (*size > maximumBytes && lseek(descriptor, *size - maximumBytes, SEEK_SET) < 0) return std::nullopt;
    return readAtMost(descriptor, maximumBytes);
}

QVariantMap WorkstationTree::readPropertyList(const QString& path) const {
    const auto content = read(path, largestPropertyList);
    if (!content) return {};
    const QVariant value = PropertyList::fromData(*content);
    return value.typeId() == QMetaType::QVariantMap ? value.toMap() : QVariantMap();
}

QStringList WorkstationTree::userNames() const {
    QStringList names;
    const auto homes = entries(QStringLiteral("/Users"));
    for (const Entry& home : homes) {
        if (home.kind != Kind::Folder || home.name.startsWith(u'.') || home.name == u"Shared") continue;
        names.append(home.name);
    }
    return names;
}
