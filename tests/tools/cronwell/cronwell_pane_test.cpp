#include "support/AlertAnswers.h"
#include "support/TestEnvironment.h"
#include "support/TestTable.h"
#include "support/Workers.h"
#include "tools/cronwell/CronwellController.h"
#include "ui/SampleConsole.h"

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QTreeView>

using namespace std::chrono_literals;

namespace {

const QString tool = u"com.velmora.Tidyhand"_s;

VLScheduledTask row(const QString& description, const QString& hostName) {
    return VLScheduledTask::scheduledTask({{u"taskDescription"_s, description},
                                           {u"taskBundleID"_s, tool},
                                           {u"filename"_s, QString(description + u".plist"_s)},
                                           {u"enabled"_s, 1}},
                                          hostName);
}

}  // namespace

/// The pane in the real window.
class CronwellPaneTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SampleConsole> m_console;
    QString m_host;

    [[nodiscard]] CronwellController& cronwell() {
        return *static_cast<CronwellController*>(m_console->controller->toolSet().toolController(u"cronwell"_s));
    }
    template <typename Widget>
    [[nodiscard]] Widget* find(const char* name) {
        return m_console->find<Widget>(name);
    }
    void choose(const char* menu, int index) {
        auto* box = find<QComboBox>(menu);
        box->setCurrentIndex(index);
        Q_EMIT box->activated(index);
    }

