#include "tools/cronwell/CronwellPane.h"

#include "system/VLException.h"
#include "tools/cronwell/CronwellController.h"
#include "tools/cronwell/CronwellModel.h"
#include "tools/cronwell/CronwellView.h"
#include "tools/cronwell/NewTaskSheet.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QMenu>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>

namespace {

// Pane widths below which the less telling columns and words step back.
constexpr int spacious = 760, narrow = 560;

}  // namespace

QWidget* makeCronwellPane(ToolController& controller, QWidget* parent) {
    return new CronwellView(static_cast<CronwellController&>(controller), parent);
}

CronwellView::CronwellView(CronwellController& controller, QWidget* parent)
    : MergedOutlineView(controller, new CronwellModel(controller.context().friendlyServiceName),
                        {QStringLiteral("cronwell"), QStringLiteral("task"), QStringLiteral("tasks"),
                         QStringLiteral("Scheduled tasks"), QStringLiteral("clock"),
                         QStringLiteral("Scheduled tasks are read as soon as a computer is connected.")},
                        parent),
      m_controller(controller),
      m_model(static_cast<CronwellModel*>(outline().model())),
      m_newTask(new NewTaskSheet(controller, this)),
      m_remove(new QAction(symbolIcon(QStringLiteral("trash")), QStringLiteral("Remove…"), this)) {
    buildButtons();
    start();
}

/// The tool's drawing and the status say the same as the columns that go first.
void CronwellView::fitWidth() {
    const Width fitting = width() >= spacious ? Spacious : width() >= narrow ? Narrow : Tight;
    if (fitting == m_width) return;
    m_width = fitting;
    setColumnWidths(fitting == Spacious ? QList<int>{206, 176, 84, 96, 80, 80}
                                        : QList<int>{190, 138, 84, 92, 74, 80});
    outline().setColumnHidden(CronwellModel::Tool, fitting != Spacious);
    outline().setColumnHidden(CronwellModel::Computers, fitting != Spacious);
    const auto showText = [](QToolButton* button, bool shown) {
        button->setToolButtonStyle(shown ? Qt::ToolButtonTextBesideIcon : Qt::ToolButtonIconOnly);
    };
    for (QToolButton* button : {m_removeButton, m_enableAll, m_disableAll})
        showText(button, fitting == Spacious);
    for (QToolButton* button : {m_add, m_sync})
        showText(button, fitting != Tight);
}

void CronwellView::resizeEvent(QResizeEvent* event) {
    MergedOutlineView::resizeEvent(event);
    fitWidth();
}

void CronwellView::buildButtons() {
    m_add = addButton(QStringLiteral("cronwellAddTaskBtn"), QStringLiteral("add"), QStringLiteral("Add…"),
                      QStringLiteral("Schedule a task on all selected computers"),
                      [this] { cronwellAddTaskAction(); });
    m_removeButton =
        addButton(QStringLiteral("cronwellRemoveTaskBtn"), QStringLiteral("trash"), QStringLiteral("Remove…"),
                  QStringLiteral("Delete the selected tasks from every computer that has them"),
                  [this] { removeSelected(); });
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
    connect(m_remove, &QAction::triggered, this, &CronwellView::removeSelected);
}

void CronwellView::installRows() {
    m_model->setRows(m_controller.cronwellArray());
}

int CronwellView::keyboardColumn() const {
    return CronwellModel::Enabled;
}

void CronwellView::updateActions() {
    bool anyDiffers = false;
    for (int row = 0; row < m_model->rowTotal() && !anyDiffers; ++row)
        anyDiffers = m_model->differs(row);
    m_add->setEnabled(!m_controller.context().selectedServices().isEmpty());
    m_sync->setEnabled(anyDiffers);
    m_enableAll->setEnabled(anyRows());
    m_disableAll->setEnabled(anyRows());
    m_remove->setEnabled(!selectedRows().isEmpty());
    m_removeButton->setEnabled(m_remove->isEnabled());
}

void CronwellView::check(const Place& place, int, bool on) {
    if (place.child < 0) collapse(place.row);
    m_controller.setEnabled(place.row, place.child, on ? 1 : 0);
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

void CronwellView::removeSelected() {
    m_controller.cronwellRemoveTaskAction(selectedRows(), window());
}

void CronwellView::enableSelected(bool on) {
    for (const Place& place : selectedPlaces())
        if (!place.isMissing) check(place, CronwellModel::Enabled, on);
}

void CronwellView::addMenuItems(QMenu& menu) {
    const QList<Place> selected = selectedPlaces();
    const bool any =
        std::any_of(selected.begin(), selected.end(), [](const Place& p) { return !p.isMissing; });
    const auto add = [&](const char* symbol, const QString& text, bool on) {
        QAction* const action =
            menu.addAction(symbolIcon(QLatin1String(symbol)), text, this, [this, on] { enableSelected(on); });
        action->setEnabled(any);
    };
    add("on", QStringLiteral("Enable"), true);
    add("off", QStringLiteral("Disable"), false);
    menu.addSeparator();
    QAction* const addTask = menu.addAction(symbolIcon(QStringLiteral("add")), QStringLiteral("Add Task…"),
                                            this, &CronwellView::cronwellAddTaskAction);
    addTask->setEnabled(m_add->isEnabled());
    menu.addAction(m_remove);
}
