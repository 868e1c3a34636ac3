#pragma once

#include <QList>
#include <QString>
#include <QVariant>

/// What an agent's "systemSpecs" say about its machine, in rows for people.
namespace MachineFacts {

struct Fact {
    QString title, value;
    bool operator==(const Fact&) const = default;
};

/// Those that are known come first, in a fixed order; one of the wrong type is "unknown". What else the agent
/// sends is shown under its own key, within bounds. Empty for no facts.
[[nodiscard]] QList<Fact> of(const QVariantMap& answer);

}  // namespace MachineFacts
