#include "remote/authorization/AuthorizedRunner.h"

#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/RemoteRunner.h"
#include "remote/VLCorvalinServerProtocol.h"
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

QVariant passwordOf(const HostCredentials& credentials) {
    return credentials.authPass.isEmpty() ? QVariant() : QVariant(credentials.authPass);
}

void insertGiven(QVariantMap& dictionary, const char* key, const QVariant& value) {
    if (value.isValid()) dictionary.insert(QLatin1String(key), value);
}

}  // namespace

VLProxyObjectPtr AuthorizedRunner::proxyFor(const QString& selector, const RemoteClientPtr& service) const {
    const VLProxyObjectPtr proxy = m_environment.runner->connectedProxy(service);
    if (!proxy) {
        VLLog::appendLog(QStringLiteral("Unable to connect to %@"), service->name());
        return nullptr;
    }
    if (proxy->respondsToSelector(selector, m_environment.probeLimit)) return proxy;
    VLLog::appendLog(QStringLiteral("Proxy object doesn't respond to selector %@"), selector);
    return nullptr;
}

/// What every authorised run has in common, around the sending.
void AuthorizedRunner::perform(const char* method, const QString& selector, const RemoteClientPtr& service,
                               int run, const Send& send) const {
    if (!service || (service->errorCode() > 0 && !isAllowedInError(selector)) || !service->enabled()) return;
    try {
        if (!proxyFor(selector, service)) return;
        const std::optional<HostCredentials> credentials = m_environment.credentialsFor(service, run);
        if (!credentials) return;
        // The user may have taken a while: the connection can be another one by now.
        const VLProxyObjectPtr proxy = m_environment.runner->connectedProxy(service);
        if (!proxy) {
            VLLog::appendLog(QStringLiteral("Unable to connect to %@"), service->name());
            return;
        }
        VLLog::appendLog(QStringLiteral("Launching auth task..."));
        service->setIsProcessing(true);
        const auto done = qScopeGuard([&] { service->setIsProcessing(false); });
        send(*proxy, *credentials);
    } catch (const std::exception& exception) {
        m_environment.runner->operationFailed(exception, method, selector, service);
    }
}

void AuthorizedRunner::authExecuteRemoteMethod(const QString& selector, const QVariant& obj1,
                                               const QVariant& obj2, const RemoteClientPtr& service) const {
    authExecuteRemoteMethod(selector, obj1, obj2, service, m_environment.progress->currentRun());
}

void AuthorizedRunner::authExecuteRemoteMethod(const QString& selector, const QVariant& obj1,
                                               const QVariant& obj2, const RemoteClientPtr& service,
                                               int run) const {
    m_environment.clearAuthSkipped();
    VLLog::appendLog(QStringLiteral("Auth executing remote method %@ on host %@"), selector, nameOf(service));
    const auto send = [&](VLProxyObject& proxy, const HostCredentials& credentials) {
        QVariantMap authorization{{QStringLiteral("authUser"), credentials.authName}};
        insertGiven(authorization, "authPass", passwordOf(credentials));
        QVariantMap objects;
        insertGiven(objects, "obj1", obj1);
        insertGiven(objects, "obj2", obj2);
        QVariantList arguments{authorization, objects};
        arguments.resize(VLCorvalinServerProtocol::argumentCount(selector));
        proxy.perform(selector, arguments);
    };
    perform("-[AppController authExecuteRemoteMethod:withObject:withObject:forService:]", selector, service,
            run, send);
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
    perform("-[AppController authExecuteRemoteTask:bundleID:options:forService:callback:]", selector, service,
            m_environment.progress->currentRun(), send);
}

void AuthorizedRunner::authExecuteRemoteMethodsOnThread(const WorkOrder& order) const {
    const auto countOut = qScopeGuard([&] {
        if (order.shouldDecrementTaskCount) m_environment.progress->decrementTaskThreadCount(order.counting);
    });
    try {
        for (const RemoteClientPtr& service : order.services) {
            if (m_environment.progress->isCancelled(order.run) || VLThread::isCancelled()) break;
            authExecuteRemoteMethod(order.selector, order.obj1, order.obj2, service, order.run);
            m_environment.progress->incrementStatusProgress();
        }
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController authExecuteRemoteMethodsOnThread:]");
    }
}

void AuthorizedRunner::authExecuteRemoteMethods(const QString& selector, const QVariant& obj1,
                                                const QVariant& obj2) const {
    WorkOrder order{m_environment.selectedServices(), selector, obj1, obj2};
    if (order.services.isEmpty()) return;
    TaskProgress* const progress = m_environment.progress;
    progress->setProcessingCancelled(false);
    progress->startStatusProgress();
    order.run = progress->currentRun();
    order.counting = progress->incrementTaskThreadCount();
    const bool isStarted = VLThread::detach(QStringLiteral("authExecuteRemoteMethodsOnThread:"),
                                            [this, order] { authExecuteRemoteMethodsOnThread(order); });
    if (!isStarted) progress->decrementTaskThreadCount(order.counting);
    progress->waitOnProcessing();
}
