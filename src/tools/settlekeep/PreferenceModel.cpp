#include "tools/settlekeep/PreferenceModel.h"

#include "widgets/CellDelegate.h"
#include "widgets/PlainText.h"

namespace {

// Internal ids: of applications this one, of groups their application's row + 1.
constexpr quintptr applicationId = 0;

/// "com.apple.motion.plist", "com.apple.color.plist and 1 more".
QString filesText(const VLPrefItem& item) {
    if (item.isParent()) return {};
    if (!item.files() || item.files()->isEmpty())
        return PreferenceModel::tr("Found by each computer's agent");
    const QString first = item.files()->constLast().section(u'/', -1);
    const qsizetype more = item.files()->size() - 1;
    return more == 0 ? first : PreferenceModel::tr("%1 and %2 more").arg(first, QString::number(more));
}

/// Every file, as it lies in a user's Library.
QString filesToolTip(const VLPrefItem& item) {
    if (!item.files()) return {};
    QStringList lines;
    for (const QString& file : *item.files())
        lines << QStringLiteral("~/Library/Preferences/") + file.section(QStringLiteral("/Preferences/"), 1);
    return literalText(lines.join(u'\n'));
}

}  // namespace

bool PreferenceModel::hasSameRows(const QList<VLPrefItem>& tree) const {
    if (tree.size() != m_tree.size()) return false;
    for (qsizetype row = 0; row < tree.size(); ++row)
        if (tree[row].children().size() != m_tree[row].children().size()) return false;
    return true;
}

void PreferenceModel::setTree(const QList<VLPrefItem>& tree) {
    if (!hasSameRows(tree)) {
        beginResetModel();
        m_tree = tree;
        endResetModel();
        return;
    }
    m_tree = tree;
    redraw();
}

void PreferenceModel::setLocks(const QHash<QString, QStringList>& locks) {
    m_locks = locks;
    redraw();
}

void PreferenceModel::redraw() {
    if (m_tree.isEmpty()) return;
    Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, ColumnCount - 1));
    for (int row = 0; row < rowCount(); ++row) {
        const QModelIndex application = index(row, 0);
        Q_EMIT dataChanged(index(0, 0, application),
                           index(rowCount(application) - 1, ColumnCount - 1, application));
    }
}

QModelIndex PreferenceModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    return createIndex(row, column, parent.isValid() ? quintptr(parent.row()) + 1 : applicationId);
}

QModelIndex PreferenceModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == applicationId) return {};
    return createIndex(int(child.internalId()) - 1, 0, applicationId);
}

int PreferenceModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return int(m_tree.size());
    if (parent.internalId() != applicationId || parent.column() != 0) return 0;
    return int(m_tree.at(parent.row()).children().size());
}

int PreferenceModel::columnCount(const QModelIndex&) const {
    return ColumnCount;
}

const VLPrefItem& PreferenceModel::item(const QModelIndex& index) const {
    if (index.internalId() == applicationId) return m_tree.at(index.row());
    return m_tree.at(qsizetype(index.internalId()) - 1).children().at(index.row());
}

Qt::ItemFlags PreferenceModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractItemModel::flags(index);
    if (index.isValid() && index.column() == Name) flags |= Qt::ItemIsUserCheckable;
    return flags;
}

QVariant PreferenceModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const VLPrefItem& shown = item(index);
    if (index.column() == Lock) return lockData(shown, role);
    if (index.column() == Files) {
        if (role == Qt::DisplayRole) return filesText(shown);
        if (role == Qt::ToolTipRole) return filesToolTip(shown);
        if (role == Cell::ToneRole) return int(Cell::Tone::Secondary);
        return {};
    }
    switch (role) {
        case Qt::DisplayRole:
            return shown.name();
        case Qt::CheckStateRole:
            if (shown.selected() == VLPrefItem::Mixed) return int(Qt::PartiallyChecked);
            return int(shown.selected() == VLPrefItem::On ? Qt::Checked : Qt::Unchecked);
        case Cell::DrawingRole:
            return shown.icon().isEmpty() ? QVariant()
                                          : QStringLiteral(":/icons/applications/%1.svg").arg(shown.icon());
        default:
            return {};
    }
}

/// Where it is locked; of an application, whether all of its groups are.
QVariant PreferenceModel::lockData(const VLPrefItem& item, int role) const {
    const QList<VLPrefItem> groups = item.isParent() ? item.children() : QList<VLPrefItem>{item};
    QStringList names;
    bool isWhole = true;
    for (const VLPrefItem& group : groups) {
        const QStringList own = m_locks.value(group.key());
        isWhole = isWhole && own == m_locks.value(groups.first().key());
        names += own;
    }
    names.removeDuplicates();
    if (names.isEmpty()) return {};
    names.sort();
    switch (role) {
        case Qt::DisplayRole: {
            const qsizetype count = names.size();
            if (count == 1) return (isWhole ? tr("On %1") : tr("Partly, on %1")).arg(names.first());
            return (isWhole ? tr("On %1 computers") : tr("Partly, on %1 computers")).arg(count);
        }
        case Qt::ToolTipRole:
            return literalText(tr("Locked on:") + u'\n' +
                               names.first(std::min<qsizetype>(names.size(), 20)).join(u'\n'));
        case Cell::SymbolRole:
            return QStringLiteral("lock");
        default:
            return {};
    }
}

QVariant PreferenceModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    if (section == Lock) return tr("Locked");
    return section == Name ? tr("Preferences") : tr("Files");
}

bool PreferenceModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.column() != Name || role != Qt::CheckStateRole) return false;
    const int selected = value.toInt() == Qt::Unchecked ? VLPrefItem::Off : VLPrefItem::On;
    if (index.internalId() == applicationId)
        Q_EMIT ticked(index.row(), -1, selected);
    else
        Q_EMIT ticked(int(index.internalId()) - 1, index.row(), selected);
    return true;
}
