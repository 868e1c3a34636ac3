#include "tools/addonry/AddonryModel.h"

#include "widgets/CellDelegate.h"
#include "widgets/PlainText.h"

#include <QVersionNumber>

#include <algorithm>

namespace {

// Internal ids: of plug-ins this one, of the rows below them one made of their plug-in's row in m_rows. Those
// are spread over all numbers because Qt hashes an index by adding its row and its id: with small ones in a
// row, expanding all of a long outline would take minutes.
constexpr quintptr pluginId = 0;
constexpr quintptr spread = quintptr(0x9E3779B97F4A7C15);

/// The number that undoes a multiplication by an odd one: every step doubles the bits that are right.
constexpr quintptr inverse(quintptr odd) {
    quintptr result = odd;
    for (int step = 0; step < 6; ++step)
        result *= 2 - odd * result;
    return result;
}
constexpr quintptr gather = inverse(spread);
static_assert(spread * gather == 1);

constexpr quintptr childId(int row) {
    return (quintptr(row) + 1) * spread;
}

constexpr int rowOf(quintptr childId) {
    return int(childId * gather - 1);
}

constexpr qlonglong currentUser = 1;
const QString various = QStringLiteral("(various)");
const QString nothing = QStringLiteral("–");

QString hostName(const QVariantMap& child) {
    return child.value(QStringLiteral("hostname")).toString();
}

int computerCount(const VLPluginItem& plugin) {
    return int(plugin.children().size() + plugin.missingHosts().size());
}

QString computers(qsizetype count) {
    return count == 1 ? QStringLiteral("1 computer") : QStringLiteral("%1 computers").arg(count);
}

QString versionText(const QString& version) {
    return version.isEmpty() ? nothing : version;
}

QString kindDrawing(const QString& type) {
    QString name = QStringLiteral("other");
    if (type == QLatin1String("FxPlug"))
        name = QStringLiteral("fxplug");
    else if (type == QLatin1String("FxScript"))
        name = QStringLiteral("fxscript");
    else if (type == QLatin1String("Audio Unit"))
        name = QStringLiteral("audio-unit");
    return QStringLiteral(":/icons/kinds/%1.svg").arg(name);
}

/// A cell that says one of three things: 0, 1 or mixed (-1).
struct Mark {
    QString text, symbol;
    Cell::Tone tone, symbolTone;
};

Mark enabledMark(int disabled) {
    using enum Cell::Tone;
    if (disabled < 0) return {QStringLiteral("Mixed"), QStringLiteral("mixed"), Warning, Warning};
    if (disabled == 1) return {QStringLiteral("Disabled"), QStringLiteral("off"), Secondary, Faint};
    return {QStringLiteral("Enabled"), QStringLiteral("on"), Plain, Good};
}

Mark accessMark(qlonglong accessType) {
    using enum Cell::Tone;
    if (accessType < 0) return {various, QStringLiteral("mixed"), Warning, Warning};
    if (accessType == currentUser)
        return {QStringLiteral("Current User"), QStringLiteral("user"), Plain, Secondary};
    return {QStringLiteral("All Users"), QStringLiteral("users"), Plain, Secondary};
}

QVariant markData(const Mark& mark, int role) {
    switch (role) {
        case Qt::DisplayRole:
            return mark.text;
        case Cell::SymbolRole:
            return mark.symbol;
        case Cell::ToneRole:
            return int(mark.tone);
        case Cell::SymbolToneRole:
            return int(mark.symbolTone);
        default:
            return {};
    }
}

}  // namespace

QStringList AddonryModel::columnNames() {
    return {QStringLiteral("name"),     QStringLiteral("version"),    QStringLiteral("type"),
            QStringLiteral("disabled"), QStringLiteral("accessType"), QStringLiteral("computers"),
            QStringLiteral("state")};
}

AddonryModel::AddonryModel(std::function<QString(const QString&)> friendlyName, QObject* parent)
    : QAbstractItemModel(parent), m_friendlyName(std::move(friendlyName)) {}

