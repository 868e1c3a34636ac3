#include "tools/merged/MergedOutlineView.h"

#include "desktop/VLAlert.h"
#include "widgets/PaneBar.h"
#include "widgets/SymbolIcon.h"

#include <QGuiApplication>
#include <QMenu>
#include <QPointer>
#include <QSet>
#include <QToolButton>
#include <QTreeView>

#include <algorithm>
#include <utility>

MergedOutlineView::MergedOutlineView(ToolController& controller, MergedOutlineModel* model,
                                     const QString& tool, PaneWords words, QWidget* parent)
    : ToolPane(controller, {tool, tool + QStringLiteral("Outline"), tool + QStringLiteral("Outline")},
               std::move(words), parent),
      m_model(model) {
    model->setParent(this);
    view().setSelectionMode(QAbstractItemView::ExtendedSelection);
    addDifferencesOnly();
}

void MergedOutlineView::start(const QList<ColumnLayout>& layouts) {
    connect(m_model, &MergedOutlineModel::checked, this,
            [this](const Place& place, int column, bool on) { check(m_model->target(place), column, on); });
    connect(&view(), &QAbstractItemView::clicked, this, &MergedOutlineView::clicked);
    ToolPane::start(m_model, m_model->columnNames(), MergedOutlineModel::KeyRole, layouts);
}

// ---- Making them alike

void MergedOutlineView::addSyncButton(const QString& name, const QString& toolTip,
                                      std::function<void()> action) {
    m_sync = bar().addButton(name, QStringLiteral("sync"), tr("Synchronise"), toolTip,
                             [this, action = std::move(action)] { runSync(action); });
}

void MergedOutlineView::updateActions() {
    if (m_sync) {
        const int differing = m_model->differingTotal();
        m_sync->setText(differing > 0 ? tr("Synchronise %1").arg(differing) : tr("Synchronise"));
        m_sync->setEnabled(differing > 0);
        bar().fit();
    }
    updateOwnActions();
}

void MergedOutlineView::runSync(const std::function<void()>& action) {
    const int hidden = m_model->differingHidden();
    const int duplicated = m_model->duplicatedDiffering();
    if (hidden == 0 && duplicated == 0) return action();
    QStringList warnings;
    if (hidden > 0) warnings << notNarrowed(hidden);
    if (duplicated > 0)
        warnings
            << (duplicated == 1
                    ? tr("%1 is there more than once on a computer. All of them become alike there and do "
                         "the same at the same time; remove what is too much first.")
                    : tr("%1 are there more than once on a computer. All of them become alike there and do "
                         "the same at the same time; remove what is too much first."))
                   .arg(counted(duplicated));
    const int all = m_model->differingTotal();
    VLAlert::ask(tr("Synchronise %1?").arg(counted(all)), tr("Synchronise %1").arg(all), warnings.join(u' '),
                 window(), [pane = QPointer(this), action] {
                     if (pane) action();
                 });
}

void MergedOutlineView::applyFilter(const QString& text, bool differencesOnly) {
    m_model->setFilter(text, differencesOnly);
}

QString MergedOutlineView::summary() const {
    const int differing = m_model->differingTotal();
    QStringList parts{counted(rowTotal()),
                      differing > 0 ? tr("%1 with differences").arg(differing) : tr("no differences")};
    if (const int duplicated = m_model->duplicatedTotal(); duplicated > 0)
        parts << tr("%1 more than once on a computer").arg(duplicated);
    return parts.join(QStringLiteral(" · "));
}

QList<RowTarget> MergedOutlineView::selectedTargets() const {
    QModelIndexList rows = view().selectionModel()->selectedRows();
    const auto position = [](const QModelIndex& index) {
        const bool isClient = index.parent().isValid();
        return std::pair(isClient ? index.parent().row() : index.row(), isClient ? index.row() : -1);
    };
    std::sort(rows.begin(), rows.end(),
              [&](const QModelIndex& a, const QModelIndex& b) { return position(a) < position(b); });
    QList<RowTarget> targets;
    int wholeRow = -1;
    for (const QModelIndex& index : std::as_const(rows)) {
        const Place place = m_model->place(index);
        if (place.child < 0) wholeRow = place.row;
        if (place.child < 0 || (place.row != wholeRow && !place.isMissing))
            targets.append(m_model->target(place));
    }
    return targets;
}

void MergedOutlineView::addChangeItem(QMenu& menu, const char* symbol, const QString& text,
                                      const std::function<void(const QList<RowTarget>&)>& change) {
    const QList<RowTarget> targets = selectedTargets();
    QAction* const item =
        menu.addAction(symbolIcon(QLatin1String(symbol)), text, this, [targets, change] { change(targets); });
    item->setEnabled(!targets.isEmpty());
}

void MergedOutlineView::collapse(const QList<RowTarget>& changed) {
    QSet<QString> keys;
    for (const RowTarget& target : changed)
        if (target.isWholeRow()) keys.insert(target.row);
    for (int row = 0; row < m_model->rowTotal() && !keys.isEmpty(); ++row)
        if (keys.remove(m_model->rowKey(row))) view().collapse(m_model->indexOf(row));
}

void MergedOutlineView::clicked(const QModelIndex& index) {
    const bool isSelecting = QGuiApplication::keyboardModifiers() != Qt::NoModifier;
    if (isSelecting || !index.data(Cell::PopUpRole).toBool()) return;
    const QRect cell = view().visualRect(index);
    popUp(m_model->place(index), view().viewport()->mapToGlobal(cell.bottomLeft()));
}
