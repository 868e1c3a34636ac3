// The connection thread of a client: connecting, serving, ending, and what is armed for the next time.

#include "clients/ConnectionAttempts.h"
#include "clients/ServiceSession.h"
#include "clients/VLService.h"
#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

VLService::SessionPtr VLService::currentSession() const {
    const std::lock_guard lock(m_connection->mutex);
    return m_connection->session;
}

VLProxyObjectPtr VLService::proxyObject() const {
    const SessionPtr session = currentSession();
    return session ? session->proxy() : nullptr;
}

bool VLService::runLoopRunning() const {
    const SessionPtr session = currentSession();
    return session && session->runLoopRunning();
}

void VLService::setIsConnected(bool connected) {
    if (m_isConnected.exchange(connected) == connected) return;
    // The flag keeps the serve loop going; the loop shall see at once that it was cleared.
    if (const SessionPtr session = connected ? nullptr : currentSession()) session->wake();
    refreshServiceView();
}

void VLService::connectOnThread(VLCallbackTargetPtr errorCallback) {
    if (isConnected()) disconnect();
    startSession(errorCallback, false);
}

void VLService::startSession(const VLCallbackTargetPtr& errorCallback, bool replacesAttempt) {
    const auto started = std::make_shared<ServiceSession>();
    SessionPtr replaced;
    std::shared_ptr<VLTimer> reconnectTimer;
    {
        const std::lock_guard lock(m_connection->mutex);
        SessionPtr& session = m_connection->session;
        if (m_connection->isRetired) return;
        if (session && session->phase() == ServiceSession::Phase::Connecting && !replacesAttempt) return;
        replaced = std::exchange(session, started);
        reconnectTimer = std::exchange(m_connection->reconnectTimer, nullptr);
        if (replaced) replaced->stop();
    }
    if (replaced) replaced->invalidate();
    if (reconnectTimer) reconnectTimer->invalidate();
    const bool hasThread =
        VLThread::detach(QStringLiteral("client ") + name(),
                         [self = shared_from_this(), errorCallback] { self->connect(errorCallback); });
    if (hasThread || !started->claim()) return;
    setConnectionError(QStringLiteral("This computer has too much to do to connect."),
                       ConnectionFailure::Other);
    sessionEnded(started, errorCallback, true);
}

void VLService::connect(const VLCallbackTargetPtr& errorCallback) {
    const SessionPtr session = currentSession();
    if (!session || !session->claim()) return;
    try {
        runSession(session, errorCallback);
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[VLService connect:]");
        setConnectionError(ConnectionAttempts::reason(exception), ::connectionFailure(exception));
        sessionEnded(session, errorCallback, true);
    } catch (...) {
        sessionEnded(session, errorCallback, true);
        throw;
    }
}

void VLService::runSession(const SessionPtr& session, const VLCallbackTargetPtr& errorCallback) {
    if (!session->whileActive([this] { startProgressSpinner(); })) return;
    VLLog::appendLog(QStringLiteral("Connecting to %@..."), name());
    if (!isManual() && !netService()) {
        const QString notFound = QStringLiteral("Net service not found.");
        VLLog::appendLog(notFound);
        session->whileActive([&] { setConnectionError(notFound, ConnectionFailure::NotAnnounced); });
        stopProgressSpinner();
        const std::lock_guard lock(m_connection->mutex);
        if (m_connection->session == session) m_connection->session = nullptr;
        return;
    }

    ConnectionAttempts attempts(*this, session);
    const std::unique_ptr<VLConnection> connection = attempts.open();
    if (session->stopped()) return;
    if (!connection) {
        setConnectionError(attempts.failure(), attempts.failureKind(), attempts.changedCertificate());
        const bool active = session->whileActive([this] {
            stopProgressSpinner();
            m_isConnected = false;
        });
        if (!active) return;
        VLLog::appendLog(QStringLiteral("Unable to connect"));
        sessionEnded(session, errorCallback, true);
        return;
    }

    VLLog::appendLog(QStringLiteral("Proxy found. Connection successful."));
    VLLog::appendLog(QStringLiteral("Connected; starting run loop"));
    session->setRunLoopRunning(true);
    if (setUpConnection(session, *connection, errorCallback)) serve(session, *connection);
    session->setRunLoopRunning(false);
    VLLog::appendLog(QStringLiteral("Run loop finished"));
    if (session->stopped()) return;

    // Nobody asked for the end: the agent went away, or an operation failed and marked the client so.
    if (const QString reason = connection->lossReason(); !reason.isEmpty()) {
        VLLog::appendLog(QStringLiteral("Connection to %@ was lost: %@"), name(), reason);
        setConnectionError(reason, connection->lossFailure());
    }
    // A client that broke off before its first answer has not been reached at all.
    sessionEnded(session, errorCallback, !session->answered());
}

