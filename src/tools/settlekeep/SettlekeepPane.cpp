#include "tools/settlekeep/BackupPane.h"
#include "tools/settlekeep/BackupSheet.h"
#include "tools/settlekeep/PreferenceModel.h"
#include "tools/settlekeep/SettlekeepView.h"
#include "widgets/PaneBar.h"
#include "widgets/PaneParts.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QAction>
#include <QHeaderView>
#include <QMenu>
#include <QSplitter>
#include <QTreeView>
#include <QVBoxLayout>

Tool settlekeepTool() {
    return {.identifier = QStringLiteral("settlekeep"),
            .title = SettlekeepView::tr("Settlekeep"),
            .subtitle = SettlekeepView::tr("Back up, restore, lock and trash application preferences"),
            .clearingPlace = 5,
            .settings = sortSettings(QStringLiteral("settlekeepBackupTable"), QStringLiteral("name")),
            .makeController = controllerMaker<SettlekeepController>(),
            .makePane = paneMaker<SettlekeepView, SettlekeepController>()};
}

SettlekeepView::SettlekeepView(SettlekeepController& controller, QWidget* parent)
    : QWidget(parent),
      m_controller(controller),
      m_preferences(new PreferenceModel(this)),
      m_preferenceView(new QTreeView(this)),
      m_bar(new PaneBar(this)) {
    setObjectName(QStringLiteral("viewSettlekeep"));
    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(makePreferences());
    splitter->addWidget(makeBackups());
    splitter->setSizes({300, 260});
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(splitter);

    const auto showTree = [this] { m_preferences->setTree(m_controller.settlekeepPrefArray()); };
    connect(&controller, &SettlekeepController::prefsChanged, this, showTree);
    connect(&controller, &SettlekeepController::locksChanged, this, &SettlekeepView::showLocks);
    connect(&controller, &SettlekeepController::backupSheetWanted, this,
            [this](SettlekeepController::BackupFlow flow) {
                if (!m_sheet) m_sheet = new BackupSheet(m_controller, this);
                m_sheet->showSheet(flow);
            });
    connect(&controller, &ToolController::changed, this, &SettlekeepView::updateActions);
    connect(&controller, &ToolController::selectionChanged, this, &SettlekeepView::updateActions);
    showTree();
    updateActions();
}

void SettlekeepView::addAction(const char* name, const char* symbol, const QString& text,
                               const QString& toolTip, void (SettlekeepController::*action)()) {
    auto* made = new QAction(symbolIcon(QLatin1String(symbol)), text, this);
    made->setObjectName(QLatin1String(name));
    made->setToolTip(toolTip);
    connect(made, &QAction::triggered, &m_controller, action);
    m_bar->addButton(made);
    m_actions << made;
}

QWidget* SettlekeepView::makePreferences() {
    using C = SettlekeepController;
    addAction("settlekeepBackup", "archive", tr("Back Up…"),
              tr("Keeps a copy of the ticked preferences on every selected computer"), &C::settlekeepBackup);
    addAction("settlekeepQuickBackup", "archive-quick", tr("Quick Backup…"),
              tr("Keeps a copy of the main preferences of all applications,\nwhatever is ticked"),
              &C::settlekeepQuickBackup);
    addAction("settlekeepLock", "lock", tr("Lock"),
              tr("Protects the files of the ticked preferences against every change.\n"
                 "Locked preferences can be neither restored nor trashed until they are unlocked."),
              &C::settlekeepLock);
    addAction("settlekeepUnlock", "unlock", tr("Unlock"),
              tr("Lets applications change the ticked preferences again"), &C::settlekeepUnlock);
    addAction("settlekeepTrash", "trash", tr("Trash"),
              tr("Moves the ticked preferences to the trash of each selected computer, at once.\n"
                 "Applications make new ones when they are opened."),
              &C::settlekeepTrash);
    addAction("settlekeepQuickTrash", "trash-quick", tr("Quick Trash"),
              tr("Moves the main preferences of all applications to the trash, at once,\nwhatever is ticked"),
              &C::settlekeepQuickTrash);
    setUpPaneTable(*m_preferenceView, QStringLiteral("settlekeepPrefOutlineView"), tr("Preferences"));
    m_preferenceView->setModel(m_preferences);
    turnBoxesWithSpace(*m_preferenceView, PreferenceModel::Name);
    m_preferenceView->header()->resizeSection(PreferenceModel::Name, 240);
    m_preferenceView->header()->resizeSection(PreferenceModel::Lock, 160);
    connect(m_preferences, &PreferenceModel::ticked, &m_controller, &SettlekeepController::setPrefSelected);
    connect(m_preferenceView, &QWidget::customContextMenuRequested, this,
            &SettlekeepView::showPreferenceMenu);

    auto* part = new QWidget(this);
    auto* layout = new QVBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_bar);
    layout->addWidget(m_preferenceView, 1);
    return part;
}

QWidget* SettlekeepView::makeBackups() {
    auto* part = new QWidget(this);
    auto* layout = new QVBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Metrics::unit);
    layout->addWidget(hairline(part));
    layout->addWidget(new BackupPane(m_controller, part), 1);
    return part;
}

void SettlekeepView::showLocks() {
    QHash<QString, QStringList> names;
    const QHash<QString, QStringList>& locks = m_controller.locks();
    for (auto lock = locks.cbegin(); lock != locks.cend(); ++lock)
        for (const QString& hostName : lock.value())
            names[lock.key()].append(m_controller.context().friendlyServiceName(hostName));
    m_preferences->setLocks(names);
}

void SettlekeepView::updateActions() {
    const bool anySelected = !m_controller.context().selectedServices().isEmpty();
    for (QAction* action : std::as_const(m_actions))
        action->setEnabled(anySelected);
}

void SettlekeepView::tickAll(int selected) {
    for (int row = 0; row < m_preferences->rowCount(); ++row)
        m_controller.setPrefSelected(row, -1, selected);
}

void SettlekeepView::showPreferenceMenu(const QPoint& position) {
    QMenu* const menu = makeContextMenu(*m_preferenceView, QStringLiteral("settlekeepPrefMenu"));
    menu->addActions(m_actions);
    menu->insertSeparator(m_actions.at(2));
    menu->insertSeparator(m_actions.at(4));
    menu->addSeparator();
    menu->addAction(tr("Tick All"), this, [this] { tickAll(VLPrefItem::On); });
    menu->addAction(tr("Untick All"), this, [this] { tickAll(VLPrefItem::Off); });
    menu->addSeparator();
    addExpandItems(*menu, *m_preferenceView);
    menu->popup(m_preferenceView->viewport()->mapToGlobal(position));
}
