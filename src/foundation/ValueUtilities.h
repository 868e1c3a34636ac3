#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

/// The parts of a moment in its own time zone. Weekdays count from Sunday, which is 1.
struct DateComponents {
    int year = 0, month = 0, day = 0;
    int hour = 0, minute = 0, second = 0;
    int weekday = 0;
    bool operator==(const DateComponents&) const = default;
};
/// All parts are 0 for an invalid date.
[[nodiscard]] DateComponents componentsFromDate(const QDateTime& date);

/// A run of ASCII characters, both ends included.
struct AsciiRange {
    char first;
    char last;
};
/// `string` without the characters that lie in none of the ranges. What is not ASCII always goes.
[[nodiscard]] QString stringWithString(const QString& string,
                                       const QList<AsciiRange>& byDeletingCharsNotInAsciiRanges);
