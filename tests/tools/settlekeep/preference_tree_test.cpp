#include "agent/settlekeep/PreferenceKeys.h"
#include "support/TestTable.h"
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
        using Clicks = QList<QList<int>>;  // application, group (-1: itself), value
        const TestTable<Clicks, int, QString> row("clicks", "editor", "keys");
        const QString main = u"fcpPrefs,fcpBoris"_s;
        const QString rest =
            u",fcePrefs,fceBoris,stp,motion,color,dvdsp,livetype,compressorPrefs,batchmon,ct"_s;
        Clicks nothingElse, everyChild;
        for (int each = 0; each < 9; ++each) {
            nothingElse.append({each + 1, -1, 0});
            everyChild.append({0, each, 1});
        }
        row("at the start", {}, -1, main + rest);
        row("a mixed parent", {{0, -1, -1}}, 1, u"fcp"_s + rest);
        row("every child", everyChild + nothingElse, 1, u"fcp"_s);
        row("two children", nothingElse, -1, main);
        row("parent and one child off", nothingElse + Clicks{{0, -1, 1}, {0, 8, 0}}, -1,
            main + u",fcpButton,fcpKeyboard,fcpWindow,fcpColumn,fcpTrack,fcpCustom"_s);
        row("nothing", nothingElse + Clicks{{0, -1, 0}}, 0, {});
        row("beside the tree", {{10, -1, 0}, {0, 9, 0}, {-1, -1, 0}}, -1, main + rest);
    }
    void ticksAndKeys() {
        QFETCH(QList<QList<int>>, clicks);
        for (const QList<int>& click : clicks)
            PreferenceTree::setSelected(m_tree, click[0], click[1], click[2]);
        QTEST(m_tree.first().selected(), "editor");
        QTEST(PreferenceTree::selectedKeys(m_tree).join(u','), "keys");
    }

    void itemsWithoutKeyOrChildren() {
        VLPrefItem parent = VLPrefItem::initWithName(u"A"_s, {}, std::nullopt, u"icon"_s);
        QVERIFY(!parent.isParent());
        QList<VLPrefItem> tree{parent};
        PreferenceTree::setSelected(tree, 0, -1, VLPrefItem::Off);
        QCOMPARE(tree[0].selected(), int(VLPrefItem::On));  // none of its groups is off
        VLPrefItem keyless = VLPrefItem::initWithName(u"C"_s, {}, std::nullopt);
        tree[0].setChildren({VLPrefItem::initWithName(u"B"_s, u"b"_s, {}, {}, false), keyless});
        PreferenceTree::updateSelection(tree);
        QVERIFY(tree[0].selected() == VLPrefItem::Mixed && PreferenceTree::selectedKeys(tree).isEmpty());
    }

    void whatKeysAreAbout() {
        QCOMPARE(PreferenceTree::coveredApplications(u"ct,fcpButton,new,compressor,fcpPrefs"_s),
                 u"Final Cut Pro, Compressor, Cinema Tools, new"_s);
    }

    void answersOfAgents_data() {
        const TestTable<QVariant, QVariantMap, QString> row("answer", "first", "complaint");
        const QDateTime date(QDate(2010, 9, 1), QTime(9, 0), Qt::UTC);
        const QVariantMap good{{u"path"_s, u"/b"_s}, {u"name"_s, u"B"_s}, {u"type"_s, 1LL},
                               {u"date"_s, date},    {u"size"_s, 10LL},   {u"keys"_s, u"fcp"_s}};
        row("good", QVariantMap{{u"x"_s, good}}, good, {});
        row("list", QVariantList{good}, {}, u"not a dictionary but QVariantList"_s);
        row("no backups",
            QVariantMap{{u"a"_s, 1}, {u"b"_s, QVariantMap()}, {u"c"_s, QVariantMap{{u"path"_s, 7}}}}, {},
            u"3 of 3 entries left out, 0 values of a wrong kind ignored"_s);
        const QVariantMap wrong{{u"path"_s, u"/b"_s},
                                {u"name"_s, QString(5000, u'x')},
                                {u"type"_s, -1},
                                {u"size"_s, 1e300},
                                {u"date"_s, QDateTime()},
                                {u"keys"_s, QVariantList()},
                                {u"hostname"_s, u"other"_s},
                                {u"extra"_s, u"x"_s}};
        row("wrong values", QVariantMap{{u"x"_s, wrong}}, {{u"path"_s, u"/b"_s}},
            u"0 of 1 entries left out, 5 values of a wrong kind ignored"_s);
    }
    void answersOfAgents() {
        QFETCH(QVariant, answer);
        const AgentAnswer::Entries list = checkedBackups(answer);
        QTEST(list.entries.value(0), "first");
        QTEST(list.complaint, "complaint");
    }

    void sorting() {
        const auto backup = [](const char* name, const char* host, int size, int day) {
            return QVariantMap{{u"name"_s, QLatin1String(name)},
                               {u"hostname"_s, QLatin1String(host)},
                               {u"size"_s, size},
                               {u"date"_s, QDateTime(QDate(2010, 9, day), QTime(), Qt::UTC)}};
        };
        QList<QVariantMap> backups{backup("c", "1", 9, 1), backup("B", "3", 100, 2), backup("a", "2", 8, 3)};
        for (const auto& [column, expected] : {std::pair(u"name"_s, u"cBa"_s),
                                               {u"hostname"_s, u"Bac"_s},
                                               {u"date"_s, u"aBc"_s},
                                               {u"?"_s, u"aBc"_s}}) {
            sortBackups(backups, column, column != u"?"_s, [](const QString& host) { return host; });
            QString order;
            for (const QVariantMap& each : backups)
                order += each.value(u"name"_s).toString();
            QCOMPARE(order, expected);
        }
    }
};

QTEST_GUILESS_MAIN(PreferenceTreeTest)
#include "preference_tree_test.moc"
