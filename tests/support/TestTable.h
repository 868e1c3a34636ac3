#pragma once

#include <QStringList>
#include <QTest>

#include <initializer_list>
#include <type_traits>

/// The columns of a data-driven test; each call adds a row:
/// `const TestTable<QString, int> row("text", "code"); row("a tag", u"text"_s, 5);`
template <typename... Values>
class TestTable {
public:
    template <typename... Names>
    explicit TestTable(Names... names) {
        (QTest::addColumn<Values>(names), ...);
    }
    void operator()(const char* tag, const std::type_identity_t<Values>&... values) const {
        (QTest::newRow(tag) << ... << values);
    }
};

/// A table of texts: a row in each line, its columns apart by "|". The whole line is the tag.
inline void addTextRows(std::initializer_list<const char*> columns, const QString& table) {
    for (const char* column : columns)
        QTest::addColumn<QString>(column);
    for (const QString& line : table.split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList texts = line.split(u'|');
        QTestData& row = QTest::newRow(qPrintable(line.simplified()));
        for (size_t column = 0; column < columns.size(); ++column)
            row << texts.value(qsizetype(column)).trimmed();
    }
}
