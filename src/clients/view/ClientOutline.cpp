#include "clients/view/ClientOutline.h"

#include "clients/view/ClientOutlineModel.h"
#include "clients/view/ClientTreeView.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLUserDefaults.h"
#include "widgets/EmptyState.h"
#include "widgets/SearchField.h"
#include "widgets/Spinner.h"
#include "widgets/SymbolIcon.h"
#include "widgets/TableSorting.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QPainter>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

const QString tableName = QStringLiteral("serviceOutline");
const QString collapsedKey = QStringLiteral("serviceOutlineCollapsed");

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

/// Rows one below the other become one range: a selection of thousands stays quick.
QItemSelection selectionOf(QModelIndexList rows) {
    std::sort(rows.begin(), rows.end());
    QItemSelection selection;
    for (qsizetype begin = 0; begin < rows.size();) {
        qsizetype last = begin;
        while (last + 1 < rows.size() && rows[last + 1].row() == rows[last].row() + 1 &&
               rows[last + 1].internalId() == rows[begin].internalId())
            ++last;
        selection.append(QItemSelectionRange(rows[begin], rows[last]));
        begin = last + 1;
    }
    return selection;
}

}  // namespace

ClientOutline::ClientOutline(ServiceList& services, QWidget* parent)
    : QWidget(parent),
      m_services(services),
      m_model(new ClientOutlineModel(services, this)),
      m_search(new SearchField(tr("Search computers"), this)),
      m_stack(new QStackedWidget(this)),
      m_view(new ClientTreeView(m_stack)),
      m_empty(new EmptyState(m_stack)) {
    setObjectName(QStringLiteral("clientOutline"));
    m_search->setObjectName(QStringLiteral("clientSearch"));
    m_view->setObjectName(QStringLiteral("clientView"));
    m_empty->setObjectName(QStringLiteral("clientEmpty"));
    for (const QVariant& title : defaults().arrayForKey(collapsedKey))
        m_collapsed << title.toString();
    const StoredSorting sorting = storedSorting(tableName, ClientOutlineModel::sortColumnNames());
    m_model->setSorting(ClientOutlineModel::SortColumn(sorting.column), sorting.order);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Metrics::unit / 2);
    buildSearchRow();
    layout->addWidget(m_stack, 1);
    m_stack->addWidget(m_view);
    m_stack->addWidget(m_empty);
    setFocusProxy(m_view);

    buildView();
    watchUser();
    connect(&services, &ServiceList::selectionChanged, this, [this] {
        if (!m_following) pullSelection();
    });
    m_spinnerTimer.setInterval(spinnerInterval);
    connect(&m_spinnerTimer, &QTimer::timeout, this, &ClientOutline::updateSpinners);
    applyExpansion();
    pullSelection();
    updateEmptyState();
    m_spinnerTimer.start();
}

void ClientOutline::buildSearchRow() {
    auto* add = new QToolButton(this);
    add->setObjectName(QStringLiteral("newGroupButton"));
    add->setIcon(symbolIcon(QStringLiteral("add-group")));
    add->setIconSize({Metrics::symbolSize, Metrics::symbolSize});
    add->setAutoRaise(true);
    add->setToolTip(tr("New group"));
    add->setAccessibleName(add->toolTip());
    connect(add, &QToolButton::clicked, this, &ClientOutline::newGroupRequested);

    auto* row = new QHBoxLayout;
    row->setContentsMargins(Metrics::unit * 1.5, Metrics::unit * 1.5, Metrics::unit, Metrics::unit / 2);
    row->setSpacing(Metrics::unit / 2);
    row->addWidget(m_search, 1);
    row->addWidget(add);
    static_cast<QVBoxLayout*>(layout())->addLayout(row);
}

void ClientOutline::buildView() {
    m_view->setAccessibleName(tr("Computers"));
    setInterCellSpacing(*m_view, {4, 4});
    m_view->setItemDelegate(new ClientRowDelegate(
        [this](const QString& name, const VLServiceGroupPtr& group) {
            return m_services.groupNameProblem(name, group);
        },
        m_view));
    watchRows();
}

void ClientOutline::watchRows() {
    // Connected before the view connects itself: while rows go, the view's own selection shrinks, which is
    // no choice of the user.
    const auto began = [this] { ++m_rowsChanging; };
    const auto ended = [this] {
        --m_rowsChanging;
        pullSelection();
        updateEmptyState();
    };
    connect(m_model, &QAbstractItemModel::rowsAboutToBeRemoved, this, began);
    m_view->setOutlineModel(m_model);
    connect(m_model, &QAbstractItemModel::rowsRemoved, this, ended);
    connect(m_model, &QAbstractItemModel::rowsInserted, this,
            [this, began, ended](const QModelIndex& parent) {
                began();
                if (!parent.isValid()) applyExpansion();
                ended();
                m_spinnerTimer.start();
            });
    // One look at all rows per turn, however many of them changed.
    connect(m_model, &QAbstractItemModel::dataChanged, &m_spinnerTimer, qOverload<>(&QTimer::start));
}

