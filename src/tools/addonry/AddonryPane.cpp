#include "tools/addonry/AddonryPane.h"

#include "tools/addonry/AddonryController.h"
#include "tools/addonry/AddonryModel.h"
#include "tools/addonry/AddonryView.h"
#include "widgets/CellDelegate.h"
#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/OutlineState.h"
#include "widgets/RowCopy.h"
#include "widgets/SearchField.h"
#include "widgets/SymbolIcon.h"
#include "widgets/TableSorting.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>

QWidget* makeAddonryPane(ToolController& controller, QWidget* parent) {
    return new AddonryView(static_cast<AddonryController&>(controller), parent);
}

AddonryView::AddonryView(AddonryController& controller, QWidget* parent)
    : QWidget(parent),
      m_controller(controller),
      m_model(new AddonryModel(controller.context().friendlyServiceName, this)),
      m_outline(new QTreeView(this)),
      m_summary(new ElidedLabel(this, ElidedLabel::Tone::Secondary)),
      m_differencesOnly(new QToolButton(this)),
      m_search(new SearchField(QStringLiteral("Filter plug-ins"), this)),
      m_stack(new QStackedWidget(this)),
      m_empty(new EmptyState(this)) {
    setObjectName(QStringLiteral("addonryPane"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    buildBar();
    buildOutline();
    layout->addWidget(m_stack, 1);
    m_stack->addWidget(m_outline);
    m_stack->addWidget(m_empty);
    m_empty->setObjectName(QStringLiteral("addonryEmpty"));

    connect(&controller, &ToolController::changed, this, &AddonryView::reload);
    connect(&controller, &ToolController::busyChanged, this, &AddonryView::updateState);
    connect(&controller, &ToolController::selectionChanged, this, &AddonryView::updateState);
    connect(m_empty, &EmptyState::buttonClicked, this, [this] {
        m_differencesOnly->setChecked(false);
        m_search->clear();
    });
    reload();
}

void AddonryView::buildBar() {
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(Metrics::unit * 2, 0, Metrics::unit * 2, Metrics::unit * 1.5);
    bar->setSpacing(Metrics::unit);
    m_summary->setObjectName(QStringLiteral("addonrySummary"));
    m_differencesOnly->setObjectName(QStringLiteral("differencesOnly"));
    m_differencesOnly->setText(QStringLiteral("Differences Only"));
    m_differencesOnly->setIcon(symbolIcon(QStringLiteral("filter")));
    m_differencesOnly->setIconSize({14, 14});
    m_differencesOnly->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_differencesOnly->setCheckable(true);
    m_differencesOnly->setAutoRaise(true);
    m_differencesOnly->setFocusPolicy(Qt::TabFocus);
    m_differencesOnly->setToolTip(
        QStringLiteral("Show only plug-ins that are not the same on all selected computers"));
    m_search->setObjectName(QStringLiteral("addonryFilter"));
    m_search->setMaximumWidth(200);
    bar->addWidget(m_summary, 1);
    bar->addWidget(m_differencesOnly);
    bar->addWidget(m_search);
    static_cast<QVBoxLayout*>(layout())->addLayout(bar);
    connect(m_differencesOnly, &QToolButton::toggled, this, &AddonryView::filter);
    connect(m_search, &QLineEdit::textChanged, this, &AddonryView::filter);
    connect(m_search, &SearchField::moveToList, m_outline, qOverload<>(&QWidget::setFocus));
    setTabOrder(m_differencesOnly, m_search);
    setTabOrder(m_search, m_outline);
}

void AddonryView::buildOutline() {
    m_outline->setObjectName(QStringLiteral("addonryOutline"));
    m_outline->setAccessibleName(QStringLiteral("Plug-ins"));
    m_outline->setFrameShape(QFrame::NoFrame);
    m_outline->setUniformRowHeights(true);
    m_outline->setAlternatingRowColors(true);
    m_outline->setIndentation(20);
    m_outline->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_outline->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_outline->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_outline->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_outline->setContextMenuPolicy(Qt::CustomContextMenu);
    m_outline->setItemDelegate(new CellDelegate(m_outline));
    m_outline->setModel(m_model);
    m_outline->setSortingEnabled(true);
    QHeaderView* header = m_outline->header();
    rememberSorting(header, QStringLiteral("addonryOutline"), AddonryModel::columnNames());
    header->setFont(themeFont(0.92, QFont::Medium));
    header->setSectionsMovable(false);
    header->setMinimumSectionSize(48);
    constexpr int widths[] = {178, 74, 78, 90, 112, 76};  // the last column takes what is left
    for (int column = 0; column < AddonryModel::Status; ++column)
        header->resizeSection(column, widths[column]);
    header->setStretchLastSection(true);
    connect(m_outline, &QWidget::customContextMenuRequested, this, &AddonryView::showContextMenu);
}

/// Replaces the rows; what was expanded, selected and in view stays so.
void AddonryView::reload() {
    const OutlineState state = OutlineState::of(*m_outline, AddonryModel::KeyRole);
    m_model->setRows(m_controller.addonryArray());
    if (!m_controller.hasResult()) resetOutlineView(*m_outline);  // cleared: there is nothing to keep
    state.restore(*m_outline, AddonryModel::KeyRole);
    updateSummary();
    updateState();
}

void AddonryView::filter() {
    const OutlineState state = OutlineState::of(*m_outline, AddonryModel::KeyRole);
    m_model->setFilter(m_search->text(), m_differencesOnly->isChecked());
    state.restore(*m_outline, AddonryModel::KeyRole);
    updateState();
}

void AddonryView::updateSummary() {
    const QList<VLPluginItem>& rows = m_model->rows();
    const auto differing = std::count_if(rows.begin(), rows.end(), &AddonryModel::differs);
    QString text =
        rows.size() == 1 ? QStringLiteral("1 plug-in") : QStringLiteral("%1 plug-ins").arg(rows.size());
    if (differing > 0) {
        text += QStringLiteral(" · %1 with differences").arg(differing);
    } else if (!rows.isEmpty()) {
        text += QStringLiteral(" · no differences");
    }
    m_summary->setText(rows.isEmpty() ? QString() : text);
}

void AddonryView::updateState() {
    const bool anyRows = !m_model->rows().isEmpty();
    const bool anyShown = m_model->rowCount() > 0;
    const QList<VLServicePtr> selected = m_controller.context().selectedServices();
    const bool anySelected = !selected.isEmpty();
    const bool anyConnected = std::any_of(selected.begin(), selected.end(),
                                          [](const VLServicePtr& service) { return service->isConnected(); });
    m_empty->setButtonText({});
    if (anyRows && !anyShown) {
        m_empty->setContents(QStringLiteral("search"), QStringLiteral("No matching plug-in"),
                             QStringLiteral("No plug-in passes the filter."));
        m_empty->setButtonText(QStringLiteral("Show All Plug-ins"));
    } else if (anySelected && m_controller.isBusy()) {
        m_empty->setBusy(QStringLiteral("Reading plug-ins…"));
    } else if (!anySelected) {
        m_empty->setContents(QStringLiteral("plug"),
                             QStringLiteral("Select computers to list their plug-ins"),
                             QStringLiteral("Select one or more in the list on the left, or All Computers."));
    } else if (!anyConnected) {
        m_empty->setContents(QStringLiteral("plug"),
                             selected.size() == 1
                                 ? QStringLiteral("The selected computer is not connected")
                                 : QStringLiteral("The selected computers are not connected"),
                             QStringLiteral("Plug-ins are read as soon as a computer is connected."));
    } else if (m_controller.hasResult()) {
        m_empty->setContents(QStringLiteral("plug"),
                             QStringLiteral("No plug-ins found on the selected computers"));
    } else {
        m_empty->setContents(QStringLiteral("plug"), QStringLiteral("Plug-ins have not been read yet"),
                             QStringLiteral("Choose Refresh to read them from the selected computers."));
    }
    m_stack->setCurrentWidget(anyShown ? static_cast<QWidget*>(m_outline) : m_empty);
    m_differencesOnly->setEnabled(anyRows);
    m_search->setEnabled(anyRows);
}

void AddonryView::showContextMenu(const QPoint& position) {
    QMenu menu(this);
    menu.addAction(symbolIcon(QStringLiteral("expand")), QStringLiteral("Expand All"), m_outline,
                   &QTreeView::expandAll);
    menu.addAction(symbolIcon(QStringLiteral("collapse")), QStringLiteral("Collapse All"), m_outline,
                   &QTreeView::collapseAll);
    menu.addSeparator();
    QAction* copy = menu.addAction(symbolIcon(QStringLiteral("copy")), QStringLiteral("Copy"), this,
                                   [this] { copySelectedRows(*m_outline); });
    copy->setEnabled(m_outline->selectionModel()->hasSelection());
    menu.exec(m_outline->viewport()->mapToGlobal(position));
}
