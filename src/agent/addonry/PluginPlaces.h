#pragma once

#include "agent/addonry/PluginCatalog.h"

#include <QList>
#include <QMap>
#include <QString>

#include <optional>

/// Where one plug-in lies, and with that whether it is enabled and for whom.
struct PluginPlace {
    QString path;
    QString type;
    bool disabled = false;
    PluginCatalog::AccessType accessType = PluginCatalog::AllUsers;

    [[nodiscard]] bool isMachineWide() const { return accessType == PluginCatalog::AllUsers; }
    [[nodiscard]] QString fileName() const { return path.section(u'/', -1); }
    [[nodiscard]] QString folder() const { return path.section(u'/', 0, -2); }
};

/// The plug-ins that lie on a workstation, as they are at the moment. A path that a console sends means
/// something only when one of them is there; nothing else is ever read or changed for it.
class PluginPlaces {
public:
    PluginPlaces(const WorkstationTree& tree, const QString& user);

    [[nodiscard]] QList<PluginPlace> all() const { return m_places.values(); }  ///< by path
    /// The plug-in at `path` ("~" is the user's home), or the same one enabled or disabled meanwhile.
    [[nodiscard]] std::optional<PluginPlace> find(const QString& path) const;
    /// The same plug-in for the machine where `path` is the user's, or the other way round.
    [[nodiscard]] std::optional<PluginPlace> findForOthers(const QString& path) const;
    /// As find(); throws VLException.
    [[nodiscard]] PluginPlace at(const QString& path) const;

    /// Whether a plug-in could lie there on some computer, with whatever users that one has.
    [[nodiscard]] bool isPossible(const QString& path) const;

    /// Where a plug-in would lie with other settings. Throws VLException when there is no such folder here.
    [[nodiscard]] PluginPlace moved(const PluginPlace& place, bool disabled,
                                    PluginCatalog::AccessType accessType) const;
    /// Where a new plug-in of the user's goes. Throws VLException for a type or a name that none can have.
    [[nodiscard]] PluginPlace placeForNew(const QString& type, const QString& fileName) const;
    /// Whether a file or folder of that name can be a plug-in of that type.
    [[nodiscard]] bool isPluginName(const QString& type, const QString& fileName) const;

private:
    using Folder = PluginCatalog::Folder;
    [[nodiscard]] QString fullPath(const QString& path) const;
    /// The plug-in at that place in the folder, enabled or not.
    [[nodiscard]] std::optional<PluginPlace> findBelow(const Folder& folder, const QString& below) const;
    [[nodiscard]] const Folder& folder(const QString& type, PluginCatalog::AccessType accessType) const;

    QString m_user;
    QList<Folder> m_folders;
    QMap<QString, PluginPlace> m_places;
};
