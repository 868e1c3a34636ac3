#pragma once

#include "corvalin.capnp.h"
#include "remote/RemoteLimits.h"
#include "system/VLException.h"

#include <QString>
#include <QVariant>

#include <cstddef>
#include <string_view>
#include <unordered_map>

/// Property-list values to and from the wire. One reader or writer serves one message: the limits on the
/// number of values and on the size hold for the message as a whole. Both throw VLException::invalidArgument.
/// No threads of their own.

class WireWriter {
public:
    explicit WireWriter(const RemoteLimits& limits) : m_limits(limits) {}

    /// Types without a form on the wire, invalid dates and integers above the signed 64 bits are refused.
    void write(wire::Value::Builder target, const QVariant& value) { write(target, value, 0); }
    void write(wire::Outcome::Exception::Builder target, const VLException& exception);
    /// The text as the wire wants it; counts towards the size.
    [[nodiscard]] QByteArray text(const QString& text);

private:
    void write(wire::Value::Builder target, const QVariant& value, int depth);
    void writeList(wire::Value::Builder target, const QVariantList& list, int depth);
    template <typename Map>
    void writeDictionary(wire::Value::Builder target, const Map& map, int depth);
    [[nodiscard]] unsigned int countedSize(qsizetype size, std::size_t bytesEach);
    void addBytes(std::size_t bytes);

    const RemoteLimits& m_limits;
    std::size_t m_values = 0;
    std::size_t m_bytes = 0;
};

class WireReader {
public:
    explicit WireReader(const RemoteLimits& limits) : m_limits(limits) {}

    /// Unknown kinds of values (an unknown union tag), broken pointers, texts that are no UTF-8 and dates
    /// outside of what QDateTime holds are refused.
    [[nodiscard]] QVariant read(wire::Value::Reader source);
    /// The answer, or the peer's exception raised here.
    [[nodiscard]] QVariant readOutcome(wire::Outcome::Reader source);
    [[nodiscard]] QString text(capnp::Text::Reader source);

private:
    [[nodiscard]] QVariant read(wire::Value::Reader source, int depth);
    [[nodiscard]] QVariant readDictionary(capnp::List<wire::Value::Entry>::Reader source, int depth);
    [[nodiscard]] QString key(capnp::Text::Reader source);
    [[nodiscard]] VLException readException(wire::Outcome::Exception::Reader source);
    void count(std::size_t values);

    const RemoteLimits& m_limits;
    std::size_t m_values = 0;
    /// Of dictionaries: the lists that agents send repeat them in every entry. They lie in the message.
    std::unordered_map<std::string_view, QString> m_keys;
};

/// kj and Cap'n Proto keep their words in char arrays; this makes ours of them.
[[nodiscard]] QString fromKj(kj::StringPtr text);
