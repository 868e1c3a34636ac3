#include "runs/Outcome.h"

#include <array>

namespace {

constexpr std::array words{"left alone", "answered",      "done",      "left out", "skipped",
                           "cancelled",  "not connected", "no answer", "refused",  "failed"};

}  // namespace

QString Outcome::word(Kind kind) {
    return QLatin1String(words.at(static_cast<std::size_t>(kind)));
}

Outcome::Kind Outcome::fromWord(const QString& word) {
    for (std::size_t index = 0; index < words.size(); ++index)
        if (word == QLatin1String(words.at(index))) return static_cast<Kind>(index);
    return Failed;
}

QString Outcome::text() const {
    QString title = word(kind);
    title[0] = title[0].toUpper();
    return reason.isEmpty() ? title : QStringLiteral("%1: %2").arg(title, reason);
}
