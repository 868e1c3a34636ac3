#include "app/window/MainWindow.h"

#include "app/AppController.h"
#include "app/window/AuthSheet.h"
#include "app/window/BadgeClicks.h"
#include "app/window/ClientActions.h"
#include "app/window/ClientWindows.h"
#include "app/window/ErrorLogWindow.h"
#include "app/window/GroupActions.h"
#include "app/window/LogWindow.h"
#include "app/window/PreferencesWindow.h"
#include "app/window/ProgressSheet.h"
#include "app/window/StatusPanel.h"
#include "app/window/TargetsView.h"
#include "app/window/ToolList.h"
#include "app/window/ToolPanes.h"
#include "app/window/WelcomeSheet.h"
#include "base/VLBundle.h"
#include "base/VLFormat.h"
#include "clients/view/AddComputerSheet.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/ClientOutlineModel.h"
#include "desktop/VLAlert.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLUserDefaults.h"
#include "widgets/AlertSheet.h"
#include "widgets/Badge.h"
#include "widgets/RowCopy.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QMenu>
#include <QSplitter>
#include <QVBoxLayout>

namespace {

const QString geometryKey = QStringLiteral("mainWindowGeometry");
const QString splitterKey = QStringLiteral("mainWindowSplitter");
const QString toolKey = QStringLiteral("visibleTool");

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

template <typename Window>
void bringToFront(Window* window) {
    window->show();
    window->raise();
    window->activateWindow();
}

}  // namespace

MainWindow::MainWindow(AppController& controller, QWidget* parent)
    : QMainWindow(parent),
      m_controller(controller),
      m_activityActions{[&controller](const RunRecord& run) { return controller.runActions().canRetry(run); },
                        [&controller](const RunRecord& run) { return controller.runActions().canUndo(run); },
                        [&controller](const RunRecord& run) { controller.runActions().retryRun(run); },
                        [&controller](const RunRecord& run) { controller.runActions().undoRun(run); }} {
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("Orlendo"));
    setWindowIcon(drawingIcon(QStringLiteral(":/icons/orlendo.svg")));
    setMinimumSize(880, 520);
    VLAlert::setPresenter(AlertSheet::presenter(this));
    buildContents();
    buildActions();
    buildToolBar();
    buildMenus();
    watchController();
    followSystemTheme(*this);
    restoreLayout();
    m_outline->setFocus();
}

MainWindow::~MainWindow() {
    m_controller.authorization().setView(nullptr);
    VLAlert::setPresenter({});
}

void MainWindow::buildContents() {
    m_outline = new ClientOutline(m_controller.services());
    m_outline->setMinimumWidth(200);
    m_tools = new ToolList(m_controller.toolSet().tools());
    m_tools->setMinimumWidth(150);
    m_panes = new ToolPanes(
        [this](const QString& identifier) { return m_controller.toolSet().toolController(identifier); });
    m_panes->setMinimumWidth(420);
    m_panes->addToHead(
        new TargetsView(m_controller.services(), *m_outline, [this](const QList<RemoteClientPtr>& clients) {
            return m_controller.runner().leftOutNames(clients);
        }));
    const ActivityActions& actions = m_activityActions;
    const auto showDetails = [this](const RunRecord& record) { showActivityOf(record.id); };
    m_status = new StatusPanel(m_controller.taskThreads(), m_controller.runStatus(),
                               {actions.canRetry, actions.canUndo, actions.retry, actions.undo, showDetails});

    m_splitter = new QSplitter(Qt::Horizontal);
    m_splitter->setObjectName(QStringLiteral("mainSplitter"));
    m_splitter->setChildrenCollapsible(false);
    m_splitter->addWidget(m_outline);
    m_splitter->addWidget(m_tools);
    m_splitter->addWidget(m_panes);
    m_splitter->setStretchFactor(2, 1);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_splitter, 1);
    layout->addWidget(m_status);
    setCentralWidget(central);
    new ProgressSheet(m_controller.taskThreads(), this);
    m_controller.authorization().setView(new AuthSheet(m_controller.authorization(), this));
}

