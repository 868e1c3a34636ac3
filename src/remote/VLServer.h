#pragma once

#include "remote/RemoteLimits.h"
#include "remote/TlsIdentity.h"
#include "remote/VLProxyObject.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>

/// What an agent vends. perform() runs on a worker thread of the console connection it came through, one
/// operation after the other per connection, several connections at once; the operations that the protocol
/// table calls control are a second such row beside the first.
class VLRootObject {
public:
    virtual ~VLRootObject() = default;
    /// Answered at once, on the server's own thread, also while an operation runs: a look-up, nothing more.
    [[nodiscard]] virtual bool respondsToSelector(const QString& selector) const = 0;
    /// All that it responds to, which a console asks for once. In the same way, and constant.
    [[nodiscard]] virtual QStringList selectors() const = 0;
    /// A console is let in: called on the server's thread before any call of it. `console` names it by its
    /// certificate's subject and its address, and stays the same when it connects anew; `certificate` is the
    /// fingerprint, which two consoles never share.
    virtual void peerOpened(quint64 peer, const QString& console, const QByteArray& certificate) {
        Q_UNUSED(peer)
        Q_UNUSED(console)
        Q_UNUSED(certificate)
    }
    /// An argument that the console passed by reference is a VLRemoteCallbackPtr. Throws VLException.
    /// `peer` names the console's connection; it is the same for every call of one connection.
    virtual QVariant perform(const QString& selector, const QVariantList& arguments, quint64 peer) = 0;
    /// The connection is gone. Called once per peer, on its worker thread when it made a call.
    virtual void peerClosed(quint64 peer) { Q_UNUSED(peer) }
};

struct VLServerOptions {
    TlsIdentity identity;
    /// Certificates (PEM) of the consoles that may connect, read anew for every connection.
    std::function<QList<QByteArray>()> authorizedCertificates;
    QString address = QStringLiteral("0.0.0.0");  ///< to listen on; "::" for IPv6 too
    quint16 port = 0;                             ///< 0: the system chooses
    int maximumConnections = 64;
    int connectionsPerConsole = 8;  ///< of one certificate; a further one ends the oldest
    RemoteLimits limits;
    /// Called on the server's thread when it ended by an error: nobody is served any more.
    std::function<void()> failed;
};

/// Listens, and serves the root object to authorised consoles on a thread of its own.
class VLServer {
public:
    /// Starts listening; throws VLException when that fails.
    VLServer(std::shared_ptr<VLRootObject> root, VLServerOptions options);
    /// Stops, and waits for the operations under way, but not for ever.
    ~VLServer();
    VLServer(const VLServer&) = delete;
    VLServer& operator=(const VLServer&) = delete;

    /// Stops, drops every connection, and waits for the operations under way. False when one did not end in
    /// time: it goes on, and uses the root object until it ends, so the process is to be left without
    /// destroying what that one uses. Called once.
    bool stop(std::chrono::milliseconds limit);

    [[nodiscard]] quint16 port() const noexcept;
    [[nodiscard]] int connectionCount() const noexcept;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
