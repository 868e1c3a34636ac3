#include "support/AlertAnswers.h"
#include "support/TestEnvironment.h"
#include "support/Workers.h"
#include "ui/SampleConsole.h"

#include <QApplication>
#include <QLineEdit>
#include <QMenu>
#include <QToolButton>
#include <QTreeView>

using namespace std::chrono_literals;

/// The pane in the real window: what boxes, menus and buttons have the controller do, and to which plug-in.
class AddonryPaneTest : public QObject {
    Q_OBJECT

    SampleConsole m_console;
    QString m_one, m_two;  // host names

    [[nodiscard]] QTreeView& outline() const { return *m_console.find<QTreeView>("addonryOutline"); }
    [[nodiscard]] QModelIndex cell(int row, int column, int child = -1) const {
        const QModelIndex index = outline().model()->index(row, 0);
        return (child < 0 ? index : outline().model()->index(child, 0, index)).siblingAtColumn(column);
    }
    void click(const QModelIndex& index, int x = 12) {
        const QRect rect = outline().visualRect(index);
        QTest::mouseClick(outline().viewport(), Qt::LeftButton, {}, {rect.left() + x, rect.center().y()});
    }
    /// Shows these, each on both computers.
    void show(const QStringList& names) {
        QList<VLPluginItem> rows;
        for (const QString& name : names) {
            rows << VLPluginItem::pluginItem(pluginInstance(name, u"FxPlug"_s, u"1.0"_s), m_one);
            rows.last().addChild(pluginInstance(name, u"FxPlug"_s, u"1.0"_s, name == u"Blur"), m_two);
        }
        m_console.addonry().setAddonryArray(rows);
    }
    static void choose(const QString& text) {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(menu);
        for (QAction* action : menu->actions())
            if (action->text() == text)
                QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(action).center());
    }
    /// What was begun since the last look: the changes, and how often the plug-ins were to be read anew.
    static QStringList begun() {
        if (!waitForWorkers(30s)) return {u"workers are left"_s};
        const QStringList lines =
            logLines().filter(QRegularExpression(u"(abling|hang|etting|yncing) .*plugin"_s));
        startNewLog();
        return lines;
    }

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(m_console.start());
        m_one = m_console.add(u"One"_s, u"10.0.0.1"_s)->hostName();
        m_two = m_console.add(u"Two"_s, u"10.0.0.2"_s)->hostName();
        m_console.window->resize(1280, 800);
        m_console.window->show();
        m_console.controller->services().selectAll();
        QVERIFY(waitForWorkers(30s));
    }
    void init() {
        show({u"Blur"_s, u"Echo"_s, u"Glow"_s});
        outline().clearSelection();
        outline().expandAll();
        startNewLog();
    }
    void cleanupTestCase() { QVERIFY(m_console.end()); }

    void boxes() {
        QCOMPARE(cell(0, VLPluginItem::Enabled).data(Qt::CheckStateRole).toInt(), int(Qt::PartiallyChecked));
        click(cell(0, VLPluginItem::Enabled));
        QCOMPARE(m_console.addonry().addonryArray()[0].disabled(), 0);
        QVERIFY(!outline().isExpanded(cell(0, 0)) && outline().isExpanded(cell(1, 0)));
        QCOMPARE(begun(), QStringList{u"Enabling Addonry plugin on all hosts..."_s});

        outline().setCurrentIndex(cell(1, 0, 1));
        QTest::keyClick(&outline(), Qt::Key_Space);
        QVERIFY(outline().isExpanded(cell(1, 0)));
        QCOMPARE(begun(), QStringList{u"Disabling Addonry plugin Echo on host %1..."_s.arg(m_two)});
        QKeyEvent held(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, u" "_s, true);
        QApplication::sendEvent(&outline(), &held);
        QCOMPARE(begun(), QStringList());
    }

    /// The rows are replaced while the menu is open.
    void accessOfARowThatMoved() {
        click(cell(0, VLPluginItem::Access));
        show({u"Echo"_s, u"Alpha"_s, u"Blur"_s});
        choose(u"Current User"_s);
        for (const VLPluginItem& row : m_console.addonry().addonryArray())
            QCOMPARE(row.accessType(), qlonglong(row.name() == u"Blur"));
        QCOMPARE(begun(),
                 QStringList{u"Setting access type of Addonry plugin to Current User on all hosts..."_s});

        outline().expandAll();
        click(cell(1, VLPluginItem::Access, 0));
        show({u"Echo"_s});
        choose(u"Current User"_s);
        QCOMPARE(begun(), QStringList());
    }

    void menuForAllSelected() {
        outline().selectAll();
        outline().selectionModel()->select(cell(1, 0),
                                           QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
        Q_EMIT outline().customContextMenuRequested({5, 5});
        show({u"Glow"_s, u"Echo"_s, u"Zoom"_s});
        choose(u"Disable"_s);
        // Rows with their copies once, a row that is not selected by its copies, none that is gone.
        const QString copy = u"Disabling Addonry plugin Echo on host %1..."_s;
        QCOMPARE(begun(), QStringList({copy.arg(m_one), copy.arg(m_two),
                                       u"Disabling Addonry plugin on all hosts..."_s}));
        QCOMPARE(m_console.addonry().addonryArray()[2].disabled(), 0);
    }

    void buttons() {
        QStringList tabs;
        for (QWidget* next = m_console.find<QWidget>("addonrySyncBtn"); tabs.size() < 7;
             next = next->nextInFocusChain())
            if (next->focusPolicy() & Qt::TabFocus && !next->isHidden()) tabs << next->objectName();
        QCOMPARE(tabs,
                 QStringList({"addonrySyncBtn", "addonryEnableAllBtn", "addonryDisableAllBtn",
                              "differencesOnly", "addonryFilter", "addonryShowNoAnswer", "addonryOutline"}));
        m_console.find<QToolButton>("addonrySyncBtn")->click();
        QVERIFY(begun().contains(u"Syncing Addonry plugins..."_s));
        m_console.find<QToolButton>("addonryDisableAllBtn")->click();
        QVERIFY(begun().contains(u"Disabling all Addonry plugins..."_s));
        // The filter does not narrow what is about all: it says so, and asks.
        auto* enableAll = m_console.find<QToolButton>("addonryEnableAllBtn");
        QCOMPARE(enableAll->text(), u"Enable All 3"_s);
        m_console.find<QLineEdit>("addonryFilter")->setText(u"Echo"_s);
        QCOMPARE(enableAll->text(), u"Enable All 3"_s);
        QVERIFY2(enableAll->toolTip().contains(u"also the 2 that the filter hides"_s),
                 qPrintable(enableAll->toolTip()));
        AlertAnswers alerts(VLAlert::AlternateReturn);
        enableAll->click();
        QCOMPARE(begun(), QStringList());
        alerts.answer = VLAlert::DefaultReturn;
        enableAll->click();
        QVERIFY(begun().contains(u"Enabling all Addonry plugins..."_s));
        QCOMPARE(alerts.asked.value(1), u"Enable all 3 plug-ins on 2 computers?"_s);
        m_console.find<QLineEdit>("addonryFilter")->clear();
        show({u"Echo"_s});
        QVERIFY(!m_console.find<QToolButton>("addonrySyncBtn")->isEnabled());
        m_console.addonry().clearData();
        QVERIFY(!enableAll->isEnabled());
    }

    /// One computer has it twice: both copies stay apart, and neither is called missing.
    void twoCopiesOnOneComputer() {
        auto row = VLPluginItem::pluginItem(pluginInstance(u"Blur"_s, u"FxPlug"_s, u"1.0"_s), m_one);
        row.addChild(pluginInstance(u"Blur"_s, u"FxPlug"_s, u"1.0"_s, 0, 1), m_one);
        row.addChild(pluginInstance(u"Blur"_s, u"FxPlug"_s, u"1.0"_s), m_two);
        row.setState(VLPluginItem::Missing);
        m_console.addonry().setAddonryArray({row});
        QCOMPARE(cell(0, VLPluginItem::Computers).data().toString(), u"2 of 2"_s);
        QCOMPARE(cell(0, VLPluginItem::Status).data().toString(), u"Several copies on one computer"_s);
        outline().expandAll();
        outline().setCurrentIndex(cell(0, 0, 1));
        QTest::keyClick(&outline(), Qt::Key_Space);
        QCOMPARE(outline().currentIndex().row(), 1);
        const QVariantList copies = m_console.addonry().addonryArray()[0].children();
        for (int copy = 0; copy < 3; ++copy)
            QCOMPARE(copies[copy].toMap().value(u"disabled"_s).toInt(), int(copy == 1));
    }
};

ORLENDO_WIDGETS_TEST_MAIN(AddonryPaneTest)
#include "addonry_pane_test.moc"
