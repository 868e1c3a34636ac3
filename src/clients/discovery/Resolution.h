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
    [[nodiscard]] bool isOver() const { return isAnswered_ || request_->isAbandoned; }

private:
    void askForService(dnssd::Backend& backend);
    void askForAddresses();
    void takeServer(const dnssd::RecordSighting& sighting);
    void takeText(const dnssd::RecordSighting& sighting);
    void takeAddress(const dnssd::RecordSighting& sighting, bool& isComplete);
    void review(bool isSettled = false);
    [[nodiscard]] QList<VLNetAddress> addresses() const;
    void answer(ServiceResolution resolution);

    dnssd::AvahiLoop& loop_;
    const std::shared_ptr<ResolutionRequest> request_;
    dnssd::Backend* backend_ = nullptr;
    std::unique_ptr<dnssd::Operation> serverQuery_, textQuery_, ipv4Query_, ipv6Query_;
    dnssd::AvahiLoop::TimerId settleTimer_ = 0;
    dnssd::AvahiLoop::TimerId textTimer_ = 0;
    const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);

    QByteArray host_;  ///< without trailing dot, empty until known
    quint16 port_ = 0;
    std::set<int> serviceInterfaces_;
    QMap<QString, QByteArray> txt_;
    bool hasText_ = false;
    bool hasAllIpv4_ = false, hasAllIpv6_ = false;
    std::set<std::pair<int, QByteArray>> found_;  ///< interface, raw IPv4 or IPv6 address
    bool isAnswered_ = false;
};
