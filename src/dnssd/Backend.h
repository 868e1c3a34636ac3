#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QStringList>

#include <avahi-core/rr.h>

#include <functional>
#include <memory>

namespace dnssd {

class AvahiLoop;

enum class BackendKind { None, Daemon, Embedded };

/// Where something was seen: one network interface and one IP version.
struct Link {
    int interfaceIndex = 0;
    int protocol = 0;
    auto operator<=>(const Link&) const = default;
};

enum class BrowseEvent { Added, Removed, AllForNow, Failed };

struct ServiceSighting {
    BrowseEvent event = BrowseEvent::Added;
    Link link;
    QByteArray name, type, domain;  ///< as they came from the network; set for Added and Removed
};
using ServiceSink = std::function<void(const ServiceSighting&)>;

struct RecordSighting {
    BrowseEvent event = BrowseEvent::Added;
    Link link;
    const AvahiRecord* record = nullptr;  ///< parsed; set for Added and Removed, valid during the call
};
using RecordSink = std::function<void(const RecordSighting&)>;

/// A query that stays alive until it is destroyed. Must go before its back end, and never from within its own
/// sink (use AvahiLoop::post()).
class Operation {
public:
    virtual ~Operation() = default;
};

using TxtRecord = QList<QPair<QByteArray, QByteArray>>;

/// Records that are published together and vanish together with this object.
class EntryGroup : public Operation {
public:
    enum class State { Pending, Established, Collision, Failed };
    /// What happens afterwards, on the loop's thread.
    using StateSink = std::function<void(State)>;

    /// An empty `host` is the back end's own host. These return an Avahi error code, 0 for success;
    /// AVAHI_ERR_COLLISION when this host publishes that name already.
    [[nodiscard]] virtual int addService(const QByteArray& name, const char* type, const QByteArray& host,
                                         quint16 port, const TxtRecord& txt) = 0;
    [[nodiscard]] virtual int addAddress(const QByteArray& host, const QByteArray& address) = 0;
    [[nodiscard]] virtual int commit() = 0;
};

/// One multicast DNS stack: the daemon's or our own. All of it on the loop's thread.
class Backend {
public:
    /// Absent: can't be used (any more). Answering: browses. Running: publishes too (the host's own name is
    /// established). Going from Running to Answering means that everything published must be published anew.
    enum class State { Absent, Answering, Running };

    virtual ~Backend() = default;
    [[nodiscard]] virtual BackendKind kind() const = 0;
    [[nodiscard]] virtual State state() const = 0;
    /// It will never work again and must be replaced (an absent daemon that may still appear isn't broken).
    [[nodiscard]] virtual bool isBroken() const = 0;
    /// Name of this host, "edit-bay-1.local".
    [[nodiscard]] virtual QByteArray hostName() = 0;

    /// An empty domain is the default one. No object when the back end refuses; lastError() says why.
    [[nodiscard]] virtual std::unique_ptr<Operation> browseServices(const QByteArray& type,
                                                                    const QByteArray& domain,
                                                                    ServiceSink sink) = 0;
    [[nodiscard]] virtual std::unique_ptr<Operation> browseRecords(const QByteArray& name, quint16 recordType,
                                                                   RecordSink sink) = 0;
    [[nodiscard]] virtual std::unique_ptr<EntryGroup> createGroup(EntryGroup::StateSink sink) = 0;
    [[nodiscard]] virtual QString lastError() const = 0;
};

struct BackendSettings {
    QStringList interfaces;  ///< empty: all
    /// The embedded core publishes this host's name and addresses. Left off for those who only browse, or
    /// publish records of their own host name: two cores that publish the same host name disturb each other.
    bool publishesHost = false;
};

/// `stateChanged` may be called from within Avahi: it must only note the change. Nothing when the system bus
/// or the network can't be had.
[[nodiscard]] std::unique_ptr<Backend> connectDaemon(AvahiLoop& loop, const BackendSettings& settings,
                                                     std::function<void()> stateChanged);
[[nodiscard]] std::unique_ptr<Backend> startEmbedded(AvahiLoop& loop, const BackendSettings& settings,
                                                     std::function<void()> stateChanged);

}  // namespace dnssd
