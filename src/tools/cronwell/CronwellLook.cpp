// How the merged scheduled tasks look in their outline.
#include "remote/Aggregation.h"
#include "tools/cronwell/CronwellView.h"
#include "tools/cronwell/ToolNames.h"
#include "widgets/PlainText.h"

#include <QFile>

namespace {

using namespace TaskKeys;

QVariant taskData(const VLScheduledTask& row, int role) {
    if (role == Qt::DisplayRole) return row.taskDescription();
    if (role != Cell::DrawingRole) return {};
    const QString drawing =
        QStringLiteral(":/icons/tools/%1.svg").arg(toolName(row.taskBundleID()).toLower());
    return QFile::exists(drawing) ? drawing : QStringLiteral(":/icons/tools/applications.svg");
}

QVariant scheduleData(const VLScheduledTask& row, int role) {
    const QString& schedule = row.frequencyDescription();
    return CellMark::valueOf(schedule, schedule == QLatin1String(Aggregation::various), role);
}

QVariant toolData(const VLScheduledTask& row, int role) {
    if (role == Qt::DisplayRole) return toolName(row.taskBundleID());
    return role == Qt::ToolTipRole ? QVariant(literalText(row.taskBundleID())) : QVariant();
}

CellMark enabledMark(qlonglong enabled) {
    return CellMark::checkBox(int(enabled), CronwellView::tr("Enabled"), CronwellView::tr("Disabled"));
}

CellMark runsAsMark(qlonglong root) {
    if (root != 0)
        return {.text = CronwellView::tr("Root"),
                .symbol = QStringLiteral("identity"),
                .symbolTone = Cell::Tone::Warning};
    return {.text = CronwellView::tr("User"), .symbol = QStringLiteral("user")};
}

}  // namespace

const RowsLook<VLScheduledTask>& cronwellLook() {
    using Row = VLScheduledTask;
    static const RowsLook<Row> look{
        .columns =
            {{QT_TRANSLATE_NOOP("MergedOutlineModel", "Task"), false, taskData},
             {QT_TRANSLATE_NOOP("MergedOutlineModel", "Schedule"), true, scheduleData,
              [](const ClientCopy& job, int role) {
                  return CellMark::valueOf(job.text(frequencyKey), false, role);
              }},
             {QT_TRANSLATE_NOOP("MergedOutlineModel", "Tool"), false, toolData},
             {QT_TRANSLATE_NOOP("MergedOutlineModel", "Enabled"), true,
              [](const Row& row, int role) { return enabledMark(row.enabled()).data(role); },
              [](const ClientCopy& job, int role) { return enabledMark(job.number(enabledKey)).data(role); }},
             {QT_TRANSLATE_NOOP("MergedOutlineModel", "Runs As"), true,
              [](const Row& row, int role) { return runsAsMark(row.root()).data(role); },
              [](const ClientCopy& job, int role) { return runsAsMark(job.number(rootKey)).data(role); }}},
        .differences = {{Row::SchedulesDiffer,
                         [](const Row& row) {
                             return row.frequencyDescription() == QLatin1String(Aggregation::various);
                         },
                         [](const Row&) { return MergedOutlineModel::tr("Schedules differ"); },
                         QT_TRANSLATE_NOOP("MergedOutlineModel", "Schedules differ"),
                         [](const ClientCopy& job) { return job.text(frequencyKey); }},
                        {Row::EnabledDiffers, [](const Row& row) { return row.enabled() < 0; },
                         [](const Row& row) {
                             return MergedOutlineModel::tr("Enabled on %1 of %2")
                                 .arg(row.computersWithAllEnabled())
                                 .arg(row.computersWith());
                         },
                         QT_TRANSLATE_NOOP("MergedOutlineModel", "Enabled on some only"),
                         [](const ClientCopy& job) { return enabledMark(job.number(enabledKey)).text; }}},
        .checkColumn = Row::Enabled,
        .absentText = QT_TRANSLATE_NOOP("MergedOutlineModel", "Not scheduled"),
        .matches =
            [](const Row& row, const QString& text) {
                return row.taskDescription().contains(text, Qt::CaseInsensitive) ||
                       row.frequencyDescription().contains(text, Qt::CaseInsensitive) ||
                       toolName(row.taskBundleID()).contains(text, Qt::CaseInsensitive);
            },
        .isOncePerClient = true};
    return look;
}
