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
// A host doesn't repeat within a second what it has just sent, and a new embedded core has missed that: so
// the end of Avahi's first round of questions says little. Every service has a TXT record; wait for it a few
// rounds.
constexpr auto textLimit = 3500ms;
constexpr int ipv4Bytes = 4;

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

/// IPv4 first, link-local last: the order in which they are worth trying.
auto rank(const VLNetAddress& entry) {
    return std::tuple(entry.address.protocol() != QAbstractSocket::IPv4Protocol, entry.address.isLinkLocal(),
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
    : loop_(loop), request_(std::move(request)) {}

Resolution::~Resolution() {
    end();
    fail(QStringLiteral("Cancelled"));
}

void Resolution::begin(dnssd::Backend& backend) {
    if (isOver()) return;
    backend_ = &backend;
    host_.clear();
    port_ = 0;
    serviceInterfaces_.clear();
    txt_.clear();
    found_.clear();
    hasText_ = hasAllIpv4_ = hasAllIpv6_ = false;
    askForService(backend);
}

void Resolution::end() {
    loop_.stopTimer(settleTimer_);
    loop_.stopTimer(textTimer_);
    serverQuery_.reset();
    textQuery_.reset();
    ipv4Query_.reset();
    ipv6Query_.reset();
    backend_ = nullptr;
}

void Resolution::fail(const QString& error) {
    answer({std::nullopt, error});
}

void Resolution::askForService(dnssd::Backend& backend) {
    const VLNetService& wanted = request_->wanted;
    std::array<char, AVAHI_DOMAIN_NAME_MAX> fullName{};
    const int error =
        avahi_service_name_join(fullName.data(), fullName.size(), wanted.name.toUtf8().constData(),
                                dnssd::withoutTrailingDot(wanted.type).toUtf8().constData(),
                                dnssd::withoutTrailingDot(wanted.domain).toUtf8().constData());
    if (error < 0) return fail(QStringLiteral("Not a service name"));
    const QByteArray name(fullName.data());
    serverQuery_ = backend.browseRecords(name, AVAHI_DNS_TYPE_SRV, [this](const auto& s) { takeServer(s); });
    if (!serverQuery_) return fail(backend.lastError());
    if (request_->isLookUp) return;
    textQuery_ = backend.browseRecords(name, AVAHI_DNS_TYPE_TXT, [this](const auto& s) { takeText(s); });
    if (!textQuery_) fail(backend.lastError());
}

void Resolution::askForAddresses() {
    if (!backend_ || isOver()) return;
    ipv4Query_ = backend_->browseRecords(host_, AVAHI_DNS_TYPE_A,
                                         [this](const auto& s) { takeAddress(s, hasAllIpv4_); });
    ipv6Query_ = backend_->browseRecords(host_, AVAHI_DNS_TYPE_AAAA,
                                         [this](const auto& s) { takeAddress(s, hasAllIpv6_); });
    if (!ipv4Query_ || !ipv6Query_) fail(backend_->lastError());
}

void Resolution::takeServer(const dnssd::RecordSighting& sighting) {
    if (sighting.event == dnssd::BrowseEvent::Failed) return fail(QStringLiteral("The search was refused"));
    // The daemon has listened all the time: what it can't find at once isn't there.
    if (sighting.event == dnssd::BrowseEvent::AllForNow && request_->isLookUp && host_.isEmpty() &&
        backend_ && backend_->kind() == dnssd::BackendKind::Daemon)
        return fail(QStringLiteral("Not found"));
    if (sighting.event != dnssd::BrowseEvent::Added) return;

    const QByteArray host(sighting.record->data.srv.name);
    const quint16 port = sighting.record->data.srv.port;
    if (host.isEmpty() || port == 0) return;
    if (!request_->onlyHost.isEmpty() && !dnssd::isSameHost(request_->onlyHost, QString::fromUtf8(host)))
        return;
    if (host_.isEmpty()) {
        host_ = host;
        port_ = port;
        textTimer_ = loop_.startTimer(textLimit, [this] {
            hasText_ = true;
            review();
        });
        // A query can't be started from within the answer to another one.
        loop_.post([this, alive = std::weak_ptr(alive_)] {
            if (!alive.expired()) askForAddresses();
        });
    } else if (host != host_ || port != port_) {
        return;
    }
    serviceInterfaces_.insert(sighting.link.interfaceIndex);
    review();
}

void Resolution::takeText(const dnssd::RecordSighting& sighting) {
    if (sighting.event != dnssd::BrowseEvent::Added || hasText_) return;
    txt_ = toTxtRecord(sighting.record->data.txt.string_list);
    hasText_ = true;
    review();
}

void Resolution::takeAddress(const dnssd::RecordSighting& sighting, bool& isComplete) {
    switch (sighting.event) {
        case dnssd::BrowseEvent::Added:
            found_.emplace(sighting.link.interfaceIndex, rawAddress(*sighting.record));
            break;
        case dnssd::BrowseEvent::Removed:
            found_.erase({sighting.link.interfaceIndex, rawAddress(*sighting.record)});
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
    if (reachable.isEmpty() || !(hasText_ || request_->isLookUp)) return;

    const bool isEnough =
        request_->isLookUp && reachable.first().address.protocol() == QAbstractSocket::IPv4Protocol;
    if (!isEnough && !isSettled && !(hasAllIpv4_ && hasAllIpv6_)) {
        loop_.stopTimer(settleTimer_);
        settleTimer_ = loop_.startTimer(settleTime, [this] { review(true); });
        return;
    }
    VLNetService service = request_->wanted;
    service.hostName = QString::fromUtf8(host_) + QLatin1Char('.');
    service.port = port_;
    service.addresses = reachable;
    service.txtRecord = txt_;
    answer({service, {}});
}

QList<VLNetAddress> Resolution::addresses() const {
    QList<VLNetAddress> list;
    for (const auto& [interfaceIndex, raw] : found_) {
        if (!serviceInterfaces_.contains(interfaceIndex)) continue;
        VLNetAddress entry{toHostAddress(raw, interfaceIndex), port_, 0};
        if (entry.address.isLinkLocal()) entry.interfaceIndex = interfaceIndex;
        if (!list.contains(entry)) list.append(entry);
    }
    std::sort(list.begin(), list.end(),
              [](const auto& one, const auto& other) { return rank(one) < rank(other); });
    return list;
}

void Resolution::answer(ServiceResolution resolution) {
    if (isAnswered_) return;
    isAnswered_ = true;
    request_->answer.set_value(std::move(resolution));
    loop_.wake();  // lets the server of the loop drop us
}
