#include "app/window/InterfaceSetup.h"

#include "app/window/StatusPanel.h"
#include "clients/ServicePasteboard.h"
#include "widgets/SymbolIcon.h"
#include "widgets/ViewUtilities.h"

#include <QAction>
#include <QComboBox>
#include <QScrollArea>
#include <QTextEdit>
#include <QTreeView>

#include <utility>

namespace {

constexpr int contentBorderThickness = 28;

/// Tables of one level whose names stand in a tree view: no room for disclosure triangles.
constexpr const char* leafTables[] = {
    "faultscopeLogTable", "settlekeepBackupTableView", "purgewrightTableView",      "tidyhandTableView",
    "varispotDiffTable",  "qmasterJobTable",           "finalCutStudioOutlineView", "corvalinOutlineView"};

struct Spacing {
    const char* view;
    QSize size;
};
constexpr Spacing spacings[] = {
    {"clientView", {4, 4}},          {"purgewrightTableView", {7, 7}},
    {"tidyhandTableView", {7, 7}},   {"finalCutStudioOutlineView", {7, 7}},
    {"corvalinOutlineView", {7, 7}}, {"varispotOutlineView", {3, 7}},
};

}  // namespace

InterfaceSetup::InterfaceSetup(QWidget& window) : QObject(&window), m_root(&window) {}

template <typename View>
View* InterfaceSetup::find(const char* name) const {
    return m_root->findChild<View*>(QLatin1String(name));
}

void InterfaceSetup::observeNewTaskSelection() {
    auto* applications = find<QComboBox>("newTaskArrayCont");
    auto* select = find<QAction>("selectNewTaskItem");
    if (applications && select)
        connect(applications, &QComboBox::currentIndexChanged, select, [select] { select->trigger(); });
}

void InterfaceSetup::setUpMainWindow() {
    m_isSetUp = true;
    if (auto* panel = m_root->findChild<StatusPanel*>())
        panel->setContentBorderThickness(contentBorderThickness);
}

/// The panes stay in their stack for the life of the window.
void InterfaceSetup::keepToolViews() {
    auto* box = find<QWidget>("settingsBox");
    auto* view = find<QScrollArea>("settingsView");
    if (!box || !view || view->widget() == box) return;
    view->setWidget(box);
    view->setWidgetResizable(true);
}

/// What may be dropped is for the models to say, by these types.
void InterfaceSetup::registerForDraggedTypes() {
    const auto registerView = [this](const char* name, const QString& type) {
        auto* view = find<QAbstractItemView>(name);
        if (!view) return;
        view->setProperty("draggedTypes", QStringList{type});
        view->viewport()->setAcceptDrops(true);
    };
    registerView("clientView", QLatin1String(ServicePasteboard::type));
    registerView("varispotDiffTable", QStringLiteral("VLVarispotPBoard"));
}

void InterfaceSetup::markTitleCellsAsLeaves() {
    for (const char* name : leafTables) {
        auto* table = find<QTreeView>(name);
        if (!table) continue;
        table->setRootIsDecorated(false);
        table->setItemsExpandable(false);
    }
}

void InterfaceSetup::setInterCellSpacing() {
    for (const Spacing& spacing : spacings)
        if (auto* view = find<QAbstractItemView>(spacing.view)) ::setInterCellSpacing(*view, spacing.size);
}

/// Symbols are drawn at 16 x 16 in menus and buttons.
void InterfaceSetup::setScopeImages() {
    const auto setImage = [this](const char* item, const char* image) {
        auto* action = find<QAction>(item);
        if (action) action->setIcon(symbolIcon(QLatin1String(image)));
    };
    setImage("addonryAllUsersItem", "users");
    setImage("addonryCurrentUserItem", "user");
}

/// Until there is a comparison its help text has the whole room.
void InterfaceSetup::layOutVarispot() {
    if (auto* table = find<QAbstractScrollArea>("varispotScrollView")) table->hide();
    if (auto* help = find<QTextEdit>("varispotTextView")) help->resize(help->parentWidget()->size());
}

/// The client outline runs its own double click (ClientOutline::serviceActivated).
void InterfaceSetup::setDoubleClickActions() {
    auto* logs = find<QAbstractItemView>("faultscopeLogTable");
    auto* open = find<QAction>("faultscopeViewLogAction");
    if (logs && open) connect(logs, &QAbstractItemView::doubleClicked, open, &QAction::trigger);
}

void InterfaceSetup::setUpPane(QWidget* pane) {
    if (!m_isSetUp) return;  // comes with the window's own set-up
    QWidget* const window = std::exchange(m_root, pane);
    observeNewTaskSelection();
    keepToolViews();
    registerForDraggedTypes();
    markTitleCellsAsLeaves();
    setInterCellSpacing();
    setScopeImages();
    layOutVarispot();
    setDoubleClickActions();
    m_root = window;
}
