#pragma once

#include "remote/VLCorvalinServerProtocol.h"

#include <QList>
#include <QString>
#include <QVariant>

#include <functional>
#include <span>

/// What one client has of a thing that several clients may have.
struct ClientCopy {
    QString hostName;
    QVariantMap values;  ///< as the agent sent it: the host name beside it, so that nothing is copied

    [[nodiscard]] QString text(const QString& key) const { return values.value(key).toString(); }
    [[nodiscard]] qlonglong number(const QString& key) const;
    /// The values with the host name among them.
    [[nodiscard]] QVariantMap dictionary() const;
    [[nodiscard]] static ClientCopy fromDictionary(const QVariantMap& dictionary);

    static inline const QString hostNameKey{VLCorvalinServerProtocol::hostNameKey};
};
Q_DECLARE_TYPEINFO(ClientCopy, Q_RELOCATABLE_TYPE);

/// A client that was asked what it has.
struct AskedClient {
    QString hostName;
    bool hasAnswered = true;
};
Q_DECLARE_TYPEINFO(AskedClient, Q_RELOCATABLE_TYPE);

/// What names a row, or one client's copy in it: rows are replaced while menus and alerts are open.
struct RowTarget {
    QString row;            ///< the row's key
    QString hostName = {};  ///< empty: the whole row
    QString copy = {};      ///< tells the copies of one client apart

    [[nodiscard]] bool isWholeRow() const { return hostName.isEmpty(); }
};

/// A thing that several clients may have, merged from what each has: the part that is alike for all tools. A
/// plain value.
///
/// `state` counts a client that gave no answer among those that lack the thing; `difference` does not, since
/// nobody knows what it has.
class MergedRow {
public:
    static constexpr int Alike = 0;

    [[nodiscard]] const QList<ClientCopy>& copies() const { return m_copies; }
    /// Those who have none: in `hasAnswered` whether that is known.
    [[nodiscard]] const QList<AskedClient>& absent() const { return m_absent; }
    [[nodiscard]] int state() const { return m_state; }
    /// The state among the clients that answered.
    [[nodiscard]] int difference() const { return m_difference; }
    /// What rows are sorted by in a status column: those that differ come first.
    [[nodiscard]] double statusOrder() const { return m_difference == Alike ? 1'000 : m_difference; }
    /// How many clients have it, be it more than once. The copies of a client follow one another.
    [[nodiscard]] int computersWith() const;
    /// The copies of each client that has any.
    [[nodiscard]] QList<std::span<const ClientCopy>> copiesByComputer() const;
    [[nodiscard]] bool isAnywhereSeveralTimes() const { return m_copies.size() > computersWith(); }
    /// How many are known to have none.
    [[nodiscard]] int computersWithout() const { return int(m_absent.size()) - m_unanswered; }
    /// The index of the copy that is meant, -1 when it is gone. One that was moved meanwhile is still meant
    /// where its client has no other.
    [[nodiscard]] qsizetype copyFor(const RowTarget& target, const QString& copyKey) const;

    // As dictionaries.
    [[nodiscard]] QVariantList children() const;
    /// One placeholder for every client that lacks it; with "unanswered" = 1 for one that gave no answer.
    [[nodiscard]] QVariantList missingHosts() const;

    void setChildren(const QVariantList& children);
    void setMissingHosts(const QVariantList& hosts);
    void setState(int state) { m_state = m_difference = state; }
    void setCopyValue(qsizetype copy, const QString& key, const QVariant& value) {
        m_copies[copy].values.insert(key, value);
    }
    void removeCopies(const std::function<bool(const ClientCopy&)>& isGone) { m_copies.removeIf(isGone); }

protected:
    MergedRow() = default;
    ~MergedRow() = default;
    MergedRow(const MergedRow&) = default;
    MergedRow(MergedRow&&) = default;
    MergedRow& operator=(const MergedRow&) = default;
    MergedRow& operator=(MergedRow&&) = default;

    const ClientCopy& append(ClientCopy copy) { return m_copies.emplace_back(std::move(copy)); }
    /// Notes which of those that were asked have none. `clients` are in the order in which copies were added.
    void noteAbsent(const QList<AskedClient>& clients, int missingState, const QVariantMap& placeholder);
    void setDifference(int difference) { m_difference = difference; }

private:
    QList<ClientCopy> m_copies;
    QList<AskedClient> m_absent;
    QVariantMap m_placeholder;  ///< of any client
    int m_unanswered = 0;       ///< of m_absent
    int m_state = Alike, m_difference = Alike;
};