void MainWindow::watchController() {
    connect(m_tools, &ToolList::toolSelected, this, &MainWindow::toolSelected);
    connect(m_outline, &ClientOutline::addComputerRequested, this, &MainWindow::showAddComputer);
    connect(m_outline, &ClientOutline::contextMenuRequested, this, &MainWindow::showClientMenu);
    connect(m_clientWindows, &ClientWindows::logRequested, this, &MainWindow::showLog);
    connect(m_status, &StatusPanel::errorsClicked, this, &MainWindow::showErrorLog);
    connect(m_clientActions, &ClientActions::errorsRequested, this, &MainWindow::showErrorsOf);
    auto* badges = new BadgeClicks(m_controller.clientCommands(), m_controller.toolSet(),
                                   m_controller.softwareUpdates(), this);
    connect(&m_controller, &AppController::serviceOutlineBadgeClicked, badges,
            &BadgeClicks::serviceOutlineBadgeClicked);
    connect(m_clientActions, &ClientActions::updatesRequested, badges, &BadgeClicks::showUpdates);
    connect(badges, &BadgeClicks::errorsRequested, this, &MainWindow::showErrorsOf);
    connect(badges, &BadgeClicks::toolRequested, this, &MainWindow::showTool);

    ServiceList& services = m_controller.services();
    connect(&services, &ServiceList::serviceUpdated, m_clientActions, &ClientActions::update);
    connect(&services, &ServiceList::selectionChanged, this, [this] {
        m_clientActions->update();
        updateEditComputer();
        ToolController* tool = m_controller.toolSet().toolController(m_tools->selectedIdentifier());
        if (tool) Q_EMIT tool->selectionChanged();
    });
    connect(&m_controller.errorLog(), &ErrorLog::errorQueueChanged, this, &MainWindow::updateErrors);
    connect(&m_controller.softwareUpdates(), &SoftwareUpdates::softwareUpdateCountChanged, this,
            &MainWindow::updateSoftwareUpdates);
    connect(&m_controller, &AppController::clientWindowsObsolete, this, &MainWindow::closeWindowsAbout);
    connect(&m_controller, &AppController::mainWindowReady, this, &MainWindow::restoreTool);
    // However the program ends: also by a signal.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, [this] {
        if (!m_controller.isUnattended()) saveLayout();
    });
    VLNotificationCenter::defaultCenter().addObserver(
        this, QStringLiteral("vlCorvalinSettingsNotWritten"), [this](const VLNotification& notification) {
            VLAlert::alertSheetWithMessageText(
                tr("Unable to save the settings"), {}, {}, {},
                tr("%1 could not be written. It is tried again until it works; what was changed "
                   "is lost when Orlendo is quit before that.")
                    .arg(notification.userInfo.value(QStringLiteral("path")).toString()),
                this, false);
        });
    connect(&m_controller, &AppController::firstRun, this, [this] { (new WelcomeSheet(this))->open(); });
    connect(&m_controller, &AppController::adminIsOutdated, this, [this](const VLServicePtr& service) {
        showAdminOutdated(service ? service->name() : QString());
    });
    const AutoRefresh& autoRefresh = m_controller.toolSet().autoRefresh();
    connect(&autoRefresh, &AutoRefresh::refreshEnabledChanged, m_refresh, &QAction::setEnabled);
    m_refresh->setEnabled(autoRefresh.refreshEnabled());
    m_outline->model()->setUpdateCount([this](const QString& hostName) {
        return m_controller.softwareUpdates().softwareUpdateCount(hostName);
    });
    updateErrors();
    updateSoftwareUpdates(m_controller.softwareUpdates().softwareUpdateCount());
}

// ---- Tools

void MainWindow::restoreLayout() {
    resize(1280, 800);
    restoreGeometry(defaults().objectForKey(geometryKey).toByteArray());
    if (!m_splitter->restoreState(defaults().objectForKey(splitterKey).toByteArray())) {
        m_splitter->setSizes({256, 202, 822});
    }
}

