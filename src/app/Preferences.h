#pragma once

#include <QString>

/// The switches that the user sets in the preferences, each stored as the kind of value that its readers
/// compare with: `autoRefresh`, `authAddKeychain` and `requireAdminPassword` are integers, `SUCheckAtStartup`
/// and `firstRun` booleans. Main thread.
namespace Preferences {

/// Posted after a change of a preference: user information {"key": its name}.
inline constexpr auto changedNotification = "vlCorvalinPreferencesChanged";

[[nodiscard]] bool isOn(const QString& key);
void setOn(const QString& key, bool on);

}  // namespace Preferences
