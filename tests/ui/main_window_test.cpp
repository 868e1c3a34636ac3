#include "SampleConsole.h"
#include "app/window/ErrorLogWindow.h"
#include "app/window/LogWindow.h"
#include "app/window/ProgressSheet.h"
#include "app/window/ToolPanes.h"
#include "clients/view/AddComputerSheet.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/ClientRowDelegate.h"
#include "clients/view/IdentitySheet.h"
#include "support/TestEnvironment.h"
#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

namespace {

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

QStringList names(const QList<VLServicePtr>& services) {
    QStringList names;
    for (const VLServicePtr& service : services)
        names << service->name();
    return names;
}

VLPluginItem samplePlugin(const QString& name, const QString& version = QStringLiteral("1.0")) {
    VLPluginItem row;
    row.addChild(pluginInstance(name, QStringLiteral("FxPlug"), version),
                 QStringLiteral("edit-bay-1.local."));
    row.addChild(pluginInstance(name, QStringLiteral("FxPlug"), version),
                 QStringLiteral("edit-bay-2.local."));
    return row;
}

}  // namespace

/// Clicks the real window, made by the real controller, over clients without a network.
class MainWindowTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SampleConsole> m_console;
    std::shared_ptr<SampleService> m_one, m_two, m_sound;

    [[nodiscard]] AppController& controller() const { return *m_console->controller; }
    [[nodiscard]] MainWindow& window() const { return *m_console->window; }
    template <typename Widget>
    [[nodiscard]] Widget* find(const char* name) const {
        return window().findChild<Widget*>(QLatin1String(name));
    }
    [[nodiscard]] QTreeView* clientView() const { return find<QTreeView>("clientView"); }
    /// The row of that name in the client list; invalid when it isn't shown.
    [[nodiscard]] QModelIndex clientRow(const QString& name) const {
        const QAbstractItemModel& model = *clientView()->model();
        const QModelIndex all = model.index(0, 0);
        if (name == all.data().toString()) return all;
        for (int row = 0; row < model.rowCount(all); ++row) {
            const QModelIndex index = model.index(row, 0, all);
            if (index.data().toString() == name) return index;
        }
        return {};
    }
    void click(const QString& name, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const {
        const QModelIndex index = clientRow(name);
        QVERIFY2(index.isValid(), qPrintable(name));
        QTest::mouseClick(clientView()->viewport(), Qt::LeftButton, modifiers,
                          clientView()->visualRect(index).center());
    }
    [[nodiscard]] QStringList selected() const { return names(controller().services().selectedServices()); }
    void addClients() {
        m_one = m_console->add(QStringLiteral("Edit Bay 1"), QStringLiteral("10.0.0.1"));
        m_two = m_console->add(QStringLiteral("Edit Bay 2"), QStringLiteral("10.0.0.2"));
        m_sound = m_console->add(QStringLiteral("Sound"), QStringLiteral("10.0.0.3"));
    }
    void show() {
        window().show();
        QVERIFY(QTest::qWaitForWindowExposed(&window()));
    }
    [[nodiscard]] QTreeView* outline() const { return find<QTreeView>("addonryOutline"); }

private Q_SLOTS:
    void initTestCase() { applyTheme(Theme::Light); }
    void init() {
        for (const char* key :
             {"manualConnections", "addonryOutlineSortedColumn", "addonryOutlineSortedDescending",
              "visibleTool", "mainWindowGeometry", "mainWindowSplitter"}) {
            defaults().removeObjectForKey(QLatin1String(key));
        }
        m_console = std::make_unique<SampleConsole>();
        QVERIFY(m_console->start());
        show();
    }
    void cleanup() {
        m_console->window.reset();
        QVERIFY(controller().shutDown());
        m_console.reset();
        m_one.reset();
        m_two.reset();
        m_sound.reset();
        VLThread::reset();
        MainThread::resume();
    }

    void emptyStates();
    void selectionFollowsTheList();
    void filterHidesWithoutDeselecting();
    void clientMenuFitsTheClient();
    void goToSelectsTheClient();
    void updatesAreOnABadge();
    void addComputer_data();
    void addComputer();
    void addComputerTwice();
    void errorsAreCountedAndCleared();
    void sortingIsKept();
    void refreshKeepsExpansionAndSelection();
    void differencesOnly();
    void toolWithoutPaneSaysSo();
    void statusPanelAndProgressSheet();
    void newIdentityIsAcceptedAfterComparing();
    void logIsFollowedAndSearched();
    void copyTakesTheFocusedList();
    void layoutIsKept();
};

