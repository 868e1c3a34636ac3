#include "app/ReportTable.h"

#include <algorithm>

namespace {

constexpr qsizetype widestColumn = 60;
constexpr auto columnGap = "  ";

QString line(const QStringList& cells, const QList<qsizetype>& widths) {
    QString text;
    for (qsizetype column = 0; column < cells.size(); ++column) {
        if (column > 0) text += QLatin1String(columnGap);
        text += printableText(cells.at(column)).leftJustified(widths.value(column));
    }
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    return text + QLatin1Char('\n');
}

}  // namespace

QString reportTable(const ToolReport& report) {
    QList<qsizetype> widths;
    for (const QString& title : report.header)
        widths.append(title.size());
    for (const QStringList& row : report.rows)
        for (qsizetype column = 0; column < std::min(row.size(), widths.size()); ++column)
            widths[column] =
                std::clamp(row.at(column).size(), widths[column], std::max(widestColumn, widths[column]));

    QStringList rules;
    for (const qsizetype width : widths)
        rules.append(QString(width, QLatin1Char('-')));
    QString text = line(report.header, widths) + line(rules, widths);
    for (const QStringList& row : report.rows)
        text += line(row, widths);
    return text;
}

QString printableText(QString text) {
    for (QChar& character : text)
        if (!character.isPrint() && !character.isSurrogate()) character = QLatin1Char('?');
    return text;
}
