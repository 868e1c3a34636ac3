#include "runs/Outcome.h"

#include <QCoreApplication>

#include <array>

namespace {

constexpr std::array words{
    QT_TRANSLATE_NOOP("Outcome", "left alone"),    QT_TRANSLATE_NOOP("Outcome", "answered"),
    QT_TRANSLATE_NOOP("Outcome", "done"),          QT_TRANSLATE_NOOP("Outcome", "left out"),
    QT_TRANSLATE_NOOP("Outcome", "skipped"),       QT_TRANSLATE_NOOP("Outcome", "cancelled"),
    QT_TRANSLATE_NOOP("Outcome", "not connected"), QT_TRANSLATE_NOOP("Outcome", "no answer"),
    QT_TRANSLATE_NOOP("Outcome", "refused"),       QT_TRANSLATE_NOOP("Outcome", "failed")};

}  // namespace

QString Outcome::word(Kind kind) {
    return QLatin1String(words.at(static_cast<std::size_t>(kind)));
}

QString Outcome::shownWord(Kind kind) {
    return QCoreApplication::translate("Outcome", words.at(static_cast<std::size_t>(kind)));
}

Outcome::Kind Outcome::fromWord(const QString& word) {
    for (std::size_t index = 0; index < words.size(); ++index)
        if (word == QLatin1String(words.at(index))) return static_cast<Kind>(index);
    return Failed;
}

QString Outcome::text() const {
    QString title = shownWord(kind);
    title[0] = title[0].toUpper();
    return reason.isEmpty() ? title : QStringLiteral("%1: %2").arg(title, reason);
}
