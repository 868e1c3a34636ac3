#include "tools/addonry/PluginList.h"
#include "tools/addonry/VLPluginItem.h"

#include <QTest>

namespace {

/// "1.0 d 1": version, disabled or enabled, access type; "-" leaves a value out.
QVariantMap instance(const QString& text) {
    const QStringList words = text.split(QLatin1Char(' '));
    QVariantMap result = {{QStringLiteral("name"), QStringLiteral("Blur")},
                          {QStringLiteral("type"), QStringLiteral("FxPlug")}};
    if (words[0] != QLatin1String("-")) result.insert(QStringLiteral("version"), words[0]);
    if (words[1] != QLatin1String("-"))
        result.insert(QStringLiteral("disabled"), int(words[1] == QLatin1String("d")));
    if (words[2] != QLatin1String("-")) result.insert(QStringLiteral("accessType"), words[2].toLongLong());
    return result;
}

QVariantMap entry(std::initializer_list<std::pair<QString, QVariant>> values) {
    return QVariantMap(values);
}

}  // namespace

class PluginItemTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void merge_data() {
        QTest::addColumn<QStringList>("instances");
        QTest::addColumn<QString>("version");
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("disabledCount");
        QTest::addColumn<int>("disabled");
        QTest::addColumn<qlonglong>("accessType");
        const auto row = [](const char* name, const QStringList& instances, const char* version, int state,
                            int disabledCount, int disabled, qlonglong accessType) {
            QTest::newRow(name) << instances << QString::fromLatin1(version) << state << disabledCount
                                << disabled << accessType;
        };
        const QString plain = QStringLiteral("1.0 e 1");
        row("one", {plain}, "1.0", 0, 0, 0, 1);
        row("one disabled", {QStringLiteral("1.0 d 1")}, "1.0", 0, 1, 1, 1);
        row("alike", {plain, plain, plain}, "1.0", 0, 0, 0, 1);
        row("both disabled", {QStringLiteral("1.0 d 1"), QStringLiteral("1.0 d 1")}, "1.0", 0, 2, 1, 1);
        row("versions", {plain, QStringLiteral("1.1 e 1")}, "(various)", 1, 0, 0, 1);
        row("enabled", {plain, QStringLiteral("1.0 d 1")}, "1.0", 2, 1, -1, 1);
        row("enabled, the other way", {QStringLiteral("1.0 d 1"), plain}, "1.0", 2, 1, -1, 1);
        row("access", {plain, QStringLiteral("1.0 e 2")}, "1.0", 3, 0, 0, -1);
        row("version hides access", {plain, QStringLiteral("1.1 e 2")}, "(various)", 1, 0, 0, 1);
        row("version hides enabled", {plain, QStringLiteral("1.1 d 1")}, "(various)", 1, 1, -1, 1);
        row("access before enabled", {plain, QStringLiteral("1.0 d 2")}, "1.0", 3, 1, -1, -1);
        row("access before version", {plain, QStringLiteral("1.0 e 2"), QStringLiteral("1.1 e 1")},
            "(various)", 3, 0, 0, -1);
        // Once "(various)", every further copy counts as different and is not asked for its access type.
        row("various stays", {plain, QStringLiteral("1.1 e 1"), QStringLiteral("1.0 e 2")}, "(various)", 1, 0,
            0, 1);
        row("mixed access back to one value", {plain, QStringLiteral("1.0 e 2"), plain}, "1.0", 3, 0, 0, -1);
        row("no version later", {plain, QStringLiteral("- e 2")}, "1.0", 3, 0, 0, -1);
        row("no version first", {QStringLiteral("- e 1"), plain}, "(various)", 1, 0, 0, 1);
        row("no access first", {QStringLiteral("1.0 e -"), QStringLiteral("1.0 e 0")}, "1.0", 3, 0, 0, -1);
        row("nothing known", {QStringLiteral("- - -"), QStringLiteral("- - -")}, "", 0, 0, 0, 0);
        row("two of three disabled", {QStringLiteral("1.0 d 1"), QStringLiteral("1.0 d 1"), plain}, "1.0", 2,
            2, -1, 1);
    }
    void merge() {
        QFETCH(QStringList, instances);
        VLPluginItem item = VLPluginItem::pluginItem(instance(instances.takeFirst()), QStringLiteral("a."));
        for (const QString& text : instances)
            item.addChild(instance(text), QStringLiteral("b."));
        QCOMPARE(item.name(), QStringLiteral("Blur"));
        QCOMPARE(item.type(), QStringLiteral("FxPlug"));
        QTEST(item.version(), "version");
        QTEST(item.state(), "state");
        QTEST(item.disabledCount(), "disabledCount");
        QTEST(item.disabled(), "disabled");
        QTEST(item.accessType(), "accessType");
        QCOMPARE(item.children().size(), instances.size() + 1);
    }

    void childrenSayWhereTheyAreFrom() {
        const auto at = [](const char* path) {
            return entry({{QStringLiteral("name"), QStringLiteral("Blur")},
                          {QStringLiteral("hostname"), QStringLiteral("forged.")},
                          {QStringLiteral("fullPath"), QLatin1String(path)}});
        };
        VLPluginItem item = VLPluginItem::pluginItem(at(""), QStringLiteral("a."));
        item.addChild(at("/second"), QStringLiteral("b."));
        item.addChild(at("/third"), QStringLiteral("c."));
        QCOMPARE(item.fileName(), QStringLiteral("/second"));
        QStringList hosts;
        for (const QVariant& child : item.children())
            hosts << child.toMap().value(QStringLiteral("hostname")).toString();
        QCOMPARE(hosts, QStringList({QStringLiteral("a."), QStringLiteral("b."), QStringLiteral("c.")}));
    }

    void answersOfAnyKind_data() {
        QTest::addColumn<QVariant>("answer");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("complaint");
        const auto named = [](const QVariant& name) {
            return QVariant(entry({{QStringLiteral("name"), name}}));
        };
        const QVariant good = named(QStringLiteral("Blur"));
        const auto complaint = [](int leftOut, int all, int wrong) {
            return QStringLiteral("%1 of %2 entries left out, %3 values of a wrong kind ignored")
                .arg(leftOut)
                .arg(all)
                .arg(wrong);
        };
        QTest::newRow("no answer") << QVariant() << 0 << QString();
        QTest::newRow("empty") << QVariant(QVariantList()) << 0 << QString();
        QTest::newRow("good") << QVariant(QVariantList{good, good}) << 2 << QString();
        QTest::newRow("text") << QVariant(QStringLiteral("x")) << 0
                              << QStringLiteral("not an array but QString");
        QTest::newRow("dictionary") << QVariant(QVariantMap()) << 0
                                    << QStringLiteral("not an array but QVariantMap");
        QTest::newRow("list of texts")
            << QVariant(QVariantList{QStringLiteral("x"), good}) << 1 << complaint(1, 2, 0);
        QTest::newRow("name is a number")
            << QVariant(QVariantList{named(7), good}) << 1 << complaint(1, 2, 0);
        QTest::newRow("no name") << QVariant(QVariantList{QVariantMap(), named(QString())}) << 0
                                 << complaint(2, 2, 0);
        QTest::newRow("huge name") << QVariant(QVariantList{named(QString(1 << 20, QLatin1Char('x')))}) << 0
                                   << complaint(1, 1, 0);
        QTest::newRow("wrong values")
            << QVariant(QVariantList{entry({{QStringLiteral("name"), QStringLiteral("Blur")},
                                            {QStringLiteral("version"), 1.5},
                                            {QStringLiteral("fullPath"), QVariantList()},
                                            {QStringLiteral("disabled"), QStringLiteral("maybe")},
                                            {QStringLiteral("accessType"), QVariantMap()}})})
            << 1 << complaint(0, 1, 4);
        QTest::newRow("too many") << QVariant(QVariantList(1'000'000, good))
                                  << int(PluginList::maximumEntries) << complaint(980'000, 1'000'000, 0);
    }
    void answersOfAnyKind() {
        QFETCH(QVariant, answer);
        const PluginList list = PluginList::fromAnswer(answer);
        QTEST(int(list.instances.size()), "count");
        QTEST(list.complaint, "complaint");
    }

    void numbers_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariant>("disabled");
        QTest::addColumn<QVariant>("accessType");
        const QVariant none;
        const auto number = [](qlonglong value) { return QVariant(value); };
        QTest::newRow("true") << QVariant(true) << number(1) << number(1);
        QTest::newRow("seven") << number(7) << number(1) << number(7);
        QTest::newRow("text") << QVariant(QStringLiteral("1")) << number(1) << number(1);
        QTest::newRow("no number") << QVariant(QStringLiteral("one")) << none << none;
        QTest::newRow("real") << QVariant(2.9) << number(1) << number(2);
        QTest::newRow("huge") << QVariant(1e300) << none << none;
        QTest::newRow("not a number") << QVariant(qQNaN()) << none << none;
        QTest::newRow("data") << QVariant(QByteArray("1")) << none << none;
    }
    void numbers() {
        QFETCH(QVariant, value);
        const PluginList list =
            PluginList::fromAnswer(QVariantList{entry({{QStringLiteral("name"), QStringLiteral("x")},
                                                       {QStringLiteral("disabled"), value},
                                                       {QStringLiteral("accessType"), value}})});
        QCOMPARE(list.instances.size(), 1);
        QTEST(list.instances.first().value(QStringLiteral("disabled")), "disabled");
        QTEST(list.instances.first().value(QStringLiteral("accessType")), "accessType");
    }
};

QTEST_APPLESS_MAIN(PluginItemTest)
#include "plugin_item_test.moc"
