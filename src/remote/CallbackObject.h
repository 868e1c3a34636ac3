#pragma once

#include "corvalin.capnp.h"
#include "foundation/Snapshot.h"
#include "remote/LogBudget.h"
#include "remote/RemoteLimits.h"
#include "remote/VLProxyObject.h"

#include <QString>

#include <kj/async.h>
#include <kj/timer.h>

#include <deque>
#include <memory>

/// Lets the calls of one peer in: at once while they are few, at a steady pace when they are many, and not at
/// all when too many are waiting. What callbacks start elsewhere (work for the main thread, records in the
/// error queue) is thereby bounded in time, and the loop stays free for the answers that we wait for.
class CallbackGate {
public:
    CallbackGate(kj::Timer& timer, const RemoteLimits& limits);

    /// Resolves when the call of `bytes` may run, in the order of calls. Throws a kj exception when refused.
    [[nodiscard]] kj::Promise<void> enter(std::size_t bytes);

private:
    struct Waiting {
        kj::Own<kj::PromiseFulfiller<void>> fulfiller;
        std::size_t bytes;
    };
    void refill();
    [[nodiscard]] bool take(std::size_t bytes);
    [[nodiscard]] kj::Promise<void> letIn();

    kj::Timer& m_timer;
    std::size_t m_limit;
    std::size_t m_bytesLimit;
    double m_bytesPerSecond;
    double m_tokens, m_byteTokens;
    kj::TimePoint m_refilled;
    std::deque<Waiting> m_waiting;
    std::size_t m_waitingBytes = 0;
    kj::Promise<void> m_task = nullptr;
    bool m_running = false;
};

/// What the callback objects of one connection share. The connection's thread.
struct CallbackContext {
    CallbackContext(kj::Timer& timer, const RemoteLimits& remoteLimits,
                    std::shared_ptr<const Snapshot<QString>> connectionLabel)
        : limits(remoteLimits), label(std::move(connectionLabel)), gate(timer, limits) {}

    RemoteLimits limits;
    const std::shared_ptr<const Snapshot<QString>> label;  ///< others may change it
    CallbackGate gate;
    LogBudget log;
    bool receiving = false;  ///< a target's receive() is running
};

// kj deletes its objects through what made them, so its interfaces have no virtual destructors.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// An object of the console on the wire.
class CallbackObject final : public wire::Callback::Server {
public:
    CallbackObject(VLCallbackTargetPtr target, std::shared_ptr<CallbackContext> context)
        : m_target(std::move(target)), m_context(std::move(context)) {}

protected:
    kj::Promise<void> perform(PerformContext context) override;

private:
    [[nodiscard]] QVariantList readArguments(capnp::List<wire::Argument>::Reader source) const;
    void receive(PerformContext& context);

    VLCallbackTargetPtr m_target;
    std::shared_ptr<CallbackContext> m_context;
};

#pragma GCC diagnostic pop
