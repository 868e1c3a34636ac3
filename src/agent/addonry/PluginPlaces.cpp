#include "agent/addonry/PluginPlaces.h"

#include "system/VLException.h"

#include <algorithm>

namespace {

QString basePath(const PluginCatalog::Folder& folder, bool disabled) {
    return disabled ? PluginCatalog::disabledPath(folder.path) : folder.path;
}

struct SplitPath {
    PluginCatalog::Folder folder;
    QString below;
};

/// The plug-in folder that a path lies in, and the rest of it.
std::optional<SplitPath> splitPath(const QList<PluginCatalog::Folder>& folders, const QString& path) {
    for (const auto& folder : folders) {
        for (const bool disabled : {false, true}) {
            const QString base = basePath(folder, disabled) + u'/';
            if (path.startsWith(base)) return SplitPath{folder, path.mid(base.size())};
        }
    }
    return std::nullopt;
}

}  // namespace

PluginPlaces::PluginPlaces(const WorkstationTree& tree, const QString& user)
    : m_user(user), m_folders(PluginCatalog::folders(user)) {
    const QVariantList plugins = PluginCatalog::list(tree, user, PluginCatalog::Detail::Place);
    for (const QVariant& plugin : plugins) {
        const QVariantMap values = plugin.toMap();
        const QString path = values.value(QStringLiteral("fullPath")).toString();
        const bool isUsers = values.value(QStringLiteral("accessType")).toInt() == PluginCatalog::CurrentUser;
        m_places.insert(path, {path, values.value(QStringLiteral("type")).toString(),
                               values.value(QStringLiteral("disabled")).toInt() != 0,
                               isUsers ? PluginCatalog::CurrentUser : PluginCatalog::AllUsers});
    }
}

QString PluginPlaces::fullPath(const QString& path) const {
    const bool isHome = path.startsWith(u"~/") && !m_user.isEmpty();
    return isHome ? WorkstationTree::homePath(m_user) + path.mid(1) : path;
}

std::optional<PluginPlace> PluginPlaces::find(const QString& path) const {
    const QString full = fullPath(path);
    if (const auto place = m_places.constFind(full); place != m_places.constEnd()) return *place;
    const auto split = splitPath(m_folders, full);
    return split ? findBelow(split->folder, split->below) : std::nullopt;
}

std::optional<PluginPlace> PluginPlaces::findForOthers(const QString& path) const {
    const auto split = splitPath(m_folders, fullPath(path));
    if (!split) return std::nullopt;
    for (const Folder& other : m_folders) {
        const bool isOther = other.type == split->folder.type && other.accessType != split->folder.accessType;
        if (isOther) return findBelow(other, split->below);
    }
    return std::nullopt;
}

std::optional<PluginPlace> PluginPlaces::findBelow(const Folder& folder, const QString& below) const {
    for (const bool disabled : {false, true}) {
        const auto place = m_places.constFind(basePath(folder, disabled) + u'/' + below);
        if (place != m_places.constEnd()) return *place;
    }
    return std::nullopt;
}

PluginPlace PluginPlaces::at(const QString& path) const {
    if (const auto place = find(path)) return *place;
    throw VLException(VLException::refused, QStringLiteral("There is no plug-in at %1").arg(path.left(200)));
}

bool PluginPlaces::isPossible(const QString& path) const {
    const QString full = fullPath(path);
    const QString user = full.startsWith(u"/Users/") ? full.section(u'/', 2, 2) : QString();
    return WorkstationTree::isAcceptablePath(full) && splitPath(PluginCatalog::folders(user), full);
}

const PluginCatalog::Folder& PluginPlaces::folder(const QString& type,
                                                  PluginCatalog::AccessType accessType) const {
    const auto found = std::find_if(m_folders.begin(), m_folders.end(), [&](const auto& folder) {
        return folder.type == type && folder.accessType == accessType;
    });
    if (found != m_folders.end()) return *found;
    throw VLException(VLException::refused,
                      m_user.isEmpty() && accessType == PluginCatalog::CurrentUser
                          ? QStringLiteral("There is no user on this computer")
                          : QStringLiteral("There is no type of plug-in called \"%1\"").arg(type.left(100)));
}

PluginPlace PluginPlaces::moved(const PluginPlace& place, bool disabled,
                                PluginCatalog::AccessType accessType) const {
    const QString base = basePath(folder(place.type, place.accessType), place.disabled);
    return {basePath(folder(place.type, accessType), disabled) + place.path.mid(base.size()), place.type,
            disabled, accessType};
}

bool PluginPlaces::isPluginName(const QString& type, const QString& fileName) const {
    const auto found = std::find_if(m_folders.begin(), m_folders.end(),
                                    [&](const auto& folder) { return folder.type == type; });
    if (found == m_folders.end() || fileName.startsWith(u'.') || fileName.contains(u'/')) return false;
    return fileName.size() > found->extension.size() + 1 &&
           fileName.endsWith(u'.' + found->extension, Qt::CaseInsensitive);
}

PluginPlace PluginPlaces::placeForNew(const QString& type, const QString& fileName) const {
    const auto& target = folder(type, PluginCatalog::CurrentUser);
    if (!isPluginName(type, fileName)) {
        throw VLException(
            VLException::refused,
            QStringLiteral("No plug-in of the type %1 can be called \"%2\"").arg(type, fileName.left(200)));
    }
    return {target.path + u'/' + fileName, type, false, PluginCatalog::CurrentUser};
}
