#include "agent/addonry/PluginCatalog.h"

#include "agent/tree/BundleInfo.h"

namespace PluginCatalog {

namespace {

constexpr int deepestGroup = 3;

/// Walks one plug-in folder and adds what it holds to `plugins`.
class FolderScan {
public:
    FolderScan(const WorkstationTree& tree, const Folder& folder, bool disabled, Detail detail,
               QVariantList& plugins)
        : m_tree(tree),
          m_folder(folder),
          m_links(folder.accessType == CurrentUser ? WorkstationTree::Links::Refuse
                                                   : WorkstationTree::Links::Follow),
          m_disabled(disabled),
          m_detail(detail),
          m_plugins(plugins) {}

    void scan(const QString& path, int depth = 0) {
        const auto entries = m_tree.entries(path, m_links);
        for (const auto& listed : entries) {
            if (listed.name.startsWith(u'.') || m_plugins.size() >= maximumPlugins) continue;
            const QString itemPath = path + u'/' + listed.name;
            if (isPlugin(listed.name)) {
                add(itemPath, listed);
            } else if (listed.kind == WorkstationTree::Kind::Folder && depth < deepestGroup) {
                scan(itemPath, depth + 1);  // links are not followed here: two of them could make a circle
            }
        }
    }

private:
    [[nodiscard]] bool isPlugin(const QString& fileName) const {
        return fileName.size() > m_folder.extension.size() + 1 &&
               fileName.endsWith(u'.' + m_folder.extension, Qt::CaseInsensitive);
    }

    void add(const QString& path, const WorkstationTree::Entry& listed) {
        using Kind = WorkstationTree::Kind;
        const bool isOpaque = listed.kind == Kind::Link && m_links == WorkstationTree::Links::Refuse;
        if (isOpaque) return append(path, nameOnly(listed));
        const auto item = m_tree.entry(path, m_links);
        if (!item) return;
        const bool mayBeFile = m_folder.type == u"FxScript";
        if (item->kind != Kind::Folder && !(mayBeFile && item->kind == Kind::File)) return;
        if (m_detail == Detail::Place) return append(path, nameOnly(listed));
        if (const auto info = readBundleInfo(m_tree, path, m_links)) append(path, *info);
    }

    [[nodiscard]] BundleInfo nameOnly(const WorkstationTree::Entry& listed) const {
        BundleInfo info;
        info.name = listed.name.chopped(m_folder.extension.size() + 1);
        info.modified = listed.modified;
        return info;
    }

    void append(const QString& path, const BundleInfo& info) {
        m_plugins.append(QVariantMap{
            {QStringLiteral("name"), info.name},
            {QStringLiteral("fullPath"), path},
            {QStringLiteral("version"), info.version},
            {QStringLiteral("type"), m_folder.type},
            {QStringLiteral("disabled"), qlonglong(m_disabled ? 1 : 0)},
            {QStringLiteral("accessType"), qlonglong(m_folder.accessType)},
            {QStringLiteral("moddate"), info.modified},
        });
    }

    const WorkstationTree& m_tree;
    const Folder& m_folder;
    WorkstationTree::Links m_links;
    bool m_disabled;
    Detail m_detail;
    QVariantList& m_plugins;
};

void appendFolders(QList<Folder>& result, const QString& library, const QString& scriptFolder,
                   AccessType access) {
    result.append({library + QStringLiteral("/Plug-Ins/FxPlug"), QStringLiteral("FxPlug"),
                   QStringLiteral("fxplug"), access});
    result.append({library + scriptFolder, QStringLiteral("FxScript"), QStringLiteral("fcfcc"), access});
    result.append({library + QStringLiteral("/Audio/Plug-Ins/Components"), QStringLiteral("Audio Unit"),
                   QStringLiteral("component"), access});
}

}  // namespace

QList<Folder> folders(const QString& user) {
    QList<Folder> result;
    if (!user.isEmpty()) {
        appendFolders(result, WorkstationTree::homePath(user) + QStringLiteral("/Library"),
                      QStringLiteral("/Preferences/Final Cut Pro User Data/Plugins"), CurrentUser);
    }
    appendFolders(result, QStringLiteral("/Library"),
                  QStringLiteral("/Application Support/Final Cut Pro System Support/Plugins"), AllUsers);
    return result;
}

QString disabledPath(const QString& folder) {
    return folder + QStringLiteral(" (Disabled)");
}

QVariantList list(const WorkstationTree& tree, const QString& user, Detail detail) {
    QVariantList plugins;
    const auto places = folders(user);
    for (const Folder& folder : places) {
        FolderScan(tree, folder, false, detail, plugins).scan(folder.path);
        FolderScan(tree, folder, true, detail, plugins).scan(disabledPath(folder.path));
    }
    return plugins;
}

}  // namespace PluginCatalog
