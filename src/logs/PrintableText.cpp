#include "logs/PrintableText.h"

namespace {

bool turnsDirection(QChar character) {
    switch (character.direction()) {
        case QChar::DirLRE:
        case QChar::DirLRO:
        case QChar::DirRLE:
        case QChar::DirRLO:
        case QChar::DirPDF:
        case QChar::DirLRI:
        case QChar::DirRLI:
        case QChar::DirFSI:
        case QChar::DirPDI:
            return true;
        default:
            return false;
    }
}

bool isHarmless(QChar character) {
    const char16_t code = character.unicode();
    if (code >= 0x20 && code < 0x7f) return true;
    const QChar::Category category = character.category();
    return category != QChar::Other_Control && category != QChar::Separator_Line &&
           category != QChar::Separator_Paragraph && !turnsDirection(character);
}

}  // namespace

QString printableLine(QString text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar character = std::as_const(text)[i];
        if (!isHarmless(character)) text[i] = QLatin1Char(character.isSpace() ? ' ' : '?');
    }
    return text;
}
