#include "remote/Aggregation.h"

#include "support/TestEnvironment.h"

namespace {

const QString k = QStringLiteral("k");
const QVariant missing;

/// One dictionary per value, without the key for a missing one.
QVariantList dictionaries(const QVariantList& values) {
    QVariantList array;
    for (const QVariant& value : values)
        array.append(value.isValid() ? QVariantMap{{k, value}} : QVariantMap());
    return array;
}

QVariantMap app(const QVariant& installed, const QVariant& running) {
    return {{QStringLiteral("installed"), installed}, {QStringLiteral("running"), running}};
}

QVariantList nested(int number) {
    return {QVariantMap{{k, number}}, QVariantList{number, 2.0}};
}

}  // namespace

class AggregationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void comparesVersions_data();
    void comparesVersions();
    void versionRange_data();
    void versionRange();
    void aggregates_data();
    void aggregates();
    void aggregatesApplicationData();
    void commonValues();
    void commonOrHighestStats();
    void commonItems_data();
    void commonItems();
    void highestValue_data();
    void highestValue();
    void appStatus_data();
    void appStatus();
    void dictionaryFromText_data();
    void dictionaryFromText();
    void strangeElementsAreHarmless();
};

void AggregationTest::comparesVersions_data() {
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<int>("result");
    const auto row = [](const char* a, const char* b, int result) {
        QTest::addRow("%s against %s", a, b) << QString::fromLatin1(a) << QString::fromLatin1(b) << result;
    };
    row("10.4", "10.4.0", 0);
    row("2.0", "10.0", -1);
    row("1.a", "1.0", 0);
    row("1.2.3.9", "1.2.3", 0);
    row("1.3", "1.2.9", 1);
    row("1.2.4", "1.2.10", -1);
    row("", "0", 0);
    row("", "0.0.1", -1);
    row("1..5", "1.0.4", 1);
    row("beta", "0.1", -1);
    row("99999999999999999999.0", "9.0", 1);
}

void AggregationTest::comparesVersions() {
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(int, result);
    QCOMPARE(Aggregation::compareVersionString(a, b), result);
    QCOMPARE(Aggregation::compareVersionString(b, a), -result);
}

void AggregationTest::versionRange_data() {
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<QString>("range");
    const auto row = [](const char* name, const QVariantList& values, const char* range) {
        QTest::newRow(name) << values << QString::fromLatin1(range);
    };
    row("by number, not by letter", {QStringLiteral("1.2"), QStringLiteral("1.10"), QStringLiteral("1.9")},
        "1.2 - 1.10");
    row("lower later", {QStringLiteral("10.6.2"), missing, QStringLiteral("10.5.8")}, "10.5.8 - 10.6.2");
    row("one", {missing, QStringLiteral("3.1")}, "3.1");
    row("alike", {QStringLiteral("3.1"), QStringLiteral("3.1")}, "3.1");
    row("equal, spelled differently", {QStringLiteral("1.0"), QStringLiteral("1.0.0")}, "1.0");
    row("no text", {7, QVariantMap(), QStringLiteral("2.0")}, "2.0");
    row("none", {missing, missing}, "");
    row("empty", {}, "");
}

void AggregationTest::versionRange() {
    QFETCH(QVariantList, values);
    QTEST(Aggregation::versionRangeInArray(dictionaries(values), k), "range");
}

void AggregationTest::aggregates_data() {
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<QVariant>("result");
    const QString a = QStringLiteral("A"), b = QStringLiteral("B"), various = QStringLiteral("(various)");
    const auto row = [](const char* name, const QVariantList& values, const QVariant& result) {
        QTest::newRow(name) << values << result;
    };
    row("same text", {a, a}, a);
    row("texts differ", {a, b}, various);
    row("numbers differ", {3, 4}, -1);
    row("truth values differ", {true, false}, -1);
    row("truth value and number alike", {true, 1, 1.0}, true);
    row("the differing value decides: number", {a, 4}, -1);
    row("the differing value decides: text", {4, a}, various);
    row("the first difference decides", {a, 4, b}, -1);
    row("same lists", {nested(1), nested(1)}, nested(1));
    row("lists differ", {nested(1), nested(2)}, missing);
    row("list lengths differ", {QVariantList{1}, QVariantList{1, 2}}, missing);
    row("missing later", {a, missing, a}, missing);
    row("missing at first", {missing, a, a}, a);
    row("single", {a}, a);
    row("all missing", {missing, missing}, missing);
    row("empty", {}, missing);
    row("data is no text", {QByteArray("A"), a}, various);
}

