#pragma once

#include "app/AppServices.h"
#include "app/AutoRefresh.h"
#include "app/RefreshRequest.h"
#include "app/RunStatus.h"
#include "app/TaskThreads.h"
#include "clients/ClientInfo.h"
#include "clients/Discovery.h"
#include "clients/ServiceGroupStore.h"
#include "clients/ServiceList.h"
#include "clients/troubleshooter/FailingClientsModel.h"
#include "remote/RemoteRunner.h"
#include "remote/VLErrorCallback.h"
#include "remote/authorization/AuthorizationController.h"
#include "remote/authorization/AuthorizedRunner.h"
#include "runs/ActivityStore.h"
#include "tools/Tool.h"

#include <QDateTime>
#include <QHash>
#include <QObject>

#include <memory>
#include <set>

class AppInterface;
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
    /// The window, set before awakeFromNib() and taken away (null) before it goes; without one its steps are
    /// left out.
    void setInterface(AppInterface* interface) { m_interface = interface; }
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

    [[nodiscard]] TaskThreads& taskThreads() { return *m_taskThreads; }
    [[nodiscard]] RunStatus& runStatus() { return *m_runStatus; }
    /// Whether the run can be done again where it was not done: it is one of this session, and the computers
    /// are known.
    [[nodiscard]] bool canRetry(const RunRecord& record) const;
    void retryRun(const RunRecord& record);
    /// Whether the run's tool can take it back on computers that are known.
    [[nodiscard]] bool canUndo(const RunRecord& record) const;
    /// Takes it back on each of them, as a run of its own.
    void undoRun(const RunRecord& record);
    [[nodiscard]] ServiceList& services() { return *m_services; }
    [[nodiscard]] Discovery& discovery() { return *m_discovery; }
    [[nodiscard]] AutoRefresh& autoRefresh() { return *m_autoRefresh; }
    [[nodiscard]] RemoteRunner& runner() { return *m_runner; }
    [[nodiscard]] AuthorizationController& authorization() { return *m_authorization; }
    [[nodiscard]] AuthorizedRunner& authorizedRunner() { return *m_authorizedRunner; }
    [[nodiscard]] const std::shared_ptr<VLErrorCallback>& errorCallback() const { return m_errorCallback; }
    /// What was done: whoever ends a run adds it here.
    [[nodiscard]] ActivityStore& activity() { return *m_activity; }
    [[nodiscard]] QDateTime launchDate() const { return m_launchDate; }
    /// The clients in the order in which the service menu lists them.
    [[nodiscard]] const QList<VLServicePtr>& serviceMenu() const { return m_serviceMenu; }

    [[nodiscard]] const QList<Tool>& tools() const { return m_tools; }
    /// The controller of a tool, made on first use; null for a tool that is not built.
    [[nodiscard]] ToolController* toolController(const QString& identifier);
    /// The tool whose pane is visible: its refresh operation becomes the automatic one and runs once.
    void setVisibleTool(const QString& identifier);
    [[nodiscard]] const QString& visibleTool() const { return m_visibleTool; }

    /// The user's cache folder of this program; made when missing.
    [[nodiscard]] static QString cacheDirectory();
    /// Forgets the results of every tool.
    void clearData();
    /// True when at least one client is connected and enabled.
    [[nodiscard]] bool servicesAvailable() const noexcept { return m_servicesAvailable; }

    /// Looks for a newer version of the console, on a worker; `then` hears on the main thread whether that
    /// was possible.
    void searchForUpdates(std::function<void(bool isDone)> then);
    void refresh() { m_autoRefresh->autoRefreshData(false); }
    void clearErrorLog();
    /// Sends the error log to the maker; nothing when it is empty. `window` is where the progress shows.
    void uploadErrorLog(QObject* window);
    /// Whether this version has what that takes.
    [[nodiscard]] bool canUploadErrorLog() const noexcept { return bool(m_appServices.uploadErrorLog); }
    /// "1 error", "2 errors"; empty without errors (the button is hidden then).
    [[nodiscard]] QString errorLabel() const;

    /// What an agent answered through the callback of an authorised task: the delegate of every VLCallback.
    void objectDidPostCallback(const std::shared_ptr<VLCallback>& callback);

    /// Updates that wait, by host name.
    static constexpr auto ownHostName = "###self###";  ///< the console
    [[nodiscard]] qlonglong softwareUpdateCount() const;
    [[nodiscard]] qlonglong softwareUpdateCount(const QString& hostName) const {
        return m_updateCounts.value(hostName);
    }

    /// Adds a client that needs no machine, under the first free name of "Demo 1", "Demo 2" and so on.
    VLServicePtr addDemonstrationClient();

    // Connection troubleshooter: the controller knows when it shows, a window shows it.
    /// Asks for the window, with this client selected; null: whichever is.
    void showConnectionTroubleshooter(const VLServicePtr& service);
    /// Renews the list of failing clients.
    void populateConnectionTroubleshooterServices();
    [[nodiscard]] FailingClientsModel& failingClients() { return m_failingClients; }
    /// Told by the window: only while it is visible the list follows the clients.
    void setTroubleshooterVisible(bool visible);
    /// It has opened by itself, which it does once per run.
    [[nodiscard]] bool troubleshooterAutoLaunched() const noexcept { return m_troubleshooterAutoLaunched; }

    // Client information panel.
    /// Asks for the panel, about this client.
    void showInfo(const VLServicePtr& service);
    /// `machine`: what the agent told about the machine, if it was asked.
    [[nodiscard]] ClientInfo infoOfService(const VLServicePtr& service, const QVariantMap& machine) const;
    /// Asks the agent about the machine; the facts come with infoPopulated(), and are empty when the client
    /// can't be asked.
    void populateInfoForService(const VLServicePtr& service);
    /// Asks the agent for its picture; it comes with largeServiceIconFetched().
    void fetchLargeServiceIcon(const VLServicePtr& service);

    // Client actions (see VLService for what they do).
    void restartClient(const VLServicePtr& service);
    void stopClient(const VLServicePtr& service);
    void disconnectClient(const VLServicePtr& service);
    void reconnectClient(const VLServicePtr& service);
    void refreshClientInfo(const VLServicePtr& service);
    void cancelMaintenance(const VLServicePtr& service);
    /// Whether the client would hear of it at this moment.
    [[nodiscard]] static bool canCancelMaintenance(const VLService& service);

    void serviceConnected(const VLServicePtr& service) override;
    void setSoftwareUpdateCount(qlonglong count, const QString& hostName) override;
    void updateSoftwareUpdateCountForItem(const VLServicePtr& service) override;
    [[nodiscard]] bool isHostNameOfAnother(const VLServicePtr& service, const QString& hostName) override;
    void displayCrashDialogForClient(const VLServicePtr& service, const QString& log) override;