/// The tool of the last run, else the first one that works. Its refresh starts at once, so not before the
/// controller is set up.
void MainWindow::restoreTool() {
    QString identifier = defaults().stringForKey(toolKey);
    if (m_tools->model()->rowOf(identifier) < 0) {
        for (const Tool& tool : m_controller.toolSet().tools()) {
            if (!tool.makeController) continue;
            identifier = tool.identifier;
            break;
        }
    }
    if (m_tools->model()->rowOf(identifier) < 0) return selectFirstItemInTable(*m_tools->view());
    showTool(identifier);
}

void MainWindow::saveLayout() const {
    defaults().setObject(saveGeometry(), geometryKey);
    defaults().setObject(m_splitter->saveState(), splitterKey);
    defaults().setObject(m_tools->selectedIdentifier(), toolKey);
}

void MainWindow::showTool(const QString& identifier) {
    m_tools->select(identifier);
}

void MainWindow::toolSelected(const QString& identifier) {
    const int row = m_tools->model()->rowOf(identifier);
    if (row < 0) return;
    m_panes->show(m_tools->model()->tool(row));
    m_controller.toolSet().setVisibleTool(identifier);
}

// ---- Errors and updates

void MainWindow::updateErrors() {
    const auto& errors = m_controller.errorCallback();
    if (!errors) return;
    m_status->setErrorLabel(m_controller.errorLog().errorLabel());
    QHash<QString, int> counts;
    for (const auto& [hostName, count] : errors->errorCountsByHost())
        counts.insert(hostName, count);
    m_outline->setErrorCounts(counts);
}

void MainWindow::updateSoftwareUpdates(qlonglong count) {
    m_updateBadge->setCount(int(count));
    QString help = tr("Software updates are not part of this version yet");
    if (count > 0) {
        help = (count == 1 ? tr("%1 update waits. Installing it is not part of this version yet")
                           : tr("%1 updates wait. Installing them is not part of this version yet"))
                   .arg(count);
    }
    m_softwareUpdate->setToolTip(help);
    m_outline->model()->refreshSoon();
}

// ---- Windows and sheets

void MainWindow::showAddComputer() {
    openAddComputer(this);
}

void MainWindow::openAddComputer(QWidget* over) {
    const auto submit = [this](const ManualConnections::Entry& entry) {
        return m_controller.discovery().submitManualConnection(entry);
    };
    (new AddComputerSheet(submit, over))->open();
}

void MainWindow::openEditComputer(const VLServicePtr& service, QWidget* over) {
    if (!service || !service->isManual()) return;
    const auto submit = [this, service](const ManualConnections::Entry& entry) {
        return m_controller.discovery().replaceManualConnection(service, entry);
    };
    ManualConnections::Entry entry{service->name(), service->manualIP(), service->port()};
    for (const ManualConnections::Entry& stored : ManualConnections::stored())  // as it was entered
        if (stored.ip == entry.ip && stored.port == entry.port) entry.name = stored.name;
    (new AddComputerSheet(entry, submit, over))->open();
}

void MainWindow::updateEditComputer() {
    const VLServicePtr service = m_outline->singleSelectedService();
    m_editComputer->setEnabled(service && service->isManual());
}

void MainWindow::showActivity() {
    if (!m_activity) {
        m_activity = new ActivityWindow(m_controller.activity(), m_controller.toolSet().tools(),
                                        m_activityActions, this);
        connect(&m_controller.taskThreads().runs(), &RunList::changed, m_activity.data(),
                &ActivityWindow::updateActions);
    }
    bringToFront(m_activity.data());
}

void MainWindow::showActivityOf(const QString& runId) {
    showActivity();
    m_activity->showRun(runId);
}

void MainWindow::showErrorLog() {
    if (!m_errorLog) m_errorLog = new ErrorLogWindow(m_controller.errorLog(), m_controller.services(), this);
    bringToFront(m_errorLog.data());
}

void MainWindow::showErrorsOf(const VLServicePtr& service) {
    showErrorLog();
    m_errorLog->selectErrorsOf(service->hostName());
}

void MainWindow::showLog() {
    if (!m_log) m_log = new LogWindow(this);
    bringToFront(m_log.data());
}

