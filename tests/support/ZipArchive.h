#pragma once

#include <QByteArray>
#include <QList>

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

struct ZipItem {
    QByteArray name, contents = {}, link = {};
    mode_t type = S_IFREG;
    mode_t mode = 0644;
};

/// A zip archive with whatever entries, also those that no honest program would write.
inline QByteArray zip(const QList<ZipItem>& items) {
    QByteArray bytes(16 * 1024 * 1024, '\0');
    size_t used = 0;
    archive* writer = archive_write_new();
    archive_write_set_format_zip(writer);
    archive_write_set_bytes_in_last_block(writer, 1);
    archive_write_open_memory(writer, bytes.data(), size_t(bytes.size()), &used);
    for (const ZipItem& item : items) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, item.name.constData());
        archive_entry_set_filetype(entry, item.type);
        archive_entry_set_perm(entry, item.mode);
        archive_entry_set_size(entry, item.contents.size());
        archive_entry_set_mtime(entry, 1'200'000'000, 0);
        if (item.type == S_IFLNK) archive_entry_set_symlink(entry, item.link.constData());
        archive_write_header(writer, entry);
        archive_write_data(writer, item.contents.constData(), size_t(item.contents.size()));
        archive_entry_free(entry);
    }
    archive_write_close(writer);
    archive_write_free(writer);
    return bytes.left(qsizetype(used));
}

/// One that says in its directory that the file is a device.
inline QByteArray zipOfDevice() {
    QByteArray bytes = zip({{"x", "x"}});
    bytes[bytes.indexOf("PK\x01\x02") + 41] = char(S_IFCHR >> 8);
    return bytes;
}
