// How the merged plug-ins look in their outline.
#include "remote/Aggregation.h"
#include "tools/addonry/AddonryView.h"

namespace {

using namespace PluginKeys;

const QString various = QLatin1String(Aggregation::various);

QVariant nameData(const VLPluginItem& row, int role) {
    if (role == Qt::DisplayRole) return row.name();
    if (role != Cell::DrawingRole) return {};
    QString drawing = QStringLiteral("other");
    if (row.type() == QLatin1String("FxPlug"))
        drawing = QStringLiteral("fxplug");
    else if (row.type() == QLatin1String("FxScript"))
        drawing = QStringLiteral("fxscript");
    else if (row.type() == QLatin1String("Audio Unit"))
        drawing = QStringLiteral("audio-unit");
    return QStringLiteral(":/icons/tools/%1.svg").arg(drawing);
}

QVariant versionData(const VLPluginItem& row, int role) {
    return CellMark::valueOf(row.version(), row.version() == various, role);
}

QVariant copyVersionData(const ClientCopy& copy, int role) {
    return CellMark::valueOf(copy.text(versionKey), false, role);
}

/// The box is ticked where the plug-in is enabled.
CellMark enabledMark(qlonglong disabled) {
    return CellMark::checkBox(disabled < 0 ? -1 : int(disabled == 0), QStringLiteral("Enabled"),
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

}  // namespace

const RowsLook<VLPluginItem>& addonryLook() {
    using Row = VLPluginItem;
    static const RowsLook<Row> look{
        .columns = {{"Name", false, nameData},
                    {"Version", true, versionData, copyVersionData},
                    {"Type", false,
                     [](const Row& row, int role) {
                         return role == Qt::DisplayRole ? QVariant(row.type()) : QVariant();
                     }},
                    {"Enabled", true,
                     [](const Row& row, int role) { return enabledMark(row.disabled()).data(role); },
                     [](const ClientCopy& copy, int role) {
                         return enabledMark(copy.number(disabledKey)).data(role);
                     }},
                    {"Access", true,
                     [](const Row& row, int role) { return accessData(row.accessType(), role); },
                     [](const ClientCopy& copy, int role) {
                         return accessData(copy.number(accessTypeKey), role);
                     }}},
        .differences =
            {{Row::VersionsDiffer, [](const Row& row) { return row.version() == various; },
              [](const Row&) { return QStringLiteral("Versions differ"); }, "Versions differ",
              [](const ClientCopy& copy) { return copy.text(versionKey); }},
             {Row::EnabledDiffers, [](const Row& row) { return row.disabled() < 0; },
              [](const Row& row) {
                  const qsizetype count = row.copies().size();
                  return QStringLiteral("Enabled on %1 of %2").arg(count - row.disabledCount()).arg(count);
              },
              "Enabled on some only",
              [](const ClientCopy& copy) { return enabledMark(copy.number(disabledKey)).text; }},
             {Row::AccessTypeDiffers, [](const Row& row) { return row.accessType() < 0; },
              [](const Row&) { return QStringLiteral("Access differs"); }, "Access differs",
              [](const ClientCopy& copy) { return accessMark(copy.number(accessTypeKey)).text; }},
             // As many copies as there are computers, or more, and yet another number: somebody has it twice.
             {Row::Missing, [](const Row&) { return false; },
              [](const Row&) { return QStringLiteral("Several copies on one computer"); }}},
        .checkColumn = Row::Enabled,
        .absentText = "Not installed",
        .matches = [](const Row& row, const QString& text) {
            return row.name().contains(text, Qt::CaseInsensitive) ||
                   row.type().contains(text, Qt::CaseInsensitive) ||
                   row.version().contains(text, Qt::CaseInsensitive);
        }};
    return look;
}
