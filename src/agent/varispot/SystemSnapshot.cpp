#include "agent/varispot/SystemSnapshot.h"

#include "agent/AgentContext.h"
#include "agent/addonry/PluginCatalog.h"
#include "agent/tree/BundleInfo.h"

namespace {

constexpr int maximumItems = 2'000;

bool isBundle(const WorkstationTree::Entry& entry, QLatin1StringView extension) {
    return entry.name.endsWith(extension) && entry.name.size() > extension.size() &&
           !entry.name.startsWith(u'.') && entry.kind != WorkstationTree::Kind::File;
}

/// Adds the versions of the bundles in `folder`. The first of two bundles with one name counts.
void addVersions(const WorkstationTree& tree, const QString& folder, QLatin1StringView extension,
                 QVariantMap& snapshot) {
    const auto entries = tree.entries(folder);
    for (const auto& entry : entries) {
        if (snapshot.size() >= maximumItems || !isBundle(entry, extension)) continue;
        const auto info = readBundleInfo(tree, folder + u'/' + entry.name);
        if (info && !info->version.isEmpty() && !snapshot.contains(info->name))
            snapshot.insert(info->name, info->version);
    }
}

QVariantMap bundlesIn(const WorkstationTree& tree, const QStringList& folders, QLatin1StringView extension) {
    QVariantMap bundles;
    for (const QString& folder : folders) {
        const auto entries = tree.entries(folder);
        for (const auto& entry : entries) {
            if (bundles.size() >= maximumItems || !isBundle(entry, extension) || bundles.contains(entry.name))
                continue;
            const QString path = folder + u'/' + entry.name;
            const auto info = readBundleInfo(tree, path);
            if (!info) continue;
            bundles.insert(entry.name, QVariantMap{{QStringLiteral("name"), info->name},
                                                   {QStringLiteral("version"), info->version},
                                                   {QStringLiteral("path"), path}});
        }
    }
    return bundles;
}

/// The applications folder, and the folders in it that are no applications themselves.
QStringList applicationFolders(const WorkstationTree& tree) {
    const QString applications = QStringLiteral("/Applications");
    QStringList folders{applications};
    const auto entries = tree.entries(applications);
    for (const auto& entry : entries) {
        if (entry.kind == WorkstationTree::Kind::Folder && !entry.name.contains(u'.'))
            folders.append(applications + u'/' + entry.name);
    }
    return folders;
}

}  // namespace

QVariantMap systemSnapshot(const AgentContext& agent) {
    const WorkstationTree& tree = agent.tree;
    QVariantMap snapshot;

    const QVariantMap system =
        tree.readPropertyList(QStringLiteral("/System/Library/CoreServices/SystemVersion.plist"));
    const QVariant systemName = system.value(QStringLiteral("ProductName"));
    const QVariant systemVersion = system.value(QStringLiteral("ProductVersion"));
    if (systemName.typeId() == QMetaType::QString && systemVersion.typeId() == QMetaType::QString)
        snapshot.insert(systemName.toString(), systemVersion);

    const auto folders = applicationFolders(tree);
    for (const QString& folder : folders)
        addVersions(tree, folder, QLatin1StringView(".app"), snapshot);
    for (const char* folder : {"/Library/QuickTime", "/System/Library/QuickTime"})
        addVersions(tree, QLatin1String(folder), QLatin1StringView(".component"), snapshot);

    // Last, so that no application can stand in for them by its name.
    snapshot.insert(
        QStringLiteral("Frameworks"),
        bundlesIn(tree, {QStringLiteral("/Library/Frameworks"), QStringLiteral("/System/Library/Frameworks")},
                  QLatin1StringView(".framework")));
    snapshot.insert(
        QStringLiteral("Kexts"),
        bundlesIn(tree, {QStringLiteral("/System/Library/Extensions"), QStringLiteral("/Library/Extensions")},
                  QLatin1StringView(".kext")));
    snapshot.insert(QStringLiteral("Plugins"), PluginCatalog::list(tree, agent.consoleUser()));
    return snapshot;
}
