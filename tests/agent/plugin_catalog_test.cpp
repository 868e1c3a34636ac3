#include "agent/addonry/PluginCatalog.h"
#include "agent/tree/BundleInfo.h"
#include "support/TestFiles.h"
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
        for (const QVariant& plugin : PluginCatalog::list(tree, "")) {
            names.append(plugin.toMap().value("name").toString());
            // A path of the workstation, not of the host.
            QVERIFY(tree.entry(plugin.toMap().value("fullPath").toString()));
            QCOMPARE(plugin.toMap().value("moddate").typeId(), int(QMetaType::QDateTime));
        }
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
