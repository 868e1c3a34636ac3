#pragma once

#include "remote/TlsIdentity.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <memory>
#include <optional>

/// What a HostileAgent does when it is asked for its trigger. Up to then it is a client like any other.
enum class Fault {
    None,             ///< nothing: answers like an honest agent
    Garbage,          ///< sends bytes that are no message
    UnknownValue,     ///< answers with a value of a kind that nobody knows
    UnknownOutcome,   ///< the same one level higher
    EndlessList,      ///< answers with a tiny message that claims half a billion values
    BrokenText,       ///< answers with a text that is no UTF-8
    ImpossibleDate,   ///< answers with a date beyond all calendars
    TooDeep,          ///< answers with lists inside each other, deeper than any limit
    TooLarge,         ///< announces a message of 1 GB
    LargerThanLimit,  ///< really sends data of 3 MB
    CloseMidAnswer,   ///< closes after a part of its answer
    Reset,            ///< resets the TCP connection
    Silence,          ///< keeps the connection and says nothing any more
    NoAnswer,         ///< beats its heart but never answers
    FloodCallbacks,   ///< calls the console's object as fast as it can, heeding the answers
    FloodBlindly,     ///< the same without waiting for anything
    RemoteError,      ///< answers with an exception of the RPC system itself
};

/// A peer with a valid key that completes the TLS handshake and then misbehaves. It runs on a thread of its
/// own, on the loopback interface, until it is destroyed. Any console may connect.
class HostileAgent {
public:
    struct Options {
        Fault fault = Fault::None;
        /// The selector that sets it off; empty for every operation.
        QString trigger;
        /// What it answers to other operations, as an honest agent would. Called on the agent's thread.
        std::function<QVariant(const QString& selector)> answer;
        /// What it lists as the selectors that it responds to; it has no such answer, as older agents have
        /// none, without. Asked one by one it responds to all but qmasterJobs.
        std::optional<QStringList> selectors = std::nullopt;
        TlsIdentity identity = TlsIdentity::create(QStringLiteral("hostile agent"));
    };
    explicit HostileAgent(Options options);
    ~HostileAgent();
    HostileAgent(const HostileAgent&) = delete;
    HostileAgent& operator=(const HostileAgent&) = delete;

    [[nodiscard]] quint16 port() const;
    [[nodiscard]] QByteArray certificate() const;
    /// How often it was set off.
    [[nodiscard]] int triggered() const;
    /// How often it was asked for a single selector.
    [[nodiscard]] int asked() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};
