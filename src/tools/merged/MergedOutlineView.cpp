#include "tools/merged/MergedOutlineView.h"

#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/OutlineState.h"
#include "widgets/RowCopy.h"
#include "widgets/SearchField.h"
#include "widgets/SymbolIcon.h"
#include "widgets/TableSorting.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QStackedWidget>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>

namespace {

constexpr int smallSymbol = 14;

}  // namespace

MergedOutlineView::MergedOutlineView(ToolController& controller, MergedOutlineModel* model, Words words,
                                     QWidget* parent)
    : QWidget(parent),
      m_controller(controller),
      m_model(model),
      m_words(std::move(words)),
      m_outline(new QTreeView(this)),
      m_buttons(new QHBoxLayout),
      m_foot(new QWidget(this)),
      m_summary(new ElidedLabel(m_foot, ElidedLabel::Tone::Secondary)),
      m_differencesOnly(new QToolButton(this)),
      m_search(new SearchField(QStringLiteral("Filter %1").arg(m_words.plural), this)),
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

void MergedOutlineView::start() {
    connect(&m_controller, &ToolController::changed, this, &MergedOutlineView::reload);
    connect(&m_controller, &ToolController::busyChanged, this, &MergedOutlineView::updateState);
    connect(&m_controller, &ToolController::selectionChanged, this, &MergedOutlineView::updateState);
    connect(m_model, &MergedOutlineModel::checked, this,
            [this](const Place& place, int column, bool on) { check(place, column, on); });
    connect(m_outline->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { updateActions(); });
    connect(m_empty, &EmptyState::buttonClicked, this, [this] {
        m_differencesOnly->setChecked(false);
        m_search->clear();
    });
    orderTabs();
    reload();
}

void MergedOutlineView::buildBar() {
    auto* bar = new QHBoxLayout;
    bar->setContentsMargins(Metrics::unit * 2, 0, Metrics::unit * 2, Metrics::unit * 1.5);
    bar->setSpacing(Metrics::unit);
    m_buttons->setSpacing(Metrics::unit / 2);
    m_differencesOnly->setObjectName(QStringLiteral("differencesOnly"));
    m_differencesOnly->setText(QStringLiteral("Differences Only"));
    m_differencesOnly->setIcon(symbolIcon(QStringLiteral("filter")));
    m_differencesOnly->setIconSize({smallSymbol, smallSymbol});
    m_differencesOnly->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_differencesOnly->setCheckable(true);
    m_differencesOnly->setAutoRaise(true);
    m_differencesOnly->setFocusPolicy(Qt::TabFocus);
    m_differencesOnly->setToolTip(
        QStringLiteral("Show only %1 that are not the same on all selected computers").arg(m_words.plural));
    m_search->setObjectName(named("Filter"));
    m_search->setMinimumWidth(110);
    m_search->setMaximumWidth(180);
    bar->addLayout(m_buttons);
    bar->addStretch(1);
    bar->addWidget(m_differencesOnly);
    m_barButtons.append(m_differencesOnly);
    bar->addWidget(m_search);
    static_cast<QVBoxLayout*>(layout())->addLayout(bar);
    connect(m_differencesOnly, &QToolButton::toggled, this, &MergedOutlineView::filter);
    connect(m_search, &QLineEdit::textChanged, this, &MergedOutlineView::filter);
    connect(m_search, &SearchField::moveToList, m_outline, qOverload<>(&QWidget::setFocus));
}

/// From the left to the right and then down, whatever was made first.
void MergedOutlineView::orderTabs() {
    QList<QWidget*> order(m_barButtons.begin() + 1, m_barButtons.end());
    order << m_differencesOnly << m_search << m_outline;
    for (qsizetype next = 1; next < order.size(); ++next)
        setTabOrder(order.at(next - 1), order.at(next));
}

