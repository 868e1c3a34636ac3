#include "tools/addonry/AddonryModel.h"

#include "widgets/PlainText.h"

namespace {

constexpr qlonglong currentUser = 1;
const QString various = QStringLiteral("(various)");
const QString nothing = QStringLiteral("–");

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

/// The box is ticked where the plug-in is enabled.
CellMark enabledMark(int disabled) {
    return CellMark::checkBox(disabled < 0 ? -1 : (disabled == 1 ? 0 : 1), QStringLiteral("Enabled"),
                              QStringLiteral("Disabled"));
}

CellMark accessMark(qlonglong accessType) {
    using enum Cell::Tone;
    if (accessType < 0) return {various, QStringLiteral("mixed"), Warning, Warning};
    if (accessType == currentUser) return {QStringLiteral("Current User"), QStringLiteral("user")};
    return {QStringLiteral("All Users"), QStringLiteral("users")};
}

QVariant accessData(qlonglong accessType, int role) {
    return role == Cell::PopUpRole ? QVariant(true) : accessMark(accessType).data(role);
}

int disabledFlag(const QVariantMap& instance) {
    return instance.value(QStringLiteral("disabled")).toInt();
}

qlonglong accessType(const QVariantMap& instance) {
    return instance.value(QStringLiteral("accessType")).toLongLong();
}

QVariant missingData(int column, int role) {
    using enum Cell::Tone;
    if (role == Cell::ToneRole) return int(column == AddonryModel::Status ? Warning : Faint);
    if (column != AddonryModel::Status) {
        const bool hasValue = column == AddonryModel::Version || column == AddonryModel::Enabled ||
                              column == AddonryModel::Access;
        return role == Qt::DisplayRole && hasValue ? QVariant(nothing) : QVariant();
    }
    if (role == Qt::DisplayRole) return QStringLiteral("Not installed");
    if (role == Cell::SymbolRole) return QStringLiteral("missing");
    if (role == Cell::SymbolToneRole) return int(Warning);
    return {};
}

}  // namespace

AddonryModel::AddonryModel(std::function<QString(const QString&)> friendlyName, QObject* parent)
    : MergedOutlineModel({{"name", "Name"},
                          {"version", "Version"},
                          {"type", "Type"},
                          {"disabled", "Enabled"},
                          {"accessType", "Access"},
                          {"computers", "Computers"},
                          {"state", "Status"}},
                         std::move(friendlyName), parent) {}

void AddonryModel::setRows(QList<VLPluginItem> rows) {
    replaceRows([&] { m_rows = std::move(rows); });
}

QVariant AddonryModel::rowData(int row, int column, int role) const {
    const VLPluginItem& plugin = m_rows.at(row);
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
            return enabledMark(plugin.disabled()).data(role);
        case Access:
            return accessData(plugin.accessType(), role);
        case Computers:
            return countData(row, role);
        case Status:
            return statusData(row, role);
        default:
            return {};
    }
}

QVariant AddonryModel::statusData(int row, int role) const {
    const bool alike = !differs(row);
    switch (role) {
        case Qt::DisplayRole:
            return statusText(row);
        case Qt::ToolTipRole:
            return literalText(statusToolTip(row));
        case Cell::ToneRole:
            return int(alike ? Cell::Tone::Secondary : Cell::Tone::Plain);
        case Cell::SymbolToneRole:
            return int(alike ? Cell::Tone::Good : Cell::Tone::Warning);
        case Cell::SymbolRole:
            if (!m_rows.at(row).missingHosts().isEmpty()) return QStringLiteral("missing");
            return alike ? QStringLiteral("check") : QStringLiteral("warning");
        default:
            return {};
    }
}

QString AddonryModel::statusText(int row) const {
    const VLPluginItem& plugin = m_rows.at(row);
    const qsizetype count = plugin.children().size();
    switch (plugin.state()) {
        case VLPluginItem::VersionsDiffer:
            return QStringLiteral("Versions differ");
        case VLPluginItem::EnabledDiffers:
            return QStringLiteral("Enabled on %1 of %2").arg(count - plugin.disabledCount()).arg(count);
        case VLPluginItem::AccessTypeDiffers:
            return QStringLiteral("Access differs");
        case VLPluginItem::Missing:
            // As many copies as there are computers, or more, and yet another number: somebody has it twice.
            return plugin.missingHosts().isEmpty() ? QStringLiteral("Several copies on one computer")
                                                   : missingText(row);
        default:
            return QStringLiteral("No differences");
    }
}

/// Every difference, not only the one that names the state.
QString AddonryModel::statusToolTip(int row) const {
    const VLPluginItem& plugin = m_rows.at(row);
    QStringList lines;
    if (plugin.state() == VLPluginItem::Missing) lines << statusText(row);
    if (plugin.version() == various) {
        listClients(
            row, QStringLiteral("Versions differ"),
            [](const QVariantMap& instance) { return instance.value(QStringLiteral("version")).toString(); },
            lines);
    }
    if (plugin.disabled() < 0) {
        listClients(
            row, QStringLiteral("Enabled on some only"),
            [](const QVariantMap& instance) { return enabledMark(disabledFlag(instance)).text; }, lines);
    }
    if (plugin.accessType() < 0) {
        listClients(
            row, QStringLiteral("Access differs"),
            [](const QVariantMap& instance) { return accessMark(accessType(instance)).text; }, lines);
    }
    if (lines.isEmpty()) lines << alikeText(row);
    return lines.join(QLatin1Char('\n'));
}

QVariant AddonryModel::clientData(const QVariantMap& client, bool isMissing, int column, int role) const {
    if (isMissing) return missingData(column, role);
    switch (column) {
        case Version:
            if (role != Qt::DisplayRole) return {};
            return versionText(client.value(QStringLiteral("version")).toString());
        case Enabled:
            return enabledMark(disabledFlag(client)).data(role);
        case Access:
            return accessData(accessType(client), role);
        case Status:
            if (role == Qt::DisplayRole) return client.value(QStringLiteral("fullPath"));
            if (role == Qt::ToolTipRole)
                return literalText(client.value(QStringLiteral("fullPath")).toString());
            if (role == Cell::ToneRole) return int(Cell::Tone::Secondary);
            if (role == Cell::ElideMiddleRole) return true;
            return {};
        default:
            return {};
    }
}

bool AddonryModel::matches(int row, const QString& text) const {
    const VLPluginItem& plugin = m_rows.at(row);
    return plugin.name().contains(text, Qt::CaseInsensitive) ||
           plugin.type().contains(text, Qt::CaseInsensitive) ||
           plugin.version().contains(text, Qt::CaseInsensitive);
}

MergedOutlineModel::SortKey AddonryModel::sortKey(int row, int column) const {
    const VLPluginItem& plugin = m_rows.at(row);
    switch (column) {
        case Version:
            return {.text = plugin.version(), .version = QVersionNumber::fromString(plugin.version())};
        case Type:
            return {.text = plugin.type()};
        case Enabled:
            return {.number = double(plugin.disabled())};
        case Access:
            return {.number = double(plugin.accessType())};
        case Computers:
            return {.number = double(computersWith(row))};
        case Status:
            return {.number = double(plugin.state())};
        default:
            return {.text = plugin.name().toCaseFolded()};
    }
}
