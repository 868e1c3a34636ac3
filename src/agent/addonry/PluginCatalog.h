#pragma once

#include "agent/tree/WorkstationTree.h"

#include <QString>
#include <QVariant>

/// The editing suite's plug-ins on one workstation: those of one user and those of the whole machine.
///
/// A plug-in is enabled by lying in its folder and disabled by lying in a folder of the same name with
/// " (Disabled)" behind it, where the suite's applications do not look. FxPlug and Audio Unit plug-ins are
/// bundles. FxScript plug-ins are bundles or single files with the extension "fcfcc"; a single file has no
/// version (an empty text). Folders inside a plug-in folder group plug-ins and are searched too. A link to a
/// plug-in kept elsewhere is followed in the machine's folders; in a user's folders it is listed by its name
/// alone, because the user could have made it lead to what is none of the user's business.
namespace PluginCatalog {

/// The numbers that "accessType" holds.
enum AccessType { AllUsers = 0, CurrentUser = 1 };

struct Folder {
    QString path;
    QString type;       ///< "FxPlug", "FxScript" or "Audio Unit"
    QString extension;  ///< of its plug-ins, without the dot
    AccessType accessType;
};

inline constexpr int maximumPlugins = 5'000;

/// The folders of enabled plug-ins. `user` may be empty: then the machine's only.
[[nodiscard]] QList<Folder> folders(const QString& user);
[[nodiscard]] QString disabledPath(const QString& folder);

/// How much is read of each: without a look into it, it has the name of its file and no version.
enum class Detail { All, Place };
/// One dictionary per plug-in: "name", "fullPath", "version", "type", "disabled", "accessType", "moddate".
[[nodiscard]] QVariantList list(const WorkstationTree& tree, const QString& user,
                                Detail detail = Detail::All);

}  // namespace PluginCatalog