void AggregationTest::aggregates() {
    QFETCH(QVariantList, values);
    QFETCH(QVariant, result);
    const QVariant found = Aggregation::aggregatedValueForKey(k, dictionaries(values));
    QVERIFY2(Aggregation::sameValue(found, result), qPrintable(found.toString()));
}

void AggregationTest::aggregatesApplicationData() {
    const auto data = [](const QVariantList& values) {
        QVariantList array;
        for (const QVariant& dictionary : dictionaries(values))
            array.append(QVariantMap{{QStringLiteral("fcp"), dictionary}, {k, QStringLiteral("own")}});
        return array;
    };
    const QString fcp = QStringLiteral("fcp");
    using namespace Aggregation;
    QCOMPARE(aggregatedValueForKey(k, fcp, true, data({QStringLiteral("5")})), QVariant(5));
    QCOMPARE(aggregatedValueForKey(k, fcp, true, data({5, 5.9})), QVariant(5));
    QCOMPARE(aggregatedValueForKey(k, fcp, true, data({QStringLiteral("5"), 6})), QVariant(-1));
    QCOMPARE(aggregatedValueForKey(k, fcp, data({QStringLiteral("a"), QStringLiteral("b")})),
             QVariant(QStringLiteral("(various)")));
    QCOMPARE(aggregatedValueForKey(k, QString(), data({1, 2})), QVariant(QStringLiteral("own")));
    QVERIFY(!aggregatedValueForKey(k, QStringLiteral("motion"), true, data({1, 2})).isValid());
    QCOMPARE(aggregatedValueForKey(k, fcp, true, data({1e300})),
             QVariant(std::numeric_limits<qlonglong>::max()));
}

void AggregationTest::commonValues() {
    QVERIFY(Aggregation::commonValuesForDictArray({}).isEmpty());
    const QString other = QStringLiteral("other");
    const QVariantMap common = Aggregation::commonValuesForDictArray(
        {QVariantMap{{k, 1}, {QStringLiteral("list"), nested(1)}}, QVariantMap{{k, 2}, {other, 5}},
         QVariantMap{{k, 2.0}, {other, 5}, {QStringLiteral("list"), nested(2)}}, QVariantMap(),
         QVariantMap{{QStringLiteral("list"), nested(2)}}});
    QCOMPARE(common.value(k).toInt(), 2);
    QVERIFY(Aggregation::sameValue(common.value(QStringLiteral("list")), nested(2)));
    QVERIFY(!common.contains(other));  // the first dictionary's keys only
}

void AggregationTest::commonOrHighestStats() {
    QVERIFY(Aggregation::commonOrHighestStatsFromArray({}).isEmpty());
    const auto text = [](const char* latin) { return QVariant(QString::fromLatin1(latin)); };
    const auto statsOf = [](const QVariantList& values) {
        return Aggregation::commonOrHighestStatsFromArray(dictionaries(values)).value(k);
    };
    QCOMPARE(statsOf({text("1.0"), text("2.0"), missing, 9, text("0.9")}), text("2.0"));
    // Held against the first value, not against the highest so far.
    QCOMPARE(statsOf({text("1.0"), text("3.0"), text("2.0")}), text("2.0"));
    QCOMPARE(statsOf({text("1.0"), text("beta")}), text("beta"));
    QCOMPARE(statsOf({text("beta"), text("beta")}), text("beta"));
    QVERIFY(!statsOf({9, text("2.0")}).isValid());
}

void AggregationTest::commonItems_data() {
    QTest::addColumn<QVariant>("first");
    QTest::addColumn<QVariantList>("items");
    const QVariantMap named{{QStringLiteral("name"), QStringLiteral("n")}};
    QTest::newRow("list") << QVariant(QVariantList{named, 3}) << QVariantList{named, 3};
    QTest::newRow("dictionary") << QVariant(
                                       QVariantMap{{QStringLiteral("b"), 2}, {QStringLiteral("a"), named}})
                                << QVariantList{named, 2};
    QTest::newRow("text") << QVariant(QStringLiteral("abc")) << QVariantList();
    QTest::newRow("missing") << QVariant() << QVariantList();
}

