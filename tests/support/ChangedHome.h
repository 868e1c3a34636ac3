#pragma once

#include "agent/settlekeep/AutomaticBackups.h"
#include "agent/settlekeep/BackupStore.h"
#include "support/TestFiles.h"

/// A small home folder whose preferences were changed since FOLDER/archive.zip was made of them: one of each
/// kind of change, and as many backups made before changes as are kept. FOLDER/disk is the workstation's.
namespace ChangedHome {

inline const QString keys = QStringLiteral("color,motion,fcpButton"), user = QStringLiteral("anna"),
                     library = QStringLiteral("/Users/anna/Library/"),
                     settlekeep = library + QStringLiteral("Application Support/Velmora/Settlekeep/"),
                     automatic = settlekeep + QStringLiteral("Automatic");

inline void make(const QString& folder) {
    const QString disk = folder + QStringLiteral("/disk");
    const auto preference = [&](const char* file, const QByteArray& contents) {
        writeFile(disk + library + QStringLiteral("Preferences/") + QLatin1String(file), contents);
    };
    preference("com.apple.color.plist", "color");
    preference("com.apple.motion.plist", "motion");
    preference("Final Cut Pro User Data/Button Bars/Old.layout", QByteArray(3000, 'x'));
    const WorkstationTree tree(disk);
    const BackupStore store(tree, folder + QStringLiteral("/state"), user);
    const QString path = store.create(QStringLiteral("B"), 0, PreferenceKeys::groups(keys));
    writeFile(folder + QStringLiteral("/archive.zip"), store.data(path));
    preference("com.apple.color.plist", "new");
    preference("Color/Preferences.prf", "new");  // was not there
    QFile::remove(disk + library + QStringLiteral("Preferences/com.apple.motion.plist"));
    preference("Final Cut Pro User Data/Button Bars/New.layout", "new");
    for (int age = 1; age <= AutomaticBackups::most; ++age) {
        const QString backup = disk + automatic + QStringLiteral("/%1.backup").arg(age);
        writeFile(backup + QStringLiteral("/Library/Preferences/com.apple.motion.plist"), "older");
        writeFile(backup + QStringLiteral("/Info.plist"),
                  PropertyList::toData(
                      QVariantMap{{QStringLiteral("origin"), QStringLiteral("trash")},
                                  {QStringLiteral("keys"), QStringLiteral("motion")},
                                  {QStringLiteral("date"), QDateTime::fromSecsSinceEpoch(age, Qt::UTC)}}));
    }
}

}  // namespace ChangedHome
