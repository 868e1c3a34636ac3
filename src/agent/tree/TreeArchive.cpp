#include "agent/tree/TreeArchive.h"

#include "agent/tree/ArchiveNames.h"
#include "agent/tree/TreeAccess.h"
#include "system/VLException.h"

#include <QFile>
#include <QSet>

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace {

using ArchivePtr = std::unique_ptr<archive, int (*)(archive*)>;
using EntryPtr = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;

[[noreturn]] void refuseArchive(const QString& reason) {
    throw VLException(VLException::generic, QStringLiteral("The archive is not usable: %1").arg(reason));
}

// Packing

class Packer {
public:
    explicit Packer(const WorkstationTree& tree)
        : m_tree(tree),
          m_archive(archive_write_new(), &archive_write_free),
          m_entry(archive_entry_new(), &archive_entry_free) {
        archive_write_set_format_zip(m_archive.get());
        archive_write_set_bytes_in_last_block(m_archive.get(), 1);
        require(archive_write_open(m_archive.get(), this, nullptr, &Packer::take, nullptr));
    }

    void add(const QString& name, const QString& path) {
        ArchiveNames::check(QFile::encodeName(name));
        const auto place = TreeAccess::placeOf(m_tree, path);
        m_path = path;
        addEntry(place.folder, place.name, QFile::encodeName(name), 0);
    }

    QByteArray finish() {
        require(archive_write_close(m_archive.get()));
        return std::move(m_bytes);
    }

private:
    static la_ssize_t take(archive* archive, void* packer, const void* bytes, size_t size) {
        auto& taken = static_cast<Packer*>(packer)->m_bytes;
        if (taken.size() + qsizetype(size) > TreeArchive::largestArchive) {
            archive_set_error(archive, EFBIG, "it is too large");
            return -1;
        }
        taken.append(static_cast<const char*>(bytes), qsizetype(size));
        return la_ssize_t(size);
    }

    [[noreturn]] void refuse(const QString& reason) const {
        TreeAccess::refuse(QStringLiteral("pack"), m_path, reason);
    }
    [[noreturn]] void fail() const { TreeAccess::fail(QStringLiteral("pack"), m_path); }
    void require(la_ssize_t result) const {
        if (result < ARCHIVE_WARN) refuse(QString::fromUtf8(archive_error_string(m_archive.get())));
    }

    void addEntry(int folder, const QByteArray& diskName, const QByteArray& name, int depth) {
        if (depth > TreeAccess::deepestFolder || ++m_entries > TreeArchive::mostEntries)
            refuse(QStringLiteral("there is too much in it"));
        struct stat status {};
        if (!TreeAccess::statusOf(folder, diskName, status)) {
            if (depth > 0) return;  // gone meanwhile
            fail();
        }
        if (S_ISREG(status.st_mode)) return addFile(folder, diskName, name);
        if (S_ISDIR(status.st_mode)) return addFolder(folder, diskName, name, depth);
        if (S_ISLNK(status.st_mode)) return addLink(folder, diskName, name, status);
        if (depth == 0) refuse(QStringLiteral("it is neither a file nor a folder"));
    }

    void addFile(int folder, const QByteArray& diskName, const QByteArray& name) {
        const auto file = TreeAccess::openFile(folder, diskName);
        struct stat status {};
        if (file.get() < 0 || fstat(file, &status) != 0) fail();
        header(name, status, status.st_size);
        std::array<char, 128 * 1024> buffer;
        for (qint64 left = status.st_size; left > 0;) {  // what it grows by meanwhile is left out
            const auto count = read(file, buffer.data(), std::min<size_t>(buffer.size(), size_t(left)));
            if (count < 0) fail();
            if (count == 0) break;
            left -= count;
            if ((m_contents += count) > TreeArchive::largestContents)
                refuse(QStringLiteral("it is too large"));
            require(archive_write_data(m_archive.get(), buffer.data(), size_t(count)));
        }
    }

    void addFolder(int folder, const QByteArray& diskName, const QByteArray& name, int depth) {
        const auto below = TreeAccess::openFolder(folder, diskName);
        struct stat status {};
        if (below.get() < 0 || fstat(below, &status) != 0) fail();
        header(name + '/', status, 0);
        auto children = TreeAccess::namesIn(below, m_path, TreeArchive::mostEntries);
        std::sort(children.begin(), children.end());
        for (const QByteArray& child : children) {
            if (ArchiveNames::isName(child)) addEntry(below, child, name + '/' + child, depth + 1);
        }
    }

    void addLink(int folder, const QByteArray& diskName, const QByteArray& name, const struct stat& status) {
        std::array<char, 4096> target;
        const auto length = readlinkat(folder, diskName.constData(), target.data(), target.size());
        if (length < 0) fail();
        const QByteArray text(target.data(), length);
        if (!ArchiveNames::linkStaysInside(name, text)) return;
        header(name, status, 0, text);
    }

    void header(const QByteArray& name, const struct stat& status, qint64 size, const QByteArray& link = {}) {
        archive_entry* entry = archive_entry_clear(m_entry.get());
        archive_entry_set_pathname(entry, name.constData());
        archive_entry_set_mode(entry, status.st_mode & (S_IFMT | TreeAccess::permissions));
        archive_entry_set_mtime(entry, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
        archive_entry_set_size(entry, size);
        if (!link.isEmpty()) archive_entry_set_symlink(entry, link.constData());
        require(archive_write_header(m_archive.get(), entry));
    }

    const WorkstationTree& m_tree;
    QByteArray m_bytes;  // outlives the archive, whose end may still write into it
    ArchivePtr m_archive;
    EntryPtr m_entry;
    QString m_path;
    int m_entries = 0;
    qint64 m_contents = 0;
};

// Unpacking

/// The entries of an archive, one after the other.
class Reader {
public:
    explicit Reader(const QByteArray& bytes, qint64 mostContents = TreeArchive::largestContents)
        : m_archive(archive_read_new(), &archive_read_free), m_mostContents(mostContents) {
        if (bytes.size() > TreeArchive::largestArchive) refuseArchive(QStringLiteral("it is too large"));
        archive_read_support_format_zip(m_archive.get());
        require(archive_read_open_memory(m_archive.get(), bytes.constData(), size_t(bytes.size())));
    }

    /// Nothing after the last one. Valid until the next call.
    archive_entry* next() {
        archive_entry* entry = nullptr;
        const int result = archive_read_next_header(m_archive.get(), &entry);
        if (result == ARCHIVE_EOF) return nullptr;
        require(result);
        const char* name = archive_entry_pathname(entry);
        if (!name) refuseArchive(QStringLiteral("an entry has no readable name"));
        m_name = name;
        while (m_name.endsWith('/') && m_name.size() > 1)
            m_name.chop(1);
        ArchiveNames::check(m_name);
        ++m_entries;
        countFolders();
        if (m_entries > TreeArchive::mostEntries) refuseArchive(QStringLiteral("it has too many entries"));
        return entry;
    }
    [[nodiscard]] const QByteArray& name() const { return m_name; }

    qsizetype read(char* buffer, size_t size) {
        const auto count = archive_read_data(m_archive.get(), buffer, size);
        require(count);
        if ((m_contents += count) > m_mostContents) refuseArchive(QStringLiteral("it holds too much"));
        return count;
    }

private:
    /// A short name can imply a hundred folders.
    void countFolders() {
        for (auto end = m_name.lastIndexOf('/'); end > 0; end = m_name.lastIndexOf('/', end - 1)) {
            const QByteArray folder = m_name.left(end);
            if (m_folders.contains(folder)) return;  // and with it those that it lies in
            m_folders.insert(folder);
            ++m_entries;
        }
    }

    void require(la_ssize_t result) const {
        if (result < ARCHIVE_WARN) refuseArchive(QString::fromUtf8(archive_error_string(m_archive.get())));
    }

    ArchivePtr m_archive;
    const qint64 m_mostContents;
    QByteArray m_name;
    QSet<QByteArray> m_folders;
    int m_entries = 0;
    qint64 m_contents = 0;
};

class Unpacker {
public:
    Unpacker(int folder, QString path) : m_root(folder), m_path(std::move(path)) {}

    void unpack(Reader& reader) {
        while (archive_entry* entry = reader.next())
            unpackEntry(reader, entry);
        // Links come last, so nothing is ever written through one.
        for (const Link& link : m_links)
            makeLink(link);
        // Dates of folders come after all that is made in them, those of the inner ones first.
        for (auto folder = m_folders.crbegin(); folder != m_folders.crend(); ++folder)
            finishFolder(*folder);
    }

private:
    struct Link {
        QByteArray name, target;
    };
    struct Folder {
        QByteArray name;
        mode_t mode;
        timespec modified;
    };

    void unpackEntry(Reader& reader, archive_entry* entry) {
        const QString name = QFile::decodeName(reader.name());
        if (archive_entry_is_encrypted(entry)) refuseArchive(QStringLiteral("%1 is encrypted").arg(name));
        if (archive_entry_hardlink(entry)) refuseArchive(QStringLiteral("%1 is a hard link").arg(name));
        const timespec modified{archive_entry_mtime(entry), archive_entry_mtime_nsec(entry)};
        const mode_t mode = archive_entry_perm(entry) & TreeAccess::permissions & ~mode_t(S_IWOTH);
        switch (archive_entry_filetype(entry)) {
            case AE_IFDIR:
                static_cast<void>(folderAt(reader.name()));
                m_folders.append({reader.name(), mode, modified});
                return;
            case AE_IFREG:
                return unpackFile(reader, mode, modified);
            case AE_IFLNK: {
                const QByteArray target(archive_entry_symlink(entry));
                if (!ArchiveNames::linkStaysInside(reader.name(), target))
                    refuseArchive(QStringLiteral("the link %1 leads out of it").arg(name));
                m_links.append({reader.name(), target});
                return;
            }
            default:
                refuseArchive(QStringLiteral("%1 is neither a file nor a folder").arg(name));
        }
    }

    /// The folder of that name below the root, made when it is missing.
    [[nodiscard]] kj::AutoCloseFd folderAt(const QByteArray& name) const {
        kj::AutoCloseFd folder = TreeAccess::openFolder(m_root, ".");
        if (name.isEmpty()) return folder;
        const auto parts = name.split('/');
        for (const QByteArray& part : parts)
            folder = TreeAccess::makeFolder(folder, part, m_path);
        return folder;
    }
    [[nodiscard]] kj::AutoCloseFd folderOf(const QByteArray& name) const {
        return folderAt(name.left(std::max<qsizetype>(name.lastIndexOf('/'), 0)));
    }
    [[nodiscard]] static QByteArray lastPart(const QByteArray& name) {
        return name.mid(name.lastIndexOf('/') + 1);
    }

    void unpackFile(Reader& reader, mode_t mode, const timespec& modified) const {
        const auto folder = folderOf(reader.name());
        const kj::AutoCloseFd file(openat(folder, lastPart(reader.name()).constData(),
                                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (file.get() < 0 && errno == EEXIST)
            refuseArchive(QStringLiteral("%1 is in it twice").arg(QFile::decodeName(reader.name())));
        if (file.get() < 0) fail();
        std::array<char, 128 * 1024> buffer;
        while (const auto count = reader.read(buffer.data(), buffer.size()))
            TreeAccess::writeAll(file, buffer.data(), count, m_path);
        TreeAccess::handOver(file, TreeAccess::ownerOf(folder, m_path), m_path);
        const timespec times[] = {modified, modified};
        if (fchmod(file, mode) != 0 || futimens(file, times) != 0) fail();
    }

    void makeLink(const Link& link) const {
        const auto folder = folderOf(link.name);
        const QByteArray name = lastPart(link.name);
        if (symlinkat(link.target.constData(), folder, name.constData()) != 0) fail();
        TreeAccess::handOverLink(folder, name, TreeAccess::ownerOf(folder, m_path), m_path);
    }

    void finishFolder(const Folder& made) const {
        const auto folder = folderAt(made.name);
        const timespec times[] = {made.modified, made.modified};
        if (fchmod(folder, made.mode | S_IRWXU) != 0 || futimens(folder, times) != 0) fail();
    }

    [[noreturn]] void fail() const { TreeAccess::fail(QStringLiteral("unpack to"), m_path); }

    int m_root;
    QString m_path;
    QList<Link> m_links;
    QList<Folder> m_folders;
};

}  // namespace

QByteArray TreeArchive::pack(const WorkstationTree& tree, const QMap<QString, QString>& items) {
    const ArchiveNames::Utf8Locale locale;
    Packer packer(tree);
    for (auto item = items.cbegin(); item != items.cend(); ++item)
        packer.add(item.key(), item.value());
    return packer.finish();
}

void TreeArchive::unpack(const WorkstationTree& tree, const QByteArray& archive, const QString& folder,
                         qint64 mostContents) {
    const ArchiveNames::Utf8Locale locale;
    const auto target = TreeAccess::makePlace(tree, folder);
    struct stat status {};
    if (TreeAccess::statusOf(target.folder, target.name, status))
        TreeAccess::fail(QStringLiteral("unpack to"), folder, EEXIST);
    TemporaryEntry unpacked(tree, target.folder);
    {
        const auto root = TreeAccess::makeFolder(target.folder, unpacked.name(), folder);
        Reader reader(archive, mostContents);
        Unpacker(root, folder).unpack(reader);
        if (syncfs(root) != 0) TreeAccess::fail(QStringLiteral("unpack to"), folder);
    }
    if (!TreeAccess::renameNew(target.folder, unpacked.name(), target.folder, target.name))
        TreeAccess::fail(QStringLiteral("unpack to"), folder);
    unpacked.keep();
    TreeAccess::syncFolder(target.folder);
}

QStringList TreeArchive::topLevelNames(const QByteArray& archive) {
    const ArchiveNames::Utf8Locale locale;
    QSet<QByteArray> names;
    Reader reader(archive);
    while (reader.next())
        names.insert(reader.name().split('/').first());
    QStringList sorted;
    for (const QByteArray& name : std::as_const(names))
        sorted.append(QFile::decodeName(name));
    sorted.sort();
    return sorted;
}
