#pragma once

#include "foundation/MainThread.h"
#include "foundation/StoredSorting.h"
#include "logs/VLLog.h"
#include "tools/Tool.h"
#include "tools/merged/RowMerger.h"
#include "tools/merged/RowOrder.h"

#include <QHash>

#include <numeric>
#include <variant>

/// The controller of a tool whose results are merged rows: reading them, the rows as they stand, writing what
/// the user changes into them, and the report.
///
/// A Row is a MergedRow as RowMerger wants it, with `checked(answer)`, `key()`, `copyKey()`, `writeToAll()`,
/// `columnNames()` and `sortKey(column)`.
template <typename Row>
class MergedController : public ToolController {
public:
    /// What a change is about: everything on every client, one client's copy, or a row with all its copies.
    using Subject = std::variant<std::monostate, ClientCopy, Row>;
    struct Edit {
        Subject subject;
        qlonglong value = 0;
    };

    [[nodiscard]] const QList<Row>& rows() const { return m_rows; }  ///< main thread
    void setRows(QList<Row> rows) {                                  ///< main thread
        m_rows = std::move(rows);
        m_hasResult = true;
        Q_EMIT changed();
    }
    void clearData() override {
        m_rows.clear();
        forgetResult();
    }
    /// By the column and the direction of the pane.
    [[nodiscard]] ToolReport report() const override {
        ToolReport report;
        report.header = reportTitles();
        report.header << QStringLiteral("Computers") << QStringLiteral("Differs")
                      << QStringLiteral("Missing on");
        for (const int place : sortedPlaces(m_rows)) {
            const Row& row = m_rows.at(place);
            report.rows.append(reportCells(row));
            report.rows.last() << QString::number(row.computersWith()) << differenceWord(row)
                               << missingOn(row).join(QStringLiteral(", "));
        }
        return report;
    }

protected:
    using ToolController::ToolController;

    /// What is asked, and the words for it.
    struct Source {
        const char *operation, *logLine, *selector;
        const char* complaint;  ///< "Plug-in list of %@: %@"
    };
    /// `table`: begins the names of the stored sort settings.
    [[nodiscard]] virtual QString table() const = 0;
    [[nodiscard]] virtual QStringList reportTitles() const = 0;
    [[nodiscard]] virtual QStringList reportCells(const Row& row) const = 0;
    [[nodiscard]] virtual QString differenceWord(const Row& row) const = 0;

    // Workers.
    void refreshRows(const Source& source) {
        runRefresh(
            QLatin1String(source.operation), QLatin1String(source.logLine), Display::StatusBar,
            [this] { return m_rows.isEmpty(); }, [&](Reading& reading) { populate(source, reading); });
    }
    [[nodiscard]] QList<Row> copyOfRows() const {  ///< any thread
        QList<Row> rows;
        onMainThreadAndWait([&] { rows = m_rows; });
        return rows;
    }

    struct SubjectWords {
        QString several, all;  ///< "%1 plug-ins", "all plug-ins"
    };
    /// "Film Grain", "3 plug-ins" or "all plug-ins".
    [[nodiscard]] static QString subjectOf(const QList<Edit>& edits, const SubjectWords& words) {
        if (edits.size() > 1) return words.several.arg(edits.size());
        const Subject subject = edits.isEmpty() ? Subject() : edits.first().subject;
        if (const auto* row = std::get_if<Row>(&subject)) return row->title();
        if (const auto* copy = std::get_if<ClientCopy>(&subject)) return copy->text(Row::titleKey());
        return words.all;
    }
    /// Whom the edit of one client's copy may concern: with administrator rights a tool may tell all clients
    /// to change what is there.
    enum class CopyConcerns { OneClient, AllClients };
    /// Whom the edits are for: the clients that have what they are about, or all that are selected.
    [[nodiscard]] QList<RemoteClientPtr> clientsOf(const QList<Edit>& edits, CopyConcerns concerns) const {
        QStringList hostNames;
        for (const Edit& edit : edits) {
            const auto* const row = std::get_if<Row>(&edit.subject);
            const auto* const copy = std::get_if<ClientCopy>(&edit.subject);
            if (!row && (!copy || concerns == CopyConcerns::AllClients)) {
                const QList<VLServicePtr> selected = context().selectedServices();
                return {selected.begin(), selected.end()};
            }
            if (copy) hostNames.append(copy->hostName);
            for (const ClientCopy& own : row ? row->copies() : QList<ClientCopy>())
                hostNames.append(own.hostName);
        }
        hostNames.removeDuplicates();
        return clientsNamed(hostNames);
    }

    /// Writes the value into what the targets name, and says what that is now. Targets that are gone are
    /// skipped. Main thread.
    [[nodiscard]] QList<Edit> write(const QList<RowTarget>& targets, const QString& key, qlonglong value) {
        const QHash<QString, qsizetype> places = placesByKey();
        QList<Edit> edits;
        for (const RowTarget& target : targets) {
            const auto place = places.constFind(target.row);
            if (place == places.cend()) continue;
            Row& row = m_rows[*place];
            if (target.isWholeRow()) {
                row.writeToAll(key, value);
                edits.append({row, value});
                continue;
            }
            const qsizetype copy = row.copyFor(target, Row::copyKey());
            if (copy < 0) continue;
            row.setCopyValue(copy, key, value);
            edits.append({row.copies().at(copy), value});
        }
        if (!edits.isEmpty()) Q_EMIT changed();
        return edits;
    }

private:
    void populate(const Source& source, Reading& reading) {
        RowMerger<Row> merger;
        const auto take = [&](const RemoteClient& client, const QVariant& answer) {
            if (!answer.isValid()) return merger.addUnanswered(client.hostName());
            AgentAnswer::Entries entries = Row::checked(answer);
            if (!entries.complaint.isEmpty())
                VLLog::appendLog(QLatin1String(source.complaint), client.name(), entries.complaint);
            merger.add(client.hostName(), std::move(entries.entries));
        };
        if (!askEach(QLatin1String(source.selector), reading, take)) return;
        QList<Row> merged = merger.takeRows(), rows;
        rows.reserve(merged.size());
        for (const int place : sortedPlaces(merged))
            rows.append(std::move(merged[place]));
        install(reading, [&] { setRows(std::move(rows)); });
    }
    [[nodiscard]] QHash<QString, qsizetype> placesByKey() const {
        QHash<QString, qsizetype> places;
        places.reserve(m_rows.size());
        for (qsizetype place = 0; place < m_rows.size(); ++place)
            places.insert(m_rows.at(place).key(), place);
        return places;
    }
    [[nodiscard]] std::vector<int> sortedPlaces(const QList<Row>& rows) const {
        const StoredSorting sorting = storedSorting(table(), Row::columnNames());
        std::vector<SortKey> keys, firstKeys;
        for (const Row& row : rows) {
            if (sorting.column != 0) keys.push_back(row.sortKey(sorting.column));
            firstKeys.push_back(row.sortKey(0));
        }
        std::vector<int> places(firstKeys.size());
        std::iota(places.begin(), places.end(), 0);
        sortPlaces(places, keys, ranksOf(firstKeys), sorting.order);
        return places;
    }
    [[nodiscard]] QStringList missingOn(const Row& row) const {
        QStringList names;
        for (const AskedClient& client : row.absent())
            if (client.hasAnswered) names.append(context().friendlyServiceName(client.hostName));
        return names;
    }

    QList<Row> m_rows;
};
