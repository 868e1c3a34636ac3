#include "agent/AgentDaemon.h"

#include "agent/AgentRoot.h"
#include "agent/AuthorizedConsoles.h"
#include "agent/advertise/ServicePublisher.h"
#include "agent/identity/ClientConfiguration.h"
#include "agent/identity/MaintenanceRequest.h"
#include "base/PropertyList.h"
#include "foundation/MainThread.h"
#include "logs/VLLog.h"
#include "remote/VLServer.h"
#include "system/VLException.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QPointer>
#include <QTimer>

namespace {

/// How long the last word to the consoles may take before their connections are closed.
constexpr std::chrono::seconds farewell{1};
/// How long operations under way may take to end with the agent.
constexpr std::chrono::seconds longestOperationEnd{5};
/// The suite is updated, and crash logs come, without a sign in the state folder.
constexpr std::chrono::seconds lookInterval{30};
constexpr qint64 largestSettingsFile = 1024 * 1024;

bool isLoopback(const QString& address) {
    return address.startsWith(QLatin1String("127.")) || address == u"::1";
}

/// The first label of a host name: what a host is published under.
QString hostLabel(const QString& hostName) {
    return hostName.section(u'.', 0, 0);
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(largestSettingsFile) : QByteArray();
}

/// What makes a console fetch the configuration again. The time of counting changes at every look.
QVariantMap lastingPart(QVariantMap configuration) {
    configuration.remove(QStringLiteral("availableUpdateCountLastUpdate"));
    configuration.remove(QStringLiteral("maintenanceRequested"));  // has callbacks of its own
    return configuration;
}

}  // namespace

AgentDaemon::AgentDaemon(AgentSettings settings)
    : m_agent(std::make_shared<AgentContext>(std::move(settings))) {
    // A request may still be on its way when this object is gone.
    const auto endLater = [daemon = QPointer<AgentDaemon>(this)](bool relaunch) {
        onMainThread([daemon, relaunch] {
            if (daemon) daemon->end(relaunch);
        });
    };
    m_agent->quit = [endLater] { endLater(false); };
    m_agent->relaunch = [endLater] { endLater(true); };
    m_root = std::make_shared<AgentRoot>(m_agent);  // completes what was interrupted
    m_agent->tree.clearLeftovers();
    startServer();
    watchState();
    startAdvertising();
}

AgentDaemon::~AgentDaemon() {
    if (!m_isFinished) finish();
}

bool AgentDaemon::finish() {
    m_isFinished = true;
    m_publisher.reset();
    if (m_agent->consoles.count() > 0 && !m_shallRelaunch) {
        // A console removes a machine that says good-bye; one that starts anew is connected to again.
        m_agent->consoles.postToAll(QStringLiteral("willDisconnect:"), {m_agent->hostName.get()});
        m_agent->consoles.waitUntilReceived(farewell);
    }
    m_agent->administrators.stop();
    const bool hasEnded = m_server->stop(longestOperationEnd);
    VLLog::appendLog(hasEnded ? QStringLiteral("Agent finished.")
                              : QStringLiteral("Agent finished; an operation that does not end is left."));
    VLLog::finishWriting();
    return hasEnded;
}

quint16 AgentDaemon::port() const {
    return m_server->port();
}

void AgentDaemon::startServer() {
    const AgentSettings& settings = m_agent->settings;
    VLServerOptions options;
    options.identity =
        TlsIdentity::loadOrCreate(settings.stateDirectory, QStringLiteral("agent"), settings.name);
    QDir().mkpath(settings.stateDirectory + QStringLiteral("/authorized"));
    options.authorizedCertificates = [paths = settings.authorized] {
        return readAuthorizedCertificates(paths);
    };
    options.address = settings.listenAddress;
    options.port = settings.port;
    options.failed = [daemon = QPointer<AgentDaemon>(this)] {
        onMainThread([daemon] {
            if (daemon) daemon->serverFailed();
        });
    };
    m_server = std::make_unique<VLServer>(m_root, std::move(options));
    VLLog::appendLog(QStringLiteral("Serving %@ as \"%@\" on %@:%i"), m_agent->tree.rootPath(), settings.name,
                     settings.listenAddress, m_server->port());
    if (readAuthorizedCertificates(settings.authorized).isEmpty())
        VLLog::appendLogAndPrint(
            QStringLiteral("No console is authorized yet; certificates are looked for in %1.")
                .arg(settings.authorized.join(QStringLiteral(", "))));
}