bool VLService::setUpConnection(const SessionPtr& session, VLConnection& connection,
                                const VLCallbackTargetPtr& errorCallback) {
    setConnectionError({}, ConnectionFailure::None);
    session->setProxy(connection.rootProxy());
    if (icon().isNull()) fetchIconOnThread();
    fetchInitialConfiguration(true);
    if (!connection.isValid()) return false;
    {
        const CallLimit limit(connection, environment()->timing.probe);
        const QString selector = QStringLiteral("setErrorCallback:");
        const VLProxyObjectPtr proxy = connection.rootProxy();
        if (errorCallback && proxy->respondsToSelector(selector))
            proxy->perform(selector, {QVariant::fromValue(errorCallback)});
    }
    const bool active = session->whileActive([&] {
        session->setPhase(ServiceSession::Phase::Serving);
        m_isConnected = true;
    });
    if (!active) return false;
    refreshServiceView();
    if (VLServiceDelegate* delegate = environment()->delegate)
        VLThread::detach(QStringLiteral("serviceConnected"),
                         [delegate, self = shared_from_this()] { delegate->serviceConnected(self); });
    return true;
}

void VLService::serve(const SessionPtr& session, VLConnection& connection) {
    const auto slice = environment()->timing.serveSlice;
    while (isConnected() && !session->stopped() && connection.isValid() && !VLThread::isCancelled())
        connection.serve(slice);
}

void VLService::sessionEnded(const SessionPtr& session, const VLCallbackTargetPtr& errorCallback,
                             bool postFailure) {
    session->setRunLoopRunning(false);
    const bool active = session->whileActive([this] {
        m_isConnected = false;
        m_isProcessing = false;
    });
    if (!active) return;
    disarmTimeout();
    stopProgressSpinner();
    refreshServiceView();
    if (postFailure) postConnectionFailedMessage();
    setupReconnectTimer(session, errorCallback);
}

void VLService::setupReconnectTimer(const VLCallbackTargetPtr& errorCallback) {
    setupReconnectTimer(nullptr, errorCallback);
}

void VLService::setupReconnectTimer(const SessionPtr& ended, const VLCallbackTargetPtr& errorCallback) {
    const auto interval = environment()->timing.reconnect;
    const auto again = [weak = weak_from_this(), errorCallback] {
        if (const VLServicePtr self = weak.lock()) self->reconnect(errorCallback);
    };
    std::shared_ptr<VLTimer> pending;  // invalidated by its destruction, after the lock
    // Under the lock: a removal that comes now must either find the timer or prevent it.
    const std::lock_guard lock(m_connection->mutex);
    if (m_connection->session != ended) return;
    m_connection->session = nullptr;
    if (m_connection->isRetired || VLThread::isCancelled()) return;
    VLLog::appendLog(QStringLiteral("Attempting to reconnect to %@ in %i seconds..."), name(),
                     static_cast<int>(std::chrono::round<std::chrono::seconds>(interval).count()));
    pending = std::exchange(m_connection->reconnectTimer, VLTimer::scheduledTimer(interval, again));
}

void VLService::reconnect(const VLCallbackTargetPtr& errorCallback) {
    connectOnThread(errorCallback);
}

