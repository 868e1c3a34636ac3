#include "runs/ActivityExport.h"

#include "runs/ActivityDatabase.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

namespace {

constexpr int runsBetweenReports = 200;

QString timeText(const QDateTime& time) {
    return time.toUTC().toString(Qt::ISODateWithMs);
}

/// A spreadsheet takes what begins like this for a formula, and may run it.
bool looksLikeFormula(const QString& text) {
    return !text.isEmpty() && QStringLiteral("=+-@\t\r\n").contains(text.front());
}

QString csvCell(const QString& text) {
    QString cell = looksLikeFormula(text) ? QLatin1Char('\'') + text : text;
    const bool needsQuotes = cell.contains(QLatin1Char(',')) || cell.contains(QLatin1Char('"')) ||
                             cell.contains(QLatin1Char('\n')) || cell.contains(QLatin1Char('\r'));
    if (!needsQuotes) return cell;
    return QLatin1Char('"') + cell.replace(QLatin1Char('"'), QLatin1String("\"\"")) + QLatin1Char('"');
}

QByteArray csvLine(const QStringList& texts) {
    QStringList cells;
    for (const QString& text : texts)
        cells << csvCell(text);
    return cells.join(QLatin1Char(',')).toUtf8() + "\r\n";
}

QByteArray csvHeading() {
    return csvLine({QStringLiteral("Started"), QStringLiteral("Ended"), QStringLiteral("User"),
                    QStringLiteral("Tool"), QStringLiteral("Action"), QStringLiteral("Subject"),
                    QStringLiteral("Change"), QStringLiteral("Computer"), QStringLiteral("Host Name"),
                    QStringLiteral("Outcome"), QStringLiteral("Reason"), QStringLiteral("Run"),
                    QStringLiteral("Undo Of"), QStringLiteral("Retry Of")});
}

QByteArray csvOf(const RunRecord& run) {
    QByteArray lines;
    const auto add = [&](const HostOutcome& host, const QString& outcome) {
        lines += csvLine({timeText(run.started), timeText(run.ended), run.user, run.tool, run.action,
                          run.subject, run.isChange ? QStringLiteral("yes") : QStringLiteral("no"), host.name,
                          host.hostName, outcome, host.outcome.reason, run.id, run.undoOf, run.retryOf});
    };
    for (const HostOutcome& host : run.outcomes)
        add(host, Outcome::word(host.outcome.kind));
    if (run.outcomes.isEmpty()) add({}, {});
    return lines;
}

QByteArray jsonOf(const RunRecord& run) {
    QJsonArray outcomes;
    for (const HostOutcome& host : run.outcomes)
        outcomes.append(QJsonObject{{QStringLiteral("computer"), host.name},
                                    {QStringLiteral("hostName"), host.hostName},
                                    {QStringLiteral("outcome"), Outcome::word(host.outcome.kind)},
                                    {QStringLiteral("reason"), host.outcome.reason}});
    const QJsonObject object{{QStringLiteral("id"), run.id},
                             {QStringLiteral("started"), timeText(run.started)},
                             {QStringLiteral("ended"), timeText(run.ended)},
                             {QStringLiteral("user"), run.user},
                             {QStringLiteral("tool"), run.tool},
                             {QStringLiteral("action"), run.action},
                             {QStringLiteral("subject"), run.subject},
                             {QStringLiteral("isChange"), run.isChange},
                             {QStringLiteral("undoOf"), run.undoOf},
                             {QStringLiteral("retryOf"), run.retryOf},
                             {QStringLiteral("outcomes"), outcomes}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

/// Around and between the runs.
struct Frame {
    QByteArray beginning, separator, end;
};

Frame frameOf(ActivityExport::Format format) {
    if (format == ActivityExport::Format::Csv) return {csvHeading(), {}, {}};
    return {"[\n", ",\n", "\n]\n"};
}

}  // namespace

ActivityExport::Result ActivityExport::write(const QString& activityFile, const ActivityKeys& keys,
                                             Format format, const QString& target,
                                             const std::function<bool(int)>& goesOn) {
    QSaveFile file(target);
    const auto problem = [&] { return QStringLiteral("%1: %2").arg(target, file.errorString()); };
    if (!file.open(QIODevice::WriteOnly)) return {0, problem()};
    const Frame frame = frameOf(format);
    int runs = 0;
    bool isWritten = file.write(frame.beginning) == frame.beginning.size();
    try {
        const auto database = ActivityDatabase::open(activityFile);
        for (const qint64 key : keys) {
            if (!isWritten) break;
            const auto run = database->record(key, ActivityDatabase::Undo::Without);
            if (!run) continue;  // it has become too old meanwhile
            QByteArray bytes = format == Format::Csv ? csvOf(*run) : jsonOf(*run);
            if (runs > 0) bytes.prepend(frame.separator);
            isWritten = file.write(bytes) == bytes.size();
            if (++runs % runsBetweenReports == 0 && goesOn && !goesOn(runs))
                return {runs, QStringLiteral("Stopped")};
        }
    } catch (const ActivityError& error) {
        return {runs, error.text()};
    }
    isWritten = isWritten && file.write(frame.end) == frame.end.size() && file.flush();
    if (!isWritten || !file.commit()) return {runs, problem()};
    return {runs, {}};
}
