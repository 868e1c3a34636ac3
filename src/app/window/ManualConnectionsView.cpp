#include "app/window/ManualConnectionsView.h"

#include "app/ClientCommands.h"
#include "clients/ServiceList.h"
#include "widgets/CellDelegate.h"
#include "widgets/EmptyState.h"
#include "widgets/PaneParts.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

namespace {

VLServicePtr recordOf(const ServiceList& services, const ManualConnections::Entry& entry) {
    const QList<VLServicePtr> list = services.serviceArray();
    const auto found = std::find_if(list.begin(), list.end(), [&](const VLServicePtr& service) {
        return service->isManual() && service->manualIP() == entry.ip && service->port() == entry.port;
    });
    return found == list.end() ? nullptr : *found;
}

}  // namespace

ManualConnectionsView::ManualConnectionsView(ServiceList& services, ClientCommands& commands, QWidget* parent)
    : QWidget(parent),
      m_services(services),
      m_commands(commands),
      m_model(new QStandardItemModel(0, 3, this)),
      m_table(new QTreeView(this)),
      m_stack(new QStackedWidget(this)),
      m_remove(new QPushButton(tr("Remove"), this)),
      m_edit(new QPushButton(tr("Edit…"), this)) {
    buildTable();
    auto* empty = new EmptyState(this);
    empty->setContents(QStringLiteral("computers"), tr("No manual connections"),
                       tr("Add Computer enters one."));
    m_stack->addWidget(m_table);
    m_stack->addWidget(empty);
    auto* add = new QPushButton(tr("Add Computer…"), this);
    add->setAutoDefault(false);
    m_remove->setObjectName(QStringLiteral("removeConnection"));
    m_remove->setToolTip(tr("End the connection and forget the address"));
    m_edit->setObjectName(QStringLiteral("editConnection"));
    m_edit->setToolTip(tr("Change the name, the address or the port"));
    m_edit->setAutoDefault(false);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(Metrics::unit);
    buttons->addStretch();
    buttons->addWidget(m_remove);
    buttons->addWidget(m_edit);
    buttons->addWidget(add);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(Metrics::unit * 1.5);
    layout->addWidget(m_stack, 1);
    layout->addLayout(buttons);

    connect(add, &QPushButton::clicked, this, &ManualConnectionsView::addRequested);
    connect(m_remove, &QPushButton::clicked, this, &ManualConnectionsView::removeSelected);
    connect(m_edit, &QPushButton::clicked, this, &ManualConnectionsView::editSelected);
    connect(m_table, &QAbstractItemView::activated, this, &ManualConnectionsView::editSelected);
    m_table->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_table, &QWidget::customContextMenuRequested, this, &ManualConnectionsView::showMenu);
    auto* shortcut = new QShortcut(QKeySequence::Delete, m_table);
    shortcut->setContext(Qt::WidgetShortcut);
    connect(shortcut, &QShortcut::activated, this, &ManualConnectionsView::removeSelected);
    // A hundred clients that change in a row are one renewal, and none while nobody looks.
    const auto later = [this] {
        if (!isVisible() || std::exchange(m_reloadPending, true)) return;
        QTimer::singleShot(0, this, [this] {
            m_reloadPending = false;
            reload();
        });
    };
    connect(&services, &ServiceList::serviceAdded, this, later);
    connect(&services, &ServiceList::serviceRemoved, this, later);
    connect(&services, &ServiceList::serviceUpdated, this, later);
    reload();
}

void ManualConnectionsView::buildTable() {
    m_model->setHorizontalHeaderLabels({tr("Name"), tr("Address"), tr("State")});
    m_table->setObjectName(QStringLiteral("manualConnectionsTable"));
    m_table->setAccessibleName(tr("Manual connections"));
    m_table->setRootIsDecorated(false);
    m_table->setUniformRowHeights(true);
    m_table->setAlternatingRowColors(true);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setItemDelegate(new CellDelegate(m_table));
    m_table->setModel(m_model);
    QHeaderView* header = m_table->header();
    header->setFont(themeFont(0.92, QFont::Medium));
    header->setSectionsMovable(false);
    header->resizeSection(0, 210);
    header->resizeSection(1, 170);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ManualConnectionsView::updateButtons);
}

void ManualConnectionsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    reload();
}

QString ManualConnectionsView::stateOf(const ManualConnections::Entry& entry) const {
    const VLServicePtr service = recordOf(m_services, entry);
    if (!service) return tr("Not in the list");
    if (service->isConnected()) return tr("Connected");
    return service->spinning() ? tr("Connecting…") : tr("Not connected");
}

void ManualConnectionsView::reload() {
    const QList<ManualConnections::Entry> entries = ManualConnections::stored();
    if (entries != m_entries || m_model->rowCount() != entries.size()) {
        m_entries = entries;
        m_model->setRowCount(0);
        for (const ManualConnections::Entry& entry : entries)
            m_model->appendRow({new QStandardItem(entry.name),
                                new QStandardItem(QStringLiteral("%1:%2").arg(entry.ip).arg(entry.port)),
                                new QStandardItem});
    }
    for (int row = 0; row < m_entries.size(); ++row)
        m_model->item(row, 2)->setText(stateOf(m_entries.at(row)));
    m_stack->setCurrentIndex(m_entries.isEmpty() ? 1 : 0);
    updateButtons();
}

void ManualConnectionsView::removeSelected() {
    QList<ManualConnections::Entry> removed;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows())
        removed.append(m_entries.at(index.row()));
    for (const ManualConnections::Entry& entry : removed) {
        if (const VLServicePtr service = recordOf(m_services, entry))
            m_commands.disconnectClient(service);
        else
            ManualConnections::remove(entry.ip, entry.port);
    }
    reload();
    selectFirstItemInTable(*m_table);
}

void ManualConnectionsView::editSelected() {
    const QModelIndexList rows = m_table->selectionModel()->selectedRows();
    if (rows.size() == 1) Q_EMIT editRequested(m_entries.at(rows.first().row()));
}

void ManualConnectionsView::showMenu(const QPoint& position) {
    QMenu* const menu = makeContextMenu(*m_table, QStringLiteral("manualConnectionsMenu"));
    menu->addAction(m_edit->text(), this, &ManualConnectionsView::editSelected)
        ->setEnabled(m_edit->isEnabled());
    menu->addAction(m_remove->text(), this, &ManualConnectionsView::removeSelected)
        ->setEnabled(m_remove->isEnabled());
    menu->popup(m_table->viewport()->mapToGlobal(position));
}

void ManualConnectionsView::updateButtons() {
    m_remove->setEnabled(m_table->selectionModel()->hasSelection());
    m_edit->setEnabled(m_table->selectionModel()->selectedRows().size() == 1);
}
