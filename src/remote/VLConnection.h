#pragma once

#include "remote/ConnectionFailure.h"
#include "remote/RemoteLimits.h"
#include "remote/TlsIdentity.h"
#include "remote/VLProxyObject.h"

#include <QString>

#include <chrono>
#include <memory>

struct VLConnectionOptions {
    TlsIdentity identity;                      ///< our own key pair
    std::shared_ptr<PinnedCertificates> pins;  ///< first contact pins, later ones compare
    QString client;                            ///< under which the certificate is pinned
    QString label;                             ///< names the connection in callbacks and log lines
    RemoteLimits limits;
};

/// One connection to an agent: TLS over TCP with an event loop of its own.
///
/// The object belongs to the thread that made it (the client's connection thread): construction, serve() and
/// destruction happen there. The proxy, isValid(), wake() and invalidate() are for any thread. Workers call
/// through the proxy and block while this thread serves; a call made on the connection thread itself turns
/// the loop until it is answered. When the connection ends, the proxy stays and fails every call at once.
class VLConnection {
public:
    /// Connects and completes the handshake within limits.connect. Throws VLException:
    /// VLException::changedKey (userInfo "pinned", "presented": fingerprints; "certificate": the new one as
    /// PEM data), VLException::refused, VLException::portTimeout or VLException::inaccessible.
    VLConnection(const QString& host, quint16 port, VLConnectionOptions options);
    ~VLConnection();
    VLConnection(const VLConnection&) = delete;
    VLConnection& operator=(const VLConnection&) = delete;

    [[nodiscard]] VLProxyObjectPtr rootProxy() const;

    /// Runs the loop for `slice`, or until wake(), or until the connection is lost.
    void serve(std::chrono::milliseconds slice);

    /// False once the peer is gone, the heartbeat was missed, or invalidate() was called.
    [[nodiscard]] bool isValid() const noexcept;
    /// Why it is not valid any more; empty for invalidate().
    [[nodiscard]] QString lossReason() const;
    [[nodiscard]] ConnectionFailure lossFailure() const;

    /// Ends the slice under way (or the next one) at once.
    void wake();
    /// Fails all calls and closes; the sockets close when the owning thread comes to it.
    void invalidate();

    /// A handle for other threads that may outlive the connection.
    class Control {
    public:
        virtual ~Control() = default;
        virtual void wake() = 0;
        virtual void invalidate() = 0;
        /// Callbacks that come from now on are under this one.
        virtual void setLabel(const QString& label) = 0;
        [[nodiscard]] virtual bool isValid() const noexcept = 0;
    };
    [[nodiscard]] std::shared_ptr<Control> control() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
