#include "system/VLException.h"
#include "tools/cronwell/CronwellView.h"
#include "tools/cronwell/NewTaskSheet.h"
#include "widgets/PaneBar.h"
#include "widgets/PaneParts.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QMenu>
#include <QToolButton>
#include <QTreeView>

Tool cronwellTool() {
    return {.identifier = QStringLiteral("cronwell"),
            .title = CronwellView::tr("Cronwell"),
            .subtitle = CronwellView::tr("Schedule maintenance tasks"),
            .clearingPlace = 10,
            .settings = sortSettings(QStringLiteral("cronwellOutline"), QStringLiteral("taskDescription")),
            .makeController = controllerMaker<CronwellController>(),
            .makePane = paneMaker<CronwellView, CronwellController>()};
}

CronwellView::CronwellView(CronwellController& controller, QWidget* parent)
    : MergedOutlineView(
          controller, new Model(cronwellLook(), controller.context().friendlyServiceName),
          QStringLiteral("cronwell"),
          {.title = tr("Scheduled tasks"),
           .symbol = QStringLiteral("clock"),
           .one = tr("%1 task"),
           .many = tr("%1 tasks"),
           .filter = tr("Filter tasks"),
           .differencesOnly = tr("Show only tasks that are not the same on all computers that answered"),
           .noMatch = tr("No matching task"),
           .noneShown = tr("No task passes the filter."),
           .whenNoneSelected = tr("Select computers to list their tasks"),
           .reading = tr("Reading tasks…"),
           .whenDisconnected = tr("Scheduled tasks are read as soon as a computer is connected."),
           .noneFound = tr("No tasks found on the selected computers"),
           .notRead = tr("Scheduled tasks have not been read yet"),
           .unansweredAlone = tr("nothing is added there")},
          parent),
      m_controller(controller),
      m_model(static_cast<Model*>(model())),
      m_newTask(new NewTaskSheet(controller, this)),
      m_remove(new QAction(symbolIcon(QStringLiteral("trash")), tr("Remove…"), this)) {
    buildButtons();
    turnBoxesWithSpace(view(), VLScheduledTask::Enabled);
    // The tool's drawing and the status say the same as the columns that go first.
    const QList<int> first{VLScheduledTask::Tool, VLScheduledTask::Computers};
    start({{960, {216, 186, 84, 96, 80, 88}},
           {760, {216, 186, 84, 96, 80, 88}, first},
           {520, {150, 112, 82, 90, 66, 80}, first},
           {0, {150, 110, 84, 90, 72, 80}, first + QList<int>{VLScheduledTask::RunsAs}}});
}

void CronwellView::buildButtons() {
    m_add =
        bar().addButton(QStringLiteral("cronwellAddTaskBtn"), QStringLiteral("add"), tr("Add…"),
                        tr("Schedule a task on all selected computers"), [this] { cronwellAddTaskAction(); });
    m_removeButton =
        bar().addButton(QStringLiteral("cronwellRemoveTaskBtn"), QStringLiteral("trash"), tr("Remove…"),
                        tr("Delete the selected tasks from every computer that has them,\n"
                           "or only the selected jobs of single computers"),
                        [this] { remove(selectedTargets()); });
    addSyncButton(QStringLiteral("cronwellSyncBtn"),
                  tr("Give every task that differs the schedule that most computers have, "
                     "and add it where it is missing"),
                  [this] { m_controller.cronwellSyncTasksAction(); });
    addButtonForAll(QStringLiteral("cronwellEnableAllBtn"), QStringLiteral("on"), wordsForEnabling(),
                    [this] { m_controller.cronwellEnableAllAction(); });
    addButtonForAll(QStringLiteral("cronwellDisableAllBtn"), QStringLiteral("off"), wordsForDisabling(),
                    [this] { m_controller.cronwellDisableAllAction(); });
    m_remove->setObjectName(QStringLiteral("cronwellRemoveTask"));
    m_remove->setShortcuts({QKeySequence(Qt::Key_Delete), QKeySequence(Qt::Key_Backspace)});
    m_remove->setShortcutContext(Qt::WidgetShortcut);
    view().addAction(m_remove);
    connect(m_remove, &QAction::triggered, this, [this] { remove(selectedTargets()); });
}

void CronwellView::installRows() {
    m_model->setRows(m_controller.cronwellArray());
}

void CronwellView::updateOwnActions() {
    m_add->setEnabled(!m_controller.context().selectedServices().isEmpty());
    m_remove->setEnabled(!selectedTargets().isEmpty());
    m_removeButton->setEnabled(m_remove->isEnabled());
}

void CronwellView::cronwellAddTaskAction() {
    try {
        m_controller.cronwellAddTaskAction();
        m_newTask->prepare();
        m_newTask->setHeading(tr("Add Task"));
        m_newTask->open();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController cronwellAddTaskAction:]");
    }
}

// ---- Changes

void CronwellView::remove(const QList<RowTarget>& rows) {
    m_controller.cronwellRemoveTaskAction(rows, window());
}

void CronwellView::setEnabled(const QList<RowTarget>& targets, bool on) {
    m_controller.setEnabled(targets, on ? 1 : 0);
    collapse(targets);
}

void CronwellView::check(const RowTarget& target, int, bool on) {
    setEnabled({target}, on);
}

void CronwellView::addMenuItems(QMenu& menu) {
    using Targets = QList<RowTarget>;
    addChangeItem(menu, "on", tr("Enable"), [this](const Targets& targets) { setEnabled(targets, true); });
    addChangeItem(menu, "off", tr("Disable"), [this](const Targets& targets) { setEnabled(targets, false); });
    menu.addSeparator();
    QAction* const addTask = menu.addAction(symbolIcon(QStringLiteral("add")), tr("Add Task…"), this,
                                            &CronwellView::cronwellAddTaskAction);
    addTask->setEnabled(m_add->isEnabled());
    QAction* const removeTasks = menu.addAction(m_remove->icon(), m_remove->text(), this,
                                                [this, rows = selectedTargets()] { remove(rows); });
    removeTasks->setShortcut(m_remove->shortcut());
    removeTasks->setShortcutContext(Qt::WidgetShortcut);
    removeTasks->setEnabled(m_remove->isEnabled());
}
