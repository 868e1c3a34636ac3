#pragma once

#include "remote/OpenSslPointers.h"
#include "remote/SocketConnector.h"
#include "remote/TlsIdentity.h"

#include <QByteArray>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <poll.h>
#include <sys/socket.h>

#include <csignal>

/// A client that speaks TCP, or TLS, and nothing above it. Blocks; every wait ends after ten seconds.
class RawPeer {
public:
    explicit RawPeer(quint16 port)
        : m_fd(SocketConnector::connect(QStringLiteral("127.0.0.1"), port, m_deadline)) {
        std::signal(SIGPIPE, SIG_IGN);
    }

    void send(const QByteArray& bytes) {
        (void)::send(m_fd.get(), bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL);
    }

    /// True when the handshake is complete on this side.
    bool startTls(const TlsIdentity* identity, int newestVersion = TLS1_3_VERSION) {
        m_context.reset(::SSL_CTX_new(::TLS_client_method()));
        SSL_CTX_set_max_proto_version(m_context.get(), newestVersion);
        if (identity) {
            const auto certificate = openssl::certificateFromPem(identity->certificate);
            const auto bio = openssl::readOnlyBio(identity->privateKey);
            const openssl::Pointer<EVP_PKEY> key(
                ::PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
            ::SSL_CTX_use_certificate(m_context.get(), certificate.get());
            ::SSL_CTX_use_PrivateKey(m_context.get(), key.get());
        }
        m_ssl.reset(::SSL_new(m_context.get()));
        ::SSL_set_fd(m_ssl.get(), m_fd.get());
        return repeat([this] { return ::SSL_connect(m_ssl.get()); }) == 1;
    }
    bool sendTls(const QByteArray& bytes) {
        return repeat([&] { return ::SSL_write(m_ssl.get(), bytes.constData(), int(bytes.size())); }) > 0;
    }
    /// True when the other end closes (or resets) in time, whatever it sends before.
    bool isClosed() {
        char buffer[4096];
        while (SocketConnector::waitFor(m_fd.get(), POLLIN, m_deadline)) {
            const auto count = ::recv(m_fd.get(), buffer, sizeof buffer, 0);
            if (count == 0 || (count < 0 && errno != EAGAIN)) return true;
        }
        return false;
    }

private:
    template <typename Call>
    int repeat(Call call) {
        for (;;) {
            ::ERR_clear_error();
            const int result = call();
            const int error = ::SSL_get_error(m_ssl.get(), result);
            const bool waits = error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE;
            const short events = error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
            if (result > 0 || !waits) return result;
            if (!SocketConnector::waitFor(m_fd.get(), events, m_deadline)) return 0;
        }
    }

    Deadline m_deadline{std::chrono::seconds(10)};
    kj::AutoCloseFd m_fd;
    openssl::Pointer<SSL_CTX> m_context;
    openssl::Pointer<SSL> m_ssl;
};
