#pragma once

#include "runs/Outcome.h"

#include <QString>
#include <QStringList>

#include <algorithm>
#include <array>

/// How runs are written in the file: what its writing and its reading have in common.
namespace ActivityForm {

inline constexpr int keysPerMillisecond = 64;
inline constexpr qsizetype longestName = 255, longestText = 1'000;
/// Runs that changed nothing, and in which every computer (kind 0) answered.
inline constexpr auto isPlainReading = "NOT is_change AND kinds & ~1 = 0";

/// The number of a kind in the file is its place here: new ones go to the end.
inline constexpr std::array kindsInFile{
    Outcome::Answered,     Outcome::Done,     Outcome::LeftOut, Outcome::Skipped, Outcome::Cancelled,
    Outcome::NotConnected, Outcome::NoAnswer, Outcome::Refused, Outcome::Failed,  Outcome::LeftAlone};

constexpr int numberOf(Outcome::Kind kind) {
    return static_cast<int>(std::find(kindsInFile.begin(), kindsInFile.end(), kind) - kindsInFile.begin());
}

/// Never null, which would be NULL in the file.
inline QString bounded(const QString& text, qsizetype limit) {
    if (text.isEmpty()) return QStringLiteral("");
    return text.size() <= limit ? text : text.left(limit - 1) + QChar(0x2026);
}

/// As texts are compared when they are searched.
inline QString folded(const QString& text) {
    return text.normalized(QString::NormalizationForm_KC).toCaseFolded();
}

template <typename Numbers>
QString listOf(const Numbers& numbers) {
    QStringList texts;
    for (const auto number : numbers)
        texts << QString::number(number);
    return texts.join(QLatin1Char(','));
}

}  // namespace ActivityForm
