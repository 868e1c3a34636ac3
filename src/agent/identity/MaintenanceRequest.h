#pragma once

#include <QString>

/// The wish for maintenance that a user of this machine has expressed. It is a file in the state folder, so
/// it outlives the agent, and any local program can make or remove it ("corvalin-agent --request-maintenance"
/// does). Any thread, any process.
namespace MaintenanceRequest {

[[nodiscard]] bool isRequested(const QString& stateDirectory);
/// False when the file could not be written or removed.
bool request(const QString& stateDirectory);
bool cancel(const QString& stateDirectory);

}  // namespace MaintenanceRequest
