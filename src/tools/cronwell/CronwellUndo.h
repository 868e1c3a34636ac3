#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

/// How changes to a client's scheduled tasks are taken back. Tasks are checked entries of an answer to
/// cronwellTaskDictionary, with their "filename". Pure functions; any thread.
namespace CronwellUndo {

/// All tasks of a client as they are: takes back whatever becomes of them, but knows of none that is added.
/// Never empty.
[[nodiscard]] QVariantMap everything(const QList<QVariantMap>& tasks);
/// What a run keeps of a client on which tasks were changed, added or removed: that which makes the former
/// ones, all of them, of the present ones. Empty when nothing differs.
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
[[nodiscard]] Plan plan(const QVariantMap& undo, const QList<QVariantMap>& present);

}  // namespace CronwellUndo