private Q_SLOTS:
    void init() {
        m_console = std::make_unique<SampleConsole>();
        QVERIFY(m_console->start());
        m_console->window->resize(1400, 800);
        m_console->window->show();
        m_console->window->showTool(u"cronwell"_s);
        m_host = m_console->add(u"One"_s, u"10.0.0.1"_s)->hostName();
        m_console->controller->services().selectAll();
        QVERIFY(waitForWorkers(30s));
        startNewLog();
    }
    void cleanup() {
        m_console->controller->shutDown();
        m_console.reset();
        VLThread::reset();
        MainThread::resume();
    }

    void newTask_data() {
        // Entries: "field text", for a menu its index. What is shown, and the value; none: cannot be added.
        const TestTable<int, QString, QString, QString> row("kind", "entries", "shown", "value");
        row("as it comes", 0, {}, u"Every day at 3:00"_s, u"0,3,,,"_s);
        row("sunday", 0, u"taskHourText 9,taskMinuteText ,taskWeekdayMenu 7,taskMonthMenu 2"_s,
            u"Every February on every Sunday at 9:00"_s, u",9,,0,2"_s);
        row("two days", 0, u"taskDayText 5,taskWeekdayMenu 1"_s,
            u"Choose either a day of the month or a weekday."_s, {});
        row("seconds", 1, u"taskSecondsText 90"_s, u"Every 90 seconds"_s, u"90"_s);
        row("no directory yet", 2, {}, u"A directory to watch is needed."_s, {});
        row("directory", 2, u"taskDirectoryText /Volumes"_s, u"Whenever /Volumes changes"_s, u"/Volumes"_s);
    }
    void newTask() {
        QFETCH(int, kind);
        QFETCH(QString, entries);
        QFETCH(QString, shown);
        QFETCH(QString, value);
        find<QToolButton>("cronwellAddTaskBtn")->click();
        QVERIFY(waitForWorkers(30s));
        auto* sheet = find<QDialog>("windowNewTask");
        QVERIFY(sheet->isVisible() && sheet->windowTitle() == u"Add Task"_s);
        QVERIFY(!find<QPushButton>("addTaskButton")->isEnabled());  // nothing is offered
        QVariantList tasks;
        for (const QString& id : {u"clean"_s, u"sweep"_s})
            tasks.append(QVariantMap{{u"taskID"_s, id}, {u"taskDescription"_s, id}});
        const QVariantMap other{{u"taskBundleID"_s, u"x"_s}, {u"name"_s, u"Check"_s}},
            tidyhand{{u"taskBundleID"_s, tool}, {u"name"_s, u"Tidyhand"_s}, {u"tasks"_s, tasks}};
        cronwell().setNewTaskAppDataArray({other, tidyhand});
        Q_EMIT cronwell().newTaskAppsChanged();
        find<QComboBox>("newTaskArrayCont")->setCurrentIndex(1);
        QCOMPARE(find<QComboBox>("newTaskMenu")->count(), 2);
        find<QComboBox>("newTaskMenu")->setCurrentIndex(1);

        choose("taskScheduleMenu", kind);
        for (const QString& entry : entries.split(u',', Qt::SkipEmptyParts)) {
            const QByteArray name = entry.section(u' ', 0, 0).toLatin1();
            const QString text = entry.section(u' ', 1);
            if (name.endsWith("Menu")) {
                choose(name.constData(), text.toInt());
                continue;
            }
            auto* field = find<QLineEdit>(name.constData());
            QVERIFY(field->isVisible());
            field->setText(text);
            Q_EMIT field->textEdited(text);
        }
        QVERIFY2(find<QLabel>("taskScheduleText")->text().startsWith(shown),
                 qPrintable(find<QLabel>("taskScheduleText")->text()));
        QCOMPARE(find<QPushButton>("addTaskButton")->isEnabled(), !value.isEmpty());
        QTest::keyClick(sheet, Qt::Key_Return);
        QCOMPARE(sheet->isVisible(), value.isEmpty());
        QVERIFY(waitForWorkers(30s));
        const QString line =
            u"Adding Cronwell task with arguments: {bundleid = com.velmora.Tidyhand; enabled = 1; "
            u"intervalval = %1; "
            "root = 0; scheduletype = %2; taskid = sweep}"_s.arg(value,
                                                                 QString::number(QList<int>{7, 6, 8}[kind]));
        QCOMPARE(logLines().contains(line), !value.isEmpty());
        sheet->reject();
    }

    void removesWithTheKeyboard() {
        cronwell().setCronwellArray({row(u"Clean"_s, m_host), row(u"Sweep"_s, m_host)});
        auto* outline = find<QTreeView>("cronwellOutline");
        const QAbstractItemModel& model = *outline->model();
        outline->expandAll();
        m_console->window->activateWindow();
        outline->setFocus();
        QVERIFY(QTest::qWaitForWindowActive(m_console->window.get()));
        const AlertAnswers alerts(VLAlert::AlternateReturn);
        outline->setCurrentIndex(model.index(0, 0, model.index(0, 0)));  // one client's job
        QTest::keyClick(outline, Qt::Key_Delete);
        outline->selectAll();
        QTest::keyClick(outline, Qt::Key_Delete);
        QCOMPARE(alerts.asked, (QStringList{u"Are you sure you wish to delete this task?"_s,
                                            u"Are you sure you wish to delete these tasks?"_s}));
        QCOMPARE(alerts.details,
                 (QStringList{u"Only on One. This cannot be undone."_s, u"This cannot be undone."_s}));
    }

    void tellsDuplicates() {
        VLScheduledTask twice = row(u"Clean"_s, m_host), mixed = row(u"Sweep"_s, m_host);
        for (auto* task : {&twice, &mixed})
            task->addChild({{u"taskDescription"_s, task->taskDescription()},
                            {u"taskBundleID"_s, tool},
                            {u"filename"_s, u"second.plist"_s},
                            {u"enabled"_s, task == &twice ? 1 : 0}},
                           m_host);
        cronwell().setCronwellArray({twice, mixed, row(u"Wipe"_s, m_host)});
        const auto* outline = find<QTreeView>("cronwellOutline");
        find<QWidget>("cronwellPane")->findChild<QToolButton*>(u"differencesOnly"_s)->click();
        QStringList statuses;
        for (int place = 0; place < outline->model()->rowCount(); ++place)
            statuses << outline->model()->index(place, VLScheduledTask::Status).data().toString();
        QCOMPARE(statuses, (QStringList{u"Duplicated on One"_s, u"Enabled on 0 of 1 · Duplicated on One"_s}));
        const AlertAnswers alerts(VLAlert::AlternateReturn);
        find<QToolButton>("cronwellSyncBtn")->click();
        QCOMPARE(alerts.asked, QStringList{u"Synchronise 1 task?"_s});
    }

    void warnsOfASecondOne() {
        cronwell().setCronwellArray({row(u"Clean"_s, m_host)});
        find<QToolButton>("cronwellAddTaskBtn")->click();
        QVERIFY(waitForWorkers(30s));
        QVariantList tasks;
        for (const QString& id : {u"Clean"_s, u"Sweep"_s})
            tasks.append(QVariantMap{{u"taskID"_s, id}, {u"taskDescription"_s, id}});
        cronwell().setNewTaskAppDataArray(
            {QVariantMap{{u"taskBundleID"_s, tool}, {u"name"_s, u"Tidyhand"_s}, {u"tasks"_s, tasks}}});
        Q_EMIT cronwell().newTaskAppsChanged();
        QVERIFY(find<QLabel>("newTaskDuplicateText")->text().startsWith(u"One has this task already"_s));
        QCOMPARE(find<QPushButton>("addTaskButton")->text(), u"Add Anyway"_s);
        find<QComboBox>("newTaskMenu")->setCurrentIndex(1);
        QVERIFY(!find<QLabel>("newTaskDuplicateText")->isVisible());
        QCOMPARE(find<QPushButton>("addTaskButton")->text(), u"Add"_s);

        QStringList order;  // as read, not as made
        auto* sheet = find<QDialog>("windowNewTask");
        sheet->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(sheet));
        find<QComboBox>("newTaskArrayCont")->setFocus();
        for (int step = 0; step < 9; ++step) {
            order << sheet->focusWidget()->objectName();
            QTest::keyClick(sheet->focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(order, (QStringList{u"newTaskArrayCont"_s, u"newTaskMenu"_s, u"taskScheduleMenu"_s,
                                     u"taskHourText"_s, u"taskMinuteText"_s, u"taskDayText"_s,
                                     u"taskWeekdayMenu"_s, u"taskMonthMenu"_s, u"taskRootCheck"_s}));
        sheet->reject();
    }

    /// Every button says what it does, also where not all have room.
    void narrowBar() {
        cronwell().setCronwellArray({row(u"Clean"_s, m_host)});
        m_console->window->resize(m_console->window->minimumSize());
        const auto* pane = find<QWidget>("cronwellPane");
        const auto* more = pane->findChild<QToolButton*>(u"moreBtn"_s);
        for (const char* name : {"cronwellEnableAllBtn", "cronwellDisableAllBtn"}) {
            auto* button = find<QToolButton>(name);
            if (button->isVisible()) {
                QVERIFY(button->toolButtonStyle() != Qt::ToolButtonIconOnly);
                QVERIFY(button->width() >= button->sizeHint().width());
                continue;
            }
            Q_EMIT more->menu()->aboutToShow();
            startNewLog();
            const QList<QAction*> actions = more->menu()->actions();
            const auto item = std::find_if(actions.begin(), actions.end(), [&](const QAction* action) {
                return action->text() == button->text();
            });
            QVERIFY(item != actions.end());
            (*item)->trigger();
            QVERIFY(waitForWorkers(30s));
            QVERIFY(!logLines().filter(u"abling all"_s).isEmpty());
        }
        QVERIFY(more->isVisible());
    }
};

ORLENDO_WIDGETS_TEST_MAIN(CronwellPaneTest)
#include "cronwell_pane_test.moc"
