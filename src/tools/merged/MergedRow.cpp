#include "tools/merged/MergedRow.h"

#include <algorithm>

namespace {
const QString unansweredKey = QStringLiteral("unanswered");
}

qlonglong ClientCopy::number(const QString& key) const {
    const auto found = values.constFind(key);
    return found == values.constEnd() ? 0 : found->toLongLong();
}

QVariantMap ClientCopy::dictionary() const {
    QVariantMap dictionary = values;
    dictionary.insert(hostNameKey, hostName);
    return dictionary;
}

ClientCopy ClientCopy::fromDictionary(const QVariantMap& dictionary) {
    return {dictionary.value(hostNameKey).toString(), dictionary};
}

int MergedRow::computersWith() const {
    int count = 0;
    const QString* last = nullptr;
    for (const ClientCopy& copy : m_copies) {
        if (!last || *last != copy.hostName) ++count;
        last = &copy.hostName;
    }
    return count;
}

QList<std::span<const ClientCopy>> MergedRow::copiesByComputer() const {
    QList<std::span<const ClientCopy>> computers;
    const ClientCopy* const end = m_copies.constData() + m_copies.size();
    for (const ClientCopy* first = m_copies.constData(); first != end;) {
        const ClientCopy* last = first;
        while (last != end && last->hostName == first->hostName)
            ++last;
        computers.emplaceBack(first, last);
        first = last;
    }
    return computers;
}

qsizetype MergedRow::copyFor(const RowTarget& target, const QString& copyKey) const {
    qsizetype found = -1;
    int count = 0;
    for (qsizetype i = 0; i < m_copies.size(); ++i) {
        if (m_copies.at(i).hostName != target.hostName) continue;
        if (m_copies.at(i).text(copyKey) == target.copy) return i;
        found = i;
        ++count;
    }
    return count == 1 ? found : -1;
}

QVariantList MergedRow::children() const {
    QVariantList children;
    children.reserve(m_copies.size());
    for (const ClientCopy& copy : m_copies)
        children.append(copy.dictionary());
    return children;
}

void MergedRow::setChildren(const QVariantList& children) {
    QList<ClientCopy> copies;
    for (const QVariant& child : children)
        copies.append(ClientCopy::fromDictionary(child.toMap()));
    m_copies = std::move(copies);
}

QVariantList MergedRow::missingHosts() const {
    QVariantList hosts;
    for (const AskedClient& client : m_absent) {
        QVariantMap placeholder = m_placeholder;
        placeholder.insert(ClientCopy::hostNameKey, client.hostName);
        if (!client.hasAnswered) placeholder.insert(unansweredKey, 1);
        hosts.append(placeholder);
    }
    return hosts;
}

void MergedRow::setMissingHosts(const QVariantList& hosts) {
    QList<AskedClient> absent;
    for (const QVariant& host : hosts) {
        m_placeholder = host.toMap();
        absent.append({m_placeholder.take(ClientCopy::hostNameKey).toString(),
                       m_placeholder.take(unansweredKey).toInt() == 0});
    }
    m_absent = std::move(absent);
    m_unanswered = int(std::count_if(m_absent.cbegin(), m_absent.cend(),
                                     [](const AskedClient& client) { return !client.hasAnswered; }));
}

void MergedRow::noteAbsent(const QList<AskedClient>& clients, int missingState,
                           const QVariantMap& placeholder) {
    QList<AskedClient> absent;
    auto copy = m_copies.cbegin();
    for (const AskedClient& client : clients) {
        const auto first = copy;
        while (copy != m_copies.cend() && copy->hostName == client.hostName)
            ++copy;
        if (copy == first) absent.append(client);
        if (copy == first && !client.hasAnswered) ++m_unanswered;
    }
    m_absent = std::move(absent);
    m_placeholder = placeholder;
    m_state = missingState;
    if (computersWithout() > 0) m_difference = missingState;
}
