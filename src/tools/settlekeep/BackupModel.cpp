#include "tools/settlekeep/BackupModel.h"

#include "tools/merged/MergedRow.h"
#include "tools/settlekeep/BackupList.h"
#include "tools/settlekeep/PreferenceTree.h"
#include "widgets/CellDelegate.h"
#include "widgets/PlainText.h"

#include <QDateTime>
#include <QLocale>
#include <QSet>

#include <algorithm>

namespace {

QString hostNameOf(const QVariantMap& backup) {
    return backup.value(ClientCopy::hostNameKey).toString();
}

const QString nothing = QStringLiteral("—");

QString path(const QVariantMap& backup) {
    return backup.value(QStringLiteral("path")).toString();
}

/// Without seconds, also where the short form has them.
QString shortDate(const QDateTime& date) {
    const QLocale locale;
    const QString time = locale.timeFormat(QLocale::ShortFormat).remove(QStringLiteral(":ss"));
    return locale.toString(date.date(), QLocale::ShortFormat) + u' ' + locale.toString(date.time(), time);
}

QString contentsToolTip(const QString& keys) {
    QStringList lines;
    for (const PreferenceTree::Covered& entry : PreferenceTree::covered(keys)) {
        const QString groups = entry.groups.join(QStringLiteral(", "));
        lines << (groups.isEmpty() ? entry.application
                                   : QStringLiteral("%1: %2").arg(entry.application, groups));
    }
    return literalText(lines.join(u'\n'));
}

/// Where it lies, and whatever else its agent tells of it.
QString nameToolTip(const QVariantMap& backup) {
    QStringList lines{backupName(backup), path(backup)};
    for (const QString& key : furtherKeys(backup)) {
        const QVariant value = backup.value(key);
        const QString text = value.typeId() == QMetaType::QDateTime
                                 ? QLocale().toString(value.toDateTime().toLocalTime(), QLocale::ShortFormat)
                                 : value.toString();
        lines << QStringLiteral("%1: %2").arg(key, text);
    }
    return literalText(lines.join(u'\n'));
}

}  // namespace

BackupModel::BackupModel(std::function<QString(const QString& hostName)> friendlyName, QObject* parent)
    : QAbstractTableModel(parent), m_friendlyName(std::move(friendlyName)) {}

void BackupModel::setBackups(const QList<QVariantMap>& backups) {
    beginResetModel();
    m_backups = backups;
    arrange();
    endResetModel();
}

void BackupModel::setFilter(const QString& text) {
    beginResetModel();
    m_filterText = text.trimmed();
    arrange();
    endResetModel();
}

void BackupModel::sort(int column, Qt::SortOrder order) {
    if (column < 0 || column >= ColumnCount) return;
    const auto keyOf = [](const QVariantMap& backup) { return std::pair(hostNameOf(backup), path(backup)); };
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    QList<std::pair<QString, QString>> keys;
    const QModelIndexList before = persistentIndexList();
    for (const QModelIndex& index : before)
        keys << keyOf(m_shown.at(index.row()));
    m_sortColumn = column;
    m_sortOrder = order;
    arrange();
    QHash<std::pair<QString, QString>, int> rows;
    for (int row = 0; row < m_shown.size(); ++row)
        rows.insert(keyOf(m_shown.at(row)), row);
    for (qsizetype i = 0; i < before.size(); ++i)
        changePersistentIndex(before[i], index(rows.value(keys[i]), before[i].column()));
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

void BackupModel::arrange() {
    m_shown.clear();
    for (const QVariantMap& backup : std::as_const(m_backups)) {
        bool isShown = m_filterText.isEmpty();
        for (const int column : {Name, Computer, Type, Contents})
            isShown = isShown || text(backup, column).contains(m_filterText, Qt::CaseInsensitive);
        if (isShown) m_shown << backup;
    }
    sortBackups(m_shown, backupColumnNames().at(m_sortColumn), m_sortOrder == Qt::DescendingOrder,
                m_friendlyName);
}

QVariantMap BackupModel::backup(const QModelIndex& index) const {
    return index.isValid() ? m_shown.at(index.row()) : QVariantMap();
}

int BackupModel::computerCount() const {
    QSet<QString> hosts;
    for (const QVariantMap& backup : m_backups)
        hosts.insert(hostNameOf(backup));
    return int(hosts.size());
}

int BackupModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_shown.size());
}

int BackupModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(ColumnCount);
}

QString BackupModel::text(const QVariantMap& backup, int column) const {
    switch (column) {
        case Name:
            return backupName(backup);
        case Computer:
            return m_friendlyName(hostNameOf(backup));
        case Type:
            return backupTypeText(backup);
        case Date: {
            const QDateTime date = backup.value(QStringLiteral("date")).toDateTime();
            return date.isValid() ? shortDate(date.toLocalTime()) : nothing;
        }
        case Size: {
            const QVariant size = backup.value(QStringLiteral("size"));
            return size.isValid() ? QLocale().formattedDataSize(size.toLongLong(), 1) : nothing;
        }
        case Contents:
            return PreferenceTree::coveredApplications(backup.value(QStringLiteral("keys")).toString());
        default:
            return {};
    }
}

QVariant BackupModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const QVariantMap& backup = m_shown.at(index.row());
    switch (role) {
        case Qt::DisplayRole:
            return text(backup, index.column());
        case KeyRole:
            return QString(hostNameOf(backup) + u'\n' + path(backup));
        case Qt::ToolTipRole:
            if (index.column() == Name) return nameToolTip(backup);
            if (index.column() == Computer) return literalText(hostNameOf(backup));
            if (index.column() == Date)
                return QLocale().toString(backup.value(QStringLiteral("date")).toDateTime().toLocalTime(),
                                          QLocale::LongFormat);
            if (index.column() == Contents)
                return contentsToolTip(backup.value(QStringLiteral("keys")).toString());
            return {};
        case Cell::SymbolRole:
            return index.column() == Computer ? QVariant(QStringLiteral("computer")) : QVariant();
        case Cell::ToneRole:
            return index.column() == Name || index.column() == Computer ? QVariant()
                                                                        : int(Cell::Tone::Secondary);
        case Qt::TextAlignmentRole:
            return index.column() == Size ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter)) : QVariant();
        default:
            return {};
    }
}

QVariant BackupModel::headerData(int section, Qt::Orientation orientation, int role) const {
    static constexpr const char* titles[] = {QT_TR_NOOP("Backup"), QT_TR_NOOP("Computer"),
                                             QT_TR_NOOP("Type"),   QT_TR_NOOP("Date"),
                                             QT_TR_NOOP("Size"),   QT_TR_NOOP("Preferences")};
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return {};
    if (role == Qt::DisplayRole) return tr(titles[section]);
    if (role == Qt::TextAlignmentRole && section == Size) return int(Qt::AlignRight | Qt::AlignVCenter);
    return {};
}
