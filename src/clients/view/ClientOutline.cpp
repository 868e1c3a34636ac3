#include "clients/view/ClientOutline.h"

#include "clients/view/ClientOutlineModel.h"
#include "clients/view/ClientRowDelegate.h"
#include "widgets/EmptyState.h"
#include "widgets/SearchField.h"
#include "widgets/Spinner.h"
#include "widgets/Theme.h"

#include <QHeaderView>
#include <QPainter>
#include <QScrollBar>
#include <QSet>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>

ClientOutline::ClientOutline(ServiceList& services, QWidget* parent)
    : QWidget(parent),
      m_services(services),
      m_model(new ClientOutlineModel(services, this)),
      m_filter(new ClientFilterModel(this)),
      m_search(new SearchField(QStringLiteral("Search computers"), this)),
      m_stack(new QStackedWidget(this)),
      m_view(new QTreeView(m_stack)),
      m_empty(new EmptyState(m_stack)) {
    setObjectName(QStringLiteral("clientOutline"));
    m_search->setObjectName(QStringLiteral("clientSearch"));
    m_view->setObjectName(QStringLiteral("clientView"));
    m_empty->setObjectName(QStringLiteral("clientEmpty"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Metrics::unit / 2);
    auto* searchRow = new QVBoxLayout;
    searchRow->setContentsMargins(Metrics::unit * 1.5, Metrics::unit * 1.5, Metrics::unit * 1.5,
                                  Metrics::unit / 2);
    searchRow->addWidget(m_search);
    layout->addLayout(searchRow);
    layout->addWidget(m_stack, 1);
    m_stack->addWidget(m_view);
    m_stack->addWidget(m_empty);
    setFocusProxy(m_view);

    m_filter->setSourceModel(m_model);
    buildView();
    connect(m_search, &QLineEdit::textChanged, this, &ClientOutline::applyFilter);
    connect(m_search, &SearchField::moveToList, m_view, qOverload<>(&QWidget::setFocus));
    connect(m_empty, &EmptyState::buttonClicked, this, [this] {
        if (m_search->text().isEmpty())
            Q_EMIT addComputerRequested();
        else
            m_search->clear();
    });
    connect(&services, &ServiceList::selectionChanged, this, [this] {
        if (!m_following) pullSelection();
    });

    m_spinnerTimer.setInterval(spinnerInterval);
    connect(&m_spinnerTimer, &QTimer::timeout, this, &ClientOutline::updateSpinners);
    pullSelection();
    updateEmptyState();
    m_spinnerTimer.start();
}

void ClientOutline::buildView() {
    m_view->setFrameShape(QFrame::NoFrame);
    m_view->setHeaderHidden(true);
    m_view->setRootIsDecorated(false);
    m_view->setIndentation(0);
    m_view->setItemsExpandable(false);
    m_view->setExpandsOnDoubleClick(false);
    m_view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->setMouseTracking(true);
    m_view->setAccessibleName(QStringLiteral("Computers"));
    m_view->viewport()->setBackgroundRole(QPalette::NoRole);
    m_view->viewport()->setAutoFillBackground(false);
    m_view->setItemDelegate(new ClientRowDelegate(m_view));

    // Connected before the view connects itself: while rows go, the view's own selection shrinks, which is
    // no choice of the user.
    const auto began = [this] { ++m_rowsChanging; };
    const auto ended = [this] {
        --m_rowsChanging;
        pullSelection();
        m_view->expand(m_filter->index(0, 0));
        updateEmptyState();
        m_spinnerTimer.start();
    };
    connect(m_filter, &QAbstractItemModel::rowsAboutToBeRemoved, this, began);
    connect(m_filter, &QAbstractItemModel::modelAboutToBeReset, this, began);
    m_view->setModel(m_filter);
    connect(m_filter, &QAbstractItemModel::rowsRemoved, this, ended);
    connect(m_filter, &QAbstractItemModel::modelReset, this, ended);
    connect(m_filter, &QAbstractItemModel::rowsInserted, this, [began, ended] {
        began();
        ended();
    });
    // One look at all rows per turn, however many of them changed.
    connect(m_filter, &QAbstractItemModel::dataChanged, &m_spinnerTimer, qOverload<>(&QTimer::start));
    m_view->expand(m_filter->index(0, 0));

    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ClientOutline::pushSelection);
    connect(m_view, &QWidget::customContextMenuRequested, this, [this](const QPoint& position) {
        Q_EMIT contextMenuRequested(m_view->viewport()->mapToGlobal(position));
    });
    connect(m_view, &QAbstractItemView::activated, this, [this](const QModelIndex& index) {
        const VLServicePtr service = m_model->serviceAt(m_filter->mapToSource(index));
        if (service) Q_EMIT serviceActivated(service);
    });
}

