#include "widgets/PlainText.h"

#include <QTextDocument>

QString literalText(const QString& text, Qt::WhiteSpaceMode mode) {
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text, mode) : text;
}
