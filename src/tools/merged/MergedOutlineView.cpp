#include "tools/merged/MergedOutlineView.h"

#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/OutlineState.h"
#include "widgets/PaneParts.h"
#include "widgets/SearchField.h"
#include "widgets/SymbolIcon.h"
#include "widgets/TableSorting.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMenu>
#include <QResizeEvent>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>
#include <utility>

MergedOutlineView::MergedOutlineView(ToolController& controller, MergedOutlineModel* model,
                                     const QString& tool, const PaneWords& words, QWidget* parent)
    : QWidget(parent),
      m_controller(controller),
      m_model(model),
      m_tool(tool),
      m_words(words),
      m_outline(new QTreeView(this)),
      m_buttons(new QHBoxLayout),
      m_foot(new QWidget(this)),
      m_summary(new ElidedLabel(m_foot, ElidedLabel::Tone::Secondary)),
      m_differencesOnly(new QToolButton(this)),
      m_search(new SearchField(QStringLiteral("Filter %1").arg(words.plural), this)),
      m_stack(new QStackedWidget(this)),
      m_empty(new EmptyState(this)) {
    model->setParent(this);
    setObjectName(named("Pane"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    buildBar();
    buildOutline();
    layout->addWidget(m_stack, 1);
    m_stack->addWidget(m_outline);
    m_stack->addWidget(m_empty);
    m_empty->setObjectName(named("Empty"));
    buildFoot();
}

void MergedOutlineView::buildBar() {
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(Metrics::unit * 2, 0, Metrics::unit * 2, Metrics::unit * 1.5);
    bar->setSpacing(Metrics::unit);
    m_buttons->setSpacing(Metrics::unit / 2);
    m_differencesOnly->setObjectName(QStringLiteral("differencesOnly"));
    m_differencesOnly->setText(QStringLiteral("Differences Only"));
    m_differencesOnly->setIcon(symbolIcon(QStringLiteral("filter")));
    m_differencesOnly->setCheckable(true);
    m_differencesOnly->setToolTip(
        QStringLiteral("Show only %1 that are not the same on all selected computers").arg(m_words.plural));
    setUpBarButton(*m_differencesOnly);
    m_barButtons.append(m_differencesOnly);
    m_search->setObjectName(named("Filter"));
    m_search->setMinimumWidth(110);
    m_search->setMaximumWidth(180);
    bar->addLayout(m_buttons);
    bar->addStretch(1);
    bar->addWidget(m_differencesOnly);
    bar->addWidget(m_search);
    static_cast<QVBoxLayout*>(layout())->addLayout(bar);
}

void MergedOutlineView::buildOutline() {
    setUpPaneTable(*m_outline, named("Outline"), m_words.title);
    m_outline->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_outline->setModel(m_model);
    m_outline->setSortingEnabled(true);
    rememberSorting(m_outline->header(), named("Outline"), m_model->columnNames());
}

void MergedOutlineView::buildFoot() {
    auto* layout = new QVBoxLayout(m_foot);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(hairline(m_foot));
    auto* line = new QHBoxLayout;
    line->setContentsMargins(Metrics::unit * 2, Metrics::unit / 2, Metrics::unit * 2, Metrics::unit / 2);
    m_summary->setObjectName(named("Summary"));
    line->addWidget(m_summary);
    layout->addLayout(line);
    this->layout()->addWidget(m_foot);
}

QToolButton* MergedOutlineView::addButton(const QString& name, const QString& symbol, const QString& text,
                                          const QString& toolTip, std::function<void()> action) {
    auto* button = new QToolButton(this);
    button->setObjectName(name);
    button->setText(text);
    button->setIcon(symbolIcon(symbol));
    button->setToolTip(toolTip);
    setUpBarButton(*button);
    m_buttons->addWidget(button);
    m_barButtons.insert(m_barButtons.size() - 1, button);
    connect(button, &QToolButton::clicked, this, std::move(action));
    return button;
}

void MergedOutlineView::start(const QList<ColumnLayout>& layouts) {
    m_layouts = layouts;
    fitColumns(layouts.first().fromWidth);
    connect(&m_controller, &ToolController::changed, this, &MergedOutlineView::reload);
    connect(&m_controller, &ToolController::busyChanged, this, &MergedOutlineView::updateState);
    connect(&m_controller, &ToolController::selectionChanged, this, &MergedOutlineView::updateState);
    connect(m_model, &MergedOutlineModel::checked, this,
            [this](const Place& place, int column, bool on) { check(place, column, on); });
    connect(m_outline->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { updateActions(); });
    connect(m_outline, &QWidget::customContextMenuRequested, this, &MergedOutlineView::showContextMenu);
    connect(m_outline, &QAbstractItemView::clicked, this, &MergedOutlineView::clicked);
    connect(m_differencesOnly, &QToolButton::toggled, this, &MergedOutlineView::filter);
    connect(m_search, &QLineEdit::textChanged, this, &MergedOutlineView::filter);
    connect(m_search, &SearchField::moveToList, m_outline, qOverload<>(&QWidget::setFocus));
    connect(m_empty, &EmptyState::buttonClicked, this, [this] {
        m_differencesOnly->setChecked(false);
        m_search->clear();
    });
    orderTabs();
    reload();
}

/// From the left to the right and then down, whatever was made first.
void MergedOutlineView::orderTabs() {
    QList<QWidget*> order(m_barButtons.begin(), m_barButtons.end());
    order << m_search << m_outline;
    for (qsizetype next = 1; next < order.size(); ++next)
        setTabOrder(order.at(next - 1), order.at(next));
}

// ---- What is shown

/// What was expanded, selected and in view stays so.
void MergedOutlineView::keepState(const std::function<void()>& change) {
    const OutlineState state = OutlineState::of(*m_outline, MergedOutlineModel::KeyRole);
    change();
    state.restore(*m_outline, MergedOutlineModel::KeyRole);
    updateState();
}

void MergedOutlineView::reload() {
    keepState([this] {
        installRows();
        if (!m_controller.hasResult()) resetOutlineView(*m_outline);  // cleared: there is nothing to keep
        updateSummary();
    });
}

void MergedOutlineView::filter() {
    keepState([this] { m_model->setFilter(m_search->text(), m_differencesOnly->isChecked()); });
}

void MergedOutlineView::updateSummary() {
    const int total = m_model->rowTotal();
    const QString differences = anyDiffers()
                                    ? QStringLiteral("%1 with differences").arg(m_model->differingTotal())
                                    : QStringLiteral("no differences");
    m_summary->setText(total == 0 ? QString()
                                  : QStringLiteral("%1 %2 · %3")
                                        .arg(total)
                                        .arg(total == 1 ? m_words.singular : m_words.plural, differences));
    m_foot->setVisible(total > 0);
}

void MergedOutlineView::updateState() {
    const bool anyShown = m_model->rowCount() > 0;
    if (!anyShown) showWhyEmpty(*m_empty, m_controller, m_words, anyRows());
    m_stack->setCurrentWidget(anyShown ? static_cast<QWidget*>(m_outline) : m_empty);
    m_differencesOnly->setEnabled(anyRows());
    m_search->setEnabled(anyRows());
    updateActions();
}

// ---- Room

void MergedOutlineView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fitButtons(event->size().width());
    fitColumns(event->size().width());
}

/// Where the bar is too narrow for the words, the symbols remain.
void MergedOutlineView::fitButtons(int width) {
    for (QToolButton* button : std::as_const(m_barButtons))
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const auto isTooNarrow = [&] {
        int needed = m_search->minimumWidth() + Metrics::unit * 8;
        for (const QToolButton* button : std::as_const(m_barButtons))
            needed += button->sizeHint().width() + Metrics::unit / 2;
        return needed > width;
    };
    for (auto button = m_barButtons.crbegin(); button != m_barButtons.crend() && isTooNarrow(); ++button)
        (*button)->setToolButtonStyle(Qt::ToolButtonIconOnly);
}

void MergedOutlineView::fitColumns(int width) {
    const auto fitting =
        std::find_if(m_layouts.cbegin(), m_layouts.cend(),
                     [width](const ColumnLayout& layout) { return width >= layout.fromWidth; });
    const qsizetype place = fitting - m_layouts.cbegin();
    if (fitting == m_layouts.cend() || place == std::exchange(m_layout, place)) return;
    for (int column = 0; column < m_model->columnCount(); ++column)
        m_outline->setColumnHidden(column, fitting->hidden.contains(column));
    for (int column = 0; column < fitting->widths.size(); ++column)
        m_outline->setColumnWidth(column, fitting->widths.at(column));
}

// ---- Selection, clicks and menus

QList<MergedOutlineView::Place> MergedOutlineView::selectedPlaces() const {
    QModelIndexList rows = m_outline->selectionModel()->selectedRows();
    const auto position = [](const QModelIndex& index) {
        const bool isClient = index.parent().isValid();
        return std::pair(isClient ? index.parent().row() : index.row(), isClient ? index.row() : -1);
    };
    std::sort(rows.begin(), rows.end(),
              [&](const QModelIndex& a, const QModelIndex& b) { return position(a) < position(b); });
    QList<Place> places;
    int wholeRow = -1;
    for (const QModelIndex& index : std::as_const(rows)) {
        const Place place = m_model->place(index);
        if (place.child < 0) wholeRow = place.row;
        if (place.child < 0 || (place.row != wholeRow && !place.isMissing)) places.append(place);
    }
    return places;
}

void MergedOutlineView::collapse(const QSet<QString>& rowKeys) {
    for (int row = 0; row < m_model->rowTotal() && !rowKeys.isEmpty(); ++row)
        if (rowKeys.contains(m_model->rowKey(row))) m_outline->collapse(m_model->indexOf(row));
}

void MergedOutlineView::clicked(const QModelIndex& index) {
    const bool isSelecting = QGuiApplication::keyboardModifiers() != Qt::NoModifier;
    if (isSelecting || !index.data(Cell::PopUpRole).toBool()) return;
    const QRect cell = m_outline->visualRect(index);
    popUp(m_model->place(index), m_outline->viewport()->mapToGlobal(cell.bottomLeft()));
}

void MergedOutlineView::showContextMenu(const QPoint& position) {
    QMenu* const menu = makeContextMenu(*m_outline, named("Menu"));
    addMenuItems(*menu);
    menu->addSeparator();
    addExpandItems(*menu, *m_outline);
    menu->addSeparator();
    addCopyItem(*menu, *m_outline);
    menu->popup(m_outline->viewport()->mapToGlobal(position));
}
