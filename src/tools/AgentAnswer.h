#pragma once

#include <QString>
#include <QVariant>

#include <span>

/// What the tools check of the answers that agents give. Any thread.
namespace AgentAnswer {

inline constexpr qsizetype longestText = 4'096;

/// The value where it is a text of a bearable length, else invalid.
[[nodiscard]] QVariant text(const QVariant& value);
/// The value as a whole number where it is a number or a truth value, else invalid.
[[nodiscard]] QVariant number(const QVariant& value);
/// 0 or 1 where it is one of those, else invalid.
[[nodiscard]] QVariant flag(const QVariant& value);
[[nodiscard]] QVariant date(const QVariant& value);

/// A key that an entry may have, and what may be kept of its value; invalid for one of a wrong kind.
struct Key {
    const char* name;
    QVariant (*clean)(const QVariant&);
};
/// Copies what the entry has under those keys. Returns how many values were of a wrong kind.
[[nodiscard]] int copyKeys(const QVariantMap& received, std::span<const Key> keys, QVariantMap& entry);

/// Whether the answer is a list or a dictionary, whichever is wanted. If not, `complaint` says so in plain
/// words; no answer at all is nothing to complain about.
[[nodiscard]] bool isList(const QVariant& answer, QString& complaint);
[[nodiscard]] bool isDictionary(const QVariant& answer, QString& complaint);
/// What else there was to complain about; empty when all was usable.
[[nodiscard]] QString complaint(qsizetype received, qsizetype kept, int wrongValues);

}  // namespace AgentAnswer
