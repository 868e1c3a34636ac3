#pragma once

#include "corvalin.capnp.h"
#include "remote/EventLoopQueue.h"
#include "remote/LogBudget.h"
#include "remote/PendingCall.h"
#include "remote/RemoteLimits.h"
#include "remote/TaskErrorHandler.h"
#include "remote/VLProxyObject.h"

#include <kj/async.h>

#include <atomic>
#include <deque>
#include <memory>
#include <thread>
#include <unordered_map>
#include <unordered_set>

/// The callback objects that one console lent to this process, and the calls on their way to them. Calls go
/// out a limited number at a time, so that the console never has to refuse one.
class CallbackHub final : public std::enable_shared_from_this<CallbackHub>, public TaskErrorHandler {
public:
    CallbackHub(std::shared_ptr<EventLoopQueue> queue, const RemoteLimits& limits);

    // The server's thread.
    [[nodiscard]] VLRemoteCallbackPtr adopt(wire::Callback::Client object);
    /// The console is gone.
    void close();

    // Any thread.
    [[nodiscard]] bool isConnected() const { return m_connected; }
    void post(quint64 object, const QString& selector, const QVariantList& arguments);
    /// See VLRemoteCallback::perform().
    QVariant perform(quint64 object, const QString& selector, const QVariantList& arguments,
                     std::chrono::milliseconds limit);
    void release(quint64 object);

private:
    using Call = std::shared_ptr<PendingCall>;
    struct Outgoing {
        quint64 object;
        std::size_t bytes;
        Call call;
    };
    /// False when too much is waiting already.
    [[nodiscard]] bool take(quint64 object, const Call& call);
    void enqueue(Outgoing outgoing);
    void pump();
    void send(const Outgoing& outgoing);
    void ended(const Call& call);
    void taskFailed(kj::Exception&& exception) override;

    const std::shared_ptr<EventLoopQueue> m_queue;
    const RemoteLimits m_limits;
    const std::thread::id m_loopThread = std::this_thread::get_id();
    std::atomic_bool m_connected = true;
    std::atomic_int m_waiting = 0;
    std::atomic_size_t m_waitingBytes = 0;
    SharedLogBudget m_log;

    // The server's thread only, and empty once closed.
    std::unordered_map<quint64, wire::Callback::Client> m_objects;
    quint64 m_lastObject = 0;
    std::deque<Outgoing> m_outgoing;
    std::unordered_set<Call> m_unfinished;
    int m_underWay = 0;
    kj::Own<kj::TaskSet> m_tasks;
};
