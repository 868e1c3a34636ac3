// Draws the windows with sample data into PNG files, light and dark: ui_pictures [FOLDER]
#include "app/window/ActivityWindow.h"
#include "app/window/AuthSheet.h"
#include "app/window/ErrorLogWindow.h"
#include "app/window/LogWindow.h"
#include "app/window/PreferencesWindow.h"
#include "app/window/ProgressSheet.h"
#include "app/window/WelcomeSheet.h"
#include "clients/view/AddComputerSheet.h"
#include "clients/view/ClientInfoPanel.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/GroupSheet.h"
#include "clients/view/IdentitySheet.h"
#include "clients/view/ProblemView.h"
#include "clients/view/TroubleshooterWindow.h"
#include "desktop/VLAlert.h"
#include "support/TestEnvironment.h"
#include "tools/cronwell/CronwellController.h"
#include "tools/merged/RowMerger.h"
#include "tools/settlekeep/PreferenceModel.h"
#include "tools/settlekeep/SettlekeepController.h"
#include "ui/SampleConsole.h"
#include "widgets/AlertSheet.h"
#include "widgets/SearchField.h"
#include "widgets/Theme.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QToolButton>
#include <QTreeView>

namespace {

QString folder;
QString suffix;

void save(QWidget& widget, const QString& name) {
    widget.ensurePolished();
    QApplication::processEvents();
    QTest::qWait(60);
    widget.grab().save(u"%1/ui-%2-%3.png"_s.arg(folder, name, suffix));
}

/// Rows of every kind: alike, missing, and differing in version, state or access.
QList<VLPluginItem> samplePlugins(const QStringList& hosts) {
    const QStringList names{"Alpha Transitions", "Bright Glow",
                            "Channel Strip",     "Chroma Desk",
                            "Compressor Bank",   "Drop Shadow Plus",
                            "Film Grain",        "Flicker Removal",
                            "Hall Reverb",       "Motion Blur with an extraordinarily long plug-in name",
                            "Noise Gate",        "Title Crawl",
                            "Zoom Blur"};
    const QStringList types{"FxPlug", "Audio Unit", "FxScript"};
    QList<VLPluginItem> rows;
    for (int number = 0; number < names.size(); ++number) {
        VLPluginItem row;
        for (int host = 0; host < hosts.size(); ++host) {
            if (number % 5 == 2 && host == 1) continue;
            const QString version = number % 6 == 3 && host == 0 ? "2.0.1" : "2.0";
            row.addChild(pluginInstance(names[number], types[number % 3], version,
                                        number % 9 == 4 ? host % 2 : 0, number % 8 == 6 ? host % 2 : 0),
                         hosts[host]);
        }
        if (number % 5 == 2) addMissing(row, hosts[1]);
        rows << row;
    }
    return rows;
}

/// Two groups, one of them empty, with a machine of the first selected; then the search.
void drawGroups(SampleConsole& console, const QList<VLServicePtr>& members) {
    ServiceList& services = console.controller->services();
    auto* outline = console.window->findChild<ClientOutline*>();
    for (const auto& group : services.groups())  // of the pictures before
        services.removeGroup(group);
    const auto bays = services.addGroup(u"Edit Bays"_s);
    const auto empty = services.addGroup(u"Building B with a name that is too long"_s);
    services.addGroup(u"Spare"_s);
    services.moveToGroup(members, bays);
    members.last()->setEnabled(false);
    services.serviceChanged(nullptr);
    QTest::qWait(100);
    outline->view()->collapse(outline->view()->model()->index(0, 0));
    outline->selectGroup(bays);
    save(*console.window, u"groups"_s);
    outline->editGroupName(empty);
    save(*console.window, u"group-rename"_s);
    outline->view()->setFocus();
    outline->view()->expand(outline->view()->model()->index(0, 0));
    for (const auto& group : services.groups().mid(1))
        services.removeGroup(group);
    members.last()->setEnabled(true);
    GroupSheet sheet([&](const QString& name) { return services.groupNameProblem(name); }, 3,
                     [](const QString&, bool) {}, console.window.get());
    sheet.show();
    sheet.findChild<QLineEdit*>()->setText(u"edit bays"_s);
    save(sheet, u"group-sheet"_s);
    sheet.hide();
}

/// The preference tree, backups of several computers, and the sheet that asks for a name.
void drawSettlekeep(SampleConsole& console, const QStringList& hosts) {
    console.window->showTool(u"settlekeep"_s);
    auto& settlekeep =
        *static_cast<SettlekeepController*>(console.controller->toolSet().toolController(u"settlekeep"_s));
    if (QTest::qWaitFor([&] { return settlekeep.hasResult() && !settlekeep.isBusy(); }))
        save(*console.window, u"settlekeep-empty"_s);
    QList<QVariantMap> backups;
    for (const QString& host : hosts) {
        for (const QString& name : {u"Before the colour session"_s, u"Known good"_s}) {
            const int number = int(backups.size());
            const QString keys = u"fcpPrefs,fcpBoris,motion,color,ct"_s;
            backups << QVariantMap{{u"hostname"_s, host},
                                   {u"path"_s, QString(u"/Users/editor/Library/"_s + name)},
                                   {u"name"_s, name},
                                   {u"type"_s, number % 2},
                                   {u"date"_s, QDateTime(QDate(2010, 9, 1 + number), QTime(9, 30))},
                                   {u"size"_s, 40'000 * (number + 1)},
                                   {u"keys"_s, keys}};
        }
    }
    settlekeep.setSettlekeepBackupArray(backups);
    auto* tree = console.find<QTreeView>("settlekeepPrefOutlineView");
    tree->expand(tree->model()->index(0, 0));
    auto* table = console.find<QTreeView>("settlekeepBackupTableView");
    table->setCurrentIndex(table->model()->index(1, 0));
    static_cast<PreferenceModel*>(tree->model())
        ->setLocks({{u"fcpPrefs"_s, {u"Edit Bay 1"_s}}, {u"stpPrefs"_s, {u"Edit Bay 1"_s, u"Edit Bay 2"_s}}});
    for (const QSize size : {QSize(1024, 700), QSize(1280, 800)}) {
        console.window->resize(size);
        save(*console.window, u"settlekeep-%1"_s.arg(size.width()));
    }
    settlekeep.settlekeepBackup();
    auto* sheet = console.window->findChild<QDialog*>(u"windowSettlekeepBackup"_s);
    save(*sheet, u"settlekeep-sheet"_s);
    sheet->reject();
}

/// What a click into the access column and a right click show.
void drawAddonryMenus(QTreeView& tree) {
    const auto saveMenu = [](const QString& name) {
        if (QWidget* const menu = QApplication::activePopupWidget()) {
            save(*menu, name);
            menu->close();
        }
    };
    const QModelIndex access = tree.model()->index(5, 4);
    QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, tree.visualRect(access).center());
    saveMenu(u"addonry-access"_s);
    Q_EMIT tree.customContextMenuRequested(tree.visualRect(access).center());
    saveMenu(u"addonry-menu"_s);
}

/// Tasks of every kind of difference, their menu, the sheet with each kind of schedule, and the question.
void drawCronwell(SampleConsole& console, const QStringList& hosts) {
    console.window->showTool(u"cronwell"_s);
    auto& cronwell =
        *static_cast<CronwellController*>(console.controller->toolSet().toolController(u"cronwell"_s));
    if (QTest::qWaitFor([&] { return cronwell.hasResult() && !cronwell.isBusy(); }))
        save(*console.window, u"cronwell-empty"_s);
    QList<QList<QVariantMap>> jobs(hosts.size());
    const auto add = [&](const QString& tool, const QString& task, const QStringList& schedules, int root) {
        for (qsizetype host = 0; host < schedules.size(); ++host) {
            if (schedules[host].isEmpty()) continue;
            jobs[host].append({{u"taskDescription"_s, task},
                               {u"taskBundleID"_s, QString(u"com.velmora."_s + tool)},
                               {u"frequencyDescription"_s, schedules[host].section(u'|', 0, 0)},
                               {u"filename"_s, QString(u"com.velmora.cronwell."_s + tool + u".plist"_s)},
                               {u"enabled"_s, schedules[host].endsWith(u"|off"_s) ? 0 : 1},
                               {u"root"_s, root}});
        }
    };
    const QString three = u"Every day at 3:00"_s, monday = u"Every Monday at 14:30"_s;
    add(u"Tidyhand"_s, u"Clean caches"_s, {three, u"Every day at 4:00"_s, three, three}, 0);
    add(u"Tidyhand"_s, u"Clean everything"_s, {monday, monday, monday, monday}, 1);
    add(u"Settlekeep"_s, u"Back up preferences"_s, {three, three + u"|off"_s, three, three}, 0);
    add(u"Routemark"_s, u"Check scratch disks"_s, {u"Whenever /Volumes changes"_s, {}, {}, {}}, 0);
    add(u"Snapmend"_s, u"Repair disk permissions with an extraordinarily long task name"_s,
        {u"Every month on day 5 Every hour at minute 00"_s, u"Every 3600 seconds"_s, {}, three}, 1);
    add(u"Tidyhand"_s, u"Clean everything"_s, {monday}, 1);  // twice
    RowMerger<VLScheduledTask> merger;
    for (qsizetype host = 0; host < hosts.size(); ++host)
        merger.add(hosts[host], jobs[host]);
    merger.addUnanswered(u"far.local."_s);
    cronwell.setUnanswered({{u"far.local."_s, u"connection lost"_s}});
    cronwell.setCronwellArray(merger.takeRows());
    auto* tree = console.find<QTreeView>("cronwellOutline");
    tree->expand(tree->model()->index(0, 0));
    tree->setCurrentIndex(tree->model()->index(2, 0));
    for (const QSize size : {QSize(900, 560), QSize(1024, 700), QSize(1280, 800)}) {
        console.window->resize(size - QSize(8, 8));
        console.window->resize(size);
        save(*console.window, u"cronwell-%1"_s.arg(size.width()));
    }
    Q_EMIT tree->customContextMenuRequested(tree->visualRect(tree->currentIndex()).center());
    if (QWidget* const menu = QApplication::activePopupWidget()) {
        save(*menu, u"cronwell-menu"_s);
        menu->close();
    }
    console.find<QToolButton>("cronwellRemoveTaskBtn")->click();
    if (auto* const question = console.window->findChild<AlertSheet*>()) {
        save(*question, u"cronwell-remove"_s);
        question->orderOut();
    }
    console.find<QToolButton>("cronwellAddTaskBtn")->click();
    QTest::qWait(300);
    auto* sheet = console.window->findChild<QDialog*>(u"windowNewTask"_s);
    save(*sheet, u"cronwell-sheet-empty"_s);
    cronwell.setNewTaskAppDataArray(
        {QVariantMap{{u"taskBundleID"_s, u"com.velmora.Tidyhand"_s},
                     {u"name"_s, u"Tidyhand"_s},
                     {u"tasks"_s, QVariantList{QVariantMap{{u"taskID"_s, u"clean"_s},
                                                           {u"taskDescription"_s, u"Clean caches"_s},
                                                           {u"missingHosts"_s, hosts.mid(1, 2)}}}}}});
    Q_EMIT cronwell.newTaskAppsChanged();
    auto* kinds = sheet->findChild<QComboBox*>(u"taskScheduleMenu"_s);
    for (int kind = 0; kind < kinds->count(); ++kind) {
        kinds->setCurrentIndex(kind);
        Q_EMIT kinds->activated(kind);
        QTest::qWait(250);
        save(*sheet, u"cronwell-sheet-%1"_s.arg(kind));
    }
    sheet->reject();
}

/// Computers without an answer, a filter, and a search that hides selected computers.
void drawNoAnswer(SampleConsole& console, const QStringList& hosts) {
    QList<VLPluginItem> rows = samplePlugins(hosts);
    for (VLPluginItem& row : rows) {
        QList<AskedClient> asked;
        for (const QString& host : hosts)
            asked.append({host});
        row.complete(asked << AskedClient{u"far.local."_s, false});
    }
    console.addonry().setUnanswered({{u"far.local."_s, u"Not connected"_s}});
    console.addonry().setAddonryArray(rows);
    auto* tree = console.find<QTreeView>("addonryOutline");
    tree->expand(tree->model()->index(1, 0));
    console.find<QLineEdit>("addonryFilter")->setText(u"ra"_s);
    auto* search = console.window->findChild<ClientOutline*>()->searchField();
    search->setText(u"edit"_s);
    for (const QSize size : {QSize(1024, 700), QSize(1280, 800)}) {
        console.window->resize(size);
        save(*console.window, u"no-answer-%1"_s.arg(size.width()));
    }
    console.find<QToolButton>("addonryDisableAllBtn")->click();
    if (auto* const question = console.window->findChild<AlertSheet*>()) {
        save(*question, u"disable-all"_s);
        question->orderOut();
    }
    console.find<QToolButton>("paneTargetsBtn")->click();
    if (QWidget* const menu = QApplication::activePopupWidget()) {
        save(*menu, u"targets"_s);
        menu->close();
    }
    console.find<QLineEdit>("addonryFilter")->clear();
    search->clear();
    console.addonry().setUnanswered({});
    console.addonry().setAddonryArray(samplePlugins(hosts));
}

void drawAll(SampleConsole& console, const QByteArray& certificate) {
    console.window->show();
    QTest::qWait(100);
    auto* outline = console.window->findChild<ClientOutline*>();
    save(*console.window, u"empty"_s);

    const auto one = console.add("Edit Bay 1", "192.168.1.21", "MacPro4,1");
    console.add("Edit Bay 2", "192.168.1.22", "iMac9,1");
    const auto three = console.add("Edit Bay 3", "192.168.1.23", "MacBookPro5,1");
    const auto four =
        console.add("Grading Suite on the second floor, left door", "192.168.1.24", "Macmini3,1");
    const auto five = console.add("Render Node A", "192.168.1.40", "Xserve3,1");
    const auto six = console.add("Sound", "192.168.1.50", "PowerMac6,1");
    const auto seven = console.add("Stock Room", "192.168.1.60");
    three->setNeedsMaintenance(true);
    four->showConnecting();
    five->showNotConnected(u"no answer within 20 seconds"_s);
    six->showChangedIdentity(certificate);
    seven->showError(2006);
    console.controller->services().serviceChanged(nullptr);
    console.controller->setSoftwareUpdateCount(2, one->hostName());
    console.controller->setSoftwareUpdateCount(12, three->hostName());
    auto& errors = *console.controller->errorCallback();
    errors.addStringToQueue(u"The plug-in folder could not be read: permission denied"_s, one->hostName());
    errors.addStringToQueue(u"Unable to connect"_s, five->hostName());
    errors.addStringToQueue(
        u"The client software is out of date and has to be updated before this tool can be used on it"_s,
        seven->hostName());
    QTest::qWait(100);
    const QStringList hosts{one->hostName(), u"edit-bay-2.local."_s, three->hostName(), seven->hostName()};
    console.addonry().setAddonryArray(samplePlugins(hosts));
    outline->view()->setFocus();
    save(*console.window, u"main"_s);
    drawNoAnswer(console, hosts);
    drawGroups(console, {one, three, seven});

    auto* tree = console.find<QTreeView>("addonryOutline");
    tree->setFocus();
    for (int row : {2, 3})
        tree->expand(tree->model()->index(row, 0));
    tree->setCurrentIndex(tree->model()->index(5, 0));
    console.controller->taskThreads().startStatusProgress();
    console.controller->taskThreads().incrementStatusProgress();
    console.controller->taskThreads().incrementStatusProgress();
    outline->view()->selectionModel()->select(
        outline->view()->indexBelow(outline->view()->model()->index(0, 0)),
        QItemSelectionModel::ClearAndSelect);
    save(*console.window, u"expanded"_s);
    drawAddonryMenus(*tree);
    console.window->resize(1100, 640);
    save(*console.window, u"narrow"_s);
    console.window->resize(900, 560);
    save(*console.window, u"small"_s);
    console.window->resize(1280, 800);
    console.controller->taskThreads().endStatusProgress();

    drawSettlekeep(console, hosts);
    drawCronwell(console, hosts);
    console.window->showTool(u"hostbench"_s);
    console.window->findChild<QListView*>(u"toolView"_s)->setFocus();
    save(*console.window, u"missing"_s);
    console.window->showTool(u"addonry"_s);

    AddComputerSheet sheet([](const ManualConnections::Entry&) { return true; }, console.window.get());
    sheet.show();
    sheet.findChild<QLineEdit*>(u"connectionNameText"_s)->setText(u"Edit Bay 9"_s);
    auto* address = sheet.findChild<QLineEdit*>(u"connectionIPAddressText"_s);
    address->setText(u"192.168.01.7"_s);
    Q_EMIT address->editingFinished();
    save(sheet, u"add"_s);
    sheet.hide();
    IdentitySheet identity(
        six, [](const QByteArray&) {}, console.window.get());
    identity.show();
    save(identity, u"identity"_s);
    identity.hide();
    console.controller->authorization().setView(nullptr);
    AuthSheet authorization(console.controller->authorization(), console.window.get());
    authorization.showSheet({one,
                             u"Please enter an administrator username and password:"_s,
                             u"anna"_s,
                             true,
                             u"cronwell"_s,
                             u"Remove 3 tasks"_s,
                             {u"Edit Bay 1"_s, u"Edit Bay 2"_s, u"Sound"_s, u"Render Node B"_s}});
    authorization.setPasswordsKept(false);
    authorization.findChild<QLineEdit*>(u"authPasswordText"_s)->setText(u"letters"_s);
    save(authorization, u"authorization"_s);
    authorization.setChecking(true);
    save(authorization, u"authorization-checking"_s);
    authorization.orderOut();
    WelcomeSheet welcome(console.window.get());
    welcome.show();
    save(welcome, u"welcome"_s);
    welcome.hide();
    console.window->showErrorLog();
    save(*console.window->findChild<ErrorLogWindow*>(), u"errors"_s);
    console.window->showLog();
    save(*console.window->findChild<LogWindow*>(), u"log"_s);
    console.controller->taskThreads().startProgress();
    console.controller->taskThreads().updateProgressStatus(u"Syncing Alpha Transitions..."_s);
    save(*console.window->findChild<ProgressSheet*>(), u"progress"_s);
    console.controller->taskThreads().endProgress();
    applyTheme(themeColors().dark ? Theme::Light : Theme::Dark);
    save(*console.window, u"switched-from"_s);
    applyTheme(themeColors().dark ? Theme::Light : Theme::Dark);
    for (QAction* action : console.window->menuBar()->actions()) {
        if (action->text() == u"&Computer"_s || action->text() == u"&View"_s) {
            action->menu()->popup({0, 0});
            save(*action->menu(), u"menu-"_s + action->text().mid(1).toLower());
            action->menu()->hide();
        }
    }
}

void drawPreferences(SampleConsole& console) {
    console.controller->discovery().submitManualConnection({u"Edit Bay 9"_s, u"127.0.0.1"_s, 5473});
    console.controller->discovery().submitManualConnection({u"Render Node B"_s, u"127.0.0.1"_s, 5474});
    console.window->showPreferences();
    auto* preferences = console.window->findChild<PreferencesWindow*>();
    for (const char* section : {"General", "Security", "Network", "Runs"}) {
        preferences->findChild<QToolButton*>(u"section"_s + QLatin1String(section))->click();
        save(*preferences, u"preferences-"_s + QString::fromLatin1(section).toLower());
    }
    preferences->findChild<QCheckBox*>(u"requireAdminPassword"_s)->click();
    // Where an administrator can be asked there is nothing to warn of.
    if (auto* lockout = preferences->findChild<AlertSheet*>()) {
        save(*lockout, u"alert-lockout"_s);
        lockout->reject();
    }
    VLUserDefaults::standardUserDefaults().removeObjectForKey(u"requireAdminPassword"_s);
    VLAlert::alertSheetWithMessageText(
        u"Replace the plug-in on 3 computers?"_s, u"Replace"_s, u"Skip"_s, u"Cancel"_s,
        u"Edit Bay 2 has a newer version <b>2.1</b> of “Alpha Transitions”. It will be replaced by 2.0."_s,
        nullptr, false);
    save(*console.window->findChild<AlertSheet*>(QString(), Qt::FindDirectChildrenOnly), u"alert"_s);
    console.window->findChild<AlertSheet*>(QString(), Qt::FindDirectChildrenOnly)->orderOut();
    console.controller->addDemonstrationClient();
    console.controller->addDemonstrationClient();
    save(*console.window, u"demo"_s);
    VLUserDefaults::standardUserDefaults().removeObjectForKey(u"manualConnections"_s);
}

/// The status line while a run waits for a computer, and when it has ended.
void drawRuns(SampleConsole& console) {
    const QList<VLServicePtr> selected = console.controller->services().selectedServices();
    const QList<RemoteClientPtr> clients(selected.begin(), selected.end());
    RunList& runs = console.controller->taskThreads().runs();
    {
        const RunPtr run = runs.begin({.tool = u"addonry"_s,
                                       .action = u"Disable"_s,
                                       .actionDone = u"Disabled"_s,
                                       .subject = u"Film Grain"_s,
                                       .isChange = true},
                                      clients);
        const Run::Hold hold(run);
        const Run::PlacePtr awaited = run->takePlace(clients.first(), run->drawNumber());
        for (const RemoteClientPtr& client : clients)
            if (client != clients.first()) run->note(*client, {Outcome::Done, {}});
        QTest::qWait(2'700);  // until the one that is awaited is named
        save(*console.window, u"run-waiting"_s);
        run->note(*clients.first(), {Outcome::NoAnswer, u"gave up waiting"_s});
        run->keepUndo(Run::keyOf(*clients.last()), {{u"disabled"_s, 0}});
        runs.keepRedo(*run, [](const QList<RemoteClientPtr>&) {});
    }
    QTest::qWait(100);
    save(*console.window, u"run-ended"_s);
}

/// Runs of every kind of end, on some computers each.
QList<RunRecord> sampleRuns() {
    const QStringList bays{u"Edit Bay 1"_s, u"Edit Bay 2"_s,
                           u"Grading Suite on the second floor, left door"_s, u"Sound"_s, u"Render Node A"_s};
    struct Sample {
        QString tool, action, done, subject;
        QList<Outcome> ends;
    };
    const Outcome done{Outcome::Done, {}}, answered{Outcome::Answered, {}};
    const Outcome failed{Outcome::Failed, u"The plug-in folder could not be read: permission denied"_s};
    const QList<Sample> samples{
        {u"addonry"_s, u"Disable"_s, u"Disabled"_s, u"Film Grain"_s, {done, done, failed, done, done}},
        {u"addonry"_s, u"Refresh"_s, u"Read"_s, {}, {answered, answered, answered, answered, answered}},
        {u"settlekeep"_s,
         u"Restore"_s,
         u"Restored"_s,
         u"Monday evening"_s,
         {done, {Outcome::Refused, u"The preferences are locked"_s}}},
        {u"cronwell"_s,
         u"Remove"_s,
         u"Removed"_s,
         u"Clean caches"_s,
         {done, {Outcome::NoAnswer, u"Gave up after 60 s"_s}, {Outcome::NotConnected, {}}}},
        {u"addonry"_s,
         u"Enable All"_s,
         u"Enabled"_s,
         u"18 plug-ins"_s,
         {done, done, {Outcome::Skipped, u"Disabled in this console"_s}}},
        {{}, u"Restart Client"_s, u"Restarted"_s, {}, {{Outcome::Cancelled, {}}, {Outcome::Cancelled, {}}}},
        {u"settlekeep"_s,
         u"Back Up"_s,
         u"Backed up"_s,
         u"A backup with an extraordinarily long name that fits nowhere"_s,
         {done, {Outcome::LeftOut, {}}}}};
    QList<RunRecord> runs;
    for (int number = 0; number < 40; ++number) {
        const Sample& sample = samples[number % samples.size()];
        RunRecord run;
        run.id = QString::number(number);
        run.started = QDateTime::currentDateTimeUtc().addSecs(-number * 1'900 - 60);
        run.ended = run.started.addMSecs(420 + number * 37);
        run.user = u"anna"_s;
        run.tool = sample.tool;
        run.action = sample.action;
        run.actionDone = sample.done;
        run.subject = sample.subject;
        run.isChange = sample.action != u"Refresh"_s;
        for (qsizetype host = 0; host < sample.ends.size(); ++host)
            run.outcomes << HostOutcome{bays[host].toLower(), bays[host], sample.ends[host], {}};
        runs << run;
    }
    return runs;
}

void drawActivity(SampleConsole& console) {
    ActivityStore& store = console.controller->activity();
    QFile::remove(store.path());
    const auto can = [](const RunRecord&) { return true; };
    console.window->setActivityActions({can, can, {}, {}});
    console.window->showActivity();
    ActivityWindow& window = *console.window->activityWindow();
    QTest::qWait(600);
    save(window, u"activity-empty"_s);
    for (const RunRecord& run : sampleRuns())
        store.add(run);
    store.flush(std::chrono::seconds(10));
    window.showRun(u"0"_s);
    QTest::qWait(1'500);
    window.findChild<QTreeView*>(u"activityList"_s)->setFocus();
    save(window, u"activity"_s);
    window.resize(1024, 700);
    auto* search = window.findChild<QLineEdit*>(u"activitySearch"_s);
    search->setText(u"grading disable"_s);
    QTest::qWait(1'000);
    save(window, u"activity-search"_s);
    search->setText(u"no such thing"_s);
    QTest::qWait(1'000);
    save(window, u"activity-none"_s);
    search->clear();
    // A folder in the place of the file is what cannot be written.
    const QString folder = QFileInfo(store.path()).absolutePath();
    QDir(folder).removeRecursively();
    QDir().mkpath(store.path());
    store.add(sampleRuns().first());
    QTest::qWait(1'500);
    window.resize(760, 520);
    save(window, u"activity-problem"_s);
    window.close();
    QDir(folder).removeRecursively();
}

void drawClientWindows(SampleConsole& console, const QByteArray& certificate) {
    const auto lock = console.add("Lock-Up Room", "192.168.1.71", "iMac9,1");
    const auto dubbing = console.add("Dubbing <b>1</b>", "192.168.1.72", "MacPro4,1");
    lock->showNotConnected(
        u"The client does not accept this console: its certificate is not among those "
        "that the client was given."_s,
        ConnectionFailure::NotAuthorized);
    dubbing->showNotConnected(u"No connection to 192.168.1.72, port 51000: Connection refused."_s,
                              ConnectionFailure::Refused);
    console.controller->troubleshooter().showConnectionTroubleshooter(lock);
    auto& window = *console.window->findChild<TroubleshooterWindow*>();
    save(window, u"troubleshooter"_s);
    window.select(dubbing);
    auto& view = *window.findChild<ProblemView*>();
    view.startPortTest();
    view.addOutcome({{}, true, u"192.168.1.72, port 51000 is open: it took the connection after 3 ms."_s});
    view.addOutcome({{}, false, u"fe80::1%eth0, port 51000 does not answer: nothing came back in time."_s});
    save(window, u"troubleshooter-test"_s);
    view.endPortTest();
    for (const VLServicePtr& service : console.controller->services().serviceArray())
        if (service->changedCertificate().size() > 0) window.select(service);
    window.resize(640, 420);
    save(window, u"troubleshooter-small"_s);
    window.resize(900, 560);
    console.controller->troubleshooter().failingClients().setServices({});
    save(window, u"troubleshooter-empty"_s);
    window.close();

    lock->showConfiguration({{u"version"_s, 1040},
                             {u"corvalinVersion"_s, u"damaged"_s},
                             {u"availableUpdateCount"_s, 3},
                             {u"availableUpdateCountLastUpdate"_s, QDateTime::currentDateTimeUtc()}});
    VLService::environment()->pins->pin(lock->pinName(), certificate);
    console.controller->clientDetails().showInfo(lock);
    auto& panel = *console.window->findChild<ClientInfoPanel*>();
    save(panel, u"info"_s);
    panel.showService(nullptr);
    save(panel, u"info-none"_s);
}

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const TestEnvironment environment;
    folder = QApplication::arguments().value(1, QDir::tempPath());
    const QByteArray certificate = TlsIdentity::create(u"agent"_s).certificate;
    for (const Theme theme : {Theme::Light, Theme::Dark}) {
        applyTheme(theme);
        suffix = theme == Theme::Light ? u"light"_s : u"dark"_s;
        SampleConsole console;
        if (!console.start()) return 1;
        drawAll(console, certificate);
        drawRuns(console);
        drawActivity(console);
        drawPreferences(console);
        drawClientWindows(console, certificate);
        console.end();
    }
    return 0;
}