void MainWindowTest::emptyStates() {
    auto* clients = find<EmptyState>("clientEmpty");
    auto* plugins = find<EmptyState>("addonryEmpty");
    QVERIFY(clients->isVisible());
    QCOMPARE(clients->title(), QStringLiteral("No computers found yet"));
    QCOMPARE(plugins->title(), QStringLiteral("Select computers to list their plug-ins"));

    addClients();
    QVERIFY(!clients->isVisible());
    m_console->addonry().setAddonryArray({});
    QCOMPARE(plugins->title(), QStringLiteral("No plug-ins found on the selected computers"));
    controller().services().setSelectedServices({});
    QCOMPARE(plugins->title(), QStringLiteral("Select computers to list their plug-ins"));

    m_console->addonry().setAddonryArray({samplePlugin(QStringLiteral("Glow"))});
    QVERIFY(!plugins->isVisible());
    QTest::keyClicks(find<QLineEdit>("addonryFilter"), QStringLiteral("zzz"));
    QVERIFY(plugins->isVisible());
    QTest::mouseClick(plugins->findChild<QPushButton*>(), Qt::LeftButton);
    QVERIFY(outline()->isVisible());
}

void MainWindowTest::selectionFollowsTheList() {
    addClients();
    QVERIFY(controller().services().allSelected());
    QVERIFY(clientView()->selectionModel()->isSelected(clientRow(QStringLiteral("All Computers"))));

    click(QStringLiteral("Edit Bay 1"));
    QCOMPARE(selected(), QStringList{QStringLiteral("Edit Bay 1")});
    click(QStringLiteral("Sound"), Qt::ControlModifier);
    QCOMPARE(selected(), (QStringList{"Edit Bay 1", "Sound"}));
    QTest::keyClick(clientView(), Qt::Key_Up, Qt::ShiftModifier);

    // The list changes the selection by itself too.
    controller().services().setSelectedServices({m_two});
    QCOMPARE(clientView()->selectionModel()->selectedIndexes(),
             QModelIndexList{clientRow(QStringLiteral("Edit Bay 2"))});
    controller().services().removeServiceFromList(m_one);
    QCOMPARE(selected(), QStringList{QStringLiteral("Edit Bay 2")});

    click(QStringLiteral("All Computers"));
    m_console->add(QStringLiteral("Late"), QStringLiteral("10.0.0.9"));
    QCOMPARE(selected(), (QStringList{"Edit Bay 2", "Late", "Sound"}));
}

void MainWindowTest::filterHidesWithoutDeselecting() {
    addClients();
    click(QStringLiteral("Sound"));
    auto* search = find<QLineEdit>("clientSearch");
    QTest::keyClicks(search, QStringLiteral("edit"));
    QVERIFY(!clientRow(QStringLiteral("Sound")).isValid());
    QCOMPARE(selected(), QStringList{QStringLiteral("Sound")});
    QTest::keyClicks(search, QStringLiteral("zzz"));
    QCOMPARE(find<EmptyState>("clientEmpty")->title(), QStringLiteral("No matching computer"));
    QTest::keyClick(search, Qt::Key_Escape);
    QVERIFY(search->text().isEmpty());
    QVERIFY(clientView()->selectionModel()->isSelected(clientRow(QStringLiteral("Sound"))));
}

void MainWindowTest::clientMenuFitsTheClient() {
    addClients();
    const auto enabled = [this](const char* text) {
        for (const QAction* action : window().findChildren<QAction*>()) {
            if (action->text() == QLatin1String(text)) return action->isEnabled();
        }
        return false;
    };
    QVERIFY(!enabled("Reconnect"));  // "All Computers" is no single machine
    click(QStringLiteral("Sound"));
    QVERIFY(enabled("Reconnect") && enabled("Stop Client") && !enabled("Cancel Maintenance Request"));
    m_sound->setNeedsMaintenance(true);
    controller().services().serviceChanged(m_sound);
    QVERIFY(enabled("Cancel Maintenance Request"));
    m_sound->showNotConnected({});
    controller().services().serviceChanged(m_sound);
    QVERIFY(enabled("Reconnect") && !enabled("Stop Client") && !enabled("Restart Client"));

    for (QAction* action : window().findChildren<QAction*>()) {
        if (action->text() == QLatin1String("Reconnect")) action->trigger();
    }
    QTRY_COMPARE(m_sound->reconnects.load(), 1);
}