void MainWindow::showPreferences() {
    if (!m_preferences) {
        m_preferences = new PreferencesWindow(m_controller.services(), m_controller.clientCommands(),
                                              m_controller.canAuthenticate(), this);
        connect(m_preferences, &PreferencesWindow::addComputerRequested, this,
                [this] { openAddComputer(m_preferences); });
        connect(m_preferences, &PreferencesWindow::editComputerRequested, this,
                [this](const ManualConnections::Entry& entry) {
                    openEditComputer(m_controller.discovery().manualRecord(entry.ip, entry.port),
                                     m_preferences);
                });
    }
    bringToFront(m_preferences.data());
}

void MainWindow::showAbout() {
    const VLBundle& bundle = VLBundle::mainBundle();
    const auto text = [&](const char* key) {
        return bundle.objectForInfoDictionaryKey(QLatin1String(key)).toString();
    };
    VLAlert::alertSheetWithMessageText(QStringLiteral("Orlendo"), tr("Close"), {}, {},
                                       tr("Administration console of the Corvalin suite\nVersion %1 (%2)")
                                           .arg(text("CFBundleShortVersionString"), text("CFBundleVersion")),
                                       this, false);
}

void MainWindow::showAdminOutdated(const QString& clientName) {
    const auto searched = [window = QPointer(this)](bool isDone) {
        if (isDone || !window) return;
        VLAlert::alertSheetWithMessageText(tr("Unable to check for updates"), {}, {}, {},
                                           tr("The console's log says why."), window, false);
    };
    const auto answered = [window = QPointer(this), searched](int returnCode) {
        if (returnCode == VLAlert::DefaultReturn && window)
            window->m_controller.softwareUpdates().searchForUpdates(searched);
    };
    const QString selector = QStringLiteral("adminOutdatedAlertDidEnd:returnCode:contextInfo:");
    VLAlert::alertSheetWithMessageText(
        tr("Corvalin Orlendo is outdated"), tr("Search for Updates"), tr("Ignore"), {},
        vlFormat(tr("The client software on %@ is expecting a more recent version of Orlendo. "
                    "Continued use of an outdated version could cause stability issues.\n\nWould you "
                    "like to update Corvalin Orlendo now?"),
                 clientName),
        this,
        std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{{selector, answered}}),
        selector, false);
}

void MainWindow::showClientMenu(const QPoint& position) {
    m_clientActions->update();
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (m_controller.services().allSelected() || m_outline->singleSelectedGroup()) {
        m_groupActions->addTo(menu);
        menu->addSeparator();
        m_clientActions->addCommandsTo(menu);
    } else {
        m_clientActions->addTo(menu);
        if (m_editComputer->isEnabled()) menu->addAction(m_editComputer);
        menu->addSeparator();
        m_groupActions->addMoveMenu(menu);
    }
    menu->popup(position);
}

/// Windows about one client carry its name at the end of their title, and say so: "Console Log" is not about
/// a client named "Log".
void MainWindow::closeWindowsAbout(const QString& clientName) {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        const bool isAboutOne = window->isVisible() && window->property("isAboutClient").toBool();
        if (isAboutOne && window->windowTitle().endsWith(QLatin1Char(' ') + clientName)) window->close();
    }
}

/// Of whatever has the keyboard focus.
void MainWindow::copy() {
    QWidget* focus = QApplication::focusWidget();
    const auto* list = qobject_cast<QAbstractItemView*>(focus);
    if (focus == m_outline->view() || focus == m_tools->view() || !list) {
        const QString text = m_outline->selectionAsText();
        if (!text.isEmpty()) QGuiApplication::clipboard()->setText(text);
        return;
    }
    copySelectedRows(*list);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    saveLayout();
    m_clientWindows->closeAll();
    for (QWidget* window :
         {static_cast<QWidget*>(m_activity.data()), static_cast<QWidget*>(m_errorLog.data()),
          static_cast<QWidget*>(m_log.data()), static_cast<QWidget*>(m_preferences.data())}) {
        if (window) window->close();
    }
    QMainWindow::closeEvent(event);
    QCoreApplication::quit();
}
