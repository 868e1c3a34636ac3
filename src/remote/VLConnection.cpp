#include "remote/VLConnection.h"

#include "logs/VLLog.h"
#include "remote/ConnectionCore.h"
#include "remote/ConnectionFailure.h"
#include "remote/ConnectionLoop.h"
#include "remote/KjQuiet.h"
#include "remote/TlsSettings.h"
#include "remote/WireValue.h"

namespace {

[[noreturn]] void raiseChangedKey(const QString& client, const QByteArray& pinned,
                                  const QByteArray& presented) {
    throw VLException(VLException::changedKey,
                      QStringLiteral("The key of %1 has changed. It may have been installed anew, or another "
                                     "computer poses as it.")
                          .arg(client),
                      {{QStringLiteral("pinned"), certificateFingerprint(pinned)},
                       {QStringLiteral("presented"), certificateFingerprint(presented)},
                       {QStringLiteral("certificate"), presented}});
}

/// The certificate that the peer must show: the pinned one, or on first contact the one that it shows now,
/// pinned before anything is said to it.
QByteArray pinnedCertificate(const QString& host, quint16 port, const VLConnectionOptions& options,
                             const Deadline& deadline) {
    if (!options.pins || options.client.isEmpty())
        throw VLException(VLException::invalidArgument,
                          QStringLiteral("A connection needs a place for its pinned certificate."));
    QString error;
    if (const auto pinned = options.pins->find(options.client, &error)) {
        if (!pinned->isEmpty()) return *pinned;
        throw connectionException(
            VLException::generic, ConnectionFailure::UnreadableKey,
            QStringLiteral("The key that is known of %1 is unreadable: %2.").arg(options.client, error));
    }

    QByteArray presented = fetchPeerCertificate(host, port, deadline.remaining());
    if (!TlsSettings::isAgentCertificate(presented))
        throw connectionException(
            VLException::inaccessible, ConnectionFailure::NotCorvalin,
            QStringLiteral("What answers on %1, port %2 is no Corvalin client.").arg(host).arg(port));
    if (!options.pins->pin(options.client, presented))
        throw VLException(VLException::generic,
                          QStringLiteral("The key of %1 could not be stored.").arg(options.client));
    VLLog::appendLog(QStringLiteral("First contact with %@, key %@"), options.client,
                     certificateFingerprint(presented));
    return presented;
}

}  // namespace

struct VLConnection::Private {
    Private(const QString& host, quint16 port, const VLConnectionOptions& options)
        : core(std::make_shared<ConnectionCore>(options.limits, options.label)), loop(core, options.limits) {
        const Deadline deadline(options.limits.connect);
        const QByteArray pinned = pinnedCertificate(host, port, options, deadline);
        shakeHands(host, port, options, pinned, deadline);
        open(deadline);
    }

    void shakeHands(const QString& host, quint16 port, const VLConnectionOptions& options,
                    const QByteArray& pinned, const Deadline& deadline) {
        auto context = TlsSettings::client(options.identity, pinned);
        auto fd = SocketConnector::connect(host, port, deadline);
        try {
            loop.shakeHands(kj::mv(fd), *context, deadline);
        } catch (const kj::Exception& exception) {
            // kj doesn't say which certificate it refused.
            const QByteArray presented = fetchPeerCertificate(host, port, deadline.remaining());
            if (certificateFingerprint(presented) != certificateFingerprint(pinned))
                raiseChangedKey(options.client, pinned, presented);
            throw connectionException(
                VLException::inaccessible, ConnectionFailure::Garbage,
                QStringLiteral("The TLS handshake failed: %1").arg(fromKj(exception.getDescription())));
        }
    }

    void open(const Deadline& deadline) {
        try {
            loop.open(deadline);
        } catch (const kj::Exception& exception) {
            // A server judges our certificate after the client's part of the handshake is done.
            const QString lastWords = loop.lastWords();
            const QString reason = lastWords.isEmpty() ? fromKj(exception.getDescription()) : lastWords;
            if (TlsSettings::isRefusal(reason))
                throw VLException(
                    VLException::refused,
                    QStringLiteral("The client does not accept this console: its certificate is not "
                                   "among those that the client was given."));
            const ConnectionEnd end = connectionEnd(reason);
            throw connectionException(
                VLException::inaccessible,
                end.failure == ConnectionFailure::Lost ? ConnectionFailure::HungUp : end.failure,
                QStringLiteral("The connection ended before the first answer: %1").arg(end.reason));
        }
    }

    std::shared_ptr<ConnectionCore> core;
    ConnectionLoop loop;
};

VLConnection::VLConnection(const QString& host, quint16 port, VLConnectionOptions options) {
    const KjQuiet quiet;
    try {
        d = std::make_unique<Private>(host, port, options);
    } catch (const kj::Exception& exception) {
        throw VLException(VLException::generic, fromKj(exception.getDescription()));
    }
}

VLConnection::~VLConnection() {
    const KjQuiet quiet;
    d.reset();
}

VLProxyObjectPtr VLConnection::rootProxy() const {
    return d->core;
}
std::shared_ptr<VLConnection::Control> VLConnection::control() const {
    return d->core;
}
void VLConnection::serve(std::chrono::milliseconds slice) {
    const KjQuiet quiet;
    d->loop.serve(slice);
}
bool VLConnection::isValid() const noexcept {
    return d->core->isValid();
}
QString VLConnection::lossReason() const {
    return d->core->lossReason();
}
ConnectionFailure VLConnection::lossFailure() const {
    return d->core->lossFailure();
}
void VLConnection::wake() {
    d->core->wake();
}
void VLConnection::invalidate() {
    d->core->invalidate();
}
