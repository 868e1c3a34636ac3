#pragma once

#include "corvalin.capnp.h"
#include "remote/RemoteLimits.h"
#include "remote/WireStream.h"
#include "remote/WireValue.h"

#include <QByteArray>

#include <capnp/message.h>
#include <capnp/serialize.h>

#include <cstring>

/// Those of a connection, made smaller: a short message can stand for a long list of nothing, whose reading
/// takes its time.
inline RemoteLimits smallLimits() {
    RemoteLimits limits;
    limits.messageBytes = 1 << 20;
    limits.valueCount = 5'000;
    return limits;
}

/// Messages as bytes.
class WireBytes {
public:
    explicit WireBytes(const QByteArray& bytes)
        : m_words(kj::heapArray<capnp::word>(std::size_t(bytes.size()) / sizeof(capnp::word))) {
        if (m_words.size() > 0) std::memcpy(m_words.begin(), bytes.constData(), m_words.asBytes().size());
    }

    /// Throws VLException.
    [[nodiscard]] QVariant readOutcome(const RemoteLimits& limits) const {
        try {
            capnp::FlatArrayMessageReader message(m_words, WireStream::readerOptions(limits));
            return WireReader(limits).readOutcome(message.getRoot<wire::Outcome>());
        } catch (const kj::Exception& exception) {
            throw VLException(VLException::invalidArgument, fromKj(exception.getDescription()));
        }
    }

    [[nodiscard]] static QByteArray outcome(const QVariant& value) {
        capnp::MallocMessageBuilder message;
        WireWriter(RemoteLimits{}).write(message.initRoot<wire::Outcome>().initValue(), value);
        return bytesOf(message);
    }
    [[nodiscard]] static QByteArray exception(const VLException& exception) {
        capnp::MallocMessageBuilder message;
        WireWriter(RemoteLimits{}).write(message.initRoot<wire::Outcome>().initException(), exception);
        return bytesOf(message);
    }
    [[nodiscard]] static QByteArray bytesOf(capnp::MessageBuilder& message) {
        const auto words = capnp::messageToFlatArray(message);
        const auto bytes = words.asBytes();
        return QByteArray(reinterpret_cast<const char*>(bytes.begin()), qsizetype(bytes.size()));
    }

private:
    kj::Array<capnp::word> m_words;
};