QToolButton* MergedOutlineView::addButton(const QString& name, const QString& symbol, const QString& text,
                                          const QString& toolTip, std::function<void()> action) {
    auto* button = new QToolButton(this);
    button->setObjectName(name);
    button->setText(text);
    button->setIcon(symbolIcon(symbol));
    button->setIconSize({smallSymbol, smallSymbol});
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->setToolTip(toolTip);
    m_buttons->addWidget(button);
    m_barButtons.append(button);
    connect(button, &QToolButton::clicked, this, std::move(action));
    return button;
}

void MergedOutlineView::buildOutline() {
    m_outline->setObjectName(named("Outline"));
    m_outline->setAccessibleName(m_words.title);
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
    m_outline->installEventFilter(this);
    QHeaderView* header = m_outline->header();
    rememberSorting(header, named("Outline"), m_model->columnNames());
    header->setFont(themeFont(0.92, QFont::Medium));
    header->setSectionsMovable(false);
    header->setMinimumSectionSize(48);
    header->setStretchLastSection(true);
    connect(m_outline, &QWidget::customContextMenuRequested, this, &MergedOutlineView::showContextMenu);
    connect(m_outline, &QAbstractItemView::clicked, this, &MergedOutlineView::clicked);
}

void MergedOutlineView::setColumnWidths(const QList<int>& widths) {
    for (int column = 0; column < widths.size(); ++column)
        m_outline->header()->resizeSection(column, widths.at(column));
}

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
    int differing = 0;
    for (int row = 0; row < total; ++row)
        differing += m_model->differs(row) ? 1 : 0;
    QString text = QStringLiteral("%1 %2").arg(total).arg(total == 1 ? m_words.singular : m_words.plural);
    text += differing > 0 ? QStringLiteral(" · %1 with differences").arg(differing)
                          : QStringLiteral(" · no differences");
    m_summary->setText(total == 0 ? QString() : text);
    m_foot->setVisible(total > 0);
}

void MergedOutlineView::updateState() {
    const bool anyShown = m_model->rowCount() > 0;
    const QList<VLServicePtr> selected = m_controller.context().selectedServices();
    const bool anyConnected = std::any_of(selected.begin(), selected.end(),
                                          [](const VLServicePtr& service) { return service->isConnected(); });
    m_empty->setButtonText({});
    if (anyRows() && !anyShown) {
        m_empty->setContents(QStringLiteral("search"), QStringLiteral("No matching %1").arg(m_words.singular),
                             QStringLiteral("No %1 passes the filter.").arg(m_words.singular));
        m_empty->setButtonText(QStringLiteral("Show All"));
    } else if (!selected.isEmpty() && m_controller.isBusy()) {
        m_empty->setBusy(QStringLiteral("Reading %1…").arg(m_words.plural));
    } else if (selected.isEmpty()) {
        m_empty->setContents(m_words.symbol,
                             QStringLiteral("Select computers to list their %1").arg(m_words.plural),
                             QStringLiteral("Select one or more in the list on the left, or All Computers."));
    } else if (!anyConnected) {
        m_empty->setContents(m_words.symbol,
                             selected.size() == 1
                                 ? QStringLiteral("The selected computer is not connected")
                                 : QStringLiteral("The selected computers are not connected"),
                             m_words.howTheyAreRead);
    } else if (m_controller.hasResult()) {
        m_empty->setContents(m_words.symbol,
                             QStringLiteral("No %1 found on the selected computers").arg(m_words.plural));
    } else {
        m_empty->setContents(m_words.symbol, QStringLiteral("%1 have not been read yet").arg(m_words.title),
                             QStringLiteral("Choose Refresh to read them from the selected computers."));
    }
    m_stack->setCurrentWidget(anyShown ? static_cast<QWidget*>(m_outline) : m_empty);
    m_differencesOnly->setEnabled(anyRows());
    m_search->setEnabled(anyRows());
    updateActions();
}