void ClientOutline::watchUser() {
    connect(m_search, &QLineEdit::textChanged, this, &ClientOutline::applyFilter);
    connect(m_search, &SearchField::moveToList, m_view, qOverload<>(&QWidget::setFocus));
    connect(m_empty, &EmptyState::buttonClicked, this, [this] {
        if (m_search->text().isEmpty())
            Q_EMIT addComputerRequested();
        else
            m_search->clear();
    });
    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ClientOutline::pushSelection);
    connect(m_view, &QWidget::customContextMenuRequested, this, [this](const QPoint& position) {
        Q_EMIT contextMenuRequested(m_view->viewport()->mapToGlobal(position));
    });
    connect(m_view, &QAbstractItemView::activated, this, [this](const QModelIndex& index) {
        if (const VLServicePtr service = m_model->serviceAt(index))
            Q_EMIT serviceActivated(service);
        else
            m_view->setExpanded(index, !m_view->isExpanded(index));
    });
    connect(m_view, &QTreeView::expanded, this, &ClientOutline::rememberExpansion);
    connect(m_view, &QTreeView::collapsed, this, &ClientOutline::rememberExpansion);
    connect(&m_services, &ServiceList::storedGroupsChanged, this, &ClientOutline::rememberExpansion);
    connect(m_view, &ClientTreeView::badgeClicked, this, &ClientOutline::postBadgeClick);
}

QTreeView* ClientOutline::view() const {
    return m_view;
}

void ClientOutline::setErrorCounts(const QHash<QString, int>& counts) {
    m_model->setErrorCounts(counts);
}

void ClientOutline::setSorting(const QString& column, Qt::SortOrder order) {
    const qsizetype index = ClientOutlineModel::sortColumnNames().indexOf(column);
    if (index < 0) return;
    m_model->setSorting(ClientOutlineModel::SortColumn(index), order);
    storeSorting(tableName, column, order);
}

QString ClientOutline::selectionAsText() const {
    QStringList lines;
    for (const VLServicePtr& service : m_services.selectedServices()) {
        lines << service->name() + QLatin1Char('\t') + service->ipAddress();
    }
    return lines.join(QLatin1Char('\n'));
}

void ClientOutline::postBadgeClick(const QModelIndex& index, ClientRowDelegate::Badge badge) {
    VLNotificationCenter::defaultCenter().postNotification(
        QStringLiteral("VLTableBadgeClicked"), {},
        {{QStringLiteral("service"), index.data(ClientOutlineModel::ServiceRole)},
         {QStringLiteral("badge"), ClientRowDelegate::badgeName(badge)}});
}

// ---- Selection

VLServicePtr ClientOutline::singleSelectedService() const {
    const QList<VLServicePtr>& chosen = m_services.chosenServices();
    return chosen.size() == 1 && m_services.chosenGroups().isEmpty() ? chosen.first() : nullptr;
}

VLServiceGroupPtr ClientOutline::singleSelectedGroup() const {
    const QList<VLServiceGroupPtr>& chosen = m_services.chosenGroups();
    return chosen.size() == 1 && m_services.chosenServices().isEmpty() ? chosen.first() : nullptr;
}

void ClientOutline::selectAllComputers() {
    m_services.selectAll();
    pullSelection();
}

void ClientOutline::selectGroup(const VLServiceGroupPtr& group) {
    m_services.setSelection({}, {group});
    const QModelIndex index = m_model->indexOf(group);
    m_view->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    m_view->scrollTo(index);
}

void ClientOutline::editGroupName(const VLServiceGroupPtr& group) {
    const QModelIndex index = m_model->indexOf(group);
    if (!group || !index.isValid()) return;
    m_view->scrollTo(index);
    m_view->edit(index);
}

/// View to ServiceList.
void ClientOutline::pushSelection() {
    if (m_following || m_rowsChanging > 0) return;
    QList<VLServicePtr> services;
    QList<VLServiceGroupPtr> groups;
    bool all = false;
    m_chosenInGroup.clear();
    m_chosenBelowAll.clear();
    for (const QModelIndex& index : m_view->selectionModel()->selectedIndexes()) {
        if (const VLServicePtr service = m_model->serviceAt(index)) {
            services << service;
            (m_model->groupAt(index.parent()) ? m_chosenInGroup : m_chosenBelowAll).insert(service.get());
        } else if (const VLServiceGroupPtr group = m_model->groupAt(index)) {
            groups << group;
        } else {
            all = true;
        }
    }
    m_following = true;
    if (all)
        m_services.selectAll();
    else
        m_services.setSelection(services, groups);
    m_following = false;
}