void MainWindowTest::goToSelectsTheClient() {
    const QMenu* goTo = find<QMenu>("goToMenu");
    auto* computer = qobject_cast<QMenu*>(goTo->parentWidget());
    Q_EMIT computer->aboutToShow();
    QVERIFY(!goTo->isEnabled());
    const QStringList clients{QStringLiteral("Left"), QStringLiteral("Cut & Paste")};
    for (const QString& name : clients)
        controller().discovery().addManualConnection(name, QStringLiteral("127.0.0.1"), 1);
    Q_EMIT computer->aboutToShow();
    QVERIFY(goTo->isEnabled());
    QCOMPARE(goTo->actions().size(), clients.size());
    for (qsizetype i = 0; i < clients.size(); ++i) {
        goTo->actions().at(i)->trigger();
        QCOMPARE(selected(), QStringList{clients.at(i)});
    }
    QCOMPARE(goTo->actions().last()->text(), QStringLiteral("Cut && Paste"));
}

void MainWindowTest::updatesAreOnABadge() {
    addClients();
    QSignalSpy clicked(&controller(), &AppController::serviceOutlineBadgeClicked);
    const auto badge = [this] {
        const QModelIndex row = clientRow(QStringLiteral("Sound"));
        return ClientRowDelegate::updateBadge(clientView()->visualRect(row), row);
    };
    QVERIFY(badge().isEmpty());
    controller().setSoftwareUpdateCount(3, m_sound->hostName());
    QVERIFY(!badge().isEmpty());
    QTest::mouseClick(clientView()->viewport(), Qt::LeftButton, {}, badge().center());
    QCOMPARE(clicked.size(), 1);
    QCOMPARE(clicked.first().first().value<VLServicePtr>(), VLServicePtr(m_sound));
    click(QStringLiteral("Sound"));
    QCOMPARE(clicked.size(), 1);
    controller().setSoftwareUpdateCount(0, m_sound->hostName());
    QVERIFY(badge().isEmpty());
}

void MainWindowTest::addComputer_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("hintOf");
    QTest::newRow("right") << "Bay"
                           << "10.1.1.1"
                           << "2000"
                           << "";
    QTest::newRow("localhost") << "Bay"
                               << "localhost"
                               << "65535"
                               << "";
    QTest::newRow("leading zero") << "Bay"
                                  << "10.01.1.1"
                                  << "2000"
                                  << "connectionIPAddressText";
    QTest::newRow("low port") << "Bay"
                              << "10.1.1.1"
                              << "1024"
                              << "connectionPortText";
    QTest::newRow("long name") << QString(256, QLatin1Char('n')) << "10.1.1.1"
                               << "2000"
                               << "connectionNameText";
}

