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
    return CellMark::checkBox(int(enabled), QStringLiteral("Enabled"), QStringLiteral("Disabled"));
}

CellMark runsAsMark(qlonglong root) {
    if (root != 0)
        return {.text = QStringLiteral("Root"),
                .symbol = QStringLiteral("identity"),
                .symbolTone = Cell::Tone::Warning};
    return {.text = QStringLiteral("User"), .symbol = QStringLiteral("user")};
}

}  // namespace

const RowsLook<VLScheduledTask>& cronwellLook() {
    using Row = VLScheduledTask;
    static const RowsLook<Row> look{
        .columns =
            {{"Task", false, taskData},
             {"Schedule", true, scheduleData,
              [](const ClientCopy& job, int role) {
                  return CellMark::valueOf(job.text(frequencyKey), false, role);
              }},
             {"Tool", false, toolData},
             {"Enabled", true, [](const Row& row, int role) { return enabledMark(row.enabled()).data(role); },
              [](const ClientCopy& job, int role) { return enabledMark(job.number(enabledKey)).data(role); }},
             {"Runs As", true, [](const Row& row, int role) { return runsAsMark(row.root()).data(role); },
              [](const ClientCopy& job, int role) { return runsAsMark(job.number(rootKey)).data(role); }}},
        .differences = {{Row::SchedulesDiffer,
                         [](const Row& row) {
                             return row.frequencyDescription() == QLatin1String(Aggregation::various);
                         },
                         [](const Row&) { return QStringLiteral("Schedules differ"); }, "Schedules differ",
                         [](const ClientCopy& job) { return job.text(frequencyKey); }},
                        {Row::EnabledDiffers, [](const Row& row) { return row.enabled() < 0; },
                         [](const Row& row) {
                             return QStringLiteral("Enabled on %1 of %2")
                                 .arg(row.computersWithAllEnabled())
                                 .arg(row.computersWith());
                         },
                         "Enabled on some only",
                         [](const ClientCopy& job) { return enabledMark(job.number(enabledKey)).text; }}},
        .checkColumn = Row::Enabled,
        .absentText = "Not scheduled",
        .matches =
            [](const Row& row, const QString& text) {
                return row.taskDescription().contains(text, Qt::CaseInsensitive) ||
                       row.frequencyDescription().contains(text, Qt::CaseInsensitive) ||
                       toolName(row.taskBundleID()).contains(text, Qt::CaseInsensitive);
            },
        .isOncePerClient = true};
    return look;
}
