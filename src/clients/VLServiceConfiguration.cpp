// What a client's agent tells about itself: configuration and picture.

#include "base/VLBundle.h"
#include "clients/ClientConfiguration.h"
#include "clients/ConnectionAttempts.h"
#include "clients/MachineIcons.h"
#include "clients/ServiceIconCache.h"
#include "clients/ServiceSession.h"
#include "clients/VLService.h"
#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

namespace {

/// An agent without a usable answer counts as one that is not installed properly.
constexpr int errorNotInstalledProperly = 2001;
constexpr int largestIcon = 128;

const VLBundle& ownBundle(const VLServiceEnvironment& environment) {
    return environment.bundle ? *environment.bundle : VLBundle::mainBundle();
}

}  // namespace

void VLService::fetchInitialConfiguration(bool armTimeout) {
    const QString selector = QStringLiteral("fetchInitialConfiguration:");
    startProgressSpinner();
    const VLProxyObjectPtr proxy = proxyObject();
    const auto limit = environment()->timing.configuration;
    try {
        if (!proxy || !proxy->respondsToSelector(selector, limit)) {
            VLLog::appendLog(QStringLiteral("Error: proxy object does not respond to selector %@."),
                             selector);
            if (proxy)
                configurationFailed(QStringLiteral("The agent does not answer this console's questions."),
                                    ConnectionFailure::AgentFault, errorNotInstalledProperly);
            setIsConnected(false);
            stopProgressSpinner();
            return;
        }
        setErrorCode(0);
        if (armTimeout) this->armTimeout();
    } catch (const std::exception& exception) {
        if (!VLException::didTimeout(exception)) return configurationRaised(exception, proxy);
        // No timer is armed yet that would say so.
        if (const SessionPtr session = currentSession()) session->setAnswered();
        return connectionTimedOut();
    }
    const SessionPtr session = currentSession();
    if (!session || !session->isOwnThread()) return requestConfiguration(proxy);
    VLThread::detach(QStringLiteral("configuration"),
                     [self = shared_from_this(), proxy] { self->requestConfiguration(proxy); });
}

void VLService::requestConfiguration(const VLProxyObjectPtr& proxy) {
    try {
        const QVariant answer = proxy->perform(QStringLiteral("fetchInitialConfiguration:"), {QVariant()},
                                               environment()->timing.configuration);
        if (const SessionPtr session = currentSession()) session->setAnswered();
        if (answer.typeId() == QMetaType::QVariantMap) {
            processConfiguration(answer.toMap());
            return;
        }
        VLLog::appendLog(QStringLiteral("Configuration of %@ is no dictionary."), name());
        configurationFailed(QStringLiteral("The agent's configuration cannot be read."),
                            ConnectionFailure::AgentFault, errorNotInstalledProperly);
    } catch (const std::exception& exception) {
        configurationRaised(exception, proxy);
    }
}

/// Whether the connection has ended its own thread knows best; here only the question failed.
void VLService::configurationRaised(const std::exception& exception, const VLProxyObjectPtr& proxy) {
    const SessionPtr session = currentSession();
    const bool isCurrent = session && session->proxy() == proxy;
    if (VLException::didTimeout(exception)) {
        if (isCurrent) session->setAnswered();
        // The call's own limit and the timer are the same 15 seconds: whichever comes first reports it.
        if (disarmTimeout()) connectionTimedOut();
        stopProgressSpinner();
        return;
    }
    VLException::logException(exception, "-[VLService fetchInitialConfiguration:]");
    if (!isCurrent) {
        if (!session) stopProgressSpinner();
        return;
    }
    const auto* own = dynamic_cast<const VLException*>(&exception);
    const bool isLost = own && own->name() == VLException::inaccessible;
    if (!isLost) session->setAnswered();
    configurationFailed(ConnectionAttempts::reason(exception),
                        isLost ? ConnectionFailure::Lost : ConnectionFailure::AgentFault,
                        isLost ? 0 : errorNotInstalledProperly);
}

void VLService::configurationFailed(const QString& reason, ConnectionFailure failure, int errorCode) {
    disarmTimeout();
    setConnectionError(reason, failure);
    stopProgressSpinner();
    setErrorCode(errorCode);
}

void VLService::processConfiguration(const QVariantMap& configuration) {
    if (!MainThread::isCurrent()) {
        processConfigurationOnThread(configuration);
        return;
    }
    VLThread::detach(QStringLiteral("configuration"), [self = shared_from_this(), configuration] {
        self->processConfigurationOnThread(configuration);
    });
}

