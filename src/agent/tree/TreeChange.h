#pragma once

#include "agent/tree/TreeWriter.h"
#include "agent/tree/WorkstationTree.h"

#include <QList>
#include <QString>
#include <QStringList>

/// Changes to several files and folders that belong together: all of them happen, or none. Whoever reads one
/// of them sees the old or the new; a program that is killed in the middle completes the change, or takes it
/// back, when recover() is called at its next start.
///
/// What is to be done stands in a journal in the agent's own folder. Everything that is put in place, or
/// taken away, passes through working folders on the disk that it belongs to. One change at a time; any
/// thread.
class TreeChange {
public:
    /// What becomes of that which was there.
    enum class Former { Removed, Trashed };
    struct Step {
        QString target;
        QString place;         ///< in a working folder: holds the new until the step is done, then the old
        quint64 identity = 0;  ///< of the new; 0: the target is only taken away
    };

    /// `journals`: a folder that is nobody else's; it need not be there.
    TreeChange(const WorkstationTree& tree, const QString& journals) : m_writer(tree), m_journals(journals) {}

    /// The step that puts `staged` (in a working folder) in the place of `target`.
    [[nodiscard]] Step putting(const QString& staged, const QString& target) const;

    /// Does the steps, and removes the working folders in any case. Throws VLException, with everything as it
    /// was before; should even that be impossible, the folders stay for recover(). `user`: to whose trash the
    /// former goes.
    void commit(const QStringList& workingFolders, const QList<Step>& steps, Former former,
                const QString& user = {}) const;
    /// Completes or takes back what was begun. Throws VLException when neither can be done yet.
    void recover() const;

private:
    struct Journal;
    /// Whether there is anything left that it could be about.
    [[nodiscard]] bool isAbout(const Journal& journal) const;
    void write(const Journal& journal) const;
    static void forget(const Journal& journal);
    void resume(Journal& journal) const;
    void run(Journal& journal) const;
    void takeBack(Journal& journal) const;
    void stepForward(const Step& step) const;
    void stepBack(const Step& step) const;
    void trashFormer(const Journal& journal) const;
    void finish(const Journal& journal) const;

    TreeWriter m_writer;
    QString m_journals;
};
