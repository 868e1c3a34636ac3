#include "remote/HandshakeSlots.h"

#include <QByteArray>
#include <QHash>

#include <arpa/inet.h>

#include <algorithm>
#include <tuple>

namespace {

constexpr int mostKnown = 1'000;
/// For an address that is known: enough for the consoles of a few people behind one router.
constexpr int keptForKnown = 4;
constexpr qsizetype networkPart = 8;  ///< bytes of an IPv6 address; whoever has one has all that share them

/// What one party is likely to have only one of.
QString sourceOf(const QString& address) {
    in6_addr parsed{};
    const QByteArray text = address.section(u'%', 0, 0).toLatin1();
    if (::inet_pton(AF_INET6, text.constData(), &parsed) != 1 || IN6_IS_ADDR_V4MAPPED(&parsed))
        return address;
    if (IN6_IS_ADDR_LINKLOCAL(&parsed)) return address;  // all machines of a network share that part
    return QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(&parsed), networkPart).toHex());
}

}  // namespace

HandshakeSlots::HandshakeSlots(std::size_t most) : m_most(most), m_known(mostKnown) {}

void HandshakeSlots::add(quint64 id, const QString& address) {
    m_sources.emplace(id, sourceOf(address));
}

void HandshakeSlots::letIn(const QString& address) {
    m_known.insert(sourceOf(address), new bool(true));
}

std::optional<quint64> HandshakeSlots::crowdedOut(const std::function<bool(quint64 id)>& hasSpoken) const {
    if (m_sources.size() <= m_most) return std::nullopt;
    QHash<QString, int> counts;
    for (const auto& [id, source] : m_sources)
        ++counts[source];
    const auto claim = [&](const auto& slot) {
        const int count = counts.value(slot.second);
        const int excess = m_known.contains(slot.second) ? std::max(0, count - keptForKnown) : count;
        return std::tuple(excess, !hasSpoken(slot.first));
    };
    // The first of equals, which is the oldest.
    const auto worst = std::max_element(m_sources.begin(), m_sources.end(),
                                        [&](const auto& a, const auto& b) { return claim(a) < claim(b); });
    return worst->first;
}
