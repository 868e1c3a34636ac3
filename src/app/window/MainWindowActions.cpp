// The tool bar and the menus of the main window.
#include "app/AppController.h"
#include "app/MakerSite.h"
#include "app/window/ClientActions.h"
#include "app/window/ClientWindows.h"
#include "app/window/GroupActions.h"
#include "app/window/MainWindow.h"
#include "app/window/ToolList.h"
#include "clients/view/ClientOutline.h"
#include "desktop/VLAlert.h"
#include "widgets/Badge.h"
#include "widgets/SearchField.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QAction>
#include <QActionGroup>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QLayout>
#include <QMenu>
#include <QMenuBar>
#include <QPixmap>
#include <QToolBar>
#include <QToolButton>
#include <QUrl>

QAction* MainWindow::makeAction(const QString& text, const char* symbol, const QString& help,
                                const QKeySequence& shortcut) {
    auto* action = new QAction(symbolIcon(QLatin1String(symbol)), text, this);
    action->setShortcut(shortcut);
    QString toolTip = help;
    if (!shortcut.isEmpty()) {
        toolTip += QStringLiteral(" (%1)").arg(shortcut.toString(QKeySequence::NativeText));
    }
    action->setToolTip(toolTip);
    return action;
}

void MainWindow::buildActions() {
    m_clientActions = new ClientActions({m_controller.services(), m_controller.clientCommands(),
                                         m_controller.clientDetails(), m_controller.softwareUpdates()},
                                        *m_outline, this);
    m_groupActions = new GroupActions(m_controller.services(), *m_outline, this);
    m_clientWindows = new ClientWindows({m_controller.services(), m_controller.clientCommands(),
                                         m_controller.clientDetails(), m_controller.troubleshooter()},
                                        *m_outline, *m_clientActions, this);
    m_addComputer = makeAction(tr("Add Computer"), "add-computer", tr("Add a computer by its address"),
                               QKeySequence::New);
    m_addComputer->setObjectName(QStringLiteral("addComputerAction"));
    m_editComputer = makeAction(tr("Edit Computer…"), "info",
                                tr("Change the name, the address or the port of a computer added by hand"),
                                QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_E));
    m_editComputer->setObjectName(QStringLiteral("editComputerAction"));
    m_refresh = makeAction(tr("Refresh"), "refresh",
                           tr("Read the visible tool's data from the selected computers again"),
                           QKeySequence(Qt::Key_F5));
    m_refresh->setObjectName(QStringLiteral("refreshAction"));
    m_softwareUpdate = makeAction(tr("Software Update"), "software-update", {}, {});
    m_softwareUpdate->setObjectName(QStringLiteral("softwareUpdateAction"));
    m_softwareUpdate->setEnabled(false);
    m_showActivity = makeAction(tr("Activity"), "activity",
                                tr("Show what was done, and what became of it on each computer"),
                                QKeySequence(Qt::CTRL | Qt::Key_Y));
    m_showActivity->setObjectName(QStringLiteral("activityAction"));
    m_showLog =
        makeAction(tr("Logs"), "logs", tr("Show the console's own log"), QKeySequence(Qt::CTRL | Qt::Key_L));
    m_showErrors = makeAction(tr("Error Log"), "error-log", tr("Show the errors of all computers"),
                              QKeySequence(Qt::CTRL | Qt::Key_E));
    connect(m_addComputer, &QAction::triggered, this, &MainWindow::showAddComputer);
    connect(m_editComputer, &QAction::triggered, this,
            [this] { openEditComputer(m_outline->singleSelectedService(), this); });
    updateEditComputer();
    connect(m_refresh, &QAction::triggered, this, [this] { m_controller.toolSet().refresh(); });
    connect(m_showActivity, &QAction::triggered, this, &MainWindow::showActivity);
    connect(m_showLog, &QAction::triggered, this, &MainWindow::showLog);
    connect(m_showErrors, &QAction::triggered, this, &MainWindow::showErrorLog);
}

