#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

/// How changes to a client's plug-ins are taken back. A plug-in is moved when it is enabled, disabled or
/// given to others, so it is looked for by its name, type and file name where it is now. Plug-ins are checked
/// entries of an answer to addonryPluginList. Pure functions; any thread.
namespace AddonryUndo {

/// What a run keeps of a client: how those that are meant were set. Empty for none. `changed`: the key of
/// what the run changes; empty: of both.
[[nodiscard]] QVariantMap former(const QList<QVariantMap>& plugins, const QString& changed,
                                 const std::function<bool(const QVariantMap& plugin)>& isMeant);

/// What is to be done on the client.
struct Plan {
    struct Step {
        QVariantMap plugin;   ///< as it is now
        qlonglong value = 0;  ///< that it is to get
    };
    QList<Step> enabling, access;  ///< in this order, by the present paths
    QStringList missing;           ///< names of those that are not there any more
    QVariantMap undo;              ///< takes this back in its turn
};
[[nodiscard]] Plan plan(const QVariantMap& undo, const QList<QVariantMap>& present);

}  // namespace AddonryUndo
