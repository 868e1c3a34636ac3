#pragma once

#include "foundation/PropertyList.h"
#include "support/TestFiles.h"

#include <QVariantMap>

inline bool writeBundle(const QString& path, const QVariantMap& info) {
    return writeFile(path + "/Contents/Info.plist", PropertyList::toData(info));
}