void MainWindow::buildToolBar() {
    auto* bar = new QToolBar(tr("Main Toolbar"), this);
    bar->setObjectName(QStringLiteral("mainToolBar"));
    bar->setMovable(false);
    bar->setFloatable(false);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);
    bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    bar->setIconSize({Metrics::symbolSize, Metrics::symbolSize});
    bar->layout()->setContentsMargins(Metrics::unit, Metrics::unit / 2, Metrics::unit, Metrics::unit + 1);
    auto* space = new QWidget(bar);
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);

    bar->addAction(m_addComputer);
    bar->addAction(m_refresh);
    bar->addAction(m_softwareUpdate);
    bar->addWidget(space);
    bar->addAction(m_showActivity);
    bar->addAction(m_showLog);
    bar->addAction(m_showErrors);
    for (QAction* action :
         {m_addComputer, m_refresh, m_softwareUpdate, m_showActivity, m_showLog, m_showErrors}) {
        QWidget* button = bar->widgetForAction(action);
        button->setFocusPolicy(Qt::TabFocus);
        button->setMinimumHeight(32);
    }
    m_updateBadge = new EndBadge(bar->widgetForAction(m_softwareUpdate));
    addToolBar(Qt::TopToolBarArea, bar);
    setContextMenuPolicy(Qt::NoContextMenu);
}

void MainWindow::buildMenus() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(symbolIcon(QStringLiteral("add-computer")), tr("&Add Computer…"), this,
                    &MainWindow::showAddComputer);
    file->addAction(m_groupActions->newGroup());
    QAction* demonstration = file->addAction(tr("Add &Demonstration Computer"), this,
                                             [this] { m_controller.addDemonstrationClient(); });
    demonstration->setObjectName(QStringLiteral("addDemonstrationAction"));
    demonstration->setToolTip(tr("Add a computer with sample data, to try the tools without a client agent"));
    file->addSeparator();
    QAction* quit = file->addAction(tr("&Quit Orlendo"), this, &QWidget::close);
    quit->setShortcut(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);

    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    edit->addAction(symbolIcon(QStringLiteral("copy")), tr("&Copy"), QKeySequence::Copy, this,
                    &MainWindow::copy);
    edit->addSeparator();
    edit->addAction(tr("Select &All Computers"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_A), m_outline,
                    &ClientOutline::selectAllComputers);
    edit->addAction(symbolIcon(QStringLiteral("search")), tr("&Find Computer"), QKeySequence::Find, this,
                    [this] {
                        m_outline->searchField()->setFocus();
                        m_outline->searchField()->selectAll();
                    });
    edit->addSeparator();
    QAction* preferences = edit->addAction(tr("&Preferences…"), this, &MainWindow::showPreferences);
    preferences->setObjectName(QStringLiteral("preferencesAction"));
    preferences->setMenuRole(QAction::PreferencesRole);
    preferences->setShortcuts(QKeySequence::Preferences);
    if (preferences->shortcuts().isEmpty()) preferences->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));

    QMenu* view = menuBar()->addMenu(tr("&View"));
    view->addAction(m_refresh);
    QAction* forget =
        view->addAction(tr("For&get Results"), this, [this] { m_controller.toolSet().clearData(); });
    forget->setObjectName(QStringLiteral("forgetResultsAction"));
    forget->setToolTip(tr("Empty all tools; what is being read is cancelled"));
    m_groupActions->addSortMenu(view);
    buildThemeMenu(view->addMenu(tr("&Theme")));
    view->addSeparator();
    int number = 0;
    for (const Tool& tool : m_controller.toolSet().tools()) {
        ++number;
        QAction* action =
            view->addAction(drawingIcon(QStringLiteral(":/icons/tools/%1.svg").arg(tool.identifier)),
                            tool.title, this, [this, identifier = tool.identifier] { showTool(identifier); });
        if (number <= 9) action->setShortcut(QKeySequence(Qt::CTRL | Qt::Key(Qt::Key_0 + number)));
    }

    QMenu* computer = menuBar()->addMenu(tr("&Computer"));
    m_clientActions->addTo(computer);
    computer->addAction(m_editComputer);
    computer->addSeparator();
    m_groupActions->addMoveMenu(computer);
    m_groupActions->addGroupItems(computer);
    connect(computer, &QMenu::aboutToShow, m_clientActions, &ClientActions::update);
    computer->addSeparator();
    m_clientWindows->addTo(computer);
    QMenu* goTo = computer->addMenu(tr("&Go To"));
    goTo->setObjectName(QStringLiteral("goToMenu"));
    connect(goTo, &QMenu::triggered, this, [this](const QAction* action) {
        m_controller.services().setSelectedServices({action->data().value<VLServicePtr>()});
    });
    connect(computer, &QMenu::aboutToShow, goTo, [this, goTo] { fillGoToMenu(goTo); });
    computer->addSeparator();
    QAction* removePasswords = computer->addAction(tr("Remove Stored &Passwords…"), this, [this] {
        m_controller.authorization().securityRemovePasswords(this);
    });
    removePasswords->setObjectName(QStringLiteral("securityRemovePasswordsAction"));

    QMenu* window = menuBar()->addMenu(tr("&Window"));
    window->addAction(m_showActivity);
    window->addAction(m_showLog);
    window->addAction(m_showErrors);
    buildHelpMenu(menuBar()->addMenu(tr("&Help")));
}

