#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

/// How changes to a client's scheduled tasks are taken back. Tasks are checked entries of an answer to
/// cronwellTaskDictionary, with their "filename". Pure functions; any thread.
namespace CronwellUndo {

/// All tasks of a client as they are, for difference().
[[nodiscard]] QVariantMap everything(const QList<QVariantMap>& tasks);
/// What a run keeps of a client on which tasks were changed, added or removed: of each of them how it was,
/// and how the run has left it. Empty when nothing differs.
[[nodiscard]] QVariantMap difference(const QVariantMap& everything, const QList<QVariantMap>& present);

/// One operation on the client.
struct Step {
    enum Kind { Add, Edit, Enable, Remove };
    Kind kind = Add;
    QVariantMap task;   ///< as it is to be, or as it is when it is removed
    QVariant settings;  ///< what is sent
};
struct Plan {
    QList<Step> steps;
    QStringList missing;  ///< descriptions of those that are not there any more, or are others by now
};
/// Only what still is as the run left it is taken back.
[[nodiscard]] Plan plan(const QVariantMap& undo, const QList<QVariantMap>& present);

}  // namespace CronwellUndo