void AddonryModel::setRows(QList<VLPluginItem> rows) {
    beginResetModel();
    m_rows = std::move(rows);
    m_foldedNames.clear();
    for (const VLPluginItem& plugin : m_rows)
        m_foldedNames.push_back(plugin.name().toCaseFolded());
    arrange();
    endResetModel();
}

// ---- Structure

QModelIndex AddonryModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    return createIndex(row, column, parent.isValid() ? childId(m_shown[size_t(parent.row())]) : pluginId);
}

QModelIndex AddonryModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == pluginId) return {};
    return createIndex(m_position[size_t(rowOf(child.internalId()))], 0, pluginId);
}

int AddonryModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return int(m_shown.size());
    if (parent.internalId() != pluginId || parent.column() != 0) return 0;
    return computerCount(m_rows.at(m_shown[size_t(parent.row())]));
}

int AddonryModel::columnCount(const QModelIndex&) const {
    return ColumnCount;
}

bool AddonryModel::hasChildren(const QModelIndex& parent) const {
    return rowCount(parent) > 0;
}

QVariantMap AddonryModel::child(const QModelIndex& index, bool* missing) const {
    const VLPluginItem& plugin = m_rows.at(rowOf(index.internalId()));
    const qsizetype present = plugin.children().size();
    if (missing) *missing = index.row() >= present;
    return index.row() < present ? plugin.children().at(index.row()).toMap()
                                 : plugin.missingHosts().at(index.row() - present).toMap();
}

QString AddonryModel::friendlyHost(const QVariantMap& child) const {
    const QString host = hostName(child);
    return m_friendlyName ? m_friendlyName(host) : host;
}

// ---- Contents

QVariant AddonryModel::headerData(int section, Qt::Orientation orientation, int role) const {
    static const QStringList titles{QStringLiteral("Name"),   QStringLiteral("Version"),
                                    QStringLiteral("Type"),   QStringLiteral("Enabled"),
                                    QStringLiteral("Access"), QStringLiteral("Computers"),
                                    QStringLiteral("Status")};
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount) return {};
    if (role == Qt::DisplayRole) return titles.at(section);
    if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

QVariant AddonryModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    if (index.internalId() == pluginId)
        return pluginData(m_rows.at(m_shown[size_t(index.row())]), index.column(), role);
    bool missing = false;
    const QVariantMap instance = child(index, &missing);
    return childData(instance, missing, index.column(), role);
}

QVariant AddonryModel::pluginData(const VLPluginItem& plugin, int column, int role) const {
    if (role == KeyRole) return plugin.name();
    switch (column) {
        case Name:
            if (role == Qt::DisplayRole) return plugin.name();
            if (role == Cell::DrawingRole) return kindDrawing(plugin.type());
            return {};
        case Version:
            if (role == Qt::DisplayRole) return versionText(plugin.version());
            if (role == Cell::ToneRole && plugin.version() == various) return int(Cell::Tone::Warning);
            if (role == Cell::ToneRole && plugin.version().isEmpty()) return int(Cell::Tone::Faint);
            return {};
        case Type:
            return role == Qt::DisplayRole ? QVariant(plugin.type()) : QVariant();
        case Enabled:
            return markData(enabledMark(plugin.disabled()), role);
        case Access:
            return markData(accessMark(plugin.accessType()), role);
        case Computers:
            if (role == Qt::DisplayRole) {
                return QStringLiteral("%1 of %2").arg(plugin.children().size()).arg(computerCount(plugin));
            }
            if (role == Cell::ToneRole && plugin.missingHosts().isEmpty()) return int(Cell::Tone::Secondary);
            return {};
        case Status:
            return statusData(plugin, role);
        default:
            return {};
    }
}

QVariant AddonryModel::statusData(const VLPluginItem& plugin, int role) const {
    const bool alike = !differs(plugin);
    switch (role) {
        case Qt::DisplayRole:
            return statusText(plugin);
        case Qt::ToolTipRole:
            return literalText(statusToolTip(plugin));
        case Cell::ToneRole:
            return int(alike ? Cell::Tone::Secondary : Cell::Tone::Plain);
        case Cell::SymbolToneRole:
            return int(alike ? Cell::Tone::Good : Cell::Tone::Warning);
        case Cell::SymbolRole:
            if (plugin.state() == VLPluginItem::Missing) return QStringLiteral("missing");
            return alike ? QStringLiteral("check") : QStringLiteral("warning");
        default:
            return {};
    }
}

