#pragma once

#include "corvalin.capnp.h"
#include "remote/EventLoopQueue.h"
#include "remote/LogBudget.h"
#include "remote/RemoteLimits.h"
#include "remote/TaskErrorHandler.h"
#include "remote/VLProxyObject.h"

#include <capnp/message.h>
#include <kj/async.h>

#include <atomic>
#include <deque>
#include <memory>
#include <unordered_map>

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
    void release(quint64 object);

private:
    struct Outgoing {
        quint64 object;
        std::size_t bytes;
        capnp::MallocMessageBuilder message;  ///< its root is Callback's PerformParams
    };
    void enqueue(std::shared_ptr<Outgoing> call);
    void pump();
    void send(Outgoing& call);
    void ended();
    void taskFailed(kj::Exception&& exception) override;

    const std::shared_ptr<EventLoopQueue> m_queue;
    const RemoteLimits m_limits;
    std::atomic_bool m_connected = true;
    std::atomic_int m_waiting = 0;
    std::atomic_size_t m_waitingBytes = 0;
    SharedLogBudget m_log;

    // The server's thread only, and empty once closed.
    std::unordered_map<quint64, wire::Callback::Client> m_objects;
    quint64 m_lastObject = 0;
    std::deque<std::shared_ptr<Outgoing>> m_outgoing;
    int m_underWay = 0;
    kj::Own<kj::TaskSet> m_tasks;
};
