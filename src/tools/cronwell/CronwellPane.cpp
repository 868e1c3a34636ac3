#include "tools/cronwell/CronwellPane.h"

#include "system/VLException.h"
#include "tools/cronwell/CronwellModel.h"
#include "tools/cronwell/CronwellView.h"
#include "tools/cronwell/NewTaskSheet.h"
#include "tools/cronwell/TaskKeys.h"
#include "widgets/PaneParts.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QMenu>
#include <QToolButton>
#include <QTreeView>

QWidget* makeCronwellPane(ToolController& controller, QWidget* parent) {
    return new CronwellView(static_cast<CronwellController&>(controller), parent);
}

CronwellView::CronwellView(CronwellController& controller, QWidget* parent)
    : MergedOutlineView(controller, new CronwellModel(controller.context().friendlyServiceName),
                        QStringLiteral("cronwell"),
                        {QStringLiteral("task"), QStringLiteral("tasks"), QStringLiteral("Scheduled tasks"),
                         QStringLiteral("clock")},
                        parent),
      m_controller(controller),
      m_model(static_cast<CronwellModel*>(outline().model())),
      m_newTask(new NewTaskSheet(controller, this)),
      m_remove(new QAction(symbolIcon(QStringLiteral("trash")), QStringLiteral("Remove…"), this)) {
    buildButtons();
    turnBoxesWithSpace(outline(), CronwellModel::Enabled);
    // The tool's drawing and the status say the same as the columns that go first.
    const QList<int> first{CronwellModel::Tool, CronwellModel::Computers};
    start({{960, {216, 186, 84, 96, 80, 88}, {}},
           {760, {216, 186, 84, 96, 80, 88}, first},
           {0, {190, 138, 84, 92, 74, 80}, first}});
}

void CronwellView::buildButtons() {
    m_add = addButton(QStringLiteral("cronwellAddTaskBtn"), QStringLiteral("add"), QStringLiteral("Add…"),
                      QStringLiteral("Schedule a task on all selected computers"),
                      [this] { cronwellAddTaskAction(); });
    m_removeButton =
        addButton(QStringLiteral("cronwellRemoveTaskBtn"), QStringLiteral("trash"), QStringLiteral("Remove…"),
                  QStringLiteral("Delete the selected tasks from every computer that has them"),
                  [this] { remove(selectedTasks()); });
    m_sync =
        addButton(QStringLiteral("cronwellSyncBtn"), QStringLiteral("sync"), QStringLiteral("Synchronise"),
                  QStringLiteral("Give every task that differs the schedule that most computers have, "
                                 "and add it where it is missing"),
                  [this] { m_controller.cronwellSyncTasksAction(); });
    m_enableAll =
        addButton(QStringLiteral("cronwellEnableAllBtn"), QStringLiteral("on"), QStringLiteral("Enable All"),
                  QStringLiteral("Enable every scheduled task on all selected computers"),
                  [this] { m_controller.cronwellEnableAllAction(); });
    m_disableAll = addButton(QStringLiteral("cronwellDisableAllBtn"), QStringLiteral("off"),
                             QStringLiteral("Disable All"),
                             QStringLiteral("Disable every scheduled task on all selected computers"),
                             [this] { m_controller.cronwellDisableAllAction(); });
    m_remove->setObjectName(QStringLiteral("cronwellRemoveTask"));
    m_remove->setShortcuts({QKeySequence(Qt::Key_Delete), QKeySequence(Qt::Key_Backspace)});
    m_remove->setShortcutContext(Qt::WidgetShortcut);
    outline().addAction(m_remove);
    connect(m_remove, &QAction::triggered, this, [this] { remove(selectedTasks()); });
}

void CronwellView::installRows() {
    m_model->setRows(m_controller.cronwellArray());
}

void CronwellView::updateActions() {
    m_add->setEnabled(!m_controller.context().selectedServices().isEmpty());
    m_sync->setEnabled(anyDiffers());
    m_enableAll->setEnabled(anyRows());
    m_disableAll->setEnabled(anyRows());
    m_remove->setEnabled(!selectedTasks().isEmpty());
    m_removeButton->setEnabled(m_remove->isEnabled());
}

void CronwellView::cronwellAddTaskAction() {
    try {
        m_controller.cronwellAddTaskAction();
        m_newTask->prepare();
        m_newTask->setHeading(QStringLiteral("Add Task"));
        m_newTask->open();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController cronwellAddTaskAction:]");
    }
}

// ---- Changes

CronwellView::Target CronwellView::target(const Place& place) const {
    const VLScheduledTask& row = m_model->rows().at(place.row);
    Target named{row.taskBundleID(), row.taskDescription()};
    if (place.child < 0) return named;
    const QVariantMap job = m_model->client(place);
    named.hostName = ClientCopies::hostNameOf(job);
    named.fileName = job.value(TaskKeys::fileNameKey).toString();
    return named;
}

QList<CronwellView::Target> CronwellView::selectedTargets() const {
    QList<Target> targets;
    for (const Place& place : selectedPlaces())
        targets.append(target(place));
    return targets;
}

QList<CronwellView::Target> CronwellView::selectedTasks() const {
    QList<Target> rows = selectedTargets();
    rows.removeIf([](const Target& target) { return !target.hostName.isEmpty(); });
    return rows;
}

void CronwellView::remove(const QList<Target>& rows) {
    m_controller.cronwellRemoveTaskAction(rows, window());
}

void CronwellView::setEnabled(const QList<Target>& targets, bool on) {
    m_controller.setEnabled(targets, on ? 1 : 0);
    QSet<QString> changed;
    for (const Target& target : targets)
        if (target.hostName.isEmpty())
            changed.insert(CronwellModel::keyFor(target.bundleID, target.description));
    collapse(changed);
}

void CronwellView::check(const Place& place, int, bool on) {
    setEnabled({target(place)}, on);
}

void CronwellView::addMenuItems(QMenu& menu) {
    const QList<Target> targets = selectedTargets();
    for (const bool on : {true, false}) {
        QAction* const change = menu.addAction(symbolIcon(on ? QStringLiteral("on") : QStringLiteral("off")),
                                               on ? QStringLiteral("Enable") : QStringLiteral("Disable"),
                                               this, [this, targets, on] { setEnabled(targets, on); });
        change->setEnabled(!targets.isEmpty());
    }
    menu.addSeparator();
    QAction* const addTask = menu.addAction(symbolIcon(QStringLiteral("add")), QStringLiteral("Add Task…"),
                                            this, &CronwellView::cronwellAddTaskAction);
    addTask->setEnabled(m_add->isEnabled());
    QAction* const removeTasks = menu.addAction(m_remove->icon(), m_remove->text(), this,
                                                [this, rows = selectedTasks()] { remove(rows); });
    removeTasks->setShortcut(m_remove->shortcut());
    removeTasks->setShortcutContext(Qt::WidgetShortcut);
    removeTasks->setEnabled(m_remove->isEnabled());
}
