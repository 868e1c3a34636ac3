#pragma once

#include "foundation/PropertyList.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVariantMap>

/// Writes `content` and the folders above it. False when that failed.
inline bool writeFile(const QString& path, const QByteArray& content) {
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly) &&
           file.write(content) == content.size();
}

inline bool writeBundle(const QString& path, const QVariantMap& info) {
    return writeFile(path + "/Contents/Info.plist", PropertyList::toData(info));
}
