#include "remote/Aggregation.h"

#include "support/TestEnvironment.h"
#include "support/TestTable.h"

using namespace Qt::StringLiterals;
using namespace Aggregation;

namespace {

const QString k = u"k"_s, a = u"A"_s, b = u"B"_s;
const QVariant missing;

/// One dictionary per value, without the key for a missing one.
QVariantList dictionaries(const QVariantList& values) {
    QVariantList array;
    for (const QVariant& value : values)
        array.append(value.isValid() ? QVariantMap{{k, value}} : QVariantMap());
    return array;
}

QVariantMap app(const QVariant& installed, const QVariant& running) {
    return {{u"installed"_s, installed}, {u"running"_s, running}};
}

QVariantList nested(int number) {
    return {QVariantMap{{k, number}}, QVariantList{number, 2.0}};
}

}  // namespace

class AggregationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void comparesVersions() {
        const struct {
            QString left, right;
            int result;
        } rows[] = {{"10.4", "10.4.0", 0},   {"2.0", "10.0", -1},
                    {"1.a", "1.0", 0},       {"1.2.3.9", "1.2.3", 0},
                    {"1.2.4", "1.2.10", -1}, {"", "0.0.1", -1},
                    {"1..5", "1.0.4", 1},    {"99999999999999999999.0", "9.0", 1}};
        for (const auto& [left, right, result] : rows) {
            QCOMPARE(compareVersionString(left, right), result);
            QCOMPARE(compareVersionString(right, left), -result);
        }
    }

    void merges_data() {
        const TestTable<QVariantList, QVariant> row("values", "result");
        const QString various = u"(various)"_s;
        row("same text", {a, a}, a);
        row("texts differ", {a, b}, various);
        row("numbers differ", {3, 4}, -1);
        row("truth values differ", {true, false}, -1);
        row("truth value and number alike", {true, 1, 1.0}, true);
        row("the first difference decides: number", {a, 4, b}, -1);
        row("the first difference decides: text", {4, a}, various);
        row("same lists", {nested(1), nested(1)}, nested(1));
        row("lists differ", {nested(1), nested(2)}, missing);
        row("missing later", {a, missing, a}, missing);
        row("missing at first", {missing, a, a}, a);
        row("empty", {}, missing);
        row("data is no text", {QByteArray("A"), a}, various);
    }
    void merges() {
        QFETCH(QVariantList, values);
        QFETCH(QVariant, result);
        const QVariant found = aggregatedValueForKey(k, dictionaries(values));
        QVERIFY2(sameValue(found, result), qPrintable(found.toString()));
    }

    void mergesApplicationData() {
        const QString fcp = u"fcp"_s;
        const auto data = [&](const QVariantList& values) {
            QVariantList array;
            for (const QVariant& dictionary : dictionaries(values))
                array.append(QVariantMap{{fcp, dictionary}, {k, u"own"_s}});
            return array;
        };
        QCOMPARE(aggregatedValueForKey(k, fcp, true, data({5, 5.9, u"5"_s})), QVariant(5));
        QCOMPARE(aggregatedValueForKey(k, fcp, true, data({u"5"_s, 6})), QVariant(-1));
        QCOMPARE(aggregatedValueForKey(k, fcp, data({a, b})), QVariant(u"(various)"_s));
        QCOMPARE(aggregatedValueForKey(k, QString(), data({1, 2})), QVariant(u"own"_s));
        QVERIFY(!aggregatedValueForKey(k, u"motion"_s, true, data({1, 2})).isValid());
        QCOMPARE(aggregatedValueForKey(k, fcp, true, data({1e300})),
                 QVariant(std::numeric_limits<qlonglong>::max()));
    }

    void rangesOfVersions() {
        const std::pair<QVariantList, QString> rows[] = {
            {{u"1.2"_s, u"1.10"_s, missing, u"1.9"_s}, u"1.2 - 1.10"_s},
            {{missing, u"3.1"_s, u"3.1"_s}, u"3.1"_s},
            {{u"1.0"_s, u"1.0.0"_s}, u"1.0"_s},
            {{7, QVariantMap(), u"2.0"_s}, u"2.0"_s},
            {{missing, missing}, QString()}};
        for (const auto& [values, range] : rows)
            QCOMPARE(versionRangeInArray(dictionaries(values), k), range);
    }

    void commonValues() {
        const QString other = u"other"_s, list = u"list"_s;
        const QVariantMap common = commonValuesForDictArray(
            {QVariantMap{{k, 1}, {list, nested(1)}}, QVariantMap{{k, 2}, {other, 5}},
             QVariantMap{{k, 2.0}, {other, 5}, {list, nested(2)}}, QVariantMap{{list, nested(2)}}});
        QCOMPARE(common.value(k).toInt(), 2);
        QVERIFY(sameValue(common.value(list), nested(2)));
        QVERIFY(!common.contains(other));  // the first dictionary's keys only
        const auto commonOf = [](const QVariantList& values) {
            return commonValuesForDictArray(dictionaries(values)).value(k);
        };
        QCOMPARE(commonOf({u"1"_s, 1, 0, true, 1.0}), QVariant(1));  // the text is no number
        QCOMPARE(commonOf({QByteArray("a"), u"b"_s, QByteArray("a")}), QVariant(QByteArray("a")));

        // Held against the first value, not against the highest so far.
        const auto stats = [](const QVariantList& values) {
            return commonOrHighestStatsFromArray(dictionaries(values)).value(k);
        };
        QCOMPARE(stats({u"1.0"_s, u"3.0"_s, missing, 9, u"2.0"_s, u"0.9"_s}), QVariant(u"2.0"_s));
        QCOMPARE(stats({u"1.0"_s, u"beta"_s}), QVariant(u"beta"_s));
        QVERIFY(!stats({9, u"2.0"_s}).isValid());

        // The first element's items, whatever the others hold.
        const auto items = [](const QVariant& first) {
            return commonItemsFromArray(dictionaries({first, QVariantList{1}, missing}), k);
        };
        QCOMPARE(items(QVariantList{app(1, 1), 3}), (QVariantList{app(1, 1), 3}));
        QCOMPARE(items(QVariantMap{{b, 2}, {a, 1}}), (QVariantList{1, 2}));
        QCOMPARE(items(u"abc"_s), QVariantList());

        QCOMPARE(highestValueFromDict({{a, 1}, {b, 2}, {k, 2.9}}), b);  // the first of equals
        QCOMPARE(highestValueFromDict({{a, u"9"_s}, {b, -2}, {k, -3}}), b);
        QCOMPARE(highestValueFromDict({{a, u"9"_s}}), QString());
    }

    void applicationStatus() {
        const std::pair<QVariantList, QString> rows[] = {
            {{}, {}},
            {{app(false, false), app(0, true)}, u"Not installed"_s},
            {{app(u"yes"_s, 1), u"x"_s, 1}, u"Not installed"_s},
            {{app(true, true), app(1, 1)}, u"Running"_s},
            {{app(true, false), app(true, missing)}, u"Not running"_s},
            {{app(true, true), app(true, false)}, u"Some running"_s},
            {{app(true, true), app(false, false), app(true, true)}, u"Some running"_s}};
        for (const auto& [applications, status] : rows)
            QCOMPARE(aggregatedAppDictStatus(applications), status);
    }

    void dictionariesFromText() {
        const QString plist = u"<plist version=\"1.0\">%1</plist>"_s;
        const QString good = plist.arg(u"<dict><key>k</key><integer>4</integer></dict>"_s);
        QCOMPARE(dictionaryFromString(good).toMap().value(k), QVariant(4));
        for (const QString& bad : {plist.arg(u"<array/>"_s), good.left(50), u"hello"_s, QString()}) {
            const qsizetype before = logLines().size();
            QVERIFY(!dictionaryFromString(bad).isValid());
            const QStringList lines = logLines().mid(before);
            QCOMPARE(lines.size(), 1);
            QVERIFY(lines.first().startsWith(u"Error getting dictionary from string: "_s));
        }
    }

    /// An agent may send anything in place of the dictionaries, or nothing.
    void strangeElementsAreHarmless() {
        const QVariantList strange{missing, 5, u"{\"k\": 1}"_s, QVariantList{1}, QByteArray("k")};
        for (const QVariantList& array : {strange, QVariantList()}) {
            QVERIFY(versionRangeInArray(array, k).isEmpty());
            QVERIFY(!aggregatedValueForKey(k, array).isValid());
            QVERIFY(!aggregatedValueForKey(k, k, true, array).isValid());
            QVERIFY(commonValuesForDictArray(array).isEmpty());
            QVERIFY(commonOrHighestStatsFromArray(array).isEmpty());
            QVERIFY(commonItemsFromArray(array, k).isEmpty());
        }
        QCOMPARE(aggregatedAppDictStatus(strange), u"Not installed"_s);
    }
};

ORLENDO_TEST_MAIN(AggregationTest)
#include "aggregation_test.moc"
