#include "remote/authorization/AuthorizedRunner.h"

#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "runs/InFlight.h"
#include "runs/RemoteRunner.h"
#include "runs/RunList.h"
#include "runs/Wave.h"
#include "system/VLException.h"

#include <QScopeGuard>

namespace {

QVariant nameOf(const RemoteClientPtr& service) {
    return service ? QVariant(service->name()) : QVariant();
}

/// Updating is how a client in error is repaired.
bool isAllowedInError(const QString& selector) {
    const auto* declared =
        VLCorvalinServerProtocol::operation(VLCorvalinServerProtocol::Side::Agent, selector);
    return declared && declared->authorizedOnErrorClient;
}

const QString authRemoteMethodText = QStringLiteral("Auth executing remote method %@ on host %@");

QVariant passwordOf(const HostCredentials& credentials) {
    return credentials.authPass.isEmpty() ? QVariant() : QVariant(credentials.authPass);
}

/// A client that was cut off says so itself.
void noteWithoutPassword(const RemoteClient& service) {
    const RunPtr run = Run::current();
    if (run && !Run::shallStop())
        run->note(service, {Outcome::Skipped, AuthorizedRunner::tr("no password was given")});
}

void insertGiven(QVariantMap& dictionary, const char* key, const QVariant& value) {
    if (value.isValid()) dictionary.insert(QLatin1String(key), value);
}

}  // namespace

RunPtr AuthorizedRunner::runHere() const {
    const RunPtr run = Run::current();
    return run ? run : m_environment.progress->runs().begin({}, clientsOfRun());
}

QList<RemoteClientPtr> AuthorizedRunner::clientsOfRun() const {
    const RunPtr run = Run::current();
    return run && !run->clients().isEmpty() ? run->clients() : m_environment.selectedServices();
}

VLProxyObjectPtr AuthorizedRunner::proxyFor(const QString& selector, const RemoteClientPtr& service) const {
    const VLProxyObjectPtr proxy = m_environment.runner->connectedProxy(service);
    if (!proxy) {
        VLLog::appendLog(QStringLiteral("Unable to connect to %@"), service->name());
        runHere()->note(*service, {Outcome::NotConnected, service->connectionError()});
        return nullptr;
    }
    if (proxy->respondsToSelector(selector, m_environment.probeLimit)) return proxy;
    VLLog::appendLog(QStringLiteral("Proxy object doesn't respond to selector %@"), selector);
    runHere()->note(*service, {Outcome::Failed, tr("its agent does not know this operation")});
    return nullptr;
}

std::optional<HostCredentials> AuthorizedRunner::prepare(const Operation& operation,
                                                         const RemoteClientPtr& service) const {
    if (!service) return std::nullopt;
    if ((service->errorCode() > 0 && !isAllowedInError(operation.selector)) || !service->enabled()) {
        RemoteRunner::noteSkipped(*service);
        return std::nullopt;
    }
    try {
        if (!proxyFor(operation.selector, service)) return std::nullopt;
        std::optional<HostCredentials> credentials = m_environment.prepareCredentials(service);
        if (!credentials) noteWithoutPassword(*service);
        return credentials;
    } catch (const std::exception& exception) {
        m_environment.runner->operationFailed(exception, operation.method, operation.selector, service);
        return std::nullopt;
    }
}

void AuthorizedRunner::carryOut(const Operation& operation, const RemoteClientPtr& service,
                                const HostCredentials& prepared) const {
    try {
        const auto credentials = m_environment.acceptedCredentials(service, prepared);
        if (!credentials) return noteWithoutPassword(*service);
        // The user may have taken a while: the connection can be another one by now.
        const VLProxyObjectPtr proxy = m_environment.runner->connectedProxy(service);
        if (!proxy) {
            VLLog::appendLog(QStringLiteral("Unable to connect to %@"), service->name());
            runHere()->note(*service, {Outcome::NotConnected, service->connectionError()});
            return;
        }
        const auto turn = Run::turnOf(*service);
        if (turn && !*turn) return;
        const auto room = m_environment.runner->roomFor(operation.sent, *service);
        if (!room) return;
        VLLog::appendLog(QStringLiteral("Launching auth task..."));
        service->setIsProcessing(true);
        const auto done = qScopeGuard([&] { service->setIsProcessing(false); });
        Run::Change change(service);
        operation.send(*proxy, *credentials);
        if (change.done()) runHere()->note(*service, {Outcome::Done, {}});
    } catch (const std::exception& exception) {
        m_environment.runner->operationFailed(exception, operation.method, operation.selector, service);
    }
}

void AuthorizedRunner::perform(const Operation& operation, const RemoteClientPtr& service) const {
    const RunScope scope(runHere());
    if (const auto credentials = prepare(operation, service)) carryOut(operation, service, *credentials);
}

