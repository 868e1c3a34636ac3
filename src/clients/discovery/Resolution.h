#pragma once

#include "clients/discovery/ServiceBrowser.h"
#include "dnssd/AvahiLoop.h"
#include "dnssd/Backend.h"

#include <avahi-common/strlst.h>

#include <atomic>
#include <future>
#include <map>
#include <memory>
#include <set>

/// What a caller wants resolved, shared between that caller's thread and the one that resolves.
struct ResolutionRequest {
    VLNetService wanted;
    /// Only an answer that lies on this host is believed; empty: any.
    QString onlyHost;
    /// The first IPv4 address is enough, and the answer that there is no such service ends the search.
    bool isLookUp = false;

    std::atomic<bool> isAbandoned = false;  ///< the caller waits no longer
    std::promise<ServiceResolution> answer;
};

/// One service being resolved, on the thread of its loop. Collects the service's SRV and TXT records and
/// every address of the host that they name, on the interfaces where the service itself is seen.
class Resolution {
public:
    Resolution(dnssd::AvahiLoop& loop, std::shared_ptr<ResolutionRequest> request);
    ~Resolution();
    Resolution(const Resolution&) = delete;
    Resolution& operator=(const Resolution&) = delete;

    /// Asks anew, from the beginning, on another back end.
    void begin(dnssd::Backend& backend);
    void end();
    void fail(const QString& error);
    /// It was answered, or nobody waits for it any more.
    [[nodiscard]] bool isOver() const { return m_isAnswered || m_request->isAbandoned; }

private:
    void askForService(dnssd::Backend& backend);
    void askForAddresses();
    void takeServer(const dnssd::RecordSighting& sighting);
    void takeText(const dnssd::RecordSighting& sighting);
    void takeAddress(const dnssd::RecordSighting& sighting, bool& isComplete);
    void review(bool isSettled = false);
    [[nodiscard]] QList<VLNetAddress> addresses() const;
    [[nodiscard]] int addressCount(int interfaceIndex) const;
    void answer(ServiceResolution resolution);

    dnssd::AvahiLoop& m_loop;
    const std::shared_ptr<ResolutionRequest> m_request;
    dnssd::Backend* m_backend = nullptr;
    std::unique_ptr<dnssd::Operation> m_serverQuery, m_textQuery, m_ipv4Query, m_ipv6Query;
    dnssd::AvahiLoop::TimerId m_settleTimer = 0;
    dnssd::AvahiLoop::TimerId m_textTimer = 0;
    const std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);

    QByteArray m_host;  ///< without trailing dot, empty until known
    quint16 m_port = 0;
    std::set<int> m_serviceInterfaces;
    QMap<QString, QByteArray> m_txt;
    bool m_hasText = false;
    bool m_hasAllIpv4 = false, m_hasAllIpv6 = false;
    std::set<std::pair<int, QByteArray>> m_found;  ///< interface, raw IPv4 or IPv6 address
    bool m_isAnswered = false;
};
