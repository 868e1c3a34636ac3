#include "foundation/VLUserDefaults.h"
#include "support/AlertAnswers.h"
#include "support/TestEnvironment.h"
#include "tools/settlekeep/PreferenceModel.h"
#include "tools/settlekeep/SettlekeepController.h"
#include "ui/SampleConsole.h"

#include <QDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>

/// What the pane adds to its controller: boxes, the sheet's two ways, and what can be pressed when.
class SettlekeepPaneTest : public QObject {
    Q_OBJECT

    SampleConsole m_console;

    [[nodiscard]] SettlekeepController& settlekeep() {
        return *static_cast<SettlekeepController*>(m_console.controller->toolSet().toolController(u"settlekeep"_s));
    }
    [[nodiscard]] QTreeView& view(const char* name) { return *m_console.find<QTreeView>(name); }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_console.start());
        m_console.add(u"Bay"_s, u"192.168.1.1"_s);
        m_console.window->show();
        m_console.window->showTool(u"settlekeep"_s);
        m_console.controller->services().selectAll();
        QTRY_VERIFY(settlekeep().hasResult());
    }

    void boxes() {
        QTreeView& tree = view("settlekeepPrefOutlineView");
        const QModelIndex editor = tree.model()->index(0, 0);
        QCOMPARE(editor.data(Qt::CheckStateRole).toInt(), int(Qt::PartiallyChecked));
        tree.setCurrentIndex(editor.siblingAtColumn(1));
        QTest::keyClick(&tree, Qt::Key_Space);
        QCOMPARE(editor.data(Qt::CheckStateRole).toInt(), int(Qt::Checked));
        QCOMPARE(settlekeep().settlekeepSelectedPrefKeys().first(), u"fcp"_s);
    }

    void locksAreShownOnTheirRows() {
        auto& model = *qobject_cast<PreferenceModel*>(view("settlekeepPrefOutlineView").model());
        const QModelIndex editor = model.index(0, 0);
        const auto lockOf = [](const QModelIndex& row) { return row.siblingAtColumn(1).data().toString(); };
        model.setLocks({{u"fcpBoris"_s, {u"Bay"_s}}, {u"stpPrefs"_s, {u"Bay"_s, u"Den"_s}}});
        QCOMPARE(lockOf(model.index(0, 0, editor)), QString());
        QCOMPARE(lockOf(model.index(1, 0, editor)), u"On Bay"_s);
        QCOMPARE(lockOf(editor), u"Partly, on Bay"_s);
        QCOMPARE(lockOf(model.index(2, 0)), u"On 2 computers"_s);
    }

    void sheetDoesWhatItWasOpenedFor() {
        startNewLog();
        for (const auto& [button, line] :
             {std::pair("settlekeepBackupBtn", u"Backing up selected Settlekeep preferences: "_s),
              {"settlekeepQuickBackupBtn", u"Performing quick backup to My backup of type 0..."_s}}) {
            m_console.find<QToolButton>(button)->click();
            auto* sheet = m_console.find<QDialog>("windowSettlekeepBackup");
            QVERIFY(sheet && sheet->isVisible());
            QTest::keyClick(sheet, Qt::Key_Return);  // without a name there is nothing to press
            QVERIFY(sheet->isVisible());
            QTest::keyClicks(sheet->findChild<QLineEdit*>(u"settlekeepBackupNameText"_s), u"My backup"_s);
            QTest::keyClick(sheet, Qt::Key_Return);
            QVERIFY(!sheet->isVisible());
            QTRY_COMPARE(logLines().filter(line).size(), 1);
        }
    }

    void restoreIsOfTheSelectedRow() {
        QTRY_VERIFY(!m_console.controller->taskThreads().isProcessing());
        const auto* restore = m_console.find<QToolButton>("settlekeepRestoreBtn");
        QTreeView& table = view("settlekeepBackupTableView");
        QList<QVariantMap> backups;
        for (const char* name : {"Alpha", "Beta"})
            backups << QVariantMap{{u"hostname"_s, u"bay.local."_s},
                                   {u"path"_s, QLatin1String(name)},
                                   {u"name"_s, QLatin1String(name)}};
        settlekeep().setSettlekeepBackupArray(backups);
        QVERIFY(!restore->isEnabled());
        table.setCurrentIndex(table.model()->index(0, 0));
        QVERIFY(restore->isEnabled());
        table.header()->setSortIndicator(0, Qt::DescendingOrder);
        QCOMPARE(table.currentIndex().row(), 1);  // still the same backup
        QVERIFY(
            VLUserDefaults::standardUserDefaults().boolForKey(u"settlekeepBackupTableSortedDescending"_s));
        settlekeep().setSettlekeepBackupArray(backups);
        QCOMPARE(table.currentIndex().data().toString(), u"Alpha"_s);
        // A refresh takes the backup away while its menu is open, and the selection changes under the
        // question.
        startNewLog();
        AlertAnswers alerts;
        alerts.meanwhile = [&] { m_console.controller->services().setSelectedServices({}); };
        QTimer::singleShot(0, this, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            QVERIFY(menu);
            settlekeep().setSettlekeepBackupArray(backups.mid(1));
            table.setCurrentIndex(table.model()->index(0, 0));
            QTest::keyClick(menu, Qt::Key_Down);
            QTest::keyClick(menu, Qt::Key_Return);
        });
        Q_EMIT table.customContextMenuRequested({5, 5});
        QTRY_VERIFY(logLines().contains(u"Restoring Settlekeep backup Alpha..."_s));
        QCOMPARE(alerts.asked, QStringList{u"Restore “Alpha” on Bay?"_s});
        QCOMPARE(alerts.details, QStringList{u"The preferences in this backup replace those on Bay."_s});
        m_console.controller->services().selectAll();
        m_console.find<QLineEdit>("settlekeepFilter")->setText(u"Alpha"_s);
        QVERIFY(!restore->isEnabled());
    }
};

ORLENDO_WIDGETS_TEST_MAIN(SettlekeepPaneTest)
#include "settlekeep_pane_test.moc"
