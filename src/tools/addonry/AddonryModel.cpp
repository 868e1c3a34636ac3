#include "tools/addonry/AddonryModel.h"

#include "remote/Aggregation.h"
#include "tools/addonry/PluginKeys.h"

namespace {

using namespace PluginKeys;

const QString various = QLatin1String(Aggregation::various);

QString versionText(const QString& version) {
    return version.isEmpty() ? CellMark::nothing : version;
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
    if (accessType == VLPluginItem::CurrentUser)
        return {QStringLiteral("Current User"), QStringLiteral("user")};
    return {QStringLiteral("All Users"), QStringLiteral("users")};
}

QVariant accessData(qlonglong accessType, int role) {
    return role == Cell::PopUpRole ? QVariant(true) : accessMark(accessType).data(role);
}

int disabledFlag(const QVariantMap& instance) {
    return instance.value(disabledKey).toInt();
}

qlonglong accessType(const QVariantMap& instance) {
    return instance.value(accessTypeKey).toLongLong();
}

}  // namespace

AddonryModel::AddonryModel(std::function<QString(const QString&)> friendlyName, QObject* parent)
    : MergedOutlineModel({{"name", "Name"},
                          {"version", "Version", true},
                          {"type", "Type"},
                          {"disabled", "Enabled", true},
                          {"accessType", "Access", true},
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

QString AddonryModel::copyKey(const QVariantMap& client) const {
    return client.value(pathKey).toString();
}

/// Also those that the state does not name.
QStringList AddonryModel::differences(int row) const {
    const VLPluginItem& plugin = m_rows.at(row);
    QStringList lines;
    if (plugin.state() == VLPluginItem::Missing) lines << statusText(row);
    if (plugin.version() == various)
        lines += listOfClients(row, QStringLiteral("Versions differ"), [](const QVariantMap& instance) {
            return instance.value(versionKey).toString();
        });
    if (plugin.disabled() < 0)
        lines += listOfClients(row, QStringLiteral("Enabled on some only"), [](const QVariantMap& instance) {
            return enabledMark(disabledFlag(instance)).text;
        });
    if (plugin.accessType() < 0)
        lines += listOfClients(row, QStringLiteral("Access differs"), [](const QVariantMap& instance) {
            return accessMark(accessType(instance)).text;
        });
    return lines;
}

QVariant AddonryModel::clientData(const QVariantMap& client, bool isMissing, int column, int role) const {
    if (isMissing) return missingData(column, role, QStringLiteral("Not installed"));
    switch (column) {
        case Version:
            if (role != Qt::DisplayRole) return {};
            return versionText(client.value(versionKey).toString());
        case Enabled:
            return enabledMark(disabledFlag(client)).data(role);
        case Access:
            return accessData(accessType(client), role);
        case Status:
            return placeData(client.value(pathKey).toString(), role);
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