void MainWindowTest::addComputer() {
    QFETCH(QString, name);
    QFETCH(QString, address);
    QFETCH(QString, port);
    QFETCH(QString, hintOf);
    window().findChild<QAction*>(QStringLiteral("addComputerAction"))->trigger();
    auto* sheet = find<AddComputerSheet>("addComputerSheet");
    QVERIFY(sheet && sheet->isVisible());
    auto* add = sheet->findChild<QPushButton*>(QStringLiteral("addButton"));
    QVERIFY(!add->isEnabled());
    const auto enter = [&](const char* field, const QString& text) {
        auto* edit = sheet->findChild<QLineEdit*>(QLatin1String(field));
        QTest::keyClicks(edit, text);
    };
    enter("connectionPortText", port);
    enter("connectionNameText", name);
    enter("connectionIPAddressText", address);
    // Going on in another field is what calls the complaint.
    auto* other = sheet->findChild<QLineEdit*>(hintOf == QLatin1String("connectionNameText")
                                                   ? QStringLiteral("connectionPortText")
                                                   : QStringLiteral("connectionNameText"));
    QTest::keyClicks(other, QStringLiteral("1"));
    QTest::keyClick(other, Qt::Key_Backspace);
    QCOMPARE(add->isEnabled(), hintOf.isEmpty());
    if (!hintOf.isEmpty()) {
        const QPalette colors = [&] {
            for (const QLabel* label : sheet->findChildren<QLabel*>()) {
                if (label->text() == sheet->findChild<QLineEdit*>(hintOf)->accessibleDescription()) {
                    return label->palette();
                }
            }
            return QPalette();
        }();
        QCOMPARE(colors.color(QPalette::WindowText), themeColors().bad);
        sheet->reject();
        return;
    }
    QTest::mouseClick(add, Qt::LeftButton);
    QCOMPARE(names(controller().services().serviceArray()), QStringList{name});
    QCOMPARE(defaults().arrayForKey(QStringLiteral("manualConnections")).size(), 1);
}

void MainWindowTest::addComputerTwice() {
    AddComputerSheet sheet([](const ManualConnections::Entry&) { return false; }, &window());
    sheet.open();
    sheet.findChild<QLineEdit*>(QStringLiteral("connectionNameText"))->setText(QStringLiteral("Bay"));
    sheet.findChild<QLineEdit*>(QStringLiteral("connectionIPAddressText"))
        ->setText(QStringLiteral("10.1.1.1"));
    sheet.findChild<QLineEdit*>(QStringLiteral("connectionPortText"))->setText(QStringLiteral("2000"));
    QTest::mouseClick(sheet.findChild<QPushButton*>(QStringLiteral("addButton")), Qt::LeftButton);
    auto* box = sheet.findChild<QMessageBox*>(QStringLiteral("connectionExistsAlert"));
    QVERIFY(box && box->isVisible() && sheet.isVisible());
    QCOMPARE(box->text(), QStringLiteral("Connection already exists"));
    QCOMPARE(box->informativeText(),
             QStringLiteral("There is already a service with this IP address and port."));
    box->close();
}

void MainWindowTest::errorsAreCountedAndCleared() {
    addClients();
    auto* button = find<QToolButton>("statusErrorBtn");
    QVERIFY(!button->isVisible());
    controller().errorCallback()->addStringToQueue(QStringLiteral("Disk full"), m_one->hostName());
    QTRY_VERIFY(button->isVisible());
    QCOMPARE(button->text(), QStringLiteral("1 error"));
    controller().errorCallback()->addStringToQueue(QStringLiteral("No answer"), m_two->hostName());
    QTRY_COMPARE(button->text(), QStringLiteral("2 errors"));

    QTest::mouseClick(button, Qt::LeftButton);
    auto* log = window().findChild<ErrorLogWindow*>();
    QVERIFY(log && log->isVisible());
    auto* table = log->findChild<QTreeView*>(QStringLiteral("errorLogTable"));
    QCOMPARE(table->model()->rowCount(), 2);
    QTest::mouseClick(log->findChild<QPushButton*>(QStringLiteral("errorLogCopy")), Qt::LeftButton);
    QVERIFY(QGuiApplication::clipboard()->text().contains(QStringLiteral("Edit Bay 1\tDisk full")));

    table->header()->setSortIndicator(1, Qt::AscendingOrder);
    QCOMPARE(defaults().stringForKey(QStringLiteral("errorLogTableSortedColumn")),
             QStringLiteral("hostname"));
    QTest::mouseClick(log->findChild<QPushButton*>(QStringLiteral("errorLogClear")), Qt::LeftButton);
    QVERIFY(!button->isVisible() && table->model()->rowCount() == 0);
}

