#pragma once

#include "tools/settlekeep/VLPrefItem.h"

/// The applications with their preference groups, and what ticks mean in them.
namespace PreferenceTree {

/// The whole tree with its initial ticks. Paths are made absolute below `preferencesFolder`.
[[nodiscard]] QList<VLPrefItem> make(const QString& preferencesFolder);

/// Recomputes the ticks of the applications from those of their groups.
void updateSelection(QList<VLPrefItem>& tree);
/// A click: the group `child` of an application, or with -1 the application and all of its groups. Mixed
/// cannot be clicked to and counts as on.
void setSelected(QList<VLPrefItem>& tree, int application, int child, int selected);
/// What is ticked, as agents know it: an application that is ticked whole stands for its groups.
[[nodiscard]] QStringList selectedKeys(const QList<VLPrefItem>& tree);

/// The applications that a list of keys (joined by commas) is about, in the tree's order, each with the names
/// of the groups meant (none: all of them). Keys of no known group come last, as they are.
struct Covered {
    QString application;
    QStringList groups;
};
[[nodiscard]] QList<Covered> covered(const QString& keys);
/// "Final Cut Pro, Motion".
[[nodiscard]] QString coveredApplications(const QString& keys);

}  // namespace PreferenceTree
