#pragma once

#include <QString>
#include <QVersionNumber>
#include <qnamespace.h>

#include <tuple>
#include <vector>

/// What a row is sorted by in one column: usually one of the three. Versions are compared part by part.
struct SortKey {
    QString text = {};
    double number = 0;
    QVersionNumber version = {};

    [[nodiscard]] static SortKey ofVersion(const QString& text) {
        return {.text = text, .version = QVersionNumber::fromString(text)};
    }
    friend bool operator<(const SortKey& a, const SortKey& b) {
        return std::tie(a.version, a.number, a.text) < std::tie(b.version, b.number, b.text);
    }
};

/// Sorts the places of rows by their keys; alike ones by those of the first column, in rising order.
void sortPlaces(std::vector<int>& places, const std::vector<SortKey>& keys,
                const std::vector<SortKey>& firstKeys, Qt::SortOrder order);
