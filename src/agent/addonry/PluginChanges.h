#pragma once

#include "agent/addonry/PluginPlaces.h"

#include <QByteArray>
#include <QList>

struct AgentContext;

/// Changes to the plug-ins of one workstation. A plug-in is the old or the new one at every moment, also when
/// the program is killed. Throws VLException. One thread at a time.
class PluginChanges {
public:
    explicit PluginChanges(const WorkstationTree& tree) : m_tree(tree) {}

    struct Move {
        PluginPlace from, to;
        [[nodiscard]] bool touchesMachine() const { return from.isMachineWide() || to.isMachineWide(); }
    };
    /// Moves all that can be moved, then throws the first failure if there was one.
    void move(const QList<Move>& moves) const;
    /// Puts what the archive holds in the place of that plug-in, which need not be there.
    void install(const PluginPlaces& places, const PluginPlace& place, const QByteArray& archive) const;
    /// The plug-in as an archive, small enough for one message.
    [[nodiscard]] QByteArray pack(const PluginPlace& place) const;

private:
    void move(const Move& move) const;
    void unpackOver(const QString& staging, const PluginPlaces& places, const PluginPlace& place,
                    const QByteArray& archive) const;

    const WorkstationTree& m_tree;
};
