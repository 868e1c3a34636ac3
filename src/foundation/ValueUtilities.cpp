#include "foundation/ValueUtilities.h"

#include <algorithm>

DateComponents componentsFromDate(const QDateTime& date) {
    if (!date.isValid()) return {};
    const QDate day = date.date();
    const QTime time = date.time();
    return {day.year(),
            day.month(),
            day.day(),
            time.hour(),
            time.minute(),
            time.second(),
            day.dayOfWeek() % 7 + 1};
}

QString stringWithString(const QString& string, const QList<AsciiRange>& byDeletingCharsNotInAsciiRanges) {
    QString result = string;
    result.removeIf([&](QChar character) {
        const char16_t code = character.unicode();
        return code > 0x7f ||
               std::none_of(byDeletingCharsNotInAsciiRanges.begin(), byDeletingCharsNotInAsciiRanges.end(),
                            [code](AsciiRange range) {
                                return code >= char16_t(range.first) && code <= char16_t(range.last);
                            });
    });
    return result;
}
