#include "SampleConsole.h"
#include "app/window/ActivityWindow.h"
#include "runs/ActivityModel.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>

namespace {

RunRecord sampleRun(int number) {
    RunRecord run;
    run.id = u"run %1"_s.arg(number);
    run.started = QDateTime::currentDateTimeUtc().addSecs(number - 10'000);
    run.ended = run.started.addSecs(1);
    run.user = u"anna"_s;
    run.tool = number % 2 == 0 ? u"addonry"_s : u"cronwell"_s;
    run.action = u"Enable"_s;
    run.actionDone = u"Enabled"_s;
    run.subject = u"Number\t%1"_s.arg(number);
    run.isChange = true;
    run.outcomes = {{u"bay-1.local."_s, u"Bay 1"_s, {Outcome::Done, {}}, {{u"on"_s, false}}},
                    {u"bay-2.local."_s, u"Bay 2"_s, {Outcome::Failed, u"locked"_s}, {}}};
    return run;
}

}  // namespace

class ActivityWindowTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SampleConsole> m_console;
    QStringList m_asked;

    [[nodiscard]] ActivityStore& store() const { return m_console->controller->activity(); }
    [[nodiscard]] ActivityWindow& window() const { return *m_console->window->activityWindow(); }
    template <typename Widget>
    [[nodiscard]] Widget* find(const char* name) const {
        return window().findChild<Widget*>(QLatin1String(name));
    }
    [[nodiscard]] QTreeView* list() const { return find<QTreeView>("activityList"); }
    [[nodiscard]] int rows() const { return list()->isVisible() ? list()->model()->rowCount() : 0; }
    [[nodiscard]] QString cell(int row, int column) const {
        return list()->model()->index(row, column).data().toString();
    }

    void addRuns(int first, int count) {
        for (int number = first; number < first + count; ++number)
            store().add(sampleRun(number));
        QVERIFY(store().flush(std::chrono::seconds(30)));
    }

private Q_SLOTS:
    void init() {
        applyTheme(Theme::Light);
        m_asked.clear();
        QDir(QFileInfo(ActivityStore::defaultPath()).path()).removeRecursively();
        m_console = std::make_unique<SampleConsole>();
        QVERIFY(m_console->start());
        const auto note = [this](const char* what) {
            return [this, what](const RunRecord& run) { m_asked << QLatin1String(what) + run.id; };
        };
        m_console->window->setActivityActions(
            {[](const RunRecord& run) { return run.count(Outcome::Failed) > 0; },
             [](const RunRecord& run) { return run.isUndoable() && run.tool == u"addonry"_s; },
             note("retry "), note("undo ")});
        m_console->window->show();
        m_console->window->findChild<QAction*>(u"activityAction"_s)->trigger();
        QVERIFY(QTest::qWaitForWindowExposed(&window()));
    }
    void cleanup() { QVERIFY(m_console->end()); }

    void followsAndKeepsTheChosenRun() {
        QTRY_COMPARE(window().findChild<EmptyState*>()->title(), u"Nothing was done yet"_s);
        addRuns(0, 1);
        QTRY_COMPARE(rows(), 1);
        auto* details = find<QTreeView>("activityDetails");
        QTRY_COMPARE(details->model()->rowCount(), 2);
        QCOMPARE(details->model()->index(0, 2).data().toString(), u"locked"_s);  // the worst comes first
        addRuns(1, 650);
        QTRY_COMPARE(rows(), 651);
        QCOMPARE(list()->currentIndex().row(), 650);

        // What is far away is read when it comes into view.
        QTRY_COMPARE(cell(300, 3), u"Number\t350"_s);
        window().showRun(u"run 400"_s);
        QTRY_COMPARE(list()->currentIndex().row(), 250);
        list()->selectAll();
        QTest::keyClick(list(), Qt::Key_C, Qt::ControlModifier);
        QTRY_COMPARE(QGuiApplication::clipboard()->text().count(u'\n'), 650);
        QVERIFY(QGuiApplication::clipboard()->text().contains(
            u"\tCronwell\tEnable\tNumber 1\tEnabled on 1 of 2 computers, 1 failed\tanna\n"_s));
    }

