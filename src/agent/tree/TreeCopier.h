#pragma once

#include "agent/tree/TreeAccess.h"

/// Copies a file, or a folder with all that is in it, between two open folders. What is no file, folder or
/// link is left out. What changes hands can be written by its new owner alone. Throws VLException and then
/// leaves what it made so far to the caller.
class TreeCopier {
public:
    enum class Owners { OfNewFolder, Kept };
    static constexpr int mostEntries = 200'000;

    /// `path` is for messages.
    TreeCopier(QString path, Owners owners) : m_path(std::move(path)), m_owners(owners) {}
    void copy(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to, int depth = 0);
    /// That the files so far have.
    [[nodiscard]] qint64 bytes() const { return m_bytes; }

private:
    void copyFile(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to);
    void copyLink(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to) const;
    void copyFolder(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to, int depth);
    void copyContents(int source, int target);
    [[nodiscard]] TreeAccess::Owner ownerFor(int toFolder, const struct stat& source) const;
    void setAttributes(int made, int toFolder, const struct stat& source) const;

    QString m_path;
    Owners m_owners;
    int m_entries = 0;
    qint64 m_bytes = 0;
};
