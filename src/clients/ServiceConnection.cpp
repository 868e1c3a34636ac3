// The connection thread of a client: connecting, serving, ending, and what is armed for the next time.

#include "clients/ServiceConnection.h"

#include "clients/ConnectionAttempts.h"
#include "clients/ServiceSession.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

ServiceConnection::SessionPtr ServiceConnection::session() const {
    const std::lock_guard lock(m_mutex);
    return m_session;
}

void ServiceConnection::start(const VLCallbackTargetPtr& errorCallback, bool replacesAttempt) {
    const auto started = std::make_shared<ServiceSession>();
    SessionPtr replaced;
    std::shared_ptr<VLTimer> reconnectTimer;
    {
        const std::lock_guard lock(m_mutex);
        if (m_isRetired) return;
        if (m_session && m_session->phase() == ServiceSession::Phase::Connecting && !replacesAttempt) return;
        replaced = std::exchange(m_session, started);
        reconnectTimer = std::exchange(m_reconnectTimer, nullptr);
        if (replaced) replaced->stop();
    }
    if (replaced) replaced->invalidate();
    if (reconnectTimer) reconnectTimer->invalidate();
    const bool hasThread = VLThread::detach(
        QStringLiteral("client ") + m_record.name(),
        [self = m_record.shared_from_this(), errorCallback] { self->connect(errorCallback); });
    if (hasThread || !started->claim()) return;
    m_record.setConnectionError(QStringLiteral("This computer has too much to do to connect."),
                                ConnectionFailure::Other);
    sessionEnded(started, errorCallback, true);
}

void ServiceConnection::run(const VLCallbackTargetPtr& errorCallback) {
    const SessionPtr session = this->session();
    if (!session || !session->claim()) return;
    try {
        runSession(session, errorCallback);
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[VLService connect:]");
        m_record.setConnectionError(ConnectionAttempts::reason(exception), connectionFailure(exception));
        sessionEnded(session, errorCallback, true);
    } catch (...) {
        sessionEnded(session, errorCallback, true);
        throw;
    }
}

void ServiceConnection::runSession(const SessionPtr& session, const VLCallbackTargetPtr& errorCallback) {
    if (!session->whileActive([this] { m_record.startProgressSpinner(); })) return;
    VLLog::appendLog(QStringLiteral("Connecting to %@..."), m_record.name());
    if (!m_record.isManual() && !m_record.netService()) {
        const QString notFound = QStringLiteral("Net service not found.");
        VLLog::appendLog(notFound);
        session->whileActive([&] { m_record.setConnectionError(notFound, ConnectionFailure::NotAnnounced); });
        m_record.stopProgressSpinner();
        const std::lock_guard lock(m_mutex);
        if (m_session == session) m_session = nullptr;
        return;
    }

    ConnectionAttempts attempts(m_record, session);
    const std::unique_ptr<VLConnection> connection = attempts.open();
    if (session->stopped()) return;
    if (!connection) {
        m_record.setConnectionError(attempts.failure(), attempts.failureKind(),
                                    attempts.changedCertificate());
        const bool active = session->whileActive([this] {
            m_record.stopProgressSpinner();
            m_record.m_isConnected = false;
        });
        if (!active) return;
        VLLog::appendLog(QStringLiteral("Unable to connect"));
        sessionEnded(session, errorCallback, true);
        return;
    }

    VLLog::appendLog(QStringLiteral("Proxy found. Connection successful."));
    VLLog::appendLog(QStringLiteral("Connected; starting run loop"));
    session->setRunLoopRunning(true);
    if (setUp(session, *connection, errorCallback)) serve(session, *connection);
    session->setRunLoopRunning(false);
    VLLog::appendLog(QStringLiteral("Run loop finished"));
    if (session->stopped()) return;

    // Nobody asked for the end: the agent went away, or an operation failed and marked the client so.
    if (const QString reason = connection->lossReason(); !reason.isEmpty()) {
        VLLog::appendLog(QStringLiteral("Connection to %@ was lost: %@"), m_record.name(), reason);
        m_record.setConnectionError(reason, connection->lossFailure());
    }
    // A client that broke off before its first answer has not been reached at all.
    sessionEnded(session, errorCallback, !session->answered());
}

