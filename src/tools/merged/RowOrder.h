#pragma once

#include <QString>
#include <QVersionNumber>
#include <qnamespace.h>

#include <vector>

/// What a row is sorted by in one column: usually one of the three. Versions are compared part by part.
struct SortKey {
    QString text = {};
    double number = 0;
    QVersionNumber version = {};

    [[nodiscard]] static SortKey ofVersion(const QString& text) {
        return {.text = text, .version = QVersionNumber::fromString(text)};
    }
    /// Below 0 when it comes before the other.
    [[nodiscard]] int compare(const SortKey& other) const;
};

/// For each row its place in the rising order of the keys; alike ones keep theirs.
[[nodiscard]] std::vector<int> ranksOf(const std::vector<SortKey>& keys);
/// Sorts rows by their keys (none: by their ranks), alike ones by their ranks: those of the first column.
void sortPlaces(std::vector<int>& places, const std::vector<SortKey>& keys, const std::vector<int>& ranks,
                Qt::SortOrder order);
