#pragma once

#include "tools/merged/MergedRow.h"

#include <QHash>
#include <QList>

#include <algorithm>
#include <utility>

/// Merges what many clients have into one row for each thing. The rows are found by their keys while they
/// grow: five hundred clients with three hundred things each are merged while the user waits.
///
/// A Row has `static Key keyOf(const QVariantMap&)` for what names it in an entry, `addCopy(ClientCopy)`, and
/// `complete(clients)`, which notes the clients that lack it.
template <typename Row>
class RowMerger {
public:
    /// What one client answered; the clients in the order in which they were asked.
    void add(const QString& hostName, QList<QVariantMap> entries) {
        m_clients.append({hostName, true});
        for (QVariantMap& entry : entries)
            rowFor(entry).addCopy({hostName, std::move(entry)});
    }
    void addUnanswered(const QString& hostName) { m_clients.append({hostName, false}); }
    [[nodiscard]] const QList<AskedClient>& clients() const { return m_clients; }
    /// The rows, in the order in which they came up. Ends the merging.
    [[nodiscard]] QList<Row> takeRows() {
        for (Row& row : m_rows)
            row.complete(m_clients);
        m_places.clear();
        return std::exchange(m_rows, {});
    }

private:
    [[nodiscard]] Row& rowFor(const QVariantMap& entry) {
        auto key = Row::keyOf(entry);
        const auto known = m_places.constFind(key);
        if (known != m_places.constEnd()) return m_rows[*known];
        m_places.insert(std::move(key), m_rows.size());
        return m_rows.emplace_back();
    }

    QList<Row> m_rows;
    QHash<decltype(Row::keyOf({})), qsizetype> m_places;
    QList<AskedClient> m_clients;
};
