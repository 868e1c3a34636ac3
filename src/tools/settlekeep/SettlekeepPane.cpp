#include "tools/settlekeep/SettlekeepPane.h"

#include "tools/PaneState.h"
#include "tools/settlekeep/BackupList.h"
#include "tools/settlekeep/BackupModel.h"
#include "tools/settlekeep/BackupSheet.h"
#include "tools/settlekeep/PreferenceModel.h"
#include "tools/settlekeep/SettlekeepView.h"
#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/OutlineState.h"
#include "widgets/PaneParts.h"
#include "widgets/SearchField.h"
#include "widgets/Spinner.h"
#include "widgets/SymbolIcon.h"
#include "widgets/TableSorting.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QAction>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QSplitter>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>

QWidget* makeSettlekeepPane(ToolController& controller, QWidget* parent) {
    return new SettlekeepView(static_cast<SettlekeepController&>(controller), parent);
}

SettlekeepView::SettlekeepView(SettlekeepController& controller, QWidget* parent)
    : QWidget(parent),
      m_controller(controller),
      m_preferences(new PreferenceModel(this)),
      m_backups(new BackupModel(controller.context().friendlyServiceName, this)),
      m_preferenceView(makeView("settlekeepPrefOutlineView", QStringLiteral("Preferences"))),
      m_backupView(makeView("settlekeepBackupTableView", QStringLiteral("Backups"))),
      m_summary(new ElidedLabel(this, ElidedLabel::Tone::Secondary)),
      m_search(new SearchField(QStringLiteral("Filter backups"), this)),
      m_stack(new QStackedWidget(this)),
      m_empty(new EmptyState(this)) {
    setObjectName(QStringLiteral("viewSettlekeep"));
    auto* splitter = new QSplitter(Qt::Vertical, this);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(buildPreferences());
    splitter->addWidget(buildBackups());
    splitter->setSizes({300, 260});
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(splitter);

    connect(&controller, &SettlekeepController::prefsChanged, this, &SettlekeepView::reloadPreferences);
    connect(&controller, &SettlekeepController::backupSheetWanted, this,
            [this](SettlekeepController::BackupFlow flow) {
                if (!m_sheet) m_sheet = new BackupSheet(m_controller, this);
                m_sheet->showSheet(flow);
            });
    connect(&controller, &ToolController::changed, this, [this] {
        reloadBackups([this] { m_backups->setBackups(m_controller.settlekeepBackupArray()); });
    });
    connect(&controller, &ToolController::busyChanged, this, &SettlekeepView::updateState);
    connect(&controller, &ToolController::selectionChanged, this, &SettlekeepView::updateState);
    reloadPreferences();
    reloadBackups([this] { m_backups->setBackups(m_controller.settlekeepBackupArray()); });
}

QTreeView* SettlekeepView::makeView(const char* name, const QString& title) {
    auto* view = new QTreeView(this);
    setUpPaneTable(*view, QLatin1String(name), title);
    return view;
}

// ---- What can be done

QAction* SettlekeepView::addAction(const char* name, const char* symbol, const QString& text,
                                   const QString& toolTip, void (SettlekeepController::*action)()) {
    auto* made = new QAction(symbolIcon(QLatin1String(symbol)), text, this);
    made->setObjectName(QLatin1String(name));
    made->setToolTip(toolTip);
    connect(made, &QAction::triggered, &m_controller, action);
    m_actions << made;
    return made;
}

void SettlekeepView::addButton(QHBoxLayout* bar, QAction* action) {
    auto* button = new QToolButton(this);
    button->setDefaultAction(action);
    button->setObjectName(action->objectName() + QStringLiteral("Btn"));
    setUpBarButton(*button);
    bar->addWidget(button);
}

