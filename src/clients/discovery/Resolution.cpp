#include "clients/discovery/Resolution.h"

#include "dnssd/Names.h"

#include <avahi-common/address.h>
#include <avahi-common/defs.h>
#include <avahi-common/domain.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <array>
#include <tuple>
#include <utility>

using namespace std::chrono_literals;

namespace {

// Addresses of the other interfaces and IP version follow the first one closely; waiting for Avahi's own end
// of the search would cost a second for every service.
constexpr auto settleTime = 400ms;
// A link-local address is better than none, but another one is worth a further round of questions.
constexpr auto linkLocalSettleTime = 1500ms;
// A host doesn't repeat within a second what it has just sent, and a new embedded core has missed that: so
// the end of Avahi's first round of questions says little. Every service has a TXT record; wait for it a few
// rounds.
constexpr auto textLimit = 3500ms;
constexpr int ipv4Bytes = 4;
// An announcement may hold any number, and each is tried in turn.
constexpr int mostAddresses = 16;

QByteArray rawAddress(const AvahiRecord& record) {
    if (record.key->type == AVAHI_DNS_TYPE_A)
        return {reinterpret_cast<const char*>(&record.data.a.address.address), ipv4Bytes};
    return {reinterpret_cast<const char*>(record.data.aaaa.address.address),
            sizeof record.data.aaaa.address.address};
}

QHostAddress toHostAddress(const QByteArray& raw, int interfaceIndex) {
    if (raw.size() == ipv4Bytes) {
        quint32 address = 0;
        std::copy(raw.cbegin(), raw.cend(), reinterpret_cast<char*>(&address));
        return QHostAddress(ntohl(address));
    }
    QHostAddress address(reinterpret_cast<const quint8*>(raw.constData()));
    if (address.isLinkLocal()) {
        std::array<char, IF_NAMESIZE> name{};
        const bool isNamed = if_indextoname(static_cast<unsigned>(interfaceIndex), name.data());
        address.setScopeId(isNamed ? QString::fromLocal8Bit(name.data()) : QString::number(interfaceIndex));
    }
    return address;
}

/// Link-local last, of the others IPv4 first: the order in which they are worth trying.
auto rank(const VLNetAddress& entry) {
    return std::tuple(entry.address.isLinkLocal(), entry.address.protocol() != QAbstractSocket::IPv4Protocol,
                      entry.address.toString());
}

QMap<QString, QByteArray> toTxtRecord(AvahiStringList* list) {
    QMap<QString, QByteArray> txt;
    for (; list; list = avahi_string_list_get_next(list)) {
        const QByteArray pair(reinterpret_cast<const char*>(avahi_string_list_get_text(list)),
                              static_cast<qsizetype>(avahi_string_list_get_size(list)));
        const qsizetype equals = pair.indexOf('=');
        const QString key = QString::fromLatin1(equals < 0 ? pair : pair.left(equals)).toLower();
        // Of equal keys the first one counts; Avahi's list begins with the last.
        if (!key.isEmpty()) txt.insert(key, equals < 0 ? QByteArray() : pair.mid(equals + 1));
    }
    return txt;
}

}  // namespace

Resolution::Resolution(dnssd::AvahiLoop& loop, std::shared_ptr<ResolutionRequest> request)
    : m_loop(loop), m_request(std::move(request)) {}

Resolution::~Resolution() {
    end();
    fail(QStringLiteral("Cancelled"));
}

void Resolution::begin(dnssd::Backend& backend) {
    if (isOver()) return;
    m_backend = &backend;
    m_host.clear();
    m_port = 0;
    m_serviceInterfaces.clear();
    m_txt.clear();
    m_found.clear();
    m_hasText = m_hasAllIpv4 = m_hasAllIpv6 = false;
    askForService(backend);
}

void Resolution::end() {
    m_loop.stopTimer(m_settleTimer);
    m_loop.stopTimer(m_textTimer);
    m_serverQuery.reset();
    m_textQuery.reset();
    m_ipv4Query.reset();
    m_ipv6Query.reset();
    m_backend = nullptr;
}

void Resolution::fail(const QString& error) {
    answer({std::nullopt, error});
}

void Resolution::askForService(dnssd::Backend& backend) {
    const VLNetService& wanted = m_request->wanted;
    std::array<char, AVAHI_DOMAIN_NAME_MAX> fullName{};
    const int error =
        avahi_service_name_join(fullName.data(), fullName.size(), wanted.name.toUtf8().constData(),
                                dnssd::withoutTrailingDot(wanted.type).toUtf8().constData(),
                                dnssd::withoutTrailingDot(wanted.domain).toUtf8().constData());
    if (error < 0) return fail(QStringLiteral("Not a service name"));
    const QByteArray name(fullName.data());
    m_serverQuery = backend.browseRecords(name, AVAHI_DNS_TYPE_SRV, [this](const auto& s) { takeServer(s); });
    if (!m_serverQuery) return fail(backend.lastError());
    if (m_request->isLookUp) return;
    m_textQuery = backend.browseRecords(name, AVAHI_DNS_TYPE_TXT, [this](const auto& s) { takeText(s); });
    if (!m_textQuery) fail(backend.lastError());
}