void MainWindowTest::sortingIsKept() {
    QCOMPARE(outline()->header()->sortIndicatorSection(), 0);
    QCOMPARE(outline()->header()->sortIndicatorOrder(), Qt::AscendingOrder);
    m_console->addonry().setAddonryArray({samplePlugin(QStringLiteral("Alpha"), QStringLiteral("2")),
                                          samplePlugin(QStringLiteral("Beta"), QStringLiteral("1"))});
    const auto first = [this] { return outline()->model()->index(0, 0).data().toString(); };
    QCOMPARE(first(), QStringLiteral("Alpha"));
    QTest::mouseClick(outline()->header()->viewport(), Qt::LeftButton, {},
                      {outline()->header()->sectionViewportPosition(1) + 10, 10});
    QCOMPARE(first(), QStringLiteral("Beta"));
    QCOMPARE(defaults().stringForKey(QStringLiteral("addonryOutlineSortedColumn")),
             QStringLiteral("version"));
    QCOMPARE(defaults().objectForKey(QStringLiteral("addonryOutlineSortedDescending")), QVariant(false));
}

void MainWindowTest::refreshKeepsExpansionAndSelection() {
    const QList<VLPluginItem> rows{samplePlugin(QStringLiteral("Alpha")),
                                   samplePlugin(QStringLiteral("Beta")),
                                   samplePlugin(QStringLiteral("Gamma"))};
    m_console->addonry().setAddonryArray(rows);
    const QAbstractItemModel& model = *outline()->model();
    const QModelIndex beta = model.index(1, 0);
    outline()->expand(beta);
    outline()->selectionModel()->setCurrentIndex(
        model.index(1, 0, beta), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    const QString child = outline()->currentIndex().data().toString();

    m_console->addonry().setAddonryArray({rows[1], rows[2], samplePlugin(QStringLiteral("Aaa"))});
    const QModelIndex moved = model.index(1, 0);  // Aaa, Beta, Gamma
    QCOMPARE(moved.data().toString(), QStringLiteral("Beta"));
    QVERIFY(outline()->isExpanded(moved));
    QCOMPARE(outline()->selectionModel()->selectedRows().size(), 1);
    QCOMPARE(outline()->currentIndex().data().toString(), child);
    QCOMPARE(outline()->currentIndex().parent(), moved);
}

void MainWindowTest::differencesOnly() {
    VLPluginItem different = samplePlugin(QStringLiteral("Beta"));
    addMissing(different, QStringLiteral("sound.local."));
    m_console->addonry().setAddonryArray({samplePlugin(QStringLiteral("Alpha")), different});
    QCOMPARE(find<ElidedLabel>("addonrySummary")->text(), QStringLiteral("2 plug-ins · 1 with differences"));
    QTest::mouseClick(find<QToolButton>("differencesOnly"), Qt::LeftButton);
    QCOMPARE(outline()->model()->rowCount(), 1);
    QCOMPARE(outline()->model()->index(0, 0).data().toString(), QStringLiteral("Beta"));
}

void MainWindowTest::toolWithoutPaneSaysSo() {
    auto* tools = find<QListView>("toolView");
    tools->setFocus();
    QTest::keyClick(tools, Qt::Key_Home);
    const auto* pane = qobject_cast<EmptyState*>(window().findChild<ToolPanes*>()->currentPane());
    QVERIFY(pane);
    QCOMPARE(pane->title(), QStringLiteral("This tool is not part of this version yet."));
    QCOMPARE(find<ElidedLabel>("paneTitle")->text(), toolRegistry().first().title);
    QCOMPARE(controller().visibleTool(), toolRegistry().first().identifier);
    QVERIFY(!window().findChild<QAction*>(QStringLiteral("refreshAction"))->isEnabled());
}

void MainWindowTest::statusPanelAndProgressSheet() {
    addClients();
    TaskThreads& tasks = controller().taskThreads();
    auto* cancel = find<QPushButton>("statusCancelBtn");
    tasks.startStatusProgress();
    QVERIFY(cancel->isVisible());
    QCOMPARE(find<ElidedLabel>("statusText")->text(), QStringLiteral("Processing tasks on 3 computers"));
    QTest::mouseClick(cancel, Qt::LeftButton);
    QVERIFY(tasks.processingCancelled() && !cancel->isVisible());
    QCOMPARE(find<ElidedLabel>("statusText")->text(), QStringLiteral("3 computers selected"));

    auto* sheet = window().findChild<ProgressSheet*>();
    tasks.startProgress();
    QVERIFY(sheet->isVisible());
    tasks.updateProgressStatus(QStringLiteral("Syncing..."));
    QCOMPARE(find<ElidedLabel>("progressStatusText")->text(), QStringLiteral("Syncing..."));
    QTest::keyClick(sheet, Qt::Key_Escape);
    QCOMPARE(find<ElidedLabel>("progressStatusText")->text(), QStringLiteral("Canceling..."));
    QVERIFY(sheet->isVisible() && !find<QPushButton>("progressCancelBtn")->isEnabled());
    tasks.endProgress();
    QVERIFY(!sheet->isVisible());
}

void MainWindowTest::newIdentityIsAcceptedAfterComparing() {
    addClients();
    const QByteArray certificate = TlsIdentity::create(QStringLiteral("agent")).certificate;
    m_sound->showChangedIdentity(certificate);
    controller().services().serviceChanged(m_sound);
    QTRY_VERIFY(clientRow(QStringLiteral("Sound"))
                    .data(Qt::AccessibleTextRole)
                    .toString()
                    .contains(QStringLiteral("Identity changed")));
    click(QStringLiteral("Sound"));
    QTest::keyClick(clientView(), Qt::Key_Return);
    auto* sheet = find<IdentitySheet>("identitySheet");
    QVERIFY(sheet && sheet->isVisible());
    QString shown = sheet->findChild<QLabel*>(QStringLiteral("newFingerprint"))->text();
    QCOMPARE(shown.remove(QLatin1Char('\n')), certificateFingerprint(certificate));
    sheet->reject();

    int accepted = 0;
    IdentitySheet again(
        m_sound, [&](const QByteArray&) { ++accepted; }, &window());
    again.open();
    QPushButton* accept = nullptr;
    for (QPushButton* button : again.findChildren<QPushButton*>()) {
        if (button->isDefault()) accept = button;
    }
    QVERIFY(accept && !accept->isEnabled());
    again.findChild<QCheckBox*>()->setChecked(true);
    // Another key yet, while the sheet was open: it is shown, and has to be compared first.
    m_sound->showChangedIdentity(TlsIdentity::create(QStringLiteral("third")).certificate);
    accept->click();
    QCOMPARE(accepted, 0);
    QVERIFY(again.isVisible() && !accept->isEnabled());
    again.findChild<QCheckBox*>()->setChecked(true);
    accept->click();
    QCOMPARE(accepted, 1);
}

void MainWindowTest::logIsFollowedAndSearched() {
    VLLog::appendLog(QStringLiteral("a needle in it"));
    window().showLog();
    auto* log = window().findChild<LogWindow*>();
    auto* text = log->findChild<QPlainTextEdit*>(QStringLiteral("logText"));
    QVERIFY(text->toPlainText().contains(QStringLiteral("a needle in it")));
    VLLog::appendLog(QStringLiteral("written later"));
    QTRY_VERIFY(text->toPlainText().contains(QStringLiteral("written later")));
    QTest::keyClicks(log->findChild<QLineEdit*>(), QStringLiteral("needle"));
    QCOMPARE(text->textCursor().selectedText(), QStringLiteral("needle"));

    VLLog::createNewLog();
    QTRY_VERIFY(!text->toPlainText().contains(QStringLiteral("written later")));
}

void MainWindowTest::copyTakesTheFocusedList() {
    addClients();
    m_console->addonry().setAddonryArray({samplePlugin(QStringLiteral("Alpha"))});
    QAction* copy = nullptr;
    for (QAction* action : window().findChildren<QAction*>()) {
        if (action->text() == QLatin1String("&Copy")) copy = action;
    }
    click(QStringLiteral("Sound"));
    copy->trigger();
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("Sound\t10.0.0.3"));
    outline()->setFocus();
    outline()->selectAll();
    copy->trigger();
    QCOMPARE(QGuiApplication::clipboard()->text(),
             QStringLiteral("Alpha\t1.0\tFxPlug\tEnabled\tAll Users\t2 of 2\tNo differences"));
}

void MainWindowTest::layoutIsKept() {
    window().resize(1000, 640);
    window().showTool(QStringLiteral("qmaster"));
    window().close();
    m_console->window = std::make_unique<MainWindow>(controller());
    QCOMPARE(window().size(), QSize(1000, 640));
    QCOMPARE(controller().visibleTool(), QStringLiteral("qmaster"));
}

ORLENDO_WIDGETS_TEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