/// The first element's items, whatever the others hold.
void AggregationTest::commonItems() {
    QFETCH(QVariant, first);
    QTEST(Aggregation::commonItemsFromArray(dictionaries({first, QVariantList(), missing}), k), "items");
    QVERIFY(Aggregation::commonItemsFromArray({}, k).isEmpty());
}

void AggregationTest::highestValue_data() {
    QTest::addColumn<QVariantMap>("dictionary");
    QTest::addColumn<QString>("key");
    const QString a = QStringLiteral("a"), b = QStringLiteral("b"), c = QStringLiteral("c");
    QTest::newRow("highest") << QVariantMap{{a, 1}, {b, 7}, {c, 3}} << b;
    QTest::newRow("first of equals") << QVariantMap{{a, 1}, {b, 2}, {c, 2.9}} << b;
    QTest::newRow("negative") << QVariantMap{{a, -3}, {b, -2}} << b;
    QTest::newRow("texts do not count") << QVariantMap{{a, QStringLiteral("9")}, {b, 1}} << b;
    QTest::newRow("no number") << QVariantMap{{a, QStringLiteral("9")}} << QString();
    QTest::newRow("empty") << QVariantMap() << QString();
}

void AggregationTest::highestValue() {
    QFETCH(QVariantMap, dictionary);
    QTEST(Aggregation::highestValueFromDict(dictionary), "key");
}

void AggregationTest::appStatus_data() {
    QTest::addColumn<QVariantList>("applications");
    QTest::addColumn<QString>("status");
    const auto row = [](const char* name, const QVariantList& applications, const char* status) {
        QTest::newRow(name) << applications << QString::fromLatin1(status);
    };
    row("none", {}, "");
    row("neither installed", {app(false, false), app(0, true)}, "Not installed");
    row("all running", {app(true, true), app(1, 1)}, "Running");
    row("none running", {app(true, false), app(true, missing)}, "Not running");
    row("one running", {app(true, true), app(true, false)}, "Some running");
    row("one running, one not installed", {app(true, true), app(false, false)}, "Some running");
    row("strange values", {app(QStringLiteral("yes"), 1), QStringLiteral("x")}, "Not installed");
}

void AggregationTest::appStatus() {
    QFETCH(QVariantList, applications);
    QTEST(Aggregation::aggregatedAppDictStatus(applications), "status");
}

void AggregationTest::dictionaryFromText_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    const auto plist = [](const char* body) {
        return QStringLiteral("<?xml version=\"1.0\"?><plist version=\"1.0\">%1</plist>")
            .arg(QLatin1String(body));
    };
    QTest::newRow("dictionary") << plist("<dict><key>k</key><integer>4</integer></dict>") << true;
    QTest::newRow("list") << plist("<array/>") << false;
    QTest::newRow("cut off") << plist("<dict><key>k</key><integer>4</integer></dict>").left(60) << false;
    QTest::newRow("no property list") << QStringLiteral("hello") << false;
    QTest::newRow("empty") << QString() << false;
}

void AggregationTest::dictionaryFromText() {
    QFETCH(QString, text);
    QFETCH(bool, valid);
    const qsizetype before = logLines().size();
    const QVariant dictionary = Aggregation::dictionaryFromString(text);
    const QStringList lines = logLines().mid(before);
    QCOMPARE(dictionary.isValid(), valid);
    if (valid) {
        QCOMPARE(dictionary.toMap().value(k), QVariant(4));
    } else {
        QCOMPARE(lines.size(), 1);
        QVERIFY(lines.first().startsWith(QLatin1String("Error getting dictionary from string: ")));
    }
}

/// An agent may send anything in place of the dictionaries.
void AggregationTest::strangeElementsAreHarmless() {
    const QVariantList strange{missing, 5, QStringLiteral("{\"k\": 1}"), QVariantList{1}, QByteArray("k")};
    using namespace Aggregation;
    QVERIFY(versionRangeInArray(strange, k).isEmpty());
    QVERIFY(!aggregatedValueForKey(k, strange).isValid());
    QVERIFY(!aggregatedValueForKey(k, k, true, strange).isValid());
    QVERIFY(commonValuesForDictArray(strange).isEmpty());
    QVERIFY(commonOrHighestStatsFromArray(strange).isEmpty());
    QVERIFY(commonItemsFromArray(strange, k).isEmpty());
    QCOMPARE(aggregatedAppDictStatus(strange), QStringLiteral("Not installed"));
}

ORLENDO_TEST_MAIN(AggregationTest)
#include "aggregation_test.moc"
