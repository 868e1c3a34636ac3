#include "tools/addonry/AddonryModel.h"

#include "widgets/CellDelegate.h"

#include <QVersionNumber>

#include <algorithm>

namespace {

constexpr quintptr pluginId =
    0;  // internal id of plug-in rows; of the rows below: their parent's row plus one
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

int compareText(const QString& a, const QString& b) {
    return a.compare(b, Qt::CaseInsensitive);
}

int compareVersion(const QString& a, const QString& b) {
    const int order = QVersionNumber::compare(QVersionNumber::fromString(a), QVersionNumber::fromString(b));
    return order != 0 ? order : compareText(a, b);
}

int compareNumber(qlonglong a, qlonglong b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

int comparePlugins(const VLPluginItem& a, const VLPluginItem& b, int column) {
    switch (column) {
        case AddonryModel::Version:
            return compareVersion(a.version(), b.version());
        case AddonryModel::Type:
            return compareText(a.type(), b.type());
        case AddonryModel::Enabled:
            return compareNumber(a.disabled(), b.disabled());
        case AddonryModel::Access:
            return compareNumber(a.accessType(), b.accessType());
        case AddonryModel::Computers:
            return compareNumber(a.children().size(), b.children().size());
        case AddonryModel::Status:
            return compareNumber(a.state(), b.state());
        default:
            return compareText(a.name(), b.name());
    }
}

int compareChildren(const QVariantMap& a, const QVariantMap& b, int column) {
    const auto number = [](const QVariantMap& map, const char* key) {
        return map.value(QLatin1String(key)).toLongLong();
    };
    switch (column) {
        case AddonryModel::Version:
            return compareVersion(a.value(QStringLiteral("version")).toString(),
                                  b.value(QStringLiteral("version")).toString());
        case AddonryModel::Enabled:
            return compareNumber(number(a, "disabled"), number(b, "disabled"));
        case AddonryModel::Access:
            return compareNumber(number(a, "accessType"), number(b, "accessType"));
        default:
            return 0;
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
    endResetModel();
}

// ---- Structure

QModelIndex AddonryModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    return createIndex(row, column, parent.isValid() ? quintptr(parent.row()) + 1 : pluginId);
}

QModelIndex AddonryModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == pluginId) return {};
    return createIndex(int(child.internalId() - 1), 0, pluginId);
}

int AddonryModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return int(m_rows.size());
    if (parent.internalId() != pluginId || parent.column() != 0) return 0;
    return computerCount(m_rows.at(parent.row()));
}

int AddonryModel::columnCount(const QModelIndex&) const {
    return ColumnCount;
}

bool AddonryModel::hasChildren(const QModelIndex& parent) const {
    return rowCount(parent) > 0;
}

QVariantMap AddonryModel::child(const QModelIndex& index, bool* missing) const {
    const VLPluginItem& plugin = m_rows.at(qsizetype(index.internalId() - 1));
    const qsizetype present = plugin.children().size();
    if (missing) *missing = index.row() >= present;
    return index.row() < present ? plugin.children().at(index.row()).toMap()
                                 : plugin.missingHosts().at(index.row() - present).toMap();
}

QString AddonryModel::friendlyHost(const QVariantMap& child) const {
    const QString host = hostName(child);
    return m_friendlyName ? m_friendlyName(host) : host;
}

bool AddonryModel::isLess(const QModelIndex& left, const QModelIndex& right) const {
    if (left.internalId() == pluginId) {
        const VLPluginItem &a = m_rows.at(left.row()), &b = m_rows.at(right.row());
        const int order = comparePlugins(a, b, left.column());
        return order != 0 ? order < 0 : compareText(a.name(), b.name()) < 0;
    }
    const QVariantMap a = child(left), b = child(right);
    const int order = compareChildren(a, b, left.column());
    return order != 0 ? order < 0 : compareText(friendlyHost(a), friendlyHost(b)) < 0;
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
    if (index.internalId() == pluginId) return pluginData(m_rows.at(index.row()), index.column(), role);
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
            if (role == Qt::DisplayRole) return plugin.version();
            if (role == Cell::ToneRole && plugin.version() == various) return int(Cell::Tone::Warning);
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
            return statusToolTip(plugin);
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
    return QStringLiteral("Missing on %1: %2").arg(computers(names.size()), names.join(QStringLiteral(", ")));
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
            if (role == Qt::ToolTipRole) return hostName(instance);
            if (role == Cell::ToneRole) return int(missing ? Cell::Tone::Secondary : Cell::Tone::Plain);
            return {};
        case Version:
            if (role == Qt::DisplayRole)
                return missing ? nothing : instance.value(QStringLiteral("version")).toString();
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
            if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
                return instance.value(QStringLiteral("fullPath"));
            if (role == Cell::ToneRole) return int(Cell::Tone::Secondary);
            if (role == Cell::ElideMiddleRole) return true;
            return {};
        default:
            return {};
    }
}

// ---- Sorting and filtering

AddonryFilterModel::AddonryFilterModel(AddonryModel* model, QObject* parent)
    : QSortFilterProxyModel(parent), m_model(model) {
    setSourceModel(model);
}

void AddonryFilterModel::setFilterText(const QString& text) {
    m_text = text.trimmed();
    invalidateFilter();
}

void AddonryFilterModel::setDifferencesOnly(bool only) {
    m_differencesOnly = only;
    invalidateFilter();
}

bool AddonryFilterModel::filterAcceptsRow(int row, const QModelIndex& parent) const {
    if (parent.isValid()) return true;
    const VLPluginItem& plugin = m_model->plugin(row);
    if (m_differencesOnly && !AddonryModel::differs(plugin)) return false;
    const auto contains = [this](const QString& text) { return text.contains(m_text, Qt::CaseInsensitive); };
    return m_text.isEmpty() || contains(plugin.name()) || contains(plugin.type()) ||
           contains(plugin.version());
}

bool AddonryFilterModel::lessThan(const QModelIndex& left, const QModelIndex& right) const {
    return m_model->isLess(left, right);
}