Q_SIGNALS:
    void errorQueueChanged();
    void servicesAvailableChanged(bool available);
    void serviceConnectionFailed(const VLServicePtr& service);  ///< service may be null
    /// `automatic`: nobody asked for it, so it must not take the keyboard.
    void connectionTroubleshooterRequested(const VLServicePtr& service, bool automatic);
    void infoRequested(const VLServicePtr& service);
    void infoPopulated(const VLServicePtr& service, const QVariantMap& machine);
    void largeServiceIconFetched(const VLServicePtr& service, const QImage& picture);  ///< may be null
    void adminIsOutdated(const VLServicePtr& service);  ///< at most once per run
    void firstRun();
    void visibleToolChanged(const QString& identifier);
    void serviceMenuChanged();
    void softwareUpdateCountChanged(qlonglong total);
    /// A scan by the encoder repair has ended on the client of that name; `output` is the agent's text.
    void encodemendScanFinished(const QString& clientName, const QString& output);
    /// `badge`: "updates", "errors" or "maintenance".
    void serviceOutlineBadgeClicked(const VLServicePtr& service, const QString& badge);
    /// Everything is set up: bring the main window to the front.
    void mainWindowReady();
    /// A client has left: close the windows about it (their titles end with a space and this name).
    void clientWindowsObsolete(const QString& clientName);

