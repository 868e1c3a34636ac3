#include "agent/tree/BundleInfo.h"

#include "base/PropertyList.h"

#include <QVariant>

#include <algorithm>

namespace {

constexpr qint64 largestInfoPlist = 1024 * 1024;
constexpr int longestText = 255;

QString cleanText(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::QString:
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::Double:
            break;
        default:
            return {};
    }
    QString text = value.toString().left(4 * longestText);
    text.removeIf([](QChar c) { return !c.isPrint() && !c.isSpace() && !c.isSurrogate(); });
    return text.simplified().left(longestText);
}

QString baseName(const QString& path) {
    const QString fileName = path.section(u'/', -1, -1, QString::SectionSkipEmpty);
    const auto dot = fileName.lastIndexOf(u'.');
    return dot > 0 ? fileName.left(dot) : fileName;
}

/// The path of the Info.plist, wherever this kind of bundle keeps it.
QString infoPlistPath(const WorkstationTree& tree, const QString& bundle, WorkstationTree::Links links) {
    for (const char* place : {"/Contents/Info.plist", "/Resources/Info.plist",
                              "/Versions/Current/Resources/Info.plist", "/Info.plist"}) {
        const QString path = bundle + QLatin1String(place);
        const auto found = tree.entry(path, links);
        if (found && found->kind == WorkstationTree::Kind::File) return path;
    }
    return {};
}

}  // namespace

std::optional<BundleInfo> readBundleInfo(const WorkstationTree& tree, const QString& path,
                                         WorkstationTree::Links links) {
    const auto bundle = tree.entry(path, links);
    if (!bundle) return std::nullopt;

    BundleInfo info;
    info.name = baseName(path);
    info.modified = bundle->modified;
    if (bundle->kind != WorkstationTree::Kind::Folder) return info;
    const QString plistPath = infoPlistPath(tree, path, links);
    if (plistPath.isEmpty()) return info;
    if (const auto plist = tree.entry(plistPath, links)) info.modified = plist->modified;

    const auto content = tree.read(plistPath, largestInfoPlist, links);
    const QVariantMap values = content ? PropertyList::fromData(*content).toMap() : QVariantMap();
    if (const QString name = cleanText(values.value(QStringLiteral("CFBundleName"))); !name.isEmpty())
        info.name = name;
    info.buildVersion = cleanText(values.value(QStringLiteral("CFBundleVersion")));
    info.version = cleanText(values.value(QStringLiteral("CFBundleShortVersionString")));
    if (info.version.isEmpty()) info.version = info.buildVersion;
    info.identifier = cleanText(values.value(QStringLiteral("CFBundleIdentifier")));
    return info;
}