/// A machine of a group has two rows: the one that the user chose stays, else it is the one to be seen.
QModelIndexList ClientOutline::wantedRows() const {
    const QModelIndex all = m_model->allComputersIndex();
    if (m_services.allSelected()) return {all};
    QModelIndexList rows;
    for (const VLServiceGroupPtr& group : m_services.chosenGroups())
        rows << m_model->indexOf(group);
    const bool allIsOpen = m_view->isExpanded(all);
    for (const VLServicePtr& service : m_services.chosenServices()) {
        const QModelIndex below = m_model->indexOf(service);
        const QModelIndex inGroup = m_model->indexInGroup(service);
        if (!inGroup.isValid()) {
            if (below.isValid()) rows << below;
            continue;
        }
        const bool belowChosen = m_chosenBelowAll.contains(service.get());
        const bool inGroupChosen = m_chosenInGroup.contains(service.get());
        const bool noneChosen = !belowChosen && !inGroupChosen;
        const bool showsBelow = allIsOpen || !m_view->isExpanded(inGroup.parent());
        if (belowChosen || (noneChosen && showsBelow)) rows << below;
        if (inGroupChosen || (noneChosen && !showsBelow)) rows << inGroup;
    }
    return rows;
}

/// ServiceList to view.
void ClientOutline::pullSelection() {
    if (m_following || m_rowsChanging > 0) return;
    const QItemSelection wanted = selectionOf(wantedRows());
    const QItemSelection current = selectionOf(m_view->selectionModel()->selectedIndexes());
    m_following = true;
    if (wanted != current) m_view->selectionModel()->select(wanted, QItemSelectionModel::ClearAndSelect);
    if (!m_view->currentIndex().isValid() && !wanted.isEmpty()) {
        m_view->selectionModel()->setCurrentIndex(wanted.first().topLeft(), QItemSelectionModel::NoUpdate);
    }
    m_following = false;
}

// ---- Expansion

void ClientOutline::setExpanded(const VLServiceGroupPtr& group, bool expanded) {
    m_view->setExpanded(m_model->indexOf(group), expanded);
}

/// While a filter is set every group is open, so that what it lets through is seen.
void ClientOutline::applyExpansion() {
    m_expanding = true;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const QModelIndex index = m_model->index(row, 0);
        m_view->setExpanded(
            index, !m_model->filterText().isEmpty() || !m_collapsed.contains(index.data().toString()));
    }
    m_expanding = false;
}

/// By title, which a change of name takes along.
void ClientOutline::rememberExpansion() {
    if (m_expanding || !m_model->filterText().isEmpty()) return;
    m_collapsed.clear();
    for (int row = 0; row < m_model->rowCount(); ++row) {
        const QModelIndex index = m_model->index(row, 0);
        if (!m_view->isExpanded(index)) m_collapsed << index.data().toString();
    }
    defaults().setObject(QVariantList(m_collapsed.begin(), m_collapsed.end()), collapsedKey);
}

// ---- Filter, empty state, spinners

void ClientOutline::applyFilter(const QString& text) {
    m_model->setFilterText(text);
    applyExpansion();
    updateEmptyState();
}

void ClientOutline::updateEmptyState() {
    const bool none = m_model->machineCount() == 0 && m_model->rowCount() == 1;
    const bool noneMatches =
        m_model->machineCount() > 0 && m_model->rowCount(m_model->allComputersIndex()) == 0;
    if (none) {
        m_empty->setContents(QStringLiteral("computers"), tr("No computers found yet"),
                             tr("Computers that run the client agent appear here by themselves. "
                                "You can also add one by its address."));
        m_empty->setButtonText(tr("Add Computer…"));
    } else if (noneMatches) {
        m_empty->setContents(QStringLiteral("search"), tr("No matching computer"),
                             tr("No name, address or model contains “%1”.").arg(m_model->filterText()));
        m_empty->setButtonText(tr("Clear Search"));
    }
    m_stack->setCurrentWidget(none || noneMatches ? static_cast<QWidget*>(m_empty) : m_view);
}

/// Repaints the rows in view that spin; sleeps when none of the list does.
void ClientOutline::updateSpinners() {
    if (m_model->spinningCount() == 0) return m_spinnerTimer.stop();
    for (const QModelIndex& index : m_view->visibleRows())
        if (index.data(ClientOutlineModel::SpinningRole).toBool()) m_view->update(index);
}

void ClientOutline::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), themeColors().sidebar);
}
