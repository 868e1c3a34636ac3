#pragma once

#include "corvalin.capnp.h"
#include "remote/RemoteLimits.h"
#include "remote/VLProxyObject.h"
#include "system/VLException.h"

#include <QList>
#include <QString>
#include <QVariant>

#include <capnp/message.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

/// A call on its way to a peer: of an agent's root object, or of an object that a console lent. The caller's
/// thread makes and encodes it, so the values stay on that thread; the connection's thread sends it; whoever
/// learns first how it ended says so, and the caller waits.
class PendingCall {
public:
    enum class Kind { Responds, Perform };

    /// Throws VLException::invalidArgument for arguments that the wire does not take.
    PendingCall(Kind kind, const QString& selector, const QVariantList& arguments,
                const RemoteLimits& limits);

    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] const QString& selector() const { return m_selector; }

    // The connection's thread, until it has sent the call.
    [[nodiscard]] wire::Root::PerformParams::Reader params();
    [[nodiscard]] std::size_t bytes();  ///< of the parameters, until they are released
    /// Arguments by reference, with their index.
    [[nodiscard]] const QList<std::pair<unsigned int, VLCallbackTargetPtr>>& references() const {
        return m_references;
    }
    void releaseParams();

    // Any thread. The first one counts.
    void finish(QVariant result);
    void fail(VLException error);

    // The caller.
    /// False when the limit passed first; noTimeLimit waits for the end.
    [[nodiscard]] bool waitFor(std::chrono::milliseconds limit);
    [[nodiscard]] bool isDone() const;
    /// The result, or the error raised. Once, after the end.
    [[nodiscard]] QVariant takeResult();

private:
    const Kind m_kind;
    const QString m_selector;
    std::array<capnp::word, 64> m_room{};  ///< for what most calls have, without a block of the heap
    std::optional<capnp::MallocMessageBuilder> m_message;
    QList<std::pair<unsigned int, VLCallbackTargetPtr>> m_references;

    mutable std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_done = false;
    QVariant m_result;
    std::optional<VLException> m_error;
};
