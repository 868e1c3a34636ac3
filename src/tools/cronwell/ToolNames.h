#pragma once

#include <QString>

/// What people call the application of a bundle identifier: "com.velmora.settlekeep" is Settlekeep.
[[nodiscard]] inline QString toolName(const QString& bundleID) {
    QString name = bundleID.section(u'.', -1, -1, QString::SectionSkipEmpty);
    if (name.isEmpty()) return bundleID;
    name[0] = name.at(0).toUpper();
    return name;
}