void ClientOutline::setErrorCounts(const QHash<QString, int>& counts) {
    m_model->setErrorCounts(counts);
}

VLServicePtr ClientOutline::singleSelectedService() const {
    if (m_services.allSelected()) return nullptr;
    const QList<VLServicePtr> selected = m_services.selectedServices();
    return selected.size() == 1 ? selected.first() : nullptr;
}

void ClientOutline::selectAllComputers() {
    m_services.selectAll();
    pullSelection();
}

QString ClientOutline::selectionAsText() const {
    QStringList lines;
    for (const VLServicePtr& service : m_services.selectedServices()) {
        lines << service->name() + QLatin1Char('\t') + service->ipAddress();
    }
    return lines.join(QLatin1Char('\n'));
}

/// View to ServiceList.
void ClientOutline::pushSelection() {
    if (m_following || m_rowsChanging > 0) return;
    QSet<const VLService*> chosen;
    bool all = false;
    for (const QModelIndex& index : m_view->selectionModel()->selectedIndexes()) {
        const VLServicePtr service = m_model->serviceAt(m_filter->mapToSource(index));
        if (service)
            chosen.insert(service.get());
        else
            all = true;
    }
    m_following = true;
    if (all) {
        m_services.selectAll();
    } else {
        QList<VLServicePtr> selected;
        for (const VLServicePtr& service : m_services.serviceArray()) {
            if (chosen.contains(service.get())) selected << service;
        }
        m_services.setSelectedServices(selected);
    }
    m_following = false;
}

/// ServiceList to view.
void ClientOutline::pullSelection() {
    if (m_following || m_rowsChanging > 0) return;
    QItemSelection wanted;
    const auto add = [&](const QModelIndex& source) {
        const QModelIndex index = m_filter->mapFromSource(source);
        if (index.isValid()) wanted.select(index, index);
    };
    if (m_services.allSelected()) {
        add(m_model->allComputersIndex());
    } else {
        for (const VLServicePtr& service : m_services.selectedServices())
            add(m_model->indexOf(service));
    }
    m_following = true;
    m_view->selectionModel()->select(wanted, QItemSelectionModel::ClearAndSelect);
    if (!m_view->currentIndex().isValid() && !wanted.isEmpty()) {
        m_view->selectionModel()->setCurrentIndex(wanted.first().topLeft(), QItemSelectionModel::NoUpdate);
    }
    m_following = false;
}

void ClientOutline::applyFilter(const QString& text) {
    m_filter->setFilterText(text);
    updateEmptyState();
}

void ClientOutline::updateEmptyState() {
    const bool none = m_model->rowCount(m_model->allComputersIndex()) == 0;
    const bool noneShown = m_filter->rowCount(m_filter->mapFromSource(m_model->allComputersIndex())) == 0;
    if (none) {
        m_empty->setContents(QStringLiteral("computers"), QStringLiteral("No computers found yet"),
                             QStringLiteral("Computers that run the client agent appear here by themselves. "
                                            "You can also add one by its address."));
        m_empty->setButtonText(QStringLiteral("Add Computer…"));
    } else if (noneShown) {
        m_empty->setContents(QStringLiteral("search"), QStringLiteral("No matching computer"),
                             QStringLiteral("No name or address contains “%1”.").arg(m_filter->filterText()));
        m_empty->setButtonText(QStringLiteral("Clear Search"));
    }
    m_stack->setCurrentWidget(noneShown ? static_cast<QWidget*>(m_empty) : m_view);
}

/// Repaints the rows in view that spin; sleeps when none of the list does.
void ClientOutline::updateSpinners() {
    const QModelIndex all = m_filter->mapFromSource(m_model->allComputersIndex());
    bool spinning = false;
    for (int row = 0; row < m_filter->rowCount(all); ++row) {
        const QModelIndex index = m_filter->index(row, 0, all);
        if (!index.data(ClientOutlineModel::SpinningRole).toBool()) continue;
        spinning = true;
        const QRect rect = m_view->visualRect(index);
        if (rect.intersects(m_view->viewport()->rect())) m_view->viewport()->update(rect);
    }
    if (spinning == m_spinnerTimer.isActive()) return;
    if (spinning)
        m_spinnerTimer.start();
    else
        m_spinnerTimer.stop();
}

void ClientOutline::paintEvent(QPaintEvent*) {
    QPainter(this).fillRect(rect(), themeColors().sidebar);
}