void AgentDaemon::startAdvertising() {
    const AgentSettings& settings = m_agent->settings;
    if (!settings.advertise) return;
    ServicePublisher::Settings published;
    published.name = settings.name;
    published.model = settings.model;
    published.port = port();
    published.loopbackOnly = isLoopback(settings.listenAddress);
    if (published.loopbackOnly) {
        // Several agents on one machine are told apart by host names of their own.
        published.hostName = hostLabel(settings.hostName);
        published.hostAddresses = {settings.listenAddress};
    }
    const auto stateChanged = [daemon = QPointer<AgentDaemon>(this)](const ServicePublisher::State& state) {
        if (state.isPublished) {
            VLLog::appendLog(QStringLiteral("Advertised as \"%@\" on host %@"), state.name, state.hostName);
            onMainThread([daemon, hostName = state.hostName] {
                if (daemon && !hostName.isEmpty()) daemon->hostNameChanged(hostName);
            });
        } else if (!state.error.isEmpty()) {
            VLLog::appendLog(QStringLiteral("Not advertised: %@"), state.error);
        }
    };
    m_publisher = std::make_unique<ServicePublisher>(published, stateChanged);
    m_publisher->start();
}

/// Another machine had the name. Consoles still know this one by the name that it had, and are told under
/// that one to ask for the new one.
void AgentDaemon::hostNameChanged(const QString& hostName) {
    if (hostName == m_agent->hostName.get()) return;
    m_agent->hostName.set(hostName);
    m_configuration = lastingPart(ClientConfiguration::current(*m_agent));
    m_agent->consoles.postToAll(QStringLiteral("updateConfig:"), {hostName});
}

void AgentDaemon::watchState() {
    const AgentSettings& settings = m_agent->settings;
    m_maintenanceRequested = MaintenanceRequest::isRequested(settings.stateDirectory);
    m_configuration = lastingPart(ClientConfiguration::current(*m_agent));
    m_watcher = new QFileSystemWatcher({settings.stateDirectory}, this);
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] { stateChanged(); });
    auto* look = new QTimer(this);
    connect(look, &QTimer::timeout, this, [this] { stateChanged(); });
    look->start(lookInterval);
    if (settings.settingsFile.isEmpty()) return;
    m_settingsFile = contentOf(settings.settingsFile);
    m_watcher->addPath(settings.settingsFile);
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, [this] { settingsFileChanged(); });
}

void AgentDaemon::stateChanged() {
    const AgentSettings& settings = m_agent->settings;
    const bool requested = MaintenanceRequest::isRequested(settings.stateDirectory);
    if (requested != m_maintenanceRequested) {
        m_maintenanceRequested = requested;
        VLLog::appendLog(requested ? QStringLiteral("Maintenance is requested.")
                                   : QStringLiteral("Maintenance is not requested any more."));
        m_agent->consoles.postToAll(
            requested ? QStringLiteral("requestMaintenance:") : QStringLiteral("cancelMaintenance:"),
            {m_agent->hostName.get()});
    }
    configurationChanged();
    settingsFileChanged();
}

void AgentDaemon::configurationChanged() {
    QVariantMap configuration = lastingPart(ClientConfiguration::current(*m_agent));
    if (configuration == m_configuration) return;
    const QString suite = QStringLiteral("corvalinVersion");
    const bool isOtherSuite = configuration.value(suite) != m_configuration.value(suite);
    m_configuration = std::move(configuration);
    m_agent->consoles.postToAll(
        isOtherSuite ? QStringLiteral("forceConfigReload:") : QStringLiteral("updateConfig:"),
        {m_agent->hostName.get()});
}

void AgentDaemon::settingsFileChanged() {
    const QString& path = m_agent->settings.settingsFile;
    if (path.isEmpty()) return;
    // An editor puts a new file in the place of the old one, which ends the watch.
    if (!m_watcher->files().contains(path)) m_watcher->addPath(path);
    if (contentOf(path) != m_settingsFile) reload();
}

void AgentDaemon::reload() {
    readSettings();
    m_configuration = lastingPart(ClientConfiguration::current(*m_agent));
    m_agent->consoles.postToAll(QStringLiteral("forceConfigReload:"), {m_agent->hostName.get()});
}

void AgentDaemon::readSettings() {
    const QString& path = m_agent->settings.settingsFile;
    if (path.isEmpty()) return;
    m_settingsFile = contentOf(path);
    AgentSettings fresh;
    QString error;
    const QVariant content = PropertyList::fromData(m_settingsFile, &error);
    if (content.typeId() != QMetaType::QVariantMap ||
        !fresh.apply(content.toMap(), QFileInfo(path).absolutePath(), &error)) {
        VLLog::appendLog(QStringLiteral("The changed settings are not used: %@"), error);
        return;
    }
    m_agent->minAdminVersion = fresh.minAdminVersion;
    VLLog::appendLog(QStringLiteral(
        "The settings were read anew; all but minAdminVersion count when the agent is started anew."));
}

void AgentDaemon::serverFailed() {
    m_exitCode = 1;
    VLLog::appendLogAndPrint(QStringLiteral("Without its server this agent is of no use and quits."));
    end(false);
}

void AgentDaemon::end(bool relaunch) {
    m_shallRelaunch = relaunch;
    QCoreApplication::quit();
}