    void reloadDoesNotTurnTheKeysBack() {
        addRuns(0, 5);
        QTRY_COMPARE(rows(), 5);
        auto* details = find<QTreeView>("activityDetails");
        QTRY_COMPARE(details->model()->rowCount(), 2);
        QTest::keyClick(list(), Qt::Key_Down);
        QTest::keyClick(list(), Qt::Key_Down);
        Q_EMIT window().findChild<ActivityModel*>()->loaded();  // before the computers of that run are here
        QCOMPARE(list()->currentIndex().row(), 2);
    }

    void runFarDownIsTakenBack() {
        addRuns(0, 300);
        QTRY_COMPARE(rows(), 300);
        window().showRun(u"run 2"_s);
        auto* subtitle = find<ElidedLabel>("activitySubtitle");
        QTRY_VERIFY(subtitle->text().contains(u"Number\t2"_s));
        QTRY_VERIFY(find<QPushButton>("activityUndo")->isEnabled());
        RunRecord undo = sampleRun(400);
        undo.undoOf = u"run 2"_s;
        store().add(undo);
        QTRY_VERIFY(subtitle->text().contains(u"was taken back"_s));
        QTRY_VERIFY(!find<QPushButton>("activityUndo")->isEnabled());
    }

    void runIsShownOnceItIsOnDisk() {
        addRuns(0, 3);
        QTRY_COMPARE(rows(), 3);
        window().showRun(u"run 1"_s);
        QTRY_COMPARE(list()->currentIndex().row(), 1);
        window().showRun(u"run 7"_s);
        QTest::qWait(50);
        QCOMPARE(list()->currentIndex().row(), 1);
        addRuns(7, 1);
        QTRY_COMPARE(list()->currentIndex().row(), 0);
    }

    void buttonsFitTheChosenRun() {
        addRuns(0, 2);
        QTRY_COMPARE(rows(), 2);
        auto *retry = find<QPushButton>("activityRetry"), *undo = find<QPushButton>("activityUndo");
        QTRY_VERIFY(retry->isEnabled());
        QVERIFY(!undo->isEnabled());
        QTest::keyClick(list(), Qt::Key_Down);
        QTRY_VERIFY(undo->isEnabled());
        undo->click();
        retry->click();
        QCOMPARE(m_asked, QStringList({u"undo run 0"_s, u"retry run 0"_s}));
        list()->selectAll();
        QVERIFY(!undo->isEnabled() && !retry->isEnabled());
    }

    void filtersNarrowAndExport() {
        addRuns(0, 30);
        QTRY_COMPARE(rows(), 30);
        auto* tools = find<QComboBox>("activityToolMenu");
        QTRY_COMPARE(tools->count(), 3);
        tools->setCurrentText(u"Cronwell"_s);
        QTRY_COMPARE(rows(), 15);
        auto* search = find<QLineEdit>("activitySearch");
        QTest::keyClicks(search, "NUMBER 23");
        QTRY_COMPARE(rows(), 1);
        const QTemporaryDir folder;
        window().exportTo(folder.filePath(u"a.csv"_s), ActivityExport::Format::Csv);
        QTRY_COMPARE(contentsOf(folder.filePath(u"a.csv"_s)).count("\r\n"), 3);

        search->setText(u"nowhere"_s);
        QTRY_COMPARE(rows(), 0);
        QCOMPARE(window().findChild<EmptyState*>()->title(), u"Nothing like that was done"_s);
        QVERIFY(!find<QPushButton>("activityExport")->isEnabled());
        window().findChild<EmptyState*>()->findChild<QPushButton*>()->click();
        QTRY_COMPARE(rows(), 30);
        QTest::keyClick(search, Qt::Key_Escape);
        QVERIFY(!window().isVisible());
    }
};

ORLENDO_WIDGETS_TEST_MAIN(ActivityWindowTest)
#include "activity_window_test.moc"
