#pragma once

#include <QTest>

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
