#pragma once

#include "agent/addonry/PluginPlaces.h"
#include "agent/tree/TreeChange.h"
#include "agent/tree/TreeWriter.h"

#include <QByteArray>
#include <QList>

/// Changes to the plug-ins of one workstation. A plug-in is the old or the new one, and there is one of it,
/// also when the program is killed and recover() was called at its next start. Throws VLException. One thread
/// at a time.
class PluginChanges {
public:
    /// `user`: whose plug-ins count beside the machine's; may be empty.
    PluginChanges(const WorkstationTree& tree, const QString& stateDirectory, const QString& user);

    struct Move {
        PluginPlace from, to;
        [[nodiscard]] bool touchesMachine() const { return from.isMachineWide() || to.isMachineWide(); }
    };
    /// Moves all that can be moved, then throws the first failure if there was one.
    void move(const QList<Move>& moves) const;
    /// Puts what the archive holds in the place of that plug-in, which need not be there. Where `former` is a
    /// path, what lies there goes: the same plug-in, disabled.
    void install(const PluginPlaces& places, const PluginPlace& place, const QByteArray& archive,
                 const QString& former = {}) const;
    /// The plug-in as an archive, small enough for one message.
    [[nodiscard]] QByteArray pack(const PluginPlace& place) const;

    /// Completes what an earlier run began, and removes what it left lying about.
    void recover() const;

private:
    void move(const Move& move) const;
    void changeHands(const Move& move) const;
    /// Where the one plug-in that the archive holds lies then.
    [[nodiscard]] QString unpackIn(const QString& working, const PluginPlaces& places,
                                   const PluginPlace& place, const QByteArray& archive) const;
    [[nodiscard]] QString newWorkingFolder(const PluginPlace& place) const;
    void tidy(const QString& folder) const;

    const WorkstationTree& m_tree;
    TreeWriter m_writer;
    TreeChange m_change;
    QString m_user;
};
