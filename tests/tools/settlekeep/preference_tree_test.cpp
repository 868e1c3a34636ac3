#include "agent/settlekeep/PreferenceKeys.h"
#include "tools/settlekeep/BackupList.h"
#include "tools/settlekeep/PreferenceTree.h"

#include <QDateTime>
#include <QTest>

using namespace Qt::StringLiterals;

class PreferenceTreeTest : public QObject {
    Q_OBJECT

    QList<VLPrefItem> m_tree;

private Q_SLOTS:
    void init() { m_tree = PreferenceTree::make(u"/prefs"_s); }

    /// Console and agent have each their own table; what one sends must be what the other means.
    void agentKnowsEveryGroup() {
        int groupCount = 0;
        for (const VLPrefItem& application : m_tree) {
            QCOMPARE(PreferenceKeys::groups(application.key()).size(), application.children().size());
            for (const VLPrefItem& child : application.children()) {
                ++groupCount;
                const auto groups = PreferenceKeys::groups(child.key());
                QCOMPARE(groups.size(), 1);
                QCOMPARE(groups.first().key, child.key());
                QCOMPARE(groups.first().isMain, child.selected() == VLPrefItem::On);
                if (!child.files()) {
                    QCOMPARE(application.name(), u"Compressor"_s);
                    continue;
                }
                QStringList files;
                for (const QString& file : groups.first().files)
                    files.append(QString(file).replace(u"Preferences/"_s, u"/prefs/"_s));
                QCOMPARE(*child.files(), files);
            }
        }
        QCOMPARE(m_tree.size(), 10);
        QCOMPARE(groupCount, 28);
        QCOMPARE(m_tree.at(1).icon(), u"Final_Cut_Pro_Icon_Small"_s);
    }

    void ticksAndKeys_data() {
        QTest::addColumn<QList<QList<int>>>("clicks");  // application, group (-1: itself), value
        QTest::addColumn<int>("parent");                // tick of Final Cut Pro afterwards
        QTest::addColumn<QString>("keys");
        const QString rest =
            u"fcePrefs,fceBoris,stp,motion,color,dvdsp,livetype,compressorPrefs,batchmon,ct"_s;
        using Clicks = QList<QList<int>>;
        const Clicks nothingElse{{1, -1, 0}, {2, -1, 0}, {3, -1, 0}, {4, -1, 0}, {5, -1, 0},
                                 {6, -1, 0}, {7, -1, 0}, {8, -1, 0}, {9, -1, 0}};
        Clicks everyChild;
        for (int child = 0; child < 9; ++child)
            everyChild.append({0, child, 1});

        QTest::newRow("at the start") << Clicks{} << -1 << QString(u"fcpPrefs,fcpBoris,"_s + rest);
        QTest::newRow("a mixed parent") << Clicks{{0, -1, -1}} << 1 << QString(u"fcp,"_s + rest);
        QTest::newRow("every child") << everyChild + nothingElse << 1 << u"fcp"_s;
        QTest::newRow("two children") << nothingElse << -1 << u"fcpPrefs,fcpBoris"_s;
        QTest::newRow("parent and one child off")
            << nothingElse + Clicks{{0, -1, 1}, {0, 8, 0}} << -1
            << u"fcpPrefs,fcpBoris,fcpButton,fcpKeyboard,fcpWindow,fcpColumn,fcpTrack,fcpCustom"_s;
        QTest::newRow("nothing") << nothingElse + Clicks{{0, -1, 0}} << 0 << QString();
        QTest::newRow("beside the tree")
            << Clicks{{10, -1, 0}, {0, 9, 0}, {-1, -1, 0}} << -1 << QString(u"fcpPrefs,fcpBoris,"_s + rest);
    }
    void ticksAndKeys() {
        QFETCH(QList<QList<int>>, clicks);
        for (const QList<int>& click : clicks)
            PreferenceTree::setSelected(m_tree, click[0], click[1], click[2]);
        QTEST(m_tree.first().selected(), "parent");
        QTEST(PreferenceTree::selectedKeys(m_tree).join(u','), "keys");
    }

    void itemsWithoutKeyOrChildren() {
        VLPrefItem parent = VLPrefItem::initWithName(u"A"_s, {}, std::nullopt, u"icon"_s);
        QVERIFY(!parent.isParent());
        QList<VLPrefItem> tree{parent};
        tree[0].setSelected(VLPrefItem::Off);
        PreferenceTree::updateSelection(tree);
        QCOMPARE(tree[0].selected(), int(VLPrefItem::On));  // none of its groups is off
        QVERIFY(PreferenceTree::selectedKeys(tree).isEmpty());
        tree[0].addChild(VLPrefItem::initWithName(u"B"_s, u"b"_s, QStringList{u"/none"_s}, {}, false));
        tree[0].addChild(VLPrefItem::initWithName(u"C"_s, {}, std::nullopt));
        PreferenceTree::updateSelection(tree);
        QCOMPARE(tree[0].selected(), int(VLPrefItem::Mixed));
        QVERIFY(PreferenceTree::selectedKeys(tree).isEmpty());
        tree[0].setLocked(true);
        tree[0].calculateLocked();
        QVERIFY(tree[0].locked());
    }

