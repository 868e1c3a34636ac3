#pragma once

#include "app/AppServices.h"
#include "app/ClientCommands.h"
#include "app/ClientDetails.h"
#include "app/ConnectionTroubleshooter.h"
#include "app/ErrorLog.h"
#include "app/RunActions.h"
#include "app/RunStatus.h"
#include "app/SoftwareUpdates.h"
#include "app/TaskThreads.h"
#include "app/ToolSet.h"
#include "clients/Discovery.h"
#include "clients/ServiceGroupStore.h"
#include "clients/ServiceList.h"
#include "remote/authorization/AuthorizationController.h"
#include "remote/authorization/AuthorizedRunner.h"
#include "runs/ActivityStore.h"
#include "runs/RemoteRunner.h"
#include "tools/Tool.h"

#include <QDateTime>
#include <QObject>

#include <memory>

class VLCallback;
struct VLNotification;

/// The console's centre: makes the parts, starts and ends them in order, and answers the notifications.
/// Has no widgets; the main window watches it. Main thread unless said otherwise.
class AppController : public QObject, public VLServiceDelegate {
    Q_OBJECT
public:
    /// `tools`: toolRegistry() in the program. The registry makes panes, which are widgets, so this class
    /// does not reach for it.
    explicit AppController(QList<Tool> tools, AppServices appServices = AppServices::standard(),
                           QObject* parent = nullptr);
    ~AppController() override;

    /// Log, defaults, callback object, identity, discovery and manual clients, in that order. False (and a
    /// log line) when the console cannot run at all. The objects below exist once this has returned true.
    bool init();
    /// The steps that need the interface to exist. Called once for each interface file that was loaded; the
    /// call for the last of them does everything, every other nothing.
    void awakeFromNib();
    /// Ends discovery, connections, workers and timers; no thread is left behind. Called once, at quitting.
    /// False when a worker did not end in time: the caller must then leave the process without destroying
    /// what that worker may still use.
    bool shutDown();

    /// A run that nobody sits at (a report, a picture): no first-run sheet, no look for newer versions.
    void setUnattended(bool unattended) { m_isUnattended = unattended; }
    [[nodiscard]] bool isUnattended() const noexcept { return m_isUnattended; }
    /// Looks for advertised clients as well as those entered by hand. On unless turned off before init().
    void setBrowses(bool browses) { m_browses = browses; }
    /// True once a local administrator was asked for and not given: the program ends without a window.
    [[nodiscard]] bool isTerminating() const noexcept { return m_isTerminating; }
    /// State of the preference of that name, as read at start.
    [[nodiscard]] bool requireAdminPassword() const noexcept { return m_requireAdminPassword; }
    /// Whether this version can ask for an administrator at all; where it can't, that preference locks.
    [[nodiscard]] bool canAuthenticate() const noexcept { return m_appServices.canAuthenticate; }
    [[nodiscard]] int awakeCount() const noexcept { return static_cast<int>(m_awakeCount); }

    // The parts of the console, each with what it is for. They exist once init() has returned true, and as
    // long as the controller.
    [[nodiscard]] ServiceList& services() { return *m_services; }
    [[nodiscard]] Discovery& discovery() { return *m_discovery; }
    [[nodiscard]] ToolSet& toolSet() { return *m_toolSet; }
    [[nodiscard]] TaskThreads& taskThreads() { return *m_taskThreads; }
    [[nodiscard]] RunStatus& runStatus() { return *m_runStatus; }
    [[nodiscard]] RunActions& runActions() { return *m_runActions; }
    /// What was done: whoever ends a run adds it here.
    [[nodiscard]] ActivityStore& activity() { return *m_activity; }
    [[nodiscard]] RemoteRunner& runner() { return *m_runner; }
    [[nodiscard]] AuthorizationController& authorization() { return *m_authorization; }
    [[nodiscard]] ErrorLog& errorLog() { return *m_errorLog; }
    [[nodiscard]] const std::shared_ptr<VLErrorCallback>& errorCallback() const { return m_errorCallback; }
    [[nodiscard]] SoftwareUpdates& softwareUpdates() { return *m_softwareUpdates; }
    [[nodiscard]] ClientCommands& clientCommands() { return *m_clientCommands; }
    [[nodiscard]] ClientDetails& clientDetails() { return *m_clientDetails; }
    [[nodiscard]] ConnectionTroubleshooter& troubleshooter() { return *m_troubleshooter; }

