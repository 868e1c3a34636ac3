#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// Which files a console means by a preference key.
namespace PreferenceKeys {

/// One group of an application's preferences.
struct Group {
    QString key;        ///< "fcpPrefs"
    QStringList files;  ///< files and folders, relative to the user's Library
    bool isMain;        ///< what a quick backup and a quick trash are about: not what users made themselves
};

/// The groups that keys joined by commas mean, each once and in the table's order. An application's key means
/// all of its groups. Throws VLException::refused for a key that is not known.
[[nodiscard]] QList<Group> groups(const QString& keys);
/// Those of a list that may come from another version of the suite: what is not known is left out.
[[nodiscard]] QList<Group> knownGroups(const QStringList& keys);
[[nodiscard]] QList<Group> mainGroups();
[[nodiscard]] QList<Group> allGroups();
/// The files of all groups, each once.
[[nodiscard]] QStringList files(const QList<Group>& groups);

}  // namespace PreferenceKeys