    void whatKeysAreAbout() {
        const auto covered = PreferenceTree::covered(
            u"ct,fcpButton,new,compressorPrefs,compressorSettings,"_s + u"compressorDestinations,fcpPrefs"_s);
        QCOMPARE(covered.size(), 4);
        QCOMPARE(covered[0].groups, QStringList({u"Preferences"_s, u"Button Bars"_s}));
        QVERIFY(covered[1].application == u"Compressor"_s && covered[1].groups.isEmpty());
        QCOMPARE(covered[2].application, u"Cinema Tools"_s);
        QCOMPARE(covered[3].application, u"new"_s);
    }

    void answersOfAgents_data() {
        QTest::addColumn<QVariant>("answer");
        QTest::addColumn<QVariantMap>("first");
        QTest::addColumn<QString>("complaint");
        const QDateTime date(QDate(2010, 9, 1), QTime(9, 0), Qt::UTC);
        const QVariantMap good{{u"path"_s, u"/b"_s}, {u"name"_s, u"B"_s}, {u"type"_s, 1LL},
                               {u"date"_s, date},    {u"size"_s, 10LL},   {u"keys"_s, u"fcp"_s}};
        QTest::newRow("good") << QVariant(QVariantMap{{u"x"_s, good}}) << good << QString();
        QTest::newRow("empty") << QVariant(QVariantMap()) << QVariantMap() << QString();
        QTest::newRow("list") << QVariant(QVariantList{good}) << QVariantMap()
                              << u"not a dictionary but QVariantList"_s;
        QTest::newRow("no backups") << QVariant(QVariantMap{{u"a"_s, 1},
                                                            {u"b"_s, QVariantMap()},
                                                            {u"c"_s, QVariantMap{{u"path"_s, 7}}}})
                                    << QVariantMap()
                                    << u"3 of 3 entries left out, 0 values of a wrong kind ignored"_s;
        const QVariantMap wrong{{u"path"_s, u"/b"_s},
                                {u"name"_s, QString(5000, u'x')},
                                {u"type"_s, -1},
                                {u"size"_s, 1e300},
                                {u"date"_s, QDateTime()},
                                {u"keys"_s, QVariantList()},
                                {u"hostname"_s, u"another"_s},
                                {u"extra"_s, u"x"_s}};
        QTest::newRow("wrong values")
            << QVariant(QVariantMap{{u"x"_s, wrong}}) << QVariantMap{{u"path"_s, u"/b"_s}}
            << u"0 of 1 entries left out, 5 values of a wrong kind ignored"_s;
    }
    void answersOfAgents() {
        QFETCH(QVariant, answer);
        const BackupList list = BackupList::fromAnswer(answer);
        QTEST(list.backups.value(0), "first");
        QTEST(list.complaint, "complaint");
    }

    void sorting_data() {
        QTest::addColumn<QString>("column");
        QTest::addColumn<bool>("descending");
        QTest::addColumn<QString>("order");
        QTest::newRow("name") << u"name"_s << false << u"abc"_s;
        QTest::newRow("client") << u"hostname"_s << false << u"cab"_s;
        QTest::newRow("size") << u"size"_s << true << u"bca"_s;
        QTest::newRow("date") << u"date"_s << false << u"cba"_s;
        QTest::newRow("unknown column") << u"?"_s << true << u"abc"_s;
    }
    void sorting() {
        QFETCH(QString, column);
        QFETCH(bool, descending);
        const auto backup = [](const char* name, const char* host, int size, int day) {
            return QVariantMap{{u"name"_s, QLatin1String(name)},
                               {u"hostname"_s, QLatin1String(host)},
                               {u"size"_s, size},
                               {u"date"_s, QDateTime(QDate(2010, 9, day), QTime(), Qt::UTC)}};
        };
        QList<QVariantMap> backups{backup("c", "1", 9, 1), backup("B", "3", 100, 2), backup("a", "2", 8, 3)};
        sortBackups(backups, column, descending, [](const QString& host) { return host; });
        QString order;
        for (const QVariantMap& each : backups)
            order += each.value(u"name"_s).toString().toLower();
        QTEST(order, "order");
    }
};

QTEST_GUILESS_MAIN(PreferenceTreeTest)
#include "preference_tree_test.moc"