AuthorizedRunner::Operation AuthorizedRunner::methodOperation(const QString& selector, const QVariant& obj1,
                                                              const QVariant& obj2) const {
    auto send = [selector, obj1, obj2](VLProxyObject& proxy, const HostCredentials& credentials) {
        QVariantMap authorization{{QStringLiteral("authUser"), credentials.authName}};
        insertGiven(authorization, "authPass", passwordOf(credentials));
        QVariantMap objects;
        insertGiven(objects, "obj1", obj1);
        insertGiven(objects, "obj2", obj2);
        QVariantList arguments{authorization, objects};
        arguments.resize(VLCorvalinServerProtocol::argumentCount(selector));
        proxy.perform(selector, arguments);
    };
    return {selector,
            "-[AppController authExecuteRemoteMethod:withObject:withObject:forService:]",
            std::move(send),
            {obj1, obj2}};
}

void AuthorizedRunner::authExecuteRemoteMethod(const QString& selector, const QVariant& obj1,
                                               const QVariant& obj2, const RemoteClientPtr& service) const {
    m_environment.clearAuthSkipped();
    VLLog::appendLog(authRemoteMethodText, selector, nameOf(service));
    perform(methodOperation(selector, obj1, obj2), service);
}

void AuthorizedRunner::authExecuteRemoteTask(const QString& task, const QString& bundleID,
                                             const QVariantMap& options, const RemoteClientPtr& service,
                                             const std::shared_ptr<VLCallback>& callback) const {
    m_environment.clearAuthSkipped();
    const QVariant optionsOrNone = options.isEmpty() ? QVariant() : QVariant(options);
    VLLog::appendLog(QStringLiteral("Auth executing task %@ for app %@ with options %@ on host %@"), task,
                     bundleID, optionsOrNone, nameOf(service));
    QString selector = QStringLiteral("authExecuteTask:bundleID:options:username:password:");
    if (callback) selector += QLatin1String("callback:callbackName:");
    const auto send = [&](VLProxyObject& proxy, const HostCredentials& credentials) {
        QVariantList arguments{task, bundleID, optionsOrNone, credentials.authName, passwordOf(credentials)};
        if (callback) arguments << QVariant::fromValue<VLCallbackTargetPtr>(callback) << callback->name();
        proxy.perform(selector, arguments);
    };
    perform({selector,
             "-[AppController authExecuteRemoteTask:bundleID:options:forService:callback:]",
             send,
             {optionsOrNone}},
            service);
}

void AuthorizedRunner::authExecuteRemoteMethodsOnThread(const WorkOrder& order) const {
    const auto countOut = qScopeGuard([&] {
        if (order.shouldDecrementTaskCount) m_environment.progress->decrementTaskThreadCount(order.counting);
    });
    const RunPtr run = runHere();
    const RunScope scope(run);
    const Operation operation = methodOperation(order.selector, order.obj1, order.obj2);
    InFlight inFlight(run, QStringLiteral("authExecuteRemoteMethodsOnThread:"));
    for (const RemoteClientPtr& service : order.services) {
        if (run->isCancelled() || VLThread::isCancelled()) break;
        m_environment.clearAuthSkipped();
        VLLog::appendLog(authRemoteMethodText, order.selector, nameOf(service));
        // Whoever is asked for passwords is asked in the order of the selection.
        const std::optional<HostCredentials> credentials = prepare(operation, service);
        if (!credentials) {
            m_environment.progress->incrementStatusProgress();
            continue;
        }
        const auto step = [this, &operation, service, prepared = *credentials] {
            carryOut(operation, service, prepared);
            m_environment.progress->incrementStatusProgress();
        };
        if (!inFlight.start(service, step)) break;
    }
}

void AuthorizedRunner::authExecuteRemoteMethods(const QString& selector, const QVariant& obj1,
                                                const QVariant& obj2) const {
    WorkOrder order{clientsOfRun(), selector, obj1, obj2};
    if (order.services.isEmpty()) return;
    const RunPtr run = runHere();
    const RunScope scope(run);
    TaskProgress* const progress = m_environment.progress;
    progress->setProcessingCancelled(false);
    progress->startStatusProgress();
    order.counting = progress->incrementTaskThreadCount();
    const auto wave = std::make_shared<Wave>();
    const bool isStarted = VLThread::detach(QStringLiteral("authExecuteRemoteMethodsOnThread:"),
                                            [this, order, run, part = Wave::part(wave)] {
                                                const RunScope workerScope(run);
                                                authExecuteRemoteMethodsOnThread(order);
                                            });
    if (!isStarted) progress->decrementTaskThreadCount(order.counting);
    wave->waitOnProcessing(*run);
}
