#pragma once

#include "agent/tree/TreeWriter.h"
#include "agent/tree/WorkstationTree.h"

#include <QList>
#include <QString>

/// Changes to several files and folders that belong together: all of them happen, or none. Whoever reads one
/// of them sees the old or the new; a program that is killed in the middle completes the change, or takes it
/// back, when recover() is called at its next start.
///
/// What is to be done stands in a journal in the agent's own folder. Everything that is put in place, or
/// taken away, passes through a working folder on the user's disk. One change at a time; any thread.
class PreferenceChange {
public:
    /// What becomes of that which was there.
    enum class Former { Removed, Trashed };
    struct Step {
        QString target;
        QString place;         ///< in the working folder: holds the new until the step is done, then the old
        quint64 identity = 0;  ///< of the new; 0: the target is only taken away
    };

    PreferenceChange(const WorkstationTree& tree, const QString& stateDirectory)
        : m_writer(tree), m_journals(stateDirectory + QStringLiteral("/settlekeep")) {}

    /// The step that puts `staged` (in the working folder) in the place of `target`.
    [[nodiscard]] Step putting(const QString& staged, const QString& target) const;

    /// Does the steps, and removes `workingFolder` in any case. Throws VLException, with everything as it was
    /// before; should even that be impossible, the folder stays for recover().
    void commit(const QString& workingFolder, const QList<Step>& steps, Former former,
                const QString& user) const;
    /// Completes or takes back what was begun. Throws VLException when neither can be done yet.
    void recover() const;

private:
    struct Journal;
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