QString AddonryModel::statusText(const VLPluginItem& plugin) const {
    const qsizetype count = plugin.children().size();
    switch (plugin.state()) {
        case VLPluginItem::VersionsDiffer:
            return QStringLiteral("Versions differ");
        case VLPluginItem::EnabledDiffers:
            return QStringLiteral("Enabled on %1 of %2").arg(count - plugin.disabledCount()).arg(count);
        case VLPluginItem::AccessTypeDiffers:
            return QStringLiteral("Access differs");
        case VLPluginItem::Missing:
            break;
        default:
            return QStringLiteral("No differences");
    }
    QStringList names;
    for (const QVariant& host : plugin.missingHosts())
        names << friendlyHost(host.toMap());
    std::sort(names.begin(), names.end());
    if (names.size() == 1) return QStringLiteral("Missing on %1").arg(names.first());
    return QStringLiteral("Missing on %1: %2").arg(names.size()).arg(names.join(QStringLiteral(", ")));
}

/// Every difference, not only the one that names the state.
QString AddonryModel::statusToolTip(const VLPluginItem& plugin) const {
    QStringList lines;
    if (!plugin.missingHosts().isEmpty()) lines << statusText(plugin);
    const auto list = [&](const QString& title, const auto& value) {
        lines << title;
        for (const QVariant& entry : plugin.children()) {
            const QVariantMap instance = entry.toMap();
            lines << QStringLiteral("    %1: %2").arg(friendlyHost(instance), value(instance));
            if (lines.size() > 24) {
                lines << QStringLiteral("    …");
                return;
            }
        }
    };
    if (plugin.version() == various) {
        list(QStringLiteral("Versions differ"), [](const QVariantMap& instance) {
            return instance.value(QStringLiteral("version")).toString();
        });
    }
    if (plugin.disabled() < 0) {
        list(QStringLiteral("Enabled on some only"), [](const QVariantMap& instance) {
            return enabledMark(instance.value(QStringLiteral("disabled")).toInt()).text;
        });
    }
    if (plugin.accessType() < 0) {
        list(QStringLiteral("Access differs"), [](const QVariantMap& instance) {
            return accessMark(instance.value(QStringLiteral("accessType")).toLongLong()).text;
        });
    }
    if (lines.isEmpty()) lines << QStringLiteral("The same on %1").arg(computers(plugin.children().size()));
    return lines.join(QLatin1Char('\n'));
}

QVariant AddonryModel::childData(const QVariantMap& instance, bool missing, int column, int role) const {
    if (role == KeyRole) return hostName(instance);
    if (missing && role == Cell::ToneRole && column != Name) {
        return int(column == Status ? Cell::Tone::Warning : Cell::Tone::Faint);
    }
    switch (column) {
        case Name:
            if (role == Qt::DisplayRole) return friendlyHost(instance);
            if (role == Cell::SymbolRole) return QStringLiteral("computer");
            if (role == Qt::ToolTipRole) return literalText(hostName(instance));
            if (role == Cell::ToneRole) return int(missing ? Cell::Tone::Secondary : Cell::Tone::Plain);
            return {};
        case Version:
            if (role == Qt::DisplayRole)
                return versionText(instance.value(QStringLiteral("version")).toString());
            return {};
        case Enabled:
            if (missing) return role == Qt::DisplayRole ? QVariant(nothing) : QVariant();
            return markData(enabledMark(instance.value(QStringLiteral("disabled")).toInt()), role);
        case Access:
            if (missing) return role == Qt::DisplayRole ? QVariant(nothing) : QVariant();
            return markData(accessMark(instance.value(QStringLiteral("accessType")).toLongLong()), role);
        case Status:
            if (missing) {
                if (role == Qt::DisplayRole) return QStringLiteral("Not installed");
                if (role == Cell::SymbolRole) return QStringLiteral("missing");
                if (role == Cell::SymbolToneRole) return int(Cell::Tone::Warning);
                return {};
            }
            if (role == Qt::DisplayRole) return instance.value(QStringLiteral("fullPath"));
            if (role == Qt::ToolTipRole)
                return literalText(instance.value(QStringLiteral("fullPath")).toString());
            if (role == Cell::ToneRole) return int(Cell::Tone::Secondary);
            if (role == Cell::ElideMiddleRole) return true;
            return {};
        default:
            return {};
    }
}

