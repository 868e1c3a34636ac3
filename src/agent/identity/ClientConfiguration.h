#pragma once

#include <QVariant>

struct AgentContext;

namespace ClientConfiguration {

/// Build number of this agent, compared by the console with the lowest one that it works with.
inline constexpr qlonglong agentVersion = 1040;

/// What the agent says about itself: "maintenanceRequested", "version", "corvalinVersion",
/// "preferredHostName", "availableUpdateCount", "availableUpdateCountLastUpdate", "minAdminVersion",
/// "selfCrashLog". Keys that nothing is known about are left out. Read from the disk at every call. The crash
/// log is in it for as long as it is there and recent; each console is to be told of it only once.
[[nodiscard]] QVariantMap current(const AgentContext& agent);

/// Facts about the machine for the information panel: "name", "hostName", "model", the version of its
/// system, and what "machine.plist" in the state folder says about its hardware.
[[nodiscard]] QVariantMap systemSpecs(const AgentContext& agent);

}  // namespace ClientConfiguration
