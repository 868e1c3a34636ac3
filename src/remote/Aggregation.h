#pragma once

#include <QString>
#include <QVariant>

/// Merging the answers of several clients into one view. Values are as the agents sent them: any type may
/// come under any key, and nothing here fails on it. Any thread.
namespace Aggregation {

inline constexpr char various[] = "(various)";

/// -1, 0 or 1: the first three parts, separated by ".", as integers.
[[nodiscard]] int compareVersionString(const QString& a, const QString& b);
/// "lowest - highest" of the versions under `key`, one version when all are alike, null when there is none.
[[nodiscard]] QString versionRangeInArray(const QVariantList& array, const QString& key);

/// The value that all elements share; "(various)" or -1 where texts or numbers differ, else invalid.
[[nodiscard]] QVariant aggregatedValueForKey(const QString& key, const QVariantList& array);
/// The same over per-client application data: the value in each client's dictionary `app` (its own when
/// empty).
[[nodiscard]] QVariant aggregatedValueForKey(const QString& key, const QString& app, bool isNumber,
                                             const QVariantList& applicationData);

[[nodiscard]] QVariant aggregatedValueForKey(const QString& key, const QString& app,
                                             const QVariantList& applicationData);

/// Equal as property-list values: numbers and truth values by their value, containers by their contents.
[[nodiscard]] bool sameValue(const QVariant& a, const QVariant& b);

/// Each key of the first dictionary with its most frequent value.
[[nodiscard]] QVariantMap commonValuesForDictArray(const QVariantList& array);
/// The texts of the first dictionary, each replaced by one of the others' that is a higher version or, where
/// it is no version, that differs. Every comparison is with the first dictionary's text.
[[nodiscard]] QVariantMap commonOrHighestStatsFromArray(const QVariantList& array);
/// The list (or the values of the dictionary) that the first element has under `key`, whole.
[[nodiscard]] QVariantList commonItemsFromArray(const QVariantList& array, const QString& key);
/// The key with the highest number; null when there is no number.
[[nodiscard]] QString highestValueFromDict(const QVariantMap& dictionary);
/// "Not installed", "Running", "Not running" or "Some running"; null for no application.
[[nodiscard]] QString aggregatedAppDictStatus(const QVariantList& applications);
/// A property list given as text; invalid (and a log line) when it is none.
[[nodiscard]] QVariant dictionaryFromString(const QString& text);

}  // namespace Aggregation
