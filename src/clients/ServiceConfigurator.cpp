#include "clients/ServiceConfigurator.h"

#include "base/VLBundle.h"
#include "clients/ClientConfiguration.h"
#include "clients/ConnectionAttempts.h"
#include "clients/ServiceConnection.h"
#include "clients/ServiceSession.h"
#include "foundation/MainThread.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

namespace {

/// An agent without a usable answer counts as one that is not installed properly.
constexpr int errorNotInstalledProperly = 2001;

const VLBundle& ownBundle(const VLServiceEnvironment& environment) {
    return environment.bundle ? *environment.bundle : VLBundle::mainBundle();
}

}  // namespace

void ServiceConfigurator::fetch(bool armTimeout) {
    const QString selector = QStringLiteral("fetchInitialConfiguration:");
    m_record.startProgressSpinner();
    const VLProxyObjectPtr proxy = m_record.proxyObject();
    const auto limit = VLService::environment()->timing.configuration;
    try {
        if (!proxy || !proxy->respondsToSelector(selector, limit)) {
            VLLog::appendLog(QStringLiteral("Error: proxy object does not respond to selector %@."),
                             selector);
            if (proxy)
                failed(QStringLiteral("The agent does not answer this console's questions."),
                       ConnectionFailure::AgentFault, errorNotInstalledProperly);
            m_record.setIsConnected(false);
            m_record.stopProgressSpinner();
            return;
        }
        m_record.setErrorCode(0);
        if (armTimeout) m_record.m_connection->armTimeout();
    } catch (const std::exception& exception) {
        if (!VLException::didTimeout(exception)) return raised(exception, proxy);
        // No timer is armed yet that would say so.
        if (const auto session = m_record.m_connection->session()) session->setAnswered();
        return m_record.connectionTimedOut();
    }
    const auto session = m_record.m_connection->session();
    if (!session || !session->isOwnThread()) return request(proxy);
    VLThread::detach(QStringLiteral("configuration"), [self = m_record.shared_from_this(), proxy] {
        ServiceConfigurator(*self).request(proxy);
    });
}

void ServiceConfigurator::request(const VLProxyObjectPtr& proxy) {
    try {
        const QVariant answer = proxy->perform(QStringLiteral("fetchInitialConfiguration:"), {QVariant()},
                                               VLService::environment()->timing.configuration);
        if (const auto session = m_record.m_connection->session()) session->setAnswered();
        if (answer.typeId() == QMetaType::QVariantMap) {
            m_record.processConfiguration(answer.toMap());
            return;
        }
        VLLog::appendLog(QStringLiteral("Configuration of %@ is no dictionary."), m_record.name());
        failed(QStringLiteral("The agent's configuration cannot be read."), ConnectionFailure::AgentFault,
               errorNotInstalledProperly);
    } catch (const std::exception& exception) {
        raised(exception, proxy);
    }
}

/// Whether the connection has ended its own thread knows best; here only the question failed.
void ServiceConfigurator::raised(const std::exception& exception, const VLProxyObjectPtr& proxy) {
    const auto session = m_record.m_connection->session();
    const bool isCurrent = session && session->proxy() == proxy;
    if (VLException::didTimeout(exception)) {
        if (isCurrent) session->setAnswered();
        // The call's own limit and the timer are the same 15 seconds: whichever comes first reports it.
        if (m_record.m_connection->disarmTimeout()) m_record.connectionTimedOut();
        m_record.stopProgressSpinner();
        return;
    }
    VLException::logException(exception, "-[VLService fetchInitialConfiguration:]");
    if (!isCurrent) {
        if (!session) m_record.stopProgressSpinner();
        return;
    }
    const auto* own = dynamic_cast<const VLException*>(&exception);
    const bool isLost = own && own->name() == VLException::inaccessible;
    if (!isLost) session->setAnswered();
    failed(ConnectionAttempts::reason(exception),
           isLost ? ConnectionFailure::Lost : ConnectionFailure::AgentFault,
           isLost ? 0 : errorNotInstalledProperly);
}

