#pragma once

#include "clients/discovery/VLNetService.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

/// Browses for advertised services and resolves them. Uses the Avahi daemon, or Avahi's embedded core where
/// no daemon answers; the daemon's going and coming back is followed (services that are gone are reported
/// removed). Not tied to a thread: it is run by whoever calls runFor(). CORVALIN_DISCOVERY_INTERFACES in the
/// environment keeps browsing and resolving to the named network interfaces ("lo", or several separated by
/// commas).
class ServiceBrowser {
public:
    struct Delegate {
        /// Called on the thread that runs the browser. A service advertised on several interfaces or over
        /// both IP versions is reported once, and removed when its last advertisement went.
        std::function<void(const VLNetService&, bool moreComing)> didFindService;
        std::function<void(const VLNetService&, bool moreComing)> didRemoveService;
    };
    enum class Backend { None, Daemon, Embedded };

    virtual ~ServiceBrowser() = default;

    /// Starts searching. `type` such as "_corvalin._tcp."; an empty domain means the default one. False when
    /// no back end can be had (no usable network interface); runFor() then keeps trying.
    virtual bool searchForServices(const QString& type, const QString& domain) = 0;
    /// Serves the browser for `slice`, or until stop().
    virtual void runFor(std::chrono::milliseconds slice) = 0;
    /// Ends the slice under way; nothing is reported afterwards. Any thread.
    virtual void stop() = 0;
    [[nodiscard]] virtual Backend backend() const = 0;

    [[nodiscard]] static std::unique_ptr<ServiceBrowser> create(Delegate delegate);
};

struct ServiceResolution {
    std::optional<VLNetService> service;
    QString error;  ///< why there is none
};

/// Resolves host name, port, all addresses and the TXT record. Blocks at most `limit` (20 seconds in the
/// console), less when `isCancelled` turns true. Any thread.
[[nodiscard]] ServiceResolution resolveNetService(const VLNetService& service,
                                                  std::chrono::milliseconds limit,
                                                  const std::function<bool()>& isCancelled = {});

/// Where the port that is registered under a name can be reached: looked up as the instance `registeredName`
/// of "_corvalinport._tcp" and only believed when it lies on `hostName` (given with or without trailing dot).
/// Nothing when it is not found within `limit`. Any thread.
struct RegisteredPort {
    QString host;  ///< address in text form
    quint16 port = 0;
};
[[nodiscard]] std::optional<RegisteredPort> lookUpRegisteredPort(const QString& registeredName,
                                                                 const QString& hostName,
                                                                 std::chrono::milliseconds limit);