void Resolution::askForAddresses() {
    if (!m_backend || isOver()) return;
    m_ipv4Query = m_backend->browseRecords(m_host, AVAHI_DNS_TYPE_A,
                                           [this](const auto& s) { takeAddress(s, m_hasAllIpv4); });
    m_ipv6Query = m_backend->browseRecords(m_host, AVAHI_DNS_TYPE_AAAA,
                                           [this](const auto& s) { takeAddress(s, m_hasAllIpv6); });
    if (!m_ipv4Query || !m_ipv6Query) fail(m_backend->lastError());
}

void Resolution::takeServer(const dnssd::RecordSighting& sighting) {
    if (sighting.event == dnssd::BrowseEvent::Failed) return fail(QStringLiteral("The search was refused"));
    // The daemon has listened all the time: what it can't find at once isn't there.
    if (sighting.event == dnssd::BrowseEvent::AllForNow && m_request->isLookUp && m_host.isEmpty() &&
        m_backend && m_backend->kind() == dnssd::BackendKind::Daemon)
        return fail(QStringLiteral("Not found"));
    if (sighting.event != dnssd::BrowseEvent::Added) return;

    const QByteArray host(sighting.record->data.srv.name);
    const quint16 port = sighting.record->data.srv.port;
    if (host.isEmpty() || port == 0) return;
    if (!m_request->onlyHost.isEmpty() && !dnssd::isSameHost(m_request->onlyHost, QString::fromUtf8(host)))
        return;
    if (m_host.isEmpty()) {
        m_host = host;
        m_port = port;
        m_textTimer = m_loop.startTimer(textLimit, [this] {
            m_hasText = true;
            review();
        });
        // A query can't be started from within the answer to another one.
        m_loop.post([this, alive = std::weak_ptr(m_alive)] {
            if (!alive.expired()) askForAddresses();
        });
    } else if (host != m_host || port != m_port) {
        return;
    }
    m_serviceInterfaces.insert(sighting.link.interfaceIndex);
    review();
}

void Resolution::takeText(const dnssd::RecordSighting& sighting) {
    if (sighting.event != dnssd::BrowseEvent::Added || m_hasText) return;
    m_txt = toTxtRecord(sighting.record->data.txt.string_list);
    m_hasText = true;
    review();
}

void Resolution::takeAddress(const dnssd::RecordSighting& sighting, bool& isComplete) {
    switch (sighting.event) {
        case dnssd::BrowseEvent::Added:
            if (addressCount(sighting.link.interfaceIndex) == mostAddresses) return;
            m_found.emplace(sighting.link.interfaceIndex, rawAddress(*sighting.record));
            break;
        case dnssd::BrowseEvent::Removed:
            m_found.erase({sighting.link.interfaceIndex, rawAddress(*sighting.record)});
            return;
        case dnssd::BrowseEvent::AllForNow:
        case dnssd::BrowseEvent::Failed:
            isComplete = true;
            break;
    }
    review();
}

void Resolution::review(bool isSettled) {
    if (isOver()) return;
    const QList<VLNetAddress> reachable = addresses();
    if (reachable.isEmpty() || !(m_hasText || m_request->isLookUp)) return;

    const bool isEnough =
        m_request->isLookUp && reachable.first().address.protocol() == QAbstractSocket::IPv4Protocol;
    if (!isEnough && !isSettled && !(m_hasAllIpv4 && m_hasAllIpv6)) {
        m_loop.stopTimer(m_settleTimer);
        const bool hasUsual = !reachable.first().address.isLinkLocal();
        m_settleTimer =
            m_loop.startTimer(hasUsual ? settleTime : linkLocalSettleTime, [this] { review(true); });
        return;
    }
    VLNetService service = m_request->wanted;
    service.hostName = QString::fromUtf8(m_host) + QLatin1Char('.');
    service.port = m_port;
    service.addresses = reachable;
    service.txtRecord = m_txt;
    answer({service, {}});
}

QList<VLNetAddress> Resolution::addresses() const {
    QList<VLNetAddress> list;
    for (const auto& [interfaceIndex, raw] : m_found) {
        if (!m_serviceInterfaces.contains(interfaceIndex)) continue;
        VLNetAddress entry{toHostAddress(raw, interfaceIndex), m_port, 0};
        if (entry.address.isLinkLocal()) entry.interfaceIndex = interfaceIndex;
        if (!list.contains(entry)) list.append(entry);
    }
    std::sort(list.begin(), list.end(),
              [](const auto& one, const auto& other) { return rank(one) < rank(other); });
    return list.first(std::min<qsizetype>(list.size(), mostAddresses));
}

int Resolution::addressCount(int interfaceIndex) const {
    return static_cast<int>(std::count_if(m_found.begin(), m_found.end(),
                                          [&](const auto& found) { return found.first == interfaceIndex; }));
}

void Resolution::answer(ServiceResolution resolution) {
    if (m_isAnswered) return;
    m_isAnswered = true;
    m_request->answer.set_value(std::move(resolution));
    m_loop.wake();  // lets the server of the loop drop us
}
