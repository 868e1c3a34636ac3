#include "tools/cronwell/CronwellModel.h"

#include "remote/Aggregation.h"
#include "tools/cronwell/TaskKeys.h"
#include "tools/cronwell/ToolNames.h"
#include "widgets/PlainText.h"

#include <QFile>

namespace {

using namespace TaskKeys;

QString toolDrawing(const QString& bundleID) {
    const QString path = QStringLiteral(":/icons/tools/%1.svg").arg(toolName(bundleID).toLower());
    return QFile::exists(path) ? path : QStringLiteral(":/icons/tools/applications.svg");
}

CellMark enabledMark(int enabled) {
    return CellMark::checkBox(enabled, QStringLiteral("Enabled"), QStringLiteral("Disabled"));
}

int enabledFlag(const QVariantMap& instance) {
    return instance.value(enabledKey).toInt();
}

CellMark runsAsMark(qlonglong root) {
    if (root != 0)
        return {.text = QStringLiteral("Root"),
                .symbol = QStringLiteral("identity"),
                .symbolTone = Cell::Tone::Warning};
    return {.text = QStringLiteral("User"), .symbol = QStringLiteral("user")};
}

QVariant scheduleData(const QString& schedule, int role) {
    const bool differs = schedule == QLatin1String(Aggregation::various);
    if (role == Qt::DisplayRole) return schedule.isEmpty() ? CellMark::nothing : schedule;
    if (role == Cell::ToneRole && differs) return int(Cell::Tone::Warning);
    if (role == Cell::ToneRole && schedule.isEmpty()) return int(Cell::Tone::Faint);
    return {};
}

}  // namespace

CronwellModel::CronwellModel(std::function<QString(const QString&)> friendlyName, QObject* parent)
    : MergedOutlineModel({{"taskDescription", "Task"},
                          {"frequencyDescription", "Schedule", true},
                          {"taskBundleID", "Tool"},
                          {"enabled", "Enabled", true},
                          {"root", "Runs As", true},
                          {"computers", "Computers"},
                          {"state", "Status"}},
                         std::move(friendlyName), parent) {}

void CronwellModel::setRows(QList<VLScheduledTask> rows) {
    replaceRows([&] { m_rows = std::move(rows); });
}

QString CronwellModel::rowKey(int row) const {
    return keyFor(m_rows.at(row).taskBundleID(), m_rows.at(row).taskDescription());
}

QVariant CronwellModel::rowData(int row, int column, int role) const {
    const VLScheduledTask& task = m_rows.at(row);
    switch (column) {
        case Task:
            if (role == Qt::DisplayRole) return task.taskDescription();
            if (role == Cell::DrawingRole) return toolDrawing(task.taskBundleID());
            return {};
        case Schedule:
            return scheduleData(task.frequencyDescription(), role);
        case Tool:
            if (role == Qt::DisplayRole) return toolName(task.taskBundleID());
            if (role == Qt::ToolTipRole) return literalText(task.taskBundleID());
            return {};
        case Enabled:
            return enabledMark(task.enabled()).data(role);
        case RunsAs:
            return runsAsMark(task.root()).data(role);
        case Computers:
            return countData(row, role);
        case Status:
            return statusData(row, role);
        default:
            return {};
    }
}

QString CronwellModel::statusText(int row) const {
    const VLScheduledTask& task = m_rows.at(row);
    switch (task.state()) {
        case VLScheduledTask::SchedulesDiffer:
            return QStringLiteral("Schedules differ");
        case VLScheduledTask::EnabledDiffers:
            return QStringLiteral("Enabled on %1 of %2").arg(task.enabledCount()).arg(task.children().size());
        case VLScheduledTask::Missing:
            return missingText(row);
        default:
            return QStringLiteral("No differences");
    }
}

QString CronwellModel::copyKey(const QVariantMap& client) const {
    return client.value(fileNameKey).toString();
}

/// Also those that the state does not name.
QStringList CronwellModel::differences(int row) const {
    const VLScheduledTask& task = m_rows.at(row);
    QStringList lines;
    if (!task.missingHosts().isEmpty()) lines << missingText(row);
    if (task.frequencyDescription() == QLatin1String(Aggregation::various))
        lines += listOfClients(row, QStringLiteral("Schedules differ"), [](const QVariantMap& instance) {
            return instance.value(frequencyKey).toString();
        });
    if (task.enabled() < 0)
        lines += listOfClients(row, QStringLiteral("Enabled on some only"), [](const QVariantMap& instance) {
            return enabledMark(enabledFlag(instance)).text;
        });
    return lines;
}

QVariant CronwellModel::clientData(const QVariantMap& client, bool isMissing, int column, int role) const {
    if (isMissing) return missingData(column, role, QStringLiteral("Not scheduled"));
    switch (column) {
        case Schedule:
            return scheduleData(client.value(frequencyKey).toString(), role);
        case Enabled:
            return enabledMark(enabledFlag(client)).data(role);
        case RunsAs:
            return runsAsMark(client.value(rootKey).toLongLong()).data(role);
        case Status:
            return placeData(client.value(fileNameKey).toString(), role);
        default:
            return {};
    }
}

bool CronwellModel::matches(int row, const QString& text) const {
    const VLScheduledTask& task = m_rows.at(row);
    return task.taskDescription().contains(text, Qt::CaseInsensitive) ||
           task.frequencyDescription().contains(text, Qt::CaseInsensitive) ||
           toolName(task.taskBundleID()).contains(text, Qt::CaseInsensitive);
}

MergedOutlineModel::SortKey CronwellModel::sortKey(int row, int column) const {
    const VLScheduledTask& task = m_rows.at(row);
    switch (column) {
        case Schedule:
            return {.text = task.frequencyDescription().toCaseFolded()};
        case Tool:
            return {.text = toolName(task.taskBundleID()).toCaseFolded()};
        case Enabled:
            return {.number = double(task.enabled())};
        case RunsAs:
            return {.number = double(task.root())};
        case Computers:
            return {.number = double(computersWith(row))};
        case Status:
            return {.number = double(task.state())};
        default:
            return {.text = task.taskDescription().toCaseFolded()};
    }
}