private:
    void registerDefaults();
    void populateServiceGroups();
    bool startDiscovery();
    void createErrorCallback();
    void createRunner();
    void createAuthorization();
    void createActivity();
    [[nodiscard]] QList<RemoteClientPtr> selectedClients() const;
    [[nodiscard]] VLErrorCallback::Parent errorCallbackParent();

    void setUpInterface();
    bool authenticateAtStart();
    void populateTasks();
    void observeProcessing();
    void subscribeToNotifications();
    void showFirstRun();
    void checkForUpdatesToSelf();

    void reloadServiceOutlineView();
    void updateAvailableServices();
    void storeUpdateCount(qlonglong count, const QString& hostName);
    void serviceInvalidated(const VLServicePtr& service);
    void connectionFailed(const VLServicePtr& service);
    void refreshTroubleshooter();
    void adminOutdated(const VLServicePtr& service);
    void postError(const QVariantMap& userInfo);
    void serviceAdded(const VLServicePtr& service);
    void serviceRemoved(const VLServicePtr& service);
    void endTasksOf(const VLServicePtr& service);
    [[nodiscard]] QList<RemoteClientPtr> clientsOf(
        const RunRecord& record, const std::function<bool(const HostOutcome&)>& wanted) const;
    void sendCommand(const QString& selector, const QString& action, const QString& actionDone,
                     const QList<RemoteClientPtr>& clients, const QString& retryOf = {});
    [[nodiscard]] QList<RemoteClientPtr> clientsToRetry(const RunRecord& record) const;
    [[nodiscard]] bool isReadingOfTool(const RunRecord& record) const;
    void selectionChanged();
    void refreshVisibleTool();
    [[nodiscard]] const Tool* tool(const QString& identifier) const;
    [[nodiscard]] ToolContext toolContext(const QString& identifier);

    const QList<Tool> m_tools;
    const AppServices m_appServices;
    AppInterface* m_interface = nullptr;
    QDateTime m_launchDate;
    quint32 m_awakeCount = 0;
    bool m_servicesAvailable = false;
    bool m_adminUpdateMessageDisplayed = false;
    bool m_troubleshooterAutoLaunched = false;
    bool m_troubleshooterVisible = false;
    bool m_isUnattended = false;
    bool m_browses = true;
    bool m_isTerminating = false;
    bool m_requireAdminPassword = false;
    bool m_reloadPending = false;
    bool m_isShutDown = false;
    bool m_endedCleanly = true;
    QString m_visibleTool;
    std::unique_ptr<ServiceList> m_services;
    std::unique_ptr<ServiceGroupStore> m_groupStore;
    FailingClientsModel m_failingClients;
    std::unique_ptr<TaskThreads> m_taskThreads;
    std::unique_ptr<RunStatus> m_runStatus;
    std::shared_ptr<VLErrorCallback> m_errorCallback;
    std::unique_ptr<RemoteRunner> m_runner;
    std::unique_ptr<AuthorizationController> m_authorization;
    std::unique_ptr<AuthorizedRunner> m_authorizedRunner;
    std::unique_ptr<AutoRefresh> m_autoRefresh;
    std::unique_ptr<RefreshRequest> m_refreshRequest;
    std::unique_ptr<Discovery> m_discovery;
    std::unique_ptr<ActivityStore> m_activity;
    QList<VLServicePtr> m_serviceMenu;
    std::set<VLServicePtr> m_refreshedFor;  ///< the selection that the visible pane was last refreshed for
    QHash<QString, qlonglong> m_updateCounts;
    QHash<QString, std::shared_ptr<ToolController>> m_toolControllers;
};
