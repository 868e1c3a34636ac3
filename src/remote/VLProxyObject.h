#pragma once

#include "system/VLException.h"

#include <QString>
#include <QVariant>

#include <chrono>
#include <memory>

/// Time limit of a call that has none: it ends with the answer, or with the connection.
inline constexpr std::chrono::milliseconds noTimeLimit{0};

/// A call that was never sent, because its arguments cannot travel (VLException::invalidArgument, raised in
/// the caller). It says nothing about the connection.
class VLUnsentCallException : public VLException {
public:
    using VLException::VLException;
};

/// The agent's root object as the console sees it. Any thread may call; calls block. A lost connection fails
/// every call under way at once with VLException::inaccessible; a missed time limit raises
/// VLException::portTimeout; a CallScope that is given up raises VLException::givenUp; an exception raised by
/// the agent arrives with its own name and reason.
///
/// Arguments and results are property-list values. An argument may also hold a VLCallbackTargetPtr: the
/// agent then gets a reference to that object. Results come from an untrusted peer: their types are whatever
/// the peer chose and must be checked by the caller.
class VLProxyObject {
public:
    virtual ~VLProxyObject() = default;

    [[nodiscard]] virtual bool respondsToSelector(const QString& selector,
                                                  std::chrono::milliseconds limit = noTimeLimit) = 0;

    /// Sends an operation. Operations that the protocol table declares oneway return at once with an invalid
    /// QVariant; their failures are not reported.
    virtual QVariant perform(const QString& selector, const QVariantList& arguments = {},
                             std::chrono::milliseconds limit = noTimeLimit) = 0;
};
using VLProxyObjectPtr = std::shared_ptr<VLProxyObject>;

/// An object of this process that a peer calls by reference.
class VLCallbackTarget {
public:
    virtual ~VLCallbackTarget() = default;

    /// Called on the thread that serves the connection: it must hand over and return, never block.
    /// `sender` names the connection that the call came through (VLConnectionOptions::label): what an agent
    /// says about a host counts only for its own. Argument types are the peer's choice and must be checked;
    /// a VLException thrown here is logged, and reaches the peer only for a selector that is not oneway.
    virtual QVariant receive(const QString& selector, const QVariantList& arguments,
                             const QString& sender) = 0;
};
using VLCallbackTargetPtr = std::shared_ptr<VLCallbackTarget>;
Q_DECLARE_METATYPE(VLCallbackTargetPtr)

/// The other end of a callback: what the agent holds. Any thread.
class VLRemoteCallback {
public:
    virtual ~VLRemoteCallback() = default;
    /// Sends a oneway callback and returns at once. Quietly dropped when the console is gone.
    virtual void post(const QString& selector, const QVariantList& arguments = {}) = 0;
    /// Calls and waits for the answer, at most `limit`: then the console has also received everything that
    /// was posted before. Throws VLException as VLProxyObject::perform() does; on the thread that serves the
    /// connection, which would wait for itself, VLException::generic at once.
    virtual QVariant perform(const QString& selector, const QVariantList& arguments,
                             std::chrono::milliseconds limit) = 0;
    [[nodiscard]] virtual bool isConnected() const = 0;
};
using VLRemoteCallbackPtr = std::shared_ptr<VLRemoteCallback>;
Q_DECLARE_METATYPE(VLRemoteCallbackPtr)