QWidget* SettlekeepView::buildPreferences() {
    auto* part = new QWidget(this);
    auto* layout = new QVBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(Metrics::unit * 2, 0, Metrics::unit * 2, Metrics::unit * 1.5);
    bar->setSpacing(Metrics::unit / 2);
    using C = SettlekeepController;
    addAction("settlekeepBackup", "archive", QStringLiteral("Back Up…"),
              QStringLiteral("Keeps a copy of the ticked preferences on every selected computer"),
              &C::settlekeepBackup);
    addAction("settlekeepQuickBackup", "archive-quick", QStringLiteral("Quick Backup…"),
              QStringLiteral("Keeps a copy of the main preferences of all applications,\nwhatever is ticked"),
              &C::settlekeepQuickBackup);
    addAction(
        "settlekeepLock", "lock", QStringLiteral("Lock"),
        QStringLiteral("Protects the files of the ticked preferences against every change.\n"
                       "Locked preferences can be neither restored nor trashed until they are unlocked."),
        &C::settlekeepLock);
    addAction("settlekeepUnlock", "unlock", QStringLiteral("Unlock"),
              QStringLiteral("Lets applications change the ticked preferences again"), &C::settlekeepUnlock);
    addAction("settlekeepTrash", "trash", QStringLiteral("Trash"),
              QStringLiteral("Moves the ticked preferences to the trash of each selected computer, at once.\n"
                             "Applications make new ones when they are opened."),
              &C::settlekeepTrash);
    addAction("settlekeepQuickTrash", "trash-quick", QStringLiteral("Quick Trash"),
              QStringLiteral("Moves the main preferences of all applications to the trash, at once,\n"
                             "whatever is ticked"),
              &C::settlekeepQuickTrash);
    for (QAction* action : std::as_const(m_actions))
        addButton(bar, action);
    bar->addStretch(1);
    layout->addLayout(bar);

    m_preferenceView->setModel(m_preferences);
    turnBoxesWithSpace(*m_preferenceView, PreferenceModel::Name);
    m_preferenceView->header()->resizeSection(PreferenceModel::Name, 300);
    layout->addWidget(m_preferenceView, 1);
    connect(m_preferences, &PreferenceModel::ticked, &m_controller, &SettlekeepController::setPrefSelected);
    connect(m_preferenceView, &QWidget::customContextMenuRequested, this,
            &SettlekeepView::showPreferenceMenu);
    return part;
}

QWidget* SettlekeepView::buildBackups() {
    auto* part = new QWidget(this);
    auto* layout = new QVBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(hairline(part));
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(Metrics::unit * 2, Metrics::unit, Metrics::unit * 2, Metrics::unit);
    bar->setSpacing(Metrics::unit);
    m_restore = new QAction(symbolIcon(QStringLiteral("restore")), QStringLiteral("Restore"), this);
    m_restore->setObjectName(QStringLiteral("settlekeepRestore"));
    m_restore->setToolTip(
        QStringLiteral("Puts the preferences of the selected backup in place on every selected computer,\n"
                       "at once. Those that are there now are replaced."));
    connect(m_restore, &QAction::triggered, this,
            [this] { m_controller.settlekeepRestore(selectedBackup()); });
    addButton(bar, m_restore);
    m_summary->setObjectName(QStringLiteral("settlekeepSummary"));
    m_search->setObjectName(QStringLiteral("settlekeepFilter"));
    m_search->setMaximumWidth(200);
    bar->addWidget(m_summary, 1);
    bar->addWidget(m_search);
    layout->addLayout(bar);

    m_backupView->setRootIsDecorated(false);
    m_backupView->setSelectionMode(QAbstractItemView::SingleSelection);
    m_backupView->setModel(m_backups);
    rememberSorting(m_backupView->header(), QStringLiteral("settlekeepBackupTable"), backupColumnNames());
    m_backupView->setSortingEnabled(true);
    constexpr int widths[] = {130, 120, 90, 122, 70, 60};  // the last column takes what is left
    for (int column = 0; column < BackupModel::ColumnCount; ++column)
        m_backupView->header()->resizeSection(column, widths[column]);
    m_empty->setObjectName(QStringLiteral("settlekeepEmpty"));
    m_empty->findChild<Spinner*>()->setObjectName(QStringLiteral("settlekeepSpinner"));
    m_stack->addWidget(m_backupView);
    m_stack->addWidget(m_empty);
    layout->addWidget(m_stack, 1);
    connect(m_backupView, &QWidget::customContextMenuRequested, this, &SettlekeepView::showBackupMenu);
    connect(m_backupView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &SettlekeepView::updateState);
    connect(m_search, &QLineEdit::textChanged, this,
            [this](const QString& text) { reloadBackups([this, text] { m_backups->setFilter(text); }); });
    connect(m_search, &SearchField::moveToList, m_backupView, qOverload<>(&QWidget::setFocus));
    connect(m_empty, &EmptyState::buttonClicked, m_search, &QLineEdit::clear);
    return part;
}