    [[nodiscard]] QDateTime launchDate() const { return m_launchDate; }
    /// The clients in the order in which the service menu lists them.
    [[nodiscard]] const QList<VLServicePtr>& serviceMenu() const { return m_serviceMenu; }
    /// The user's cache folder of this program; made when missing.
    [[nodiscard]] static QString cacheDirectory();
    /// True when at least one client is connected and enabled.
    [[nodiscard]] bool servicesAvailable() const noexcept { return m_servicesAvailable; }
    /// Adds a client that needs no machine, under the first free name of "Demo 1", "Demo 2" and so on.
    VLServicePtr addDemonstrationClient();

    /// What an agent answered through the callback of an authorised task: the delegate of every VLCallback.
    void objectDidPostCallback(const std::shared_ptr<VLCallback>& callback);

    void serviceConnected(const VLServicePtr& service) override;
    void setSoftwareUpdateCount(qlonglong count, const QString& hostName) override;
    void updateSoftwareUpdateCountForItem(const VLServicePtr& service) override;
    [[nodiscard]] bool isHostNameOfAnother(const VLServicePtr& service, const QString& hostName) override;
    void displayCrashDialogForClient(const VLServicePtr& service, const QString& log) override;

Q_SIGNALS:
    void servicesAvailableChanged(bool available);
    void serviceConnectionFailed(const VLServicePtr& service);  ///< service may be null
    void adminIsOutdated(const VLServicePtr& service);          ///< at most once per run
    void firstRun();
    void serviceMenuChanged();
    /// A scan by the encoder repair has ended on the client of that name; `output` is the agent's text.
    void encodemendScanFinished(const QString& clientName, const QString& output);
    /// `badge`: "updates", "errors" or "maintenance".
    void serviceOutlineBadgeClicked(const VLServicePtr& service, const QString& badge);
    /// Everything is set up: bring the main window to the front.
    void mainWindowReady();
    /// A client has left: close the windows about it (their titles end with a space and this name).
    void clientWindowsObsolete(const QString& clientName);

private:
    void createTools(QList<Tool> tools);
    void registerDefaults();
    void populateServiceGroups();
    bool startDiscovery();
    void createErrorCallback();
    void createRunner();
    void createAuthorization();
    void createActivity();
    void createClientParts();
    [[nodiscard]] QList<RemoteClientPtr> selectedClients() const;
    [[nodiscard]] ToolContext toolContext();
    [[nodiscard]] VLErrorCallback::Parent errorCallbackParent();

    void setUpInterface();
    bool authenticateAtStart();
    void populateTasks();
    void subscribeToNotifications();
    void showWhatWasHeld();
    void showFirstRun();

    void reloadServiceOutlineView();
    void setServicesAvailable(bool available);
    void updateAvailableServices();
    void serviceInvalidated(const VLServicePtr& service);
    void connectionFailed(const VLServicePtr& service);
    void adminOutdated(const VLServicePtr& service);
    void serviceAdded(const VLServicePtr& service);
    void serviceRemoved(const VLServicePtr& service);
    void endTasksOf(const VLServicePtr& service);

    const AppServices m_appServices;
    QDateTime m_launchDate;
    quint32 m_awakeCount = 0;
    bool m_servicesAvailable = false;
    bool m_adminUpdateMessageDisplayed = false;
    bool m_isUnattended = false;
    bool m_browses = true;
    bool m_isTerminating = false;
    bool m_requireAdminPassword = false;
    bool m_reloadPending = false;
    bool m_isReady = false;  ///< the main window is in front; until then nothing else shows itself
    QList<VLServicePtr> m_heldFailures;
    VLServicePtr m_heldOutdated;  ///< what was to show itself before that
    bool m_isShutDown = false;
    bool m_endedCleanly = true;
    std::unique_ptr<ServiceList> m_services;
    std::unique_ptr<ServiceGroupStore> m_groupStore;
    std::unique_ptr<ConnectionTroubleshooter> m_troubleshooter;
    std::unique_ptr<SoftwareUpdates> m_softwareUpdates;
    std::unique_ptr<TaskThreads> m_taskThreads;
    std::unique_ptr<RunStatus> m_runStatus;
    std::shared_ptr<VLErrorCallback> m_errorCallback;
    std::unique_ptr<ErrorLog> m_errorLog;
    std::unique_ptr<RemoteRunner> m_runner;
    std::unique_ptr<AuthorizationController> m_authorization;
    std::unique_ptr<AuthorizedRunner> m_authorizedRunner;
    std::unique_ptr<Discovery> m_discovery;
    std::unique_ptr<ClientCommands> m_clientCommands;
    std::unique_ptr<ClientDetails> m_clientDetails;
    std::unique_ptr<ActivityStore> m_activity;
    std::unique_ptr<ToolSet> m_toolSet;
    std::unique_ptr<RunActions> m_runActions;
    QList<VLServicePtr> m_serviceMenu;
};
