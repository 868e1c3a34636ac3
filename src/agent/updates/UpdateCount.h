#pragma once

#include <QDateTime>

#include <optional>

struct AgentContext;

/// How many updates of the suite wait on this machine. The list of them is "updates.plist" in the state
/// folder, under "updates", written by whoever looks for updates; the last count lies beside it with its
/// date.
struct UpdateCount {
    qlonglong count = 0;
    QDateTime date;

    /// Counts now and remembers that. Nothing when nobody has looked for updates here yet.
    [[nodiscard]] static std::optional<UpdateCount> countAfresh(const AgentContext& agent);
    /// The last count; one of this moment when the list has changed since, or was never counted.
    [[nodiscard]] static std::optional<UpdateCount> lastCounted(const AgentContext& agent);
};
