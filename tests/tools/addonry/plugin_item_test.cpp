#include "tools/addonry/VLPluginItem.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// "1.0 d 1": version, disabled or enabled, access type; "-" leaves a value out.
QVariantMap instance(const QString& text) {
    const QStringList words = text.split(u' ');
    QVariantMap result = {{"name", "Blur"}, {"type", "FxPlug"}};
    if (words[0] != "-"_L1) result.insert("version", words[0]);
    if (words[1] != "-"_L1) result.insert("disabled", int(words[1] == "d"_L1));
    if (words[2] != "-"_L1) result.insert("accessType", words[2].toLongLong());
    return result;
}

}  // namespace

class PluginItemTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void merge_data() {
        QTest::addColumn<QStringList>("instances");
        QTest::addColumn<QString>("merged");  // version, state, disabled count, disabled, access type
        const auto row = [](const char* name, const QStringList& instances, const char* merged) {
            QTest::newRow(name) << instances << QString::fromLatin1(merged);
        };
        const QString plain = u"1.0 e 1"_s;
        row("one disabled", {"1.0 d 1"}, "1.0 0 1 1 1");
        row("versions", {plain, "1.1 e 1"}, "(various) 1 0 0 1");
        row("enabled", {plain, "1.0 d 1"}, "1.0 2 1 -1 1");
        row("access", {plain, "1.0 e 2"}, "1.0 3 0 0 -1");
        row("version hides access", {plain, "1.1 e 2"}, "(various) 1 0 0 1");
        row("version hides enabled", {plain, "1.1 d 1"}, "(various) 1 1 -1 1");
        row("access before enabled", {plain, "1.0 d 2"}, "1.0 3 1 -1 -1");
        row("access before version", {plain, "1.0 e 2", "1.1 e 1"}, "(various) 3 0 0 -1");
        // Once "(various)", every further copy counts as different and is not asked for its access type.
        row("various stays", {plain, "1.1 e 1", "1.0 e 2"}, "(various) 1 0 0 1");
        row("mixed access back to one value", {plain, "1.0 e 2", plain}, "1.0 3 0 0 -1");
        row("no version later", {plain, "- e 2"}, "1.0 3 0 0 -1");
        row("no version first", {"- e 1", plain}, "(various) 1 0 0 1");
        row("no access first", {"1.0 e -", "1.0 e 0"}, "1.0 3 0 0 -1");
        row("nothing known", {"- - -", "- - -"}, " 0 0 0 0");
        row("two of three disabled", {"1.0 d 1", "1.0 d 1", plain}, "1.0 2 2 -1 1");
    }
    void merge() {
        QFETCH(QStringList, instances);
        VLPluginItem item = VLPluginItem::pluginItem(instance(instances.takeFirst()), u"a."_s);
        for (const QString& text : instances)
            item.addChild(instance(text), u"b."_s);
        QCOMPARE(item.name() + item.type(), u"BlurFxPlug"_s);
        QTEST(u"%1 %2 %3 %4 %5"_s.arg(item.version())
                  .arg(item.state())
                  .arg(item.disabledCount())
                  .arg(item.disabled())
                  .arg(item.accessType()),
              "merged");
        QCOMPARE(item.children().size(), instances.size() + 1);
    }

    void childrenSayWhereTheyAreFrom() {
        const auto at = [](const char* path) {
            return QVariantMap(
                {{"name", "Blur"}, {"hostname", "forged."}, {"fullPath", QLatin1String(path)}});
        };
        VLPluginItem item = VLPluginItem::pluginItem(at(""), u"a."_s);
        item.addChild(at("/second"), u"b."_s);
        item.addChild(at("/third"), u"c."_s);
        QCOMPARE(item.fileName(), u"/second"_s);
        QStringList hosts;
        for (const QVariant& child : item.children())
            hosts << child.toMap().value(u"hostname"_s).toString();
        QCOMPARE(hosts, QStringList({"a.", "b.", "c."}));
    }
};

QTEST_APPLESS_MAIN(PluginItemTest)
#include "plugin_item_test.moc"
