#include "app/window/ErrorLogWindow.h"

#include "app/ErrorLog.h"
#include "app/window/ErrorLogModel.h"
#include "clients/ServiceList.h"
#include "tools/Tool.h"
#include "widgets/CellDelegate.h"
#include "widgets/EmptyState.h"
#include "widgets/PaneParts.h"
#include "widgets/RowCopy.h"
#include "widgets/SymbolIcon.h"
#include "widgets/TableSorting.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

constexpr std::chrono::milliseconds pauseBetweenReloads{250};

}  // namespace

ErrorLogWindow::ErrorLogWindow(ErrorLog& log, ServiceList& services, QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_log(log),
      m_services(services),
      m_model(new ErrorLogModel(
          [&services](const QString& hostName) { return services.friendlyServiceName(hostName); }, toolTitle,
          this)),
      m_sorted(new QSortFilterProxyModel(this)),
      m_table(new QTreeView(this)),
      m_stack(new QStackedWidget(this)),
      m_empty(new EmptyState(this)),
      m_copy(new QPushButton(tr("Copy"), this)),
      m_upload(new QPushButton(tr("Upload…"), this)),
      m_clear(new QPushButton(tr("Clear"), this)) {
    setObjectName(QStringLiteral("errorLogWindow"));
    setWindowTitle(tr("Error Log"));
    resize(980, 460);
    buildTable();
    m_empty->setContents(QStringLiteral("ok"), tr("No errors"),
                         tr("What goes wrong on a computer, or on the way to it, is listed here."));
    m_stack->addWidget(m_table);
    m_stack->addWidget(m_empty);

    m_copy->setObjectName(QStringLiteral("errorLogCopy"));
    m_copy->setToolTip(tr("Copy the selected errors, or all when none is selected"));
    m_upload->setObjectName(QStringLiteral("errorLogUpload"));
    m_upload->setToolTip(tr("Send all errors to the maker of Orlendo"));
    m_upload->setVisible(m_log.canUploadErrorLog());
    m_clear->setObjectName(QStringLiteral("errorLogClear"));
    auto* buttons = new QHBoxLayout;
    buttons->setContentsMargins(Metrics::unit * 2, Metrics::unit * 1.5, Metrics::unit * 2,
                                Metrics::unit * 1.5);
    buttons->setSpacing(Metrics::unit);
    buttons->addStretch();
    buttons->addWidget(m_copy);
    buttons->addWidget(m_upload);
    buttons->addWidget(m_clear);
    QFrame* line = hairline(this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_stack, 1);
    layout->addWidget(line);
    layout->addLayout(buttons);

    connect(m_copy, &QPushButton::clicked, this, &ErrorLogWindow::copy);
    connect(m_upload, &QPushButton::clicked, this, &ErrorLogWindow::upload);
    connect(m_clear, &QPushButton::clicked, this, [this] {
        m_log.clearErrorLog();
        reload();
    });
    connect(new QShortcut(QKeySequence::Copy, this), &QShortcut::activated, this, &ErrorLogWindow::copy);
    connect(new QShortcut(QKeySequence::Close, this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
    connect(&log, &ErrorLog::errorQueueChanged, this, &ErrorLogWindow::reloadSoon);
    m_pause.setSingleShot(true);
    m_pause.setInterval(pauseBetweenReloads);
    connect(&m_pause, &QTimer::timeout, this, [this] {
        if (m_hasChanged) reloadSoon();
    });
    reload();
}

void ErrorLogWindow::showEvent(QShowEvent* event) {
    reload();
    QWidget::showEvent(event);
}

void ErrorLogWindow::reloadSoon() {
    m_hasChanged = true;
    if (isVisible() && !m_pause.isActive()) reload();
}

void ErrorLogWindow::buildTable() {
    m_sorted->setSourceModel(m_model);
    m_sorted->setSortRole(ErrorLogModel::SortRole);
    m_sorted->setSortCaseSensitivity(Qt::CaseInsensitive);
    m_table->setObjectName(QStringLiteral("errorLogTable"));
    m_table->setAccessibleName(tr("Errors"));
    m_table->setFrameShape(QFrame::NoFrame);
    m_table->setRootIsDecorated(false);
    m_table->setUniformRowHeights(true);
    m_table->setAlternatingRowColors(true);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setItemDelegate(new CellDelegate(m_table));
    m_table->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_table, &QWidget::customContextMenuRequested, this, &ErrorLogWindow::showMenu);
    m_table->setModel(m_sorted);
    m_table->setSortingEnabled(true);
    QHeaderView* header = m_table->header();
    rememberSorting(header, QStringLiteral("errorLogTable"), ErrorLogModel::columnNames());
    m_sorted->sort(header->sortIndicatorSection(), header->sortIndicatorOrder());
    header->setFont(themeFont(0.92, QFont::Medium));
    header->resizeSection(ErrorLogModel::Date, 190);
    header->resizeSection(ErrorLogModel::Computer, 150);
    header->resizeSection(ErrorLogModel::Tool, 96);
    header->resizeSection(ErrorLogModel::Action, 150);
    header->setSectionsMovable(false);
}

/// About the row that it was opened on, which may be gone when something is chosen.
void ErrorLogWindow::showMenu(const QPoint& position) {
    const QModelIndex index = m_table->indexAt(position);
    const QString hostName = index.data(ErrorLogModel::HostNameRole).toString();
    QMenu* const menu = makeContextMenu(*m_table, QStringLiteral("errorLogMenu"));
    addCopyItem(*menu, *m_table);
    menu->addSeparator();
    QAction* const show = menu->addAction(symbolIcon(QStringLiteral("computer")), tr("Show Computer"), this,
                                          [this, hostName] { showComputer(hostName); });
    show->setEnabled(m_services.serviceWithHostName(hostName) != nullptr);
    QAction* const select = menu->addAction(tr("Select All of This Computer"), this,
                                            [this, hostName] { selectErrorsOf(hostName); });
    select->setEnabled(index.isValid());
    menu->popup(m_table->viewport()->mapToGlobal(position));
}

void ErrorLogWindow::showComputer(const QString& hostName) {
    const VLServicePtr service = m_services.serviceWithHostName(hostName);
    if (!service) return;
    m_services.setSelectedServices({service});
    QWidget* const list = parentWidget() ? parentWidget()->window() : nullptr;
    if (!list) return;
    list->raise();
    list->activateWindow();
}

void ErrorLogWindow::reload() {
    m_hasChanged = false;
    m_pause.start();
    m_model->setQueue(*m_log.errorCallback()->errorRecords());
    const bool any = m_model->rowCount() > 0;
    m_stack->setCurrentWidget(any ? static_cast<QWidget*>(m_table) : m_empty);
    m_copy->setEnabled(any);
    m_upload->setEnabled(any);
    m_clear->setEnabled(any);
}

void ErrorLogWindow::upload() {
    m_log.uploadErrorLog(this);
}

void ErrorLogWindow::selectErrorsOf(const QString& hostName) {
    QItemSelection selection;
    for (int row = 0; row < m_sorted->rowCount(); ++row) {
        const QModelIndex index = m_sorted->index(row, 0);
        if (index.data(ErrorLogModel::HostNameRole).toString() == hostName) selection.select(index, index);
    }
    m_table->selectionModel()->select(selection,
                                      QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    if (selection.isEmpty()) return;
    const QModelIndex first = selection.first().topLeft();
    m_table->selectionModel()->setCurrentIndex(first, QItemSelectionModel::NoUpdate);
    m_table->scrollTo(first);
}

void ErrorLogWindow::copy() {
    const bool nothingSelected = !m_table->selectionModel()->hasSelection();
    if (nothingSelected) m_table->selectAll();
    copySelectedRows(*m_table);
    if (nothingSelected) m_table->clearSelection();
}