void MainWindow::buildThemeMenu(QMenu* menu) {
    auto* group = new QActionGroup(menu);
    const auto add = [&](const QString& text, Theme theme) {
        QAction* action = menu->addAction(text);
        action->setCheckable(true);
        action->setChecked(currentTheme() == theme);
        connect(menu, &QMenu::aboutToShow, action,
                [action, theme] { action->setChecked(currentTheme() == theme); });
        group->addAction(action);
        connect(action, &QAction::triggered, this, [theme] {
            applyTheme(theme);
            storeTheme(theme);
        });
    };
    add(tr("As the &System"), Theme::System);
    add(tr("&Light"), Theme::Light);
    add(tr("&Dark"), Theme::Dark);
}

/// One entry for each client: its icon and name, with the client as data; it becomes the selected one.
void MainWindow::fillGoToMenu(QMenu* menu) {
    menu->clear();
    for (const VLServicePtr& service : m_controller.serviceMenu()) {
        QString title = service->name();
        QAction* action = menu->addAction(title.replace(u'&', QLatin1String("&&")));
        action->setIcon(QIcon(QPixmap::fromImage(service->icon())));
        action->setData(QVariant::fromValue(service));
    }
    menu->setEnabled(!menu->isEmpty());
}

void MainWindow::buildHelpMenu(QMenu* menu) {
    const auto addPage = [&](const QString& text, MakerSite::Page page) {
        menu->addAction(text, this, [this, page] {
            const QUrl address = MakerSite::page(page);
            if (QDesktopServices::openUrl(address)) return;
            VLAlert::alertSheetWithMessageText(tr("Unable to open the page"), {}, {}, {}, address.toString(),
                                               this, false);
        });
    };
    if (MakerSite::isThere()) {
        addPage(tr("Orlendo &Manual"), MakerSite::Page::Manual);
        addPage(tr("&Orlendo Home Page"), MakerSite::Page::Console);
        addPage(tr("&Corvalin Suite Home Page"), MakerSite::Page::Suite);
        addPage(tr("Maker's &Home Page"), MakerSite::Page::Home);
        menu->addSeparator();
        addPage(tr("Make a &Suggestion"), MakerSite::Page::Suggestion);
        addPage(tr("Report a &Bug"), MakerSite::Page::BugReport);
        menu->addSeparator();
    }
    QAction* about = menu->addAction(tr("&About Orlendo"), this, &MainWindow::showAbout);
    about->setMenuRole(QAction::AboutRole);
}