void VLService::processConfigurationOnThread(const QVariantMap& dictionary) {
    try {
        disarmTimeout();
        m_configDict.set(dictionary);
        const auto shared = environment();
        const VLBundle& bundle = ownBundle(*shared);
        VLServiceDelegate* const delegate = shared->delegate;
        const ClientConfiguration configuration = ClientConfiguration::read(dictionary, name());

        setNeedsMaintenance(configuration.maintenanceRequested);
        const QList<int> versionErrors = configuration.versionErrors(bundle);
        for (const int code : versionErrors)
            setErrorCode(code);
        takeNames(configuration.preferredHostName);
        if (icon().isNull()) fetchIconOnThread();

        const auto updates = configuration.updates(QDateTime::currentDateTimeUtc());
        if (delegate && updates != ClientConfiguration::Updates::Ignored) {
            onMainThread([delegate, updates, count = configuration.availableUpdateCount.value_or(0),
                          self = shared_from_this()] {
                if (updates == ClientConfiguration::Updates::Known)
                    delegate->setSoftwareUpdateCount(count, self->hostName());
                else
                    delegate->updateSoftwareUpdateCountForItem(self);
            });
        }
        if (configuration.wantsNewerConsole(bundle))
            VLNotificationCenter::defaultCenter().postNotification(
                QStringLiteral("vlCorvalinAdminOutdated"), {},
                {{QStringLiteral("service"), QVariant::fromValue(shared_from_this())}});
        stopProgressSpinner();
        if (delegate && configuration.selfCrashLog)
            onMainThread([delegate, log = *configuration.selfCrashLog, self = shared_from_this()] {
                delegate->displayCrashDialogForClient(self, log);
            });
        refreshServiceView();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[VLService processConfigurationOnThread:]");
        setIsConnected(false);
    }
}

void VLService::takeNames(const QString& preferredHostName) {
    if (preferredHostName.isEmpty()) return;
    VLServiceDelegate* const delegate = environment()->delegate;
    if (delegate && delegate->isHostNameOfAnother(shared_from_this(), preferredHostName)) {
        VLLog::appendLog(QStringLiteral("%@ calls itself %@, which is another computer's host name."), name(),
                         preferredHostName);
        return;
    }
    if (hostName().isEmpty())
        setHostName(preferredHostName);
    else if (hostName() != preferredHostName)
        setAvailableHostNames({preferredHostName});  // what it calls itself in its callbacks and answers
}

void VLService::fetchIconOnThread() {
    VLThread::detach(QStringLiteral("client picture"),
                     [self = shared_from_this()] { self->setServiceIcon(); });
}

void VLService::setServiceIcon() {
    if (m_fetchesIcon.exchange(true)) return;  // both the connection and the configuration start it
    if (const QImage picture = fetchServiceIcon(); !picture.isNull()) {
        setIcon(MachineIcons::scaledDown(picture, largestIcon));  // agents send them at any size
        refreshServiceView();
    }
    m_fetchesIcon = false;
}

QImage VLService::fetchServiceIcon() {
    const VLCallLock lock;
    const QString selector = QStringLiteral("computerIcon");
    try {
        const auto shared = environment();
        ServiceIconCache cache(shared->cacheDirectory);
        if (const auto cached = cache.find(hostName())) {
            VLLog::appendLog(QStringLiteral("Getting cached icon for service %@..."), name());
            if (QImage picture = MachineIcons::decode(*cached); !picture.isNull()) return picture;
        }
        VLLog::appendLog(QStringLiteral("Getting remote icon for service %@..."), name());
        const VLProxyObjectPtr proxy = proxyObject();
        const auto limit = shared->timing.configuration;
        if (!proxy || !proxy->respondsToSelector(selector, limit)) return {};
        const QVariant answer = proxy->perform(selector, {}, limit);
        if (!answer.isValid()) return {};
        QString error = QStringLiteral("it is no data");
        QImage picture = answer.typeId() == QMetaType::QByteArray
                             ? MachineIcons::decode(answer.toByteArray(), &error)
                             : QImage();
        if (picture.isNull())
            VLLog::appendLog(QStringLiteral("The picture of %@ cannot be used: %@"), name(), error);
        else
            cache.store(hostName(), answer.toByteArray());
        return picture;
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[VLService fetchServiceIcon]");
        return {};
    }
}
