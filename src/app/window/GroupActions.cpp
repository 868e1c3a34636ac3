#include "app/window/GroupActions.h"

#include "clients/view/ClientOutline.h"
#include "clients/view/ClientOutlineModel.h"
#include "clients/view/GroupSheet.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QPushButton>
#include <QTreeView>

#include <algorithm>

namespace {

QString menuText(QString text) {
    return text.replace(u'&', QLatin1String("&&"));
}

}  // namespace

GroupActions::GroupActions(ServiceList& services, ClientOutline& outline, QWidget* window)
    : QObject(window),
      m_services(services),
      m_outline(outline),
      m_window(window),
      m_moveMenu(new QMenu(tr("Move to &Group"), window)),
      m_newGroup(makeAction(tr("New &Group…"), "add-group", tr("Add a group to the list of computers"),
                            &GroupActions::askForGroup)),
      m_rename(makeAction(tr("Re&name Group"), "", tr("Change the name of the selected group"),
                          &GroupActions::renameGroup)),
      m_delete(makeAction(tr("&Delete Group…"), "",
                          tr("Remove the selected group; its computers stay in the list"),
                          &GroupActions::deleteGroup)),
      m_toggle(makeAction(tr("Collapse"), "", tr("Hide or show the group's computers"),
                          &GroupActions::toggleGroup)),
      m_forgetAbsent(makeAction(tr("Forget Missing Computers"), "",
                                tr("Those of the group that are not found at present"),
                                &GroupActions::forgetAbsent)) {
    m_newGroup->setObjectName(QStringLiteral("newGroupAction"));
    m_newGroup->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_N));
    m_rename->setObjectName(QStringLiteral("renameGroupAction"));
    m_rename->setShortcut(QKeySequence(Qt::Key_F2));
    m_delete->setObjectName(QStringLiteral("deleteGroupAction"));
    m_delete->setShortcut(QKeySequence::Delete);
    // These keys mean something else in every other view.
    for (QAction* action : {m_rename, m_delete}) {
        action->setShortcutContext(Qt::WidgetShortcut);
        outline.view()->addAction(action);
    }
    m_moveMenu->setObjectName(QStringLiteral("moveToGroupMenu"));
    m_moveMenu->setIcon(symbolIcon(QStringLiteral("folder")));
    connect(m_moveMenu, &QMenu::aboutToShow, this, &GroupActions::fillMoveMenu);
    connect(&outline, &ClientOutline::newGroupRequested, this, &GroupActions::askForGroup);
    connect(&services, &ServiceList::selectionChanged, this, &GroupActions::update);
    connect(&services, &ServiceList::groupsChanged, this, &GroupActions::update);
    update();
}

QAction* GroupActions::makeAction(const QString& text, const char* symbol, const QString& help,
                                  void (GroupActions::*run)()) {
    auto* action = new QAction(symbolIcon(QLatin1String(symbol)), text, this);
    action->setToolTip(help);
    action->setStatusTip(help);
    connect(action, &QAction::triggered, this, run);
    return action;
}

void GroupActions::update() {
    const VLServiceGroupPtr group = m_outline.singleSelectedGroup();
    m_rename->setEnabled(group != nullptr);
    m_delete->setEnabled(group != nullptr);
    m_forgetAbsent->setEnabled(group && !group->absent().isEmpty());
    m_toggle->setEnabled(group || m_services.allSelected());
    m_moveMenu->menuAction()->setEnabled(!m_services.chosenServices().isEmpty());
}

void GroupActions::addMoveMenu(QMenu* menu) {
    menu->addMenu(m_moveMenu);
}

void GroupActions::addTo(QMenu* menu) {
    menu->setToolTipsVisible(true);
    const QModelIndex index = m_outline.model()->indexOf(m_outline.singleSelectedGroup());
    m_toggle->setText(m_outline.view()->isExpanded(index) ? tr("Collapse") : tr("Expand"));
    menu->addAction(m_toggle);
    if (m_outline.singleSelectedGroup()) {
        menu->addAction(m_rename);
        menu->addAction(m_delete);
        if (m_forgetAbsent->isEnabled()) menu->addAction(m_forgetAbsent);
    }
    menu->addSeparator();
    menu->addAction(m_newGroup);
}

void GroupActions::addGroupItems(QMenu* menu) {
    menu->addAction(m_rename);
    menu->addAction(m_delete);
}

// ---- Groups

