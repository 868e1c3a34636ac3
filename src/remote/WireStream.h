#pragma once

#include "remote/ConnectionFailure.h"
#include "remote/RemoteLimits.h"

#include <QString>

#include <capnp/rpc-twoparty.h>
#include <capnp/serialize-async.h>
#include <kj/async-io.h>

#include <array>
#include <cstdint>
#include <functional>

// kj deletes its objects through what made them, so its interfaces have no virtual destructors.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// A stream that counts what passes, the signs of life of a peer that is busy with a long message, and
/// remembers the error that ended reading: once writing fails too, nobody above gets to see it.
class CountingStream final : public kj::AsyncIoStream {
public:
    explicit CountingStream(kj::Own<kj::AsyncIoStream> inner) : m_inner(kj::mv(inner)) {}

    [[nodiscard]] std::uint64_t bytesRead() const { return m_read; }
    [[nodiscard]] std::uint64_t bytesWritten() const { return m_written; }
    [[nodiscard]] const QString& readError() const { return m_readError; }

    static constexpr std::size_t headSize = 6;
    /// Reads the first bytes ahead; before anything else is read. False when there are fewer.
    [[nodiscard]] kj::Promise<bool> readHead();
    /// Those bytes; they are still to be read.
    [[nodiscard]] const std::array<kj::byte, headSize>& head() const { return m_head; }

    kj::Promise<size_t> tryRead(void* buffer, size_t minBytes, size_t maxBytes) override;
    kj::Promise<void> write(const void* buffer, size_t size) override;
    kj::Promise<void> write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) override;
    kj::Promise<void> whenWriteDisconnected() override { return m_inner->whenWriteDisconnected(); }
    void shutdownWrite() override { m_inner->shutdownWrite(); }
    void abortRead() override { m_inner->abortRead(); }
    void getsockopt(int level, int option, void* value, kj::uint* length) override {
        m_inner->getsockopt(level, option, value, length);
    }
    void setsockopt(int level, int option, const void* value, kj::uint length) override {
        m_inner->setsockopt(level, option, value, length);
    }
    void getpeername(struct sockaddr* address, kj::uint* length) override {
        m_inner->getpeername(address, length);
    }

private:
    [[nodiscard]] kj::Promise<size_t> readOn(void* buffer, size_t minBytes, size_t maxBytes);

    kj::Own<kj::AsyncIoStream> m_inner;
    std::array<kj::byte, headSize> m_head{};
    std::size_t m_headLeft = 0;  ///< of the head, from its end
    std::uint64_t m_read = 0;
    std::uint64_t m_written = 0;
    QString m_readError;
};

/// Why a connection ended, in plain words; empty while it has not.
struct ConnectionEnd {
    QString reason;
    ConnectionFailure failure = ConnectionFailure::Lost;
};
/// From kj's description of it.
[[nodiscard]] ConnectionEnd connectionEnd(const QString& description);

/// The stream of messages under the RPC system. It remembers why reading ended, which the RPC system tells
/// only to calls under way, and ends the connection of a peer that floods it: one that has many more calls
/// open (not finished by it, answered or not) than it may.
class WireStream final : public capnp::MessageStream {
public:
    WireStream(kj::AsyncIoStream& stream, const RemoteLimits& limits);

    /// How the other end may use this process's memory and stack while a message is read.
    [[nodiscard]] static capnp::ReaderOptions readerOptions(const RemoteLimits& limits);
    /// The network that answers through this stream: a peer that calls and does not read what comes back
    /// ends the connection too.
    void setNetwork(capnp::TwoPartyVatNetwork& network) { m_network = &network; }
    /// Nothing more is read while `isHeldBack` says so: what the peer sends waits in the socket. It is asked
    /// before each message, and again after continueReading().
    void holdBackWhile(std::function<bool()> isHeldBack) { m_isHeldBack = std::move(isHeldBack); }
    void continueReading();
    /// `written` is called after each message that was sent.
    void setWritten(std::function<void()> written) { m_written = std::move(written); }
    /// Why nothing more can be read.
    [[nodiscard]] const ConnectionEnd& connectionEnd() const { return m_end; }

    kj::Promise<kj::Maybe<capnp::MessageReaderAndFds>> tryReadMessage(
        kj::ArrayPtr<kj::AutoCloseFd> fdSpace, capnp::ReaderOptions options,
        kj::ArrayPtr<capnp::word> scratch) override;
    kj::Promise<void> writeMessage(kj::ArrayPtr<const int> fds,
                                   kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>> segments) override {
        return noteEnd(m_inner.writeMessage(fds, segments));
    }
    kj::Promise<void> writeMessages(
        kj::ArrayPtr<kj::ArrayPtr<const kj::ArrayPtr<const capnp::word>>> messages) override {
        return noteEnd(m_inner.writeMessages(messages));
    }
    kj::Maybe<int> getSendBufferSize() override { return m_inner.getSendBufferSize(); }
    kj::Promise<void> end() override { return m_inner.end(); }

private:
    void countCall(capnp::MessageReader& message);
    [[nodiscard]] kj::Promise<void> noteEnd(kj::Promise<void> writing);

    capnp::AsyncIoMessageStream m_inner;
    capnp::TwoPartyVatNetwork* m_network = nullptr;
    std::function<bool()> m_isHeldBack;
    std::function<void()> m_written;
    kj::Maybe<kj::Own<kj::PromiseFulfiller<void>>> m_continue;  ///< while reading is held back
    bool m_canWrite = true;
    int m_openCallsLimit;
    int m_openCalls = 0;
    ConnectionEnd m_end;
};

#pragma GCC diagnostic pop
