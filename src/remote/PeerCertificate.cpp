#include "remote/ConnectionFailure.h"
#include "remote/OpenSslPointers.h"
#include "remote/SocketConnector.h"
#include "remote/TlsIdentity.h"
#include "system/VLException.h"

#include <openssl/err.h>
#include <poll.h>

#include <csignal>
#include <mutex>

namespace {

/// OpenSSL writes to sockets with write(), which would end the process when the peer has closed.
void ignoreBrokenPipes() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction current {};
        if (::sigaction(SIGPIPE, nullptr, &current) == 0 && current.sa_handler == SIG_DFL)
            std::signal(SIGPIPE, SIG_IGN);
    });
}

[[noreturn]] void fail(const QString& name, const QString& reason) {
    ::ERR_clear_error();
    throw VLException(name, reason);
}

[[noreturn]] void failHandshake(ConnectionFailure failure, const QString& reason) {
    ::ERR_clear_error();
    throw connectionException(VLException::inaccessible, failure, reason);
}

QString lastError() {
    char text[256] = "the connection was closed";
    if (const auto code = ::ERR_peek_last_error()) ::ERR_error_string_n(code, text, sizeof text);
    return QString::fromLatin1(text);
}

/// After a failed handshake: the other end closed, or it speaks something else.
ConnectionFailure handshakeFailure(int sslError) {
    const bool closed = sslError == SSL_ERROR_SYSCALL || sslError == SSL_ERROR_ZERO_RETURN ||
                        ERR_GET_REASON(::ERR_peek_last_error()) == SSL_R_UNEXPECTED_EOF_WHILE_READING;
    return closed ? ConnectionFailure::HungUp : ConnectionFailure::NotCorvalin;
}

void shakeHands(SSL* ssl, int fd, const QString& host, const Deadline& deadline) {
    for (;;) {
        ::ERR_clear_error();
        const int result = ::SSL_connect(ssl);
        if (result == 1) return;
        const int error = ::SSL_get_error(ssl, result);
        if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE)
            failHandshake(handshakeFailure(error),
                          QStringLiteral("%1 shows no certificate: %2.").arg(host, lastError()));
        if (!SocketConnector::waitFor(fd, error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT, deadline))
            fail(VLException::portTimeout,
                 QStringLiteral("%1 did not show its certificate in time.").arg(host));
    }
}

}  // namespace

QByteArray fetchPeerCertificate(const QString& host, quint16 port, std::chrono::milliseconds limit) {
    ignoreBrokenPipes();
    const Deadline deadline(limit);
    const kj::AutoCloseFd fd = SocketConnector::connect(host, port, deadline);

    const openssl::Pointer<SSL_CTX> context(::SSL_CTX_new(::TLS_client_method()));
    const openssl::Pointer<SSL> ssl(context ? ::SSL_new(context.get()) : nullptr);
    if (!ssl || ::SSL_set_min_proto_version(ssl.get(), TLS1_3_VERSION) != 1 ||
        ::SSL_set_fd(ssl.get(), fd.get()) != 1 || SSL_set_tlsext_host_name(ssl.get(), agentTlsHostName) != 1)
        fail(VLException::generic, QStringLiteral("TLS cannot be used: %1.").arg(lastError()));
    ::SSL_set_verify(ssl.get(), SSL_VERIFY_NONE, nullptr);
    shakeHands(ssl.get(), fd.get(), host, deadline);

    const openssl::Pointer<X509> certificate(::SSL_get1_peer_certificate(ssl.get()));
    if (!certificate)
        failHandshake(ConnectionFailure::NotCorvalin, QStringLiteral("%1 shows no certificate.").arg(host));
    QByteArray pem = openssl::pemFromCertificate(certificate.get());
    ::ERR_clear_error();
    return pem;
}