void GroupActions::askForGroup() {
    const QList<VLServicePtr> chosen = m_services.chosenServices();
    auto* sheet = new GroupSheet([this](const QString& name) { return m_services.groupNameProblem(name); },
                                 int(chosen.size()),
                                 [this, chosen](const QString& name, bool withSelected) {
                                     const VLServiceGroupPtr group = m_services.addGroup(name);
                                     if (withSelected) m_services.moveToGroup(chosen, group);
                                     m_outline.selectGroup(group);
                                 },
                                 m_window);
    sheet->open();
}

void GroupActions::renameGroup() {
    m_outline.editGroupName(m_outline.singleSelectedGroup());
}

void GroupActions::toggleGroup() {
    const VLServiceGroupPtr group = m_outline.singleSelectedGroup();
    m_outline.setExpanded(group, !m_outline.view()->isExpanded(m_outline.model()->indexOf(group)));
}

void GroupActions::forgetAbsent() {
    if (const VLServiceGroupPtr group = m_outline.singleSelectedGroup())
        m_services.forgetAbsentClients(group);
}

void GroupActions::deleteGroup() {
    const VLServiceGroupPtr group = m_outline.singleSelectedGroup();
    if (!group) return;
    if (group->children().isEmpty() && group->absent().isEmpty())
        m_services.removeGroup(group);
    else
        askWhetherToDelete(group);
}

void GroupActions::askWhetherToDelete(const VLServiceGroupPtr& group) {
    const qsizetype count = group->children().size(), absentCount = group->absent().size();
    QStringList texts;
    if (count > 0)
        texts << (count == 1 ? tr("Its 1 computer stays in the list.")
                             : tr("Its %1 computers stay in the list.").arg(count));
    if (absentCount > 0)
        texts << (absentCount == 1 ? tr("That 1 computer not found at present belongs to it is forgotten.")
                                   : tr("That %1 computers not found at present belong to it is forgotten.")
                                         .arg(absentCount));
    auto* sheet =
        new Sheet(tr("Delete the group “%1”?").arg(group->name().left(60)), texts.join(u' '), m_window);
    sheet->setObjectName(QStringLiteral("deleteGroupSheet"));
    sheet->addCancelButton();
    sheet->addPrimaryButton(tr("Delete Group"));
    connect(sheet, &QDialog::accepted, this, [this, group] { m_services.removeGroup(group); });
    sheet->open();
}

// ---- Menus

void GroupActions::fillMoveMenu() {
    m_moveMenu->clear();
    const QList<VLServicePtr> chosen = m_services.chosenServices();
    const auto add = [&](const QString& text, const VLServiceGroupPtr& group) {
        QAction* action = m_moveMenu->addAction(menuText(text));
        action->setCheckable(true);
        action->setChecked(std::all_of(chosen.begin(), chosen.end(), [&](const VLServicePtr& service) {
            return service->parent() == group.get();
        }));
        connect(action, &QAction::triggered, this,
                [this, chosen, group] { m_services.moveToGroup(chosen, group); });
    };
    for (const VLServiceGroupPtr& group : m_services.groups())
        add(group->name(), group);
    if (!m_services.groups().isEmpty()) m_moveMenu->addSeparator();
    add(tr("No Group"), nullptr);
    m_moveMenu->addAction(m_newGroup);
}

void GroupActions::addSortMenu(QMenu* menu) {
    QMenu* sort = menu->addMenu(tr("Sort Computers &By"));
    sort->setObjectName(QStringLiteral("sortComputersMenu"));
    connect(sort, &QMenu::aboutToShow, this, [this, sort] { fillSortMenu(sort); });
    fillSortMenu(sort);
}

void GroupActions::fillSortMenu(QMenu* menu) {
    menu->clear();
    const ClientOutlineModel& model = *m_outline.model();
    const QStringList columns = ClientOutlineModel::sortColumnNames();
    const QStringList titles{tr("&Name"), tr("&State"), tr("&Address")};
    auto* byColumn = new QActionGroup(menu);
    auto* byOrder = new QActionGroup(menu);
    const auto add = [&](QActionGroup* group, const QString& text, const QString& column,
                         Qt::SortOrder order) {
        QAction* action = menu->addAction(text);
        action->setCheckable(true);
        action->setChecked(column == columns[model.sortColumn()] && order == model.sortOrder());
        group->addAction(action);
        connect(action, &QAction::triggered, this,
                [this, column, order] { m_outline.setSorting(column, order); });
    };
    for (qsizetype i = 0; i < columns.size(); ++i)
        add(byColumn, titles[i], columns[i], model.sortOrder());
    menu->addSeparator();
    add(byOrder, tr("As&cending"), columns[model.sortColumn()], Qt::AscendingOrder);
    add(byOrder, tr("&Descending"), columns[model.sortColumn()], Qt::DescendingOrder);
}
