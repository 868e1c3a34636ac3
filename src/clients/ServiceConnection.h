#pragma once

#include "clients/VLService.h"
#include "foundation/VLTimer.h"

#include <memory>
#include <mutex>

class ServiceSession;

/// The connection of one record: its session, the thread that runs it, and the timers that are armed for it.
/// Any thread, except for run().
class ServiceConnection {
public:
    using SessionPtr = std::shared_ptr<ServiceSession>;

    /// `record` owns this.
    explicit ServiceConnection(VLService& record) : m_record(record) {}
    ~ServiceConnection() { invalidateTimers(); }
    ServiceConnection(const ServiceConnection&) = delete;
    ServiceConnection& operator=(const ServiceConnection&) = delete;

    /// Null when nothing is connected or connecting.
    [[nodiscard]] SessionPtr session() const;
    /// Starts the record's thread. An attempt that is under way goes on, unless it shall be replaced.
    void start(const VLCallbackTargetPtr& errorCallback, bool replacesAttempt);
    /// Body of that thread: connects, serves, and arms the next attempt.
    void run(const VLCallbackTargetPtr& errorCallback);
    /// Ends the session and the timers; waits a moment for the thread.
    void end();
    /// From here on nothing starts.
    void retire();

    /// The next attempt, unless another session than `ended` is current.
    void armReconnect(const SessionPtr& ended, const VLCallbackTargetPtr& errorCallback);
    void armTimeout();
    bool disarmTimeout();  ///< whether it was pending
    void invalidateTimers();

private:
    void runSession(const SessionPtr& session, const VLCallbackTargetPtr& errorCallback);
    bool setUp(const SessionPtr& session, VLConnection& connection, const VLCallbackTargetPtr& errorCallback);
    void serve(const SessionPtr& session, VLConnection& connection);
    /// The attempt or the connection has come to an end by itself: says so, and arms the next attempt.
    void sessionEnded(const SessionPtr& session, const VLCallbackTargetPtr& errorCallback, bool postFailure);
    void endRunLoop(const SessionPtr& session);

    VLService& m_record;
    mutable std::mutex m_mutex;  ///< guards what follows
    SessionPtr m_session;
    bool m_isRetired = false;
    std::shared_ptr<VLTimer> m_reconnectTimer;
    std::shared_ptr<VLTimer> m_timeoutTimer;
};
