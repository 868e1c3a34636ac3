#include "remote/WireStream.h"

#include "remote/WireValue.h"

#include <capnp/rpc.capnp.h>
#include <kj/debug.h>

#include <algorithm>
#include <cstring>

kj::Promise<bool> CountingStream::readHead() {
    return readOn(m_head.data(), headSize, headSize).then([this](size_t count) {
        if (count < headSize) return false;
        m_headLeft = headSize;
        return true;
    });
}

kj::Promise<size_t> CountingStream::tryRead(void* buffer, size_t minBytes, size_t maxBytes) {
    if (m_headLeft == 0) return readOn(buffer, minBytes, maxBytes);
    const size_t count = std::min(m_headLeft, maxBytes);
    std::memcpy(buffer, m_head.data() + headSize - m_headLeft, count);
    m_headLeft -= count;
    if (count >= minBytes) return count;
    return readOn(static_cast<kj::byte*>(buffer) + count, minBytes - count, maxBytes - count)
        .then([count](size_t more) { return count + more; });
}

kj::Promise<size_t> CountingStream::readOn(void* buffer, size_t minBytes, size_t maxBytes) {
    return m_inner->tryRead(buffer, minBytes, maxBytes)
        .then(
            [this](size_t count) {
                m_read += count;
                return count;
            },
            [this](kj::Exception&& exception) -> size_t {
                m_readError = fromKj(exception.getDescription());
                kj::throwFatalException(kj::mv(exception));
            });
}

kj::Promise<void> CountingStream::write(const void* buffer, size_t size) {
    return m_inner->write(buffer, size).then([this, size] { m_written += size; });
}

kj::Promise<void> CountingStream::write(kj::ArrayPtr<const kj::ArrayPtr<const kj::byte>> pieces) {
    size_t size = 0;
    for (const auto piece : pieces)
        size += piece.size();
    return m_inner->write(pieces).then([this, size] { m_written += size; });
}

ConnectionEnd connectionEnd(const QString& description) {
    using enum ConnectionFailure;
    struct Reason {
        const char* part;
        const char* words;
        ConnectionFailure failure;
    };
    static constexpr Reason reasons[] = {
        {"Message is too large", "The other end sent a message that is larger than allowed.", Garbage},
        {"Message has too many segments", "The other end sent something that is no message.", Garbage},
        {"Premature EOF", "The other end closed the connection.", Lost},
        {"disconnected prematurely", "The other end closed the connection.", Lost},
        {"ending TLS session", "The other end closed the connection.", Lost},
        {"unexpected eof", "The other end closed the connection.", Lost},
        {"Connection reset", "The other end broke the connection off.", Lost},
        {"Broken pipe", "The other end broke the connection off.", Lost},
        {"Connection timed out", "The other end does not answer any more.", Silent},
    };
    for (const Reason& reason : reasons)
        if (description.contains(QLatin1String(reason.part)))
            return {QLatin1String(reason.words), reason.failure};
    return {description, Garbage};
}

WireStream::WireStream(kj::AsyncIoStream& stream, const RemoteLimits& limits)
    : m_inner(stream), m_openCallsLimit(limits.pendingCallbacks * 8 + 64) {}

capnp::ReaderOptions WireStream::readerOptions(const RemoteLimits& limits) {
    capnp::ReaderOptions options;
    // Cap'n Proto refuses a message that is larger than what may be traversed, before it makes room for it.
    options.traversalLimitInWords = limits.messageBytes / sizeof(capnp::word);
    // A dictionary inside a dictionary follows two pointers; the RPC envelope and the outcome take the rest.
    options.nestingLimit = 2 * limits.valueNesting + 24;
    return options;
}

kj::Promise<kj::Maybe<capnp::MessageReaderAndFds>> WireStream::tryReadMessage(
    kj::ArrayPtr<kj::AutoCloseFd> fdSpace, capnp::ReaderOptions options, kj::ArrayPtr<capnp::word> scratch) {
    // A connection that can't be written to any more is read to its end, which tells why.
    if (m_canWrite && m_isHeldBack && m_isHeldBack()) {
        auto held = kj::newPromiseAndFulfiller<void>();
        m_continue = kj::mv(held.fulfiller);
        return held.promise.then(
            [this, fdSpace, options, scratch] { return tryReadMessage(fdSpace, options, scratch); });
    }
    return m_inner.tryReadMessage(fdSpace, options, scratch)
        .then([this](kj::Maybe<capnp::MessageReaderAndFds>&& message) {
            KJ_IF_MAYBE (read, message)
                countCall(*read->reader);
            else
                m_end.reason = QStringLiteral("The other end closed the connection.");
            return kj::mv(message);
        })
        .catch_([this](kj::Exception&& exception) -> kj::Maybe<capnp::MessageReaderAndFds> {
            m_end = ::connectionEnd(fromKj(exception.getDescription()));
            kj::throwFatalException(kj::mv(exception));
        });
}

void WireStream::continueReading() {
    KJ_IF_MAYBE (held, m_continue) {
        auto fulfiller = kj::mv(*held);
        m_continue = nullptr;
        fulfiller->fulfill();
    }
}

kj::Promise<void> WireStream::noteEnd(kj::Promise<void> writing) {
    return writing.then(
        [this] {
            if (m_written) m_written();
        },
        [this](kj::Exception&& exception) {
            m_canWrite = false;
            continueReading();
            kj::throwFatalException(kj::mv(exception));
        });
}

void WireStream::countCall(capnp::MessageReader& message) {
    const auto which = message.getRoot<capnp::rpc::Message>().which();
    if (which == capnp::rpc::Message::FINISH && m_openCalls > 0) --m_openCalls;
    if (which != capnp::rpc::Message::CALL && which != capnp::rpc::Message::BOOTSTRAP) return;
    const bool answersPileUp =
        m_network && m_network->getCurrentQueueCount() > static_cast<size_t>(m_openCallsLimit);
    if (++m_openCalls > m_openCallsLimit || answersPileUp)
        kj::throwFatalException(KJ_EXCEPTION(OVERLOADED, "The other end floods us with calls."));
}