bool ServiceConnection::setUp(const SessionPtr& session, VLConnection& connection,
                              const VLCallbackTargetPtr& errorCallback) {
    m_record.setConnectionError({}, ConnectionFailure::None);
    session->setProxy(connection.rootProxy());
    // Pictures are kept by host name; that one may come with the configuration.
    if (m_record.icon().isNull() && !m_record.isFiledUnderAddress()) m_record.fetchIconOnThread();
    m_record.fetchInitialConfiguration(true);
    if (!connection.isValid()) return false;
    {
        const CallLimit limit(connection, VLService::environment()->timing.probe);
        const QString selector = QStringLiteral("setErrorCallback:");
        const VLProxyObjectPtr proxy = connection.rootProxy();
        if (errorCallback && proxy->respondsToSelector(selector))
            proxy->perform(selector, {QVariant::fromValue(errorCallback)});
    }
    const bool active = session->whileActive([&] {
        session->setPhase(ServiceSession::Phase::Serving);
        m_record.m_isConnected = true;
    });
    if (!active) return false;
    m_record.refreshServiceView();
    if (VLServiceDelegate* delegate = VLService::environment()->delegate)
        VLThread::detach(QStringLiteral("serviceConnected"), [delegate, self = m_record.shared_from_this()] {
            delegate->serviceConnected(self);
        });
    return true;
}

void ServiceConnection::serve(const SessionPtr& session, VLConnection& connection) {
    const auto slice = VLService::environment()->timing.serveSlice;
    while (m_record.isConnected() && !session->stopped() && connection.isValid() && !VLThread::isCancelled())
        connection.serve(slice);
}

void ServiceConnection::sessionEnded(const SessionPtr& session, const VLCallbackTargetPtr& errorCallback,
                                     bool postFailure) {
    session->setRunLoopRunning(false);
    const bool active = session->whileActive([this] {
        m_record.m_isConnected = false;
        m_record.m_isProcessing = false;
    });
    if (!active) return;
    disarmTimeout();
    m_record.stopProgressSpinner();
    m_record.refreshServiceView();
    if (postFailure) m_record.postConnectionFailedMessage();
    armReconnect(session, errorCallback);
}

void ServiceConnection::armReconnect(const SessionPtr& ended, const VLCallbackTargetPtr& errorCallback) {
    const auto interval = VLService::environment()->timing.reconnect;
    const auto again = [weak = m_record.weak_from_this(), errorCallback] {
        if (const VLServicePtr self = weak.lock()) self->reconnect(errorCallback);
    };
    std::shared_ptr<VLTimer> pending;  // invalidated by its destruction, after the lock
    // Under the lock: a removal that comes now must either find the timer or prevent it.
    const std::lock_guard lock(m_mutex);
    if (m_session != ended) return;
    m_session = nullptr;
    if (m_isRetired || VLThread::isCancelled()) return;
    VLLog::appendLog(QStringLiteral("Attempting to reconnect to %@ in %i seconds..."), m_record.name(),
                     static_cast<int>(std::chrono::round<std::chrono::seconds>(interval).count()));
    pending = std::exchange(m_reconnectTimer, VLTimer::scheduledTimer(interval, again));
}

void ServiceConnection::end() {
    m_record.stopProgressSpinner();
    SessionPtr session;
    {
        const std::lock_guard lock(m_mutex);
        session = std::exchange(m_session, nullptr);
        if (session) session->stop();
    }
    m_record.stopProgressSpinner();  // the attempt may have started it just before it was stopped
    m_record.setIsConnected(false);
    if (session) endRunLoop(session);
    invalidateTimers();
    if (session) session->invalidate();
}

void ServiceConnection::endRunLoop(const SessionPtr& session) {
    if (session->isOwnThread()) return;
    // A thread that has not come to serving yet waits for its agent and would not see a wake-up.
    if (session->phase() == ServiceSession::Phase::Connecting)
        session->invalidate();
    else
        session->wake();
    // At the end of the program all threads are waited for together.
    if (MainThread::isQuitting()) return;
    MainThread::waitUntil([&] { return !session->runLoopRunning(); },
                          VLService::environment()->timing.loopExit);
}

void ServiceConnection::retire() {
    const std::lock_guard lock(m_mutex);
    m_isRetired = true;
}

void ServiceConnection::invalidateTimers() {
    std::shared_ptr<VLTimer> reconnectTimer, timeoutTimer;
    {
        const std::lock_guard lock(m_mutex);
        reconnectTimer = std::exchange(m_reconnectTimer, nullptr);
        timeoutTimer = std::exchange(m_timeoutTimer, nullptr);
    }
    if (reconnectTimer) reconnectTimer->invalidate();
    if (timeoutTimer) timeoutTimer->invalidate();
}

void ServiceConnection::armTimeout() {
    auto timer = VLTimer::scheduledTimer(VLService::environment()->timing.configuration,
                                         [weak = m_record.weak_from_this()] {
                                             if (const VLServicePtr self = weak.lock())
                                                 self->connectionTimedOut();
                                         });
    const std::lock_guard lock(m_mutex);
    timer.swap(m_timeoutTimer);
    if (timer) timer->invalidate();
}

bool ServiceConnection::disarmTimeout() {
    std::shared_ptr<VLTimer> timer;
    {
        const std::lock_guard lock(m_mutex);
        timer = std::exchange(m_timeoutTimer, nullptr);
    }
    return timer && timer->invalidate();
}
