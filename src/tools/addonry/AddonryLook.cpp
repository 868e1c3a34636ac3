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
    return CellMark::checkBox(disabled < 0 ? -1 : int(disabled == 0), AddonryView::tr("Enabled"),
                              AddonryView::tr("Disabled"));
}

CellMark accessMark(qlonglong accessType) {
    using enum Cell::Tone;
    if (accessType < 0) return {various, QStringLiteral("mixed"), Warning, Warning};
    if (accessType == VLPluginItem::CurrentUser)
        return {AddonryView::tr("Current User"), QStringLiteral("user")};
    return {AddonryView::tr("All Users"), QStringLiteral("users")};
}

QVariant accessData(qlonglong accessType, int role) {
    return role == Cell::PopUpRole ? QVariant(true) : accessMark(accessType).data(role);
}

}  // namespace

const RowsLook<VLPluginItem>& addonryLook() {
    using Row = VLPluginItem;
    static const RowsLook<Row> look{
        .columns = {{QT_TRANSLATE_NOOP("MergedOutlineModel", "Name"), false, nameData},
                    {QT_TRANSLATE_NOOP("MergedOutlineModel", "Version"), true, versionData, copyVersionData},
                    {QT_TRANSLATE_NOOP("MergedOutlineModel", "Type"), false,
                     [](const Row& row, int role) {
                         return role == Qt::DisplayRole ? QVariant(row.type()) : QVariant();
                     }},
                    {QT_TRANSLATE_NOOP("MergedOutlineModel", "Enabled"), true,
                     [](const Row& row, int role) { return enabledMark(row.disabled()).data(role); },
                     [](const ClientCopy& copy, int role) {
                         return enabledMark(copy.number(disabledKey)).data(role);
                     }},
                    {QT_TRANSLATE_NOOP("MergedOutlineModel", "Access"), true,
                     [](const Row& row, int role) { return accessData(row.accessType(), role); },
                     [](const ClientCopy& copy, int role) {
                         return accessData(copy.number(accessTypeKey), role);
                     }}},
        .differences =
            {{Row::VersionsDiffer, [](const Row& row) { return row.version() == various; },
              [](const Row&) { return MergedOutlineModel::tr("Versions differ"); },
              QT_TRANSLATE_NOOP("MergedOutlineModel", "Versions differ"),
              [](const ClientCopy& copy) { return copy.text(versionKey); }},
             {Row::EnabledDiffers, [](const Row& row) { return row.disabled() < 0; },
              [](const Row& row) {
                  const qsizetype count = row.copies().size();
                  return MergedOutlineModel::tr("Enabled on %1 of %2")
                      .arg(count - row.disabledCount())
                      .arg(count);
              },
              QT_TRANSLATE_NOOP("MergedOutlineModel", "Enabled on some only"),
              [](const ClientCopy& copy) { return enabledMark(copy.number(disabledKey)).text; }},
             {Row::AccessTypeDiffers, [](const Row& row) { return row.accessType() < 0; },
              [](const Row&) { return MergedOutlineModel::tr("Access differs"); },
              QT_TRANSLATE_NOOP("MergedOutlineModel", "Access differs"),
              [](const ClientCopy& copy) { return accessMark(copy.number(accessTypeKey)).text; }},
             // As many copies as there are computers, or more, and yet another number: somebody has it twice.
             {Row::Missing, [](const Row&) { return false; },
              [](const Row&) { return MergedOutlineModel::tr("Several copies on one computer"); }}},
        .checkColumn = Row::Enabled,
        .absentText = QT_TRANSLATE_NOOP("MergedOutlineModel", "Not installed"),
        .matches = [](const Row& row, const QString& text) {
            return row.name().contains(text, Qt::CaseInsensitive) ||
                   row.type().contains(text, Qt::CaseInsensitive) ||
                   row.version().contains(text, Qt::CaseInsensitive);
        }};
    return look;
}