// ---- Sorting and filtering

bool AddonryModel::isShown(const VLPluginItem& plugin) const {
    if (m_differencesOnly && !differs(plugin)) return false;
    const auto contains = [this](const QString& text) {
        return text.contains(m_filterText, Qt::CaseInsensitive);
    };
    return m_filterText.isEmpty() || contains(plugin.name()) || contains(plugin.type()) ||
           contains(plugin.version());
}

void AddonryModel::setFilter(const QString& text, bool differencesOnly) {
    if (text.trimmed() == m_filterText && differencesOnly == m_differencesOnly) return;
    beginResetModel();
    m_filterText = text.trimmed();
    m_differencesOnly = differencesOnly;
    arrange();
    endResetModel();
}

void AddonryModel::sort(int column, Qt::SortOrder order) {
    if (column < 0 || column >= ColumnCount) return;
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    const std::vector<int> formerlyShown = m_shown;
    m_sortColumn = column;
    m_sortOrder = order;
    sortShown();
    QModelIndexList after;
    for (const QModelIndex& index : before) {
        const bool isPlugin = index.internalId() == pluginId;
        after << (isPlugin ? createIndex(m_position[size_t(formerlyShown[size_t(index.row())])],
                                         index.column(), pluginId)
                           : index);
    }
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

void AddonryModel::arrange() {
    m_shown.clear();
    for (int row = 0; row < m_rows.size(); ++row) {
        if (isShown(m_rows.at(row))) m_shown.push_back(row);
    }
    sortShown();
}

/// Every key is made once, not once per comparison.
template <typename KeyOf>
void AddonryModel::sortShownBy(KeyOf keyOf) {
    std::vector<decltype(keyOf(m_rows.first()))> keys(size_t(m_rows.size()));
    for (const int row : m_shown)
        keys[size_t(row)] = keyOf(m_rows.at(row));
    const bool descending = m_sortOrder == Qt::DescendingOrder;
    std::stable_sort(m_shown.begin(), m_shown.end(), [&](int left, int right) {
        const auto &a = keys[size_t(descending ? right : left)], &b = keys[size_t(descending ? left : right)];
        if (a < b) return true;
        return !(b < a) && m_foldedNames[size_t(left)] < m_foldedNames[size_t(right)];
    });
}

void AddonryModel::sortShown() {
    switch (m_sortColumn) {
        case Version:
            sortShownBy([](const VLPluginItem& plugin) {
                return std::pair(QVersionNumber::fromString(plugin.version()), plugin.version());
            });
            break;
        case Type:
            sortShownBy([](const VLPluginItem& plugin) { return plugin.type(); });
            break;
        case Enabled:
            sortShownBy([](const VLPluginItem& plugin) { return plugin.disabled(); });
            break;
        case Access:
            sortShownBy([](const VLPluginItem& plugin) { return plugin.accessType(); });
            break;
        case Computers:
            sortShownBy([](const VLPluginItem& plugin) { return plugin.children().size(); });
            break;
        case Status:
            sortShownBy([](const VLPluginItem& plugin) { return plugin.state(); });
            break;
        default:
            sortShownBy([](const VLPluginItem& plugin) { return plugin.name().toCaseFolded(); });
            break;
    }
    m_position.assign(size_t(m_rows.size()), -1);
    for (size_t place = 0; place < m_shown.size(); ++place)
        m_position[size_t(m_shown[place])] = int(place);
}