/// Where the bar is too narrow for the words, the symbols remain; the filter's word goes first.
void MergedOutlineView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const auto needed = [this] {
        int width = m_search->minimumWidth() + Metrics::unit * 8;
        for (const QToolButton* button : std::as_const(m_barButtons))
            width += button->sizeHint().width() + Metrics::unit / 2;
        return width;
    };
    for (QToolButton* button : std::as_const(m_barButtons))
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    if (needed() > event->size().width()) m_differencesOnly->setToolButtonStyle(Qt::ToolButtonIconOnly);
    if (needed() <= event->size().width()) return;
    for (QToolButton* button : std::as_const(m_barButtons))
        button->setToolButtonStyle(Qt::ToolButtonIconOnly);
}

// ---- Selection, keys and menus

QList<MergedOutlineView::Place> MergedOutlineView::selectedPlaces() const {
    QModelIndexList rows = m_outline->selectionModel()->selectedRows();
    const auto position = [](const QModelIndex& index) {
        const bool isClient = index.parent().isValid();
        return std::pair(isClient ? index.parent().row() : index.row(), isClient ? index.row() : -1);
    };
    std::sort(rows.begin(), rows.end(),
              [&](const QModelIndex& a, const QModelIndex& b) { return position(a) < position(b); });
    QList<Place> places;
    for (const QModelIndex& index : std::as_const(rows))
        places.append(m_model->place(index));
    return places;
}

QList<int> MergedOutlineView::selectedRows() const {
    QList<int> rows;
    for (const Place& place : selectedPlaces())
        if (place.child < 0) rows.append(place.row);
    return rows;
}

void MergedOutlineView::collapse(int row) {
    m_outline->collapse(m_model->indexOf(row));
}

void MergedOutlineView::popUp(const Place&, int, const QPoint&) {}

void MergedOutlineView::clicked(const QModelIndex& index) {
    const bool isSelecting = QGuiApplication::keyboardModifiers() != Qt::NoModifier;
    if (isSelecting || !index.data(Cell::PopUpRole).toBool()) return;
    const QRect cell = m_outline->visualRect(index);
    popUp(m_model->place(index), index.column(), m_outline->viewport()->mapToGlobal(cell.bottomLeft()));
}

/// The box can be turned wherever in its row the keyboard stands.
bool MergedOutlineView::eventFilter(QObject* object, QEvent* event) {
    if (object != m_outline || event->type() != QEvent::KeyPress) return QWidget::eventFilter(object, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() != Qt::Key_Space || key->modifiers() != Qt::NoModifier || keyboardColumn() < 0)
        return QWidget::eventFilter(object, event);
    if (key->isAutoRepeat()) return true;  // a key that is held down turns it once
    const QModelIndex box = m_outline->currentIndex().siblingAtColumn(keyboardColumn());
    const bool isOn = box.data(Qt::CheckStateRole).toInt() == Qt::Checked;
    m_model->setData(box, int(isOn ? Qt::Unchecked : Qt::Checked), Qt::CheckStateRole);
    return true;
}

/// Does not wait for it to close: the rows may be replaced meanwhile, and the window may go.
void MergedOutlineView::showContextMenu(const QPoint& position) {
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    addMenuItems(*menu);
    menu->addSeparator();
    menu->addAction(symbolIcon(QStringLiteral("expand")), QStringLiteral("Expand All"), m_outline,
                    &QTreeView::expandAll);
    menu->addAction(symbolIcon(QStringLiteral("collapse")), QStringLiteral("Collapse All"), m_outline,
                    &QTreeView::collapseAll);
    menu->addSeparator();
    QAction* const copy = menu->addAction(symbolIcon(QStringLiteral("copy")), QStringLiteral("Copy"), this,
                                          [this] { copySelectedRows(*m_outline); });
    copy->setEnabled(m_outline->selectionModel()->hasSelection());
    menu->popup(m_outline->viewport()->mapToGlobal(position));
}