bool VLService::acceptChangedCertificate(const QByteArray& certificateShown,
                                         const VLCallbackTargetPtr& errorCallback) {
    if (certificateShown.isEmpty() || certificateShown != changedCertificate()) {
        VLLog::appendLog(QStringLiteral("The new key of %@ is not the one that was shown; it is refused."),
                         name());
        return false;
    }
    const auto pins = environment()->pins;
    if (!pins || !pins->pin(pinName(), certificateShown)) {
        VLLog::appendLog(QStringLiteral("The new key of %@ could not be stored."), name());
        return false;
    }
    VLLog::appendLog(QStringLiteral("The new key of %@ was accepted: %@"), name(),
                     certificateFingerprint(certificateShown));
    setConnectionError({}, ConnectionFailure::None);
    startSession(errorCallback, true);
    return true;
}

void VLService::disconnect() {
    const VLCallLock lock;
    VLLog::appendLog(QStringLiteral("Disconnecting %@..."), name());
    stopProgressSpinner();
    SessionPtr session;
    {
        const std::lock_guard connectionLock(m_connection->mutex);
        session = std::exchange(m_connection->session, nullptr);
        if (session) session->stop();
    }
    stopProgressSpinner();  // the attempt may have started it just before it was stopped
    setIsConnected(false);
    if (session) endRunLoop(session);
    invalidateTimers();
    if (session) session->invalidate();
    VLLog::appendLog(QStringLiteral("Disconnected"));
}

void VLService::endRunLoop(const SessionPtr& session) {
    if (session->isOwnThread()) return;
    // A thread that has not come to serving yet waits for its agent and would not see a wake-up.
    if (session->phase() == ServiceSession::Phase::Connecting)
        session->invalidate();
    else
        session->wake();
    // At the end of the program all threads are waited for together.
    if (MainThread::isQuitting()) return;
    MainThread::waitUntil([&] { return !session->runLoopRunning(); }, environment()->timing.loopExit);
}

void VLService::invalidate() {
    const VLCallLock lock;
    invalidate(true);
}

void VLService::invalidate(bool postNotification) {
    const VLCallLock lock;
    invalidateTimers();
    // An attempt that is under way has to end as well, or it would connect a record that is gone.
    if (isConnected() || currentSession()) disconnect();
    invalidateTimers();  // the attempt may have armed the next one just before it was ended
    VLLog::appendLog(QStringLiteral("Invalidating %@..."), name());
    stopProgressSpinner();
    if (postNotification) postInvalidatedMessage();
}

void VLService::retire() {
    const std::lock_guard lock(m_connection->mutex);
    m_connection->isRetired = true;
}

void VLService::invalidateTimers() {
    std::shared_ptr<VLTimer> reconnectTimer, timeoutTimer;
    {
        const std::lock_guard lock(m_connection->mutex);
        reconnectTimer = std::exchange(m_connection->reconnectTimer, nullptr);
        timeoutTimer = std::exchange(m_connection->timeoutTimer, nullptr);
    }
    if (reconnectTimer) reconnectTimer->invalidate();
    if (timeoutTimer) timeoutTimer->invalidate();
}

void VLService::armTimeout() {
    auto timer = VLTimer::scheduledTimer(environment()->timing.configuration, [weak = weak_from_this()] {
        if (const VLServicePtr self = weak.lock()) self->connectionTimedOut();
    });
    const std::lock_guard lock(m_connection->mutex);
    timer.swap(m_connection->timeoutTimer);
    if (timer) timer->invalidate();
}

bool VLService::disarmTimeout() {
    std::shared_ptr<VLTimer> timer;
    {
        const std::lock_guard lock(m_connection->mutex);
        timer = std::exchange(m_connection->timeoutTimer, nullptr);
    }
    return timer && timer->invalidate();
}

void VLService::connectionTimedOut() {
    disarmTimeout();
    VLLog::appendLog(QStringLiteral("Connection timed out for %@."), hostName());
    onMainThreadAndWait([this] { stopProgressSpinner(); });
    setErrorCode(2008);
    postConnectionFailedMessage();
}

void VLService::ping() {
    const QString selector = QStringLiteral("ping");
    try {
        const VLProxyObjectPtr proxy = proxyObject();
        if (proxy && proxy->respondsToSelector(selector)) proxy->perform(selector);
    } catch (const std::exception&) {
        // Whether the agent lives shows in the connection; the call itself has nothing to report.
    }
}
