#pragma once

#include <QVariant>

struct AgentContext;

/// What is installed on the workstation: "Plugins" (the same list as addonryPluginList gives), "Frameworks"
/// and "Kexts" (file name to "name", "version" and "path"), and under every other key the version of an
/// application, a component, or the system.
[[nodiscard]] QVariantMap systemSnapshot(const AgentContext& agent);
