#include "agent/TestFiles.h"
#include "agent/addonry/PluginCatalog.h"
#include "agent/sample/SampleTree.h"
#include "agent/tree/BundleInfo.h"
#include "support/TestTable.h"

#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

namespace {

constexpr char fxPlug[] = "/Library/Plug-Ins/FxPlug";

}  // namespace

class PluginCatalogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    /// Name, type, version, disabled, access type.
    void sampleMachine() {
        SampleTree::make(root() + "/sample", 1);
        const WorkstationTree tree(root() + "/sample/disk");
        QStringList found;
        for (const QVariant& value : PluginCatalog::list(tree, "anna")) {
            // A path of the workstation, not of the host.
            QVERIFY(tree.entry(value.toMap().value("fullPath").toString()));
            QCOMPARE(value.toMap().value("moddate").typeId(), int(QMetaType::QDateTime));
            QStringList cells;
            for (const QString key : {"name", "type", "version", "disabled", "accessType"})
                cells << value.toMap().value(key).toString();
            found << cells.join(u'|');
        }
        found.sort();
        const QStringList expected{
            "Aurora Glow|FxPlug|2.1.0|0|0",       "Bleach Bypass|FxScript|1.6|0|1",
            "Chroma Fringe|FxPlug|1.4.2|0|0",     "Dialog Leveler|Audio Unit|1.8.4|0|0",
            "Film Flash|FxScript|1.1|0|0",        "Halftone Press|FxPlug|3.0|0|0",
            "Lens Breath|FxPlug|1.2.1|0|1",       "Loudness Meter|Audio Unit|5.1|0|0",
            "Matte Choker HD|FxScript|1.0.3|0|0", "Paper Grain|FxPlug|0.9.4|0|1",
            "Room Tone Match|Audio Unit|2.2|0|0", "Skyline Key|FxPlug|4.0.1|0|0",
            "Split Wipe|FxScript|2.0|0|0",        "Tape Hiss Filter|Audio Unit|1.3|0|0",
            "Title Safe Guides|FxScript||0|0",    "Voice De-Esser|Audio Unit|1.0.9|1|1"};
        QCOMPARE(found, expected);
    }

    void infoPlists_data() {
        const TestTable<QByteArray, QString, QString> row("content", "name", "version");
        const auto plist = [](const QVariantMap& info) { return PropertyList::toData(info); };
        const auto binary = [](const QVariantMap& info) {
            return PropertyList::toData(info, PropertyList::Format::Binary);
        };
        const QString standIn = "Plugin";
        row("complete",
            plist(
                {{"CFBundleName", "Glow"}, {"CFBundleShortVersionString", "1.2"}, {"CFBundleVersion", "99"}}),
            "Glow", "1.2");
        row("wrong types",
            plist({{"CFBundleName", QVariantList{"Glow"}},
                   {"CFBundleShortVersionString", QVariantMap{{"a", "b"}}},
                   {"CFBundleVersion", QByteArray("1.2")}}),
            standIn, {});
        row("blank name", plist({{"CFBundleName", " \t\n"}}), standIn, {});
        row("control characters", binary({{"CFBundleName", "Gl\u200bow\nII"}}), "Glow II", {});
        row("very long name", plist({{"CFBundleName", QString(100'000, u'x')}}), QString(255, u'x'), {});
        row("garbage", "\xff\xfe<plist><dict><key>CFBundleName", standIn, {});
        row("no dictionary", PropertyList::toData(QVariantList{"CFBundleName"}), standIn, {});
        row("too large", plist({{"CFBundleName", "Glow"}, {"Filler", QString(2'000'000, u'x')}}), standIn,
            {});
    }
    void infoPlists() {
        QFETCH(QByteArray, content);
        QFETCH(QString, name);
        QFETCH(QString, version);
        const QString bundle = QString(fxPlug) + "/Plugin.fxplug";
        QVERIFY(writeFile(root() + bundle + "/Contents/Info.plist", content));
        const WorkstationTree tree(root());
        const QVariantList plugins = PluginCatalog::list(tree, "");
        QCOMPARE(plugins.size(), 1);  // whatever it says about itself, it is there
        QCOMPARE(plugins.first().toMap().value("name").toString(), name);
        QCOMPARE(plugins.first().toMap().value("version").toString(), version);
    }

    void whatCountsAsPlugin() {
        const QString folder = root() + fxPlug;
        const QString scripts = root() + "/Library/Application Support/Final Cut Pro System Support/Plugins";
        QVERIFY(writeBundle(folder + "/A.fxplug", {}));
        QVERIFY(writeBundle(folder + "/Vendor/Deep/B.FXPLUG", {}));
        QVERIFY(writeBundle(folder + "/Vendor/1/2/3/4/TooDeep.fxplug", {}));
        QVERIFY(writeBundle(folder + "/A.fxplug/Contents/PlugIns/Inner.fxplug", {}));
        QVERIFY(writeBundle(folder + "/.hidden.fxplug", {}));
        QVERIFY(writeBundle(folder + "/.fxplug", {}));
        QVERIFY(writeBundle(folder + "/Other.bundle", {}));
        QVERIFY(writeFile(folder + "/File.fxplug", "no bundle"));
        QVERIFY(writeFile(scripts + "/C.fcfcc", "scriptid \"C\""));
        QVERIFY(writeFile(scripts + "/readme.txt", ""));
        QVERIFY(writeBundle(scripts + " (Disabled)/D.fcfcc", {}));
        QVERIFY(writeBundle(root() + "/Volumes/Store/E.fxplug", {}));
        QVERIFY(QFile::link("/Volumes/Store/E.fxplug", folder + "/E.fxplug"));
        QVERIFY(QFile::link(root() + "/Volumes/Store/E.fxplug", folder + "/HostPath.fxplug"));
        QVERIFY(QFile::link("/nowhere", folder + "/Broken.fxplug"));
        QStringList names;
        const WorkstationTree tree(root());
        for (const QVariant& plugin : PluginCatalog::list(tree, ""))
            names.append(plugin.toMap().value("name").toString());
        names.sort();
        QCOMPARE(names, (QStringList{"A", "B", "C", "D", "E"}));
    }

    void linksThatMakeCircles() {
        QVERIFY(writeBundle(root() + fxPlug + "/Group/A.fxplug", {}));
        QVERIFY(QFile::link("..", root() + fxPlug + "/Group/up"));
        QVERIFY(QFile::link("/Library", root() + fxPlug + "/Group/Self.fxplug"));
        const WorkstationTree tree(root());
        QCOMPARE(PluginCatalog::list(tree, "").size(), 2);  // the second is a bundle without information
    }

    void linksOfUsersAreNotFollowed() {
        const QString folder = root() + "/Users/anna/Library/Plug-Ins/FxPlug";
        QVERIFY(writeBundle(root() + "/private/Secret.fxplug",
                            {{"CFBundleName", "secret"}, {"CFBundleVersion", "9.9"}}));
        const QString secret = "/private/Secret.fxplug/Contents/Info.plist";
        for (const QString name : {"Soft", "Hard"})
            QVERIFY(QDir().mkpath(folder + '/' + name + ".fxplug/Contents"));
        QVERIFY(QFile::link(secret, folder + "/Soft.fxplug/Contents/Info.plist"));
        QCOMPARE(::link(qPrintable(root() + secret), qPrintable(folder + "/Hard.fxplug/Contents/Info.plist")),
                 0);
        QVERIFY(QFile::link("/private/Secret.fxplug", folder + "/Whole.fxplug"));
        QVERIFY(QFile::link("/private", folder + "/Group"));
        QStringList found;
        for (const QVariant& plugin : PluginCatalog::list(WorkstationTree(root()), "anna"))
            found.append(plugin.toMap().value("name").toString() +
                         plugin.toMap().value("version").toString());
        found.sort();
        QCOMPARE(found, (QStringList{"Hard", "Soft", "Whole"}));
    }

    void withoutUser() {
        QVERIFY(writeBundle(root() + "/Users/anna/Library/Plug-Ins/FxPlug/A.fxplug", {}));
        const WorkstationTree tree(root());
        QCOMPARE(PluginCatalog::list(tree, "").size(), 0);
        QCOMPARE(PluginCatalog::list(tree, "anna").size(), 1);
        QCOMPARE(PluginCatalog::list(tree, "../../..").size(), 0);
    }

private:
    [[nodiscard]] QString root() const { return m_folder->path(); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(PluginCatalogTest)
#include "plugin_catalog_test.moc"
