#include "agent/settlekeep/BackupInfo.h"

#include "base/PropertyList.h"
#include "system/VLException.h"

namespace BackupInfo {

namespace {

using PreferenceKeys::Group;

constexpr qint64 largestInfo = 64 * 1024;
constexpr int longestFileName = 60;
constexpr int mostNameAttempts = 1000;

/// Whatever was typed, as the beginning of a file name.
QString fileNameFor(const QString& name) {
    QString fileName = name.left(longestFileName);
    for (QChar& character : fileName)
        if (!character.isPrint() || character == u'/' || character == u':' || character.isSurrogate())
            character = u'-';
    if (fileName.startsWith(u'.')) fileName[0] = u'-';
    return fileName;
}

QString joinedKeys(const QList<Group>& groups) {
    QStringList keys;
    for (const Group& group : groups)
        keys.append(group.key);
    return keys.join(u',');
}

}  // namespace

QVariantMap make(const QString& name, const QString& user, const QList<Group>& groups,
                 const QDateTime& date) {
    return {{nameKey, name}, {dateKey, date}, {keysKey, joinedKeys(groups)}, {QStringLiteral("user"), user}};
}

QVariantMap read(const WorkstationTree& tree, const QString& folder) {
    const auto written = tree.read(folder + file, largestInfo, WorkstationTree::Links::Refuse);
    return PropertyList::fromData(written.value_or(QByteArray())).toMap();
}

QVariantMap describe(const QVariantMap& info, const QString& folder, const QDateTime& date) {
    const QVariant noted = info.value(dateKey);
    return {{pathKey, folder},
            {nameKey, info.value(nameKey).toString().left(longestName)},
            {dateKey, noted.typeId() == QMetaType::QDateTime ? noted : date},
            {keysKey, joinedKeys(groupsOf(info))}};
}

QList<Group> groupsOf(const QVariantMap& info) {
    return PreferenceKeys::knownGroups(info.value(keysKey).toString().split(u',', Qt::SkipEmptyParts));
}

bool isAutomatic(const QVariantMap& info) {
    return !info.value(originKey).toString().isEmpty();
}

QString freePath(const TreeWriter& writer, const QString& folder, const QString& name,
                 const QDateTime& date) {
    const QString base =
        QStringLiteral("%1/%2 %3")
            .arg(folder, fileNameFor(name), date.toString(QStringLiteral("yyyy-MM-dd HH.mm.ss")));
    for (int attempt = 1; attempt <= mostNameAttempts; ++attempt) {
        const QString path =
            (attempt == 1 ? base : QStringLiteral("%1 %2").arg(base).arg(attempt)) + extension;
        if (writer.identity(path) == 0) return path;
    }
    throw VLException(VLException::generic,
                      QStringLiteral("There are too many backups named “%1”.").arg(name));
}

}  // namespace BackupInfo
