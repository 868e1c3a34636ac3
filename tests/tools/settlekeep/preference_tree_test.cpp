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

    void whatKeysAreAbout() {
        QCOMPARE(PreferenceTree::coveredApplications(u"ct,fcpButton,new,compressor,fcpPrefs"_s),
                 u"Final Cut Pro, Compressor, Cinema Tools, new"_s);
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