QVariantMap SettlekeepView::selectedBackup() const {
    const QModelIndexList rows = m_backupView->selectionModel()->selectedRows();
    return rows.isEmpty() ? QVariantMap() : m_backups->backup(rows.first());
}

void SettlekeepView::tickAll(int selected) {
    for (int row = 0; row < m_preferences->rowCount(); ++row)
        m_controller.setPrefSelected(row, -1, selected);
}

// ---- What is shown

void SettlekeepView::reloadPreferences() {
    m_preferences->setTree(m_controller.settlekeepPrefArray());
}

/// What is selected and in view stays so.
void SettlekeepView::reloadBackups(const std::function<void()>& change) {
    const OutlineState state = OutlineState::of(*m_backupView, BackupModel::KeyRole);
    change();
    state.restore(*m_backupView, BackupModel::KeyRole);
    m_summary->setText(m_backups->summary());
    updateState();
}

void SettlekeepView::updateState() {
    static const PaneWords words{QStringLiteral("backup"), QStringLiteral("backups"),
                                 QStringLiteral("Backups"), QStringLiteral("archive"),
                                 QStringLiteral("Tick preferences above and choose Back Up.")};
    const bool anySelected = !m_controller.context().selectedServices().isEmpty();
    const bool anyShown = m_backups->rowCount() > 0;
    if (!anyShown) showWhyEmpty(*m_empty, m_controller, words, !m_backups->isEmpty());
    m_stack->setCurrentWidget(anyShown ? static_cast<QWidget*>(m_backupView) : m_empty);
    m_search->setEnabled(!m_backups->isEmpty());
    for (QAction* action : std::as_const(m_actions))
        action->setEnabled(anySelected);
    m_restore->setEnabled(anySelected && anyShown && m_backupView->selectionModel()->hasSelection());
}

// ---- Menus

void SettlekeepView::showPreferenceMenu(const QPoint& position) {
    QMenu* const menu = makeContextMenu(*m_preferenceView, QStringLiteral("settlekeepPrefMenu"));
    menu->addActions(m_actions);
    menu->insertSeparator(m_actions.at(2));
    menu->insertSeparator(m_actions.at(4));
    menu->addSeparator();
    menu->addAction(QStringLiteral("Tick All"), this, [this] { tickAll(VLPrefItem::On); });
    menu->addAction(QStringLiteral("Untick All"), this, [this] { tickAll(VLPrefItem::Off); });
    menu->addSeparator();
    addExpandItems(*menu, *m_preferenceView);
    menu->popup(m_preferenceView->viewport()->mapToGlobal(position));
}

void SettlekeepView::showBackupMenu(const QPoint& position) {
    QMenu* const menu = makeContextMenu(*m_backupView, QStringLiteral("settlekeepBackupMenu"));
    // While the menu is open a refresh may change what is selected; it is about what it was opened on.
    QAction* const restore =
        menu->addAction(m_restore->icon(), m_restore->text(), this,
                        [this, backup = selectedBackup()] { m_controller.settlekeepRestore(backup); });
    restore->setEnabled(m_restore->isEnabled());
    menu->addSeparator();
    addCopyItem(*menu, *m_backupView);
    menu->popup(m_backupView->viewport()->mapToGlobal(position));
}
