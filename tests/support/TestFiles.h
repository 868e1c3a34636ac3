#pragma once

#include "base/PropertyList.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

/// Writes `content` and the folders above it. False when that failed.
inline bool writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly) &&
           file.write(content) == content.size();
}

inline bool writeBundle(const QString& path, const QVariantMap& info) {
    return writeFile(path + QStringLiteral("/Contents/Info.plist"), PropertyList::toData(info));
}

/// Nothing when it cannot be read.
inline QByteArray contentsOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Every path below `folder` with its contents or target.
inline QStringList everything(const QString& folder) {
    QStringList found;
    QDirIterator paths(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (paths.hasNext()) {
        const QFileInfo info(paths.next());
        QString line = info.filePath().mid(folder.size());
        if (info.isSymLink())
            line +=
                QStringLiteral(" -> ") + QString::fromUtf8(QFile::symLinkTarget(info.filePath()).toUtf8());
        else if (info.isFile())
            line += QStringLiteral(": ") + QString::fromUtf8(contentsOf(info.filePath()));
        found.append(line);
    }
    found.sort();
    return found;
}
