#pragma once

#include "foundation/Snapshot.h"
#include "remote/EventLoopQueue.h"
#include "remote/PendingCall.h"
#include "remote/VLConnection.h"
#include "remote/VLProxyObject.h"

#include <QHash>
#include <QSet>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <unordered_set>

class ConnectionLoop;

/// What other threads hold of a connection: its proxy and its control. It outlives the connection and then
/// fails every call.
class ConnectionCore final : public VLProxyObject,
                             public VLConnection::Control,
                             public std::enable_shared_from_this<ConnectionCore> {
public:
    /// On the thread that will serve the connection.
    ConnectionCore(const RemoteLimits& limits, const QString& label);

    bool respondsToSelector(const QString& selector, std::chrono::milliseconds limit) override;
    QVariant perform(const QString& selector, const QVariantList& arguments,
                     std::chrono::milliseconds limit) override;

    void wake() override;
    void invalidate() override { close({}); }
    void setLabel(const QString& label) override { m_label->set(label); }
    bool isValid() const noexcept override { return m_valid.load(); }

    [[nodiscard]] std::shared_ptr<const Snapshot<QString>> label() const { return m_label; }
    [[nodiscard]] QString lossReason() const;
    [[nodiscard]] ConnectionFailure lossFailure() const;
    /// Fails all calls, and every later one. The first reason counts. Any thread.
    void close(const QString& reason, ConnectionFailure failure = ConnectionFailure::Lost);

    // The connection's thread.
    void setLoop(ConnectionLoop* loop) { m_loop = loop; }
    [[nodiscard]] EventLoopQueue& queue() { return *m_queue; }
    /// What the agent says that it responds to, as far as the protocol has it.
    void learnSelectors(QSet<QString> selectors);
    /// True once for each wake().
    [[nodiscard]] bool takeWake() { return m_wake.exchange(false); }

private:
    using Call = std::shared_ptr<PendingCall>;

    [[nodiscard]] bool isOwner() const { return std::this_thread::get_id() == m_owner; }
    [[nodiscard]] VLException lossException() const;
    [[nodiscard]] std::optional<bool> knownResponse(const QString& selector) const;
    void giveUp(const Call& call);
    [[nodiscard]] Call makeCall(PendingCall::Kind kind, const QString& selector,
                                const QVariantList& arguments) const;
    void sendOneway(const Call& call);
    [[nodiscard]] QVariant callAndWait(const Call& call, std::chrono::milliseconds limit);
    void wait(const Call& call, std::chrono::milliseconds limit);

    const RemoteLimits m_limits;
    const std::shared_ptr<Snapshot<QString>> m_label;
    const std::thread::id m_owner = std::this_thread::get_id();
    const std::shared_ptr<EventLoopQueue> m_queue = std::make_shared<EventLoopQueue>();
    ConnectionLoop* m_loop = nullptr;  ///< the owner's only

    std::atomic_bool m_valid = true;
    std::atomic_bool m_wake = false;
    mutable std::mutex m_mutex;
    QString m_lossReason;
    ConnectionFailure m_lossFailure = ConnectionFailure::None;
    std::unordered_set<Call> m_calls;  ///< that somebody waits for
    // What the agent responds to stays so while the connection lasts, so it is asked once: for all that the
    // protocol has, and one by one for what an agent has not listed.
    std::optional<QSet<QString>> m_selectors;
    QHash<QString, bool> m_answeredSelectors;
};