void ServiceConfigurator::failed(const QString& reason, ConnectionFailure failure, int errorCode) {
    m_record.m_connection->disarmTimeout();
    m_record.setConnectionError(reason, failure);
    m_record.stopProgressSpinner();
    m_record.setErrorCode(errorCode);
}

void ServiceConfigurator::process(const QVariantMap& dictionary) {
    try {
        m_record.m_connection->disarmTimeout();
        const auto shared = VLService::environment();
        const VLBundle& bundle = ownBundle(*shared);
        VLServiceDelegate* const delegate = shared->delegate;
        const ClientConfiguration configuration = ClientConfiguration::read(dictionary, m_record.name());

        takeNames(configuration.preferredHostName);  // first: the rest goes by them
        m_record.m_configDict.set(dictionary);
        m_record.setNeedsMaintenance(configuration.maintenanceRequested);
        const QList<int> versionErrors = configuration.versionErrors(bundle);
        for (const int code : versionErrors)
            m_record.setErrorCode(code);
        if (m_record.icon().isNull()) m_record.fetchIconOnThread();

        const auto updates = configuration.updates(QDateTime::currentDateTimeUtc());
        if (delegate && updates != ClientConfiguration::Updates::Ignored) {
            onMainThread([delegate, updates, count = configuration.availableUpdateCount.value_or(0),
                          self = m_record.shared_from_this()] {
                if (updates == ClientConfiguration::Updates::Known)
                    delegate->setSoftwareUpdateCount(count, self->hostName());
                else
                    delegate->updateSoftwareUpdateCountForItem(self);
            });
        }
        if (configuration.wantsNewerConsole(bundle))
            VLNotificationCenter::defaultCenter().postNotification(
                QStringLiteral("vlCorvalinAdminOutdated"), {},
                {{QStringLiteral("service"), QVariant::fromValue(m_record.shared_from_this())}});
        m_record.stopProgressSpinner();
        if (delegate && configuration.selfCrashLog)
            onMainThread([delegate, log = *configuration.selfCrashLog, self = m_record.shared_from_this()] {
                delegate->displayCrashDialogForClient(self, log);
            });
        m_record.refreshServiceView();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[VLService processConfigurationOnThread:]");
        m_record.setIsConnected(false);
    }
}

/// Whatever it is filed under, its agent has not yet said what it is called.
bool ServiceConfigurator::isUnnamed() const {
    return m_record.hostName().isEmpty() || m_record.isFiledUnderAddress();
}

void ServiceConfigurator::takeNames(const QString& preferredHostName) {
    if (preferredHostName.isEmpty() || preferredHostName == m_record.hostName()) return;
    // There two clients of the same name come one after the other.
    if (isUnnamed())
        onMainThreadAndWait([&] { takeName(preferredHostName); });
    else
        takeName(preferredHostName);
}

void ServiceConfigurator::takeName(const QString& preferredHostName) {
    VLServiceDelegate* const delegate = VLService::environment()->delegate;
    const QString withoutDot =
        preferredHostName.endsWith(u'.') ? preferredHostName.chopped(1) : preferredHostName;
    if (delegate && delegate->isHostNameOfAnother(m_record.shared_from_this(), withoutDot)) {
        VLLog::appendLog(QStringLiteral("%@ calls itself %@, which is another computer's host name."),
                         m_record.name(), preferredHostName);
        return;
    }
    const bool isRenamed = isUnnamed();
    // What it calls itself in its callbacks and answers, and what it was called in those on their way.
    QStringList names{preferredHostName};
    if (m_record.isManual()) names.append(m_record.pinName());
    m_record.setAvailableHostNames(names);
    if (!isRenamed) return;
    m_record.setHostName(preferredHostName);
    VLNotificationCenter::defaultCenter().postNotification(QStringLiteral("vlCorvalinServiceRenamed"),
                                                           QVariant::fromValue(m_record.shared_from_this()));
    if (const auto session = m_record.m_connection->session()) session->setLabel(preferredHostName);
}
