#pragma once

#include "agent/tree/WorkstationTree.h"

#include <QByteArray>
#include <QList>
#include <QString>

/// Changes to the disk of a workstation. Paths are those of WorkstationTree; no part of one below its first
/// folder may be a link, so nothing that a user made leads a change out of that user's folders. What is made
/// anew belongs to whom the folder that it lies in belongs to.
///
/// Everything throws VLException, with the path and the reason in plain words, and then the disk is as it was
/// before, except where remove(), copyAll() or the locking of a folder stopped half way. Any thread; two
/// changes of one path need a lock outside.
class TreeWriter {
public:
    explicit TreeWriter(const WorkstationTree& tree) : m_tree(tree) {}

    /// The folder, with all that lead to it. Nothing to do when it is there.
    void makeFolders(const QString& folder) const;
    /// Replaces or makes a file whole: whoever reads it, also after a crash, sees the old or the new
    /// contents.
    void write(const QString& path, const QByteArray& contents) const;
    /// Moves a file, a folder or a link (not what it leads to). Refuses to replace anything. Makes the
    /// folders that lead to `to`.
    void move(const QString& from, const QString& to) const;
    /// Puts `staged` in the place of `target` in one step (both on one disk), then removes what was there;
    /// what of that cannot be removed stays at `staged`. A target that is missing is made. Works for a file
    /// as for a folder. Where the file system cannot exchange two names, a folder is gone for a moment.
    void replace(const QString& staged, const QString& target) const;
    /// Exchanges two files or folders of one disk in one step. False where the file system cannot do that.
    /// What is in them has to be on the disk already (as it is after unpacking or copying).
    [[nodiscard]] bool exchange(const QString& first, const QString& second) const;
    /// A number that stays with a file, folder or link while it is moved about its disk. 0 for what is not
    /// there.
    [[nodiscard]] quint64 identity(const QString& path) const;
    /// A copy of a file or of a folder with all that is in it; dates and permissions are kept, links copied
    /// as links. Refuses to replace anything.
    void copy(const QString& from, const QString& to) const;
    struct Copy {
        QString from, to;
    };
    /// The same for many, with the folders that lead to them. They do not appear complete, so they go where
    /// nobody looks yet, and are on the disk afterwards. What was made so far is the caller's when it throws.
    /// How many bytes the files have.
    qint64 copyAll(const QList<Copy>& copies) const;
    /// Also a folder with all that is in it; never what a link leads to. Nothing to do when it is gone.
    void remove(const QString& path) const;
    /// Moves it to the user's trash under its name, or a name made unique. Returns where it lies now.
    QString trash(const QString& path, const QString& user) const;

    /// Makes files immutable (a folder: all files in it), where the file system cannot do that read-only; or
    /// undoes both. Returns whether the file system could.
    bool setLocked(const QString& path, bool locked) const;
    /// Whether a file (any file in a folder) is immutable or read-only for its owner.
    [[nodiscard]] bool isLocked(const QString& path) const;

private:
    const WorkstationTree& m_tree;
};
