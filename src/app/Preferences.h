#pragma once

#include <QString>

/// What the user sets in the preferences. Switches are stored as the kind of value that their readers compare
/// with: `autoRefresh`, `authAddKeychain` and `requireAdminPassword` are integers, `SUCheckAtStartup`,
/// `firstRun` and `runFollowUp` booleans. Main thread.
namespace Preferences {

/// Posted after a change of a preference: user information {"key": its name}.
inline constexpr auto changedNotification = "vlCorvalinPreferencesChanged";

[[nodiscard]] bool isOn(const QString& key);
void setOn(const QString& key, bool on);
[[nodiscard]] qlonglong number(const QString& key);
void setNumber(const QString& key, qlonglong number);

}  // namespace Preferences
