#include "SampleConsole.h"
#include "app/window/ErrorLogWindow.h"
#include "app/window/LogWindow.h"
#include "app/window/ProgressSheet.h"
#include "clients/view/AddComputerSheet.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/ClientRowDelegate.h"
#include "clients/view/IdentitySheet.h"
#include "support/TestEnvironment.h"
#include "widgets/AlertSheet.h"
#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
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

VLPluginItem samplePlugin(const QString& name, const QString& version = u"1.0"_s) {
    VLPluginItem row;
    row.addChild(pluginInstance(name, u"FxPlug"_s, version), u"edit-bay-1.local."_s);
    row.addChild(pluginInstance(name, u"FxPlug"_s, version), u"edit-bay-2.local."_s);
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
    static void enterComputer(AddComputerSheet& sheet, const QString& name, const QString& port) {
        QTest::keyClicks(sheet.findChild<QLineEdit*>("connectionPortText"), port);
        QTest::keyClicks(sheet.findChild<QLineEdit*>("connectionNameText"), name);
        QTest::keyClicks(sheet.findChild<QLineEdit*>("connectionIPAddressText"), "10.1.1.1");
    }
    [[nodiscard]] QAction* action(const QString& text) const {
        for (QAction* action : window().findChildren<QAction*>())
            if (action->text() == text) return action;
        return nullptr;
    }
    [[nodiscard]] QStringList selected() const { return names(controller().services().selectedServices()); }
    void addClients() {
        m_one = m_console->add(u"Edit Bay 1"_s, u"10.0.0.1"_s);
        m_two = m_console->add(u"Edit Bay 2"_s, u"10.0.0.2"_s);
        m_sound = m_console->add(u"Sound"_s, u"10.0.0.3"_s);
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

    void emptyStates() {
        auto* clients = find<EmptyState>("clientEmpty");
        auto* plugins = find<EmptyState>("addonryEmpty");
        QVERIFY(clients->isVisible());
        addClients();
        QVERIFY(!clients->isVisible());
        m_console->addonry().setAddonryArray({});
        const QString nothingFound = plugins->title();
        controller().services().setSelectedServices({});
        QVERIFY(plugins->title() != nothingFound);

        m_console->addonry().setAddonryArray({samplePlugin("Glow")});
        QVERIFY(!plugins->isVisible());
        QTest::keyClicks(find<QLineEdit>("addonryFilter"), "zzz");
        QVERIFY(plugins->isVisible());
        QTest::mouseClick(plugins->findChild<QPushButton*>(), Qt::LeftButton);
        QVERIFY(outline()->isVisible());
    }

    void selectionFollowsTheList() {
        addClients();
        QVERIFY(controller().services().allSelected());
        QVERIFY(clientView()->selectionModel()->isSelected(clientRow(u"All Computers"_s)));

        click(u"Edit Bay 1"_s);
        QCOMPARE(selected(), QStringList{u"Edit Bay 1"_s});
        click(u"Sound"_s, Qt::ControlModifier);
        QCOMPARE(selected(), (QStringList{"Edit Bay 1", "Sound"}));
        QTest::keyClick(clientView(), Qt::Key_Up, Qt::ShiftModifier);

        // The list changes the selection by itself too.
        controller().services().setSelectedServices({m_two});
        QCOMPARE(clientView()->selectionModel()->selectedIndexes(),
                 QModelIndexList{clientRow(u"Edit Bay 2"_s)});
        controller().services().removeServiceFromList(m_one);
        QCOMPARE(selected(), QStringList{u"Edit Bay 2"_s});

        click(u"All Computers"_s);
        m_console->add(u"Late"_s, u"10.0.0.9"_s);
        QCOMPARE(selected(), (QStringList{"Edit Bay 2", "Late", "Sound"}));
    }

    void filterHidesWithoutDeselecting() {
        addClients();
        click(u"Sound"_s);
        auto* search = find<QLineEdit>("clientSearch");
        QTest::keyClicks(search, u"edit"_s);
        QVERIFY(!clientRow(u"Sound"_s).isValid());
        QCOMPARE(selected(), QStringList{u"Sound"_s});
        QTest::keyClicks(search, u"zzz"_s);
        QCOMPARE(find<EmptyState>("clientEmpty")->title(), u"No matching computer"_s);
        QTest::keyClick(search, Qt::Key_Escape);
        QVERIFY(search->text().isEmpty());
        QVERIFY(clientView()->selectionModel()->isSelected(clientRow(u"Sound"_s)));
    }

    void clientMenuFitsTheClient() {
        addClients();
        const auto enabled = [this](const char* text) { return action(text)->isEnabled(); };
        QVERIFY(!enabled("Reconnect"));  // "All Computers" is no single machine
        click(u"Sound"_s);
        QVERIFY(enabled("Reconnect") && enabled("Stop Client") && !enabled("Cancel Maintenance Request"));
        m_sound->setNeedsMaintenance(true);
        controller().services().serviceChanged(m_sound);
        QVERIFY(enabled("Cancel Maintenance Request"));
        // What the client would not be told is not offered.
        m_sound->showError(2006);
        controller().services().serviceChanged(m_sound);
        QVERIFY(enabled("Stop Client") && enabled("Restart Client") &&
                !enabled("Cancel Maintenance Request"));
        Q_EMIT controller().serviceOutlineBadgeClicked(m_sound, u"maintenance"_s);
        QVERIFY(!find<QDialog>("maintenanceSheet")->findChild<QPushButton*>()->text().contains(u"Request"_s));
        find<QDialog>("maintenanceSheet")->accept();
        m_sound->showError(0);
        m_sound->setEnabled(false);
        controller().services().serviceChanged(m_sound);
        QVERIFY(!enabled("Stop Client") && !enabled("Restart Client") && enabled("Reconnect"));
        m_sound->setEnabled(true);
        m_sound->showNotConnected({});
        controller().services().serviceChanged(m_sound);
        QVERIFY(enabled("Reconnect") && !enabled("Stop Client") && !enabled("Restart Client"));

        action("Reconnect")->trigger();
        QTRY_COMPARE(m_sound->reconnects.load(), 1);
    }

    void goToSelectsTheClient() {
        const QMenu* goTo = find<QMenu>("goToMenu");
        auto* computer = qobject_cast<QMenu*>(goTo->parentWidget());
        Q_EMIT computer->aboutToShow();
        QVERIFY(!goTo->isEnabled());
        const QStringList clients{u"Left"_s, u"Cut & Paste"_s};
        for (const QString& name : clients)
            controller().discovery().addManualConnection(name, u"127.0.0.1"_s, int(name.size()));
        Q_EMIT computer->aboutToShow();
        QVERIFY(goTo->isEnabled());
        QCOMPARE(goTo->actions().size(), clients.size());
        for (qsizetype i = 0; i < clients.size(); ++i) {
            goTo->actions().at(i)->trigger();
            QCOMPARE(selected(), QStringList{clients.at(i)});
        }
        QCOMPARE(goTo->actions().last()->text(), u"Cut && Paste"_s);
    }

    void updatesAreOnABadge() {
        addClients();
        QSignalSpy clicked(&controller(), &AppController::serviceOutlineBadgeClicked);
        const auto badge = [this] {
            const QModelIndex row = clientRow(u"Sound"_s);
            return ClientRowDelegate::updateBadge(clientView()->visualRect(row), row);
        };
        QVERIFY(badge().isEmpty());
        controller().setSoftwareUpdateCount(3, m_sound->hostName());
        QTRY_VERIFY(!badge().isEmpty());
        QVERIFY(clientRow(u"Sound"_s)
                    .data(Qt::AccessibleTextRole)
                    .toString()
                    .endsWith(u", 3 software updates available"_s));
        QTest::mouseClick(clientView()->viewport(), Qt::LeftButton, {}, badge().center());
        QCOMPARE(clicked.size(), 1);
        QCOMPARE(clicked.first().first().value<VLServicePtr>(), VLServicePtr(m_sound));
        click(u"Sound"_s);
        QCOMPARE(clicked.size(), 1);
        action("Show Software Updates")->trigger();  // for those who don't click
        QCOMPARE(clicked.size(), 2);

        QSignalSpy totals(&controller(), &AppController::softwareUpdateCountChanged);
        for (const qlonglong count : {3, 0, 0})
            controller().setSoftwareUpdateCount(count, m_sound->hostName());
        QCOMPARE(totals.size(), 1);
        QTRY_VERIFY(badge().isEmpty());
        QVERIFY(!action("Show Software Updates")->isEnabled());
        controller().services().removeServiceFromList(m_sound);
        controller().setSoftwareUpdateCount(3, m_sound->hostName());  // still on its way at the removal
        QCOMPARE(controller().softwareUpdateCount(), 0);
    }

    void clientAddedByHandIsNotForgottenUnasked() {
        const VLServicePtr byHand =
            controller().discovery().addManualConnection(u"By hand"_s, u"127.0.0.1"_s, 1);
        controller().services().setSelectedServices({byHand});
        const auto answer = [this](const char* button) {
            action("Disconnect")->trigger();
            find<AlertSheet>("alertSheet")->findChild<QPushButton*>(QLatin1String(button))->click();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        };
        answer("alternateButton");
        QCOMPARE(controller().services().serviceArray(), QList{byHand});
        answer("defaultButton");
        QVERIFY(controller().services().serviceArray().isEmpty());
    }

    void addComputer_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("port");
        QTest::addColumn<QString>("hintOf");
        QTest::newRow("right") << "Bay"
                               << "2000"
                               << "";
        QTest::newRow("low port") << "Bay"
                                  << "1024"
                                  << "connectionPortText";
        QTest::newRow("long name") << QString(256, u'n') << "2000"
                                   << "connectionNameText";
    }
    void addComputer() {
        QFETCH(QString, name);
        QFETCH(QString, port);
        QFETCH(QString, hintOf);
        window().findChild<QAction*>("addComputerAction")->trigger();
        auto* sheet = find<AddComputerSheet>("addComputerSheet");
        QVERIFY(sheet && sheet->isVisible());
        auto* add = sheet->findChild<QPushButton*>("addButton");
        QVERIFY(!add->isEnabled());
        enterComputer(*sheet, name, port);
        // Going on in another field is what calls the complaint.
        auto* other = sheet->findChild<QLineEdit*>(hintOf == u"connectionNameText" ? "connectionPortText"
                                                                                   : "connectionNameText");
        QTest::keyClicks(other, "1");
        QTest::keyClick(other, Qt::Key_Backspace);
        QCOMPARE(add->isEnabled(), hintOf.isEmpty());
        if (!hintOf.isEmpty()) {
            const QString hint = sheet->findChild<QLineEdit*>(hintOf)->accessibleDescription();
            const QList<QLabel*> labels = sheet->findChildren<QLabel*>();
            QVERIFY(std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
                return label->text() == hint &&
                       label->palette().color(QPalette::WindowText) == themeColors().bad;
            }));
            sheet->reject();
            return;
        }
        QTest::mouseClick(add, Qt::LeftButton);
        QCOMPARE(names(controller().services().serviceArray()), QStringList{name});
        QCOMPARE(defaults().arrayForKey("manualConnections").size(), 1);
    }

    void addComputerTwice() {
        AddComputerSheet sheet([](const ManualConnections::Entry&) { return false; }, &window());
        sheet.open();
        enterComputer(sheet, "Bay", "2000");
        QTest::mouseClick(sheet.findChild<QPushButton*>("addButton"), Qt::LeftButton);
        auto* alert = sheet.findChild<AlertSheet*>();
        QVERIFY(alert && alert->isVisible() && sheet.isVisible());
        alert->close();
    }

    void errorsAreCountedAndCleared() {
        addClients();
        auto* button = find<QToolButton>("statusErrorBtn");
        QVERIFY(!button->isVisible());
        controller().errorCallback()->addStringToQueue(u"Disk full"_s, m_one->hostName());
        QTRY_VERIFY(button->isVisible());
        QCOMPARE(button->text(), u"1 error"_s);
        controller().errorCallback()->addStringToQueue(u"No answer"_s, m_two->hostName());
        QTRY_COMPARE(button->text(), u"2 errors"_s);

        QTest::mouseClick(button, Qt::LeftButton);
        auto* log = window().findChild<ErrorLogWindow*>();
        QVERIFY(log && log->isVisible());
        auto* table = log->findChild<QTreeView*>(u"errorLogTable"_s);
        QCOMPARE(table->model()->rowCount(), 2);
        QTest::mouseClick(log->findChild<QPushButton*>(u"errorLogCopy"_s), Qt::LeftButton);
        QVERIFY(QGuiApplication::clipboard()->text().contains(u"Edit Bay 1\tDisk full"_s));

        table->header()->setSortIndicator(1, Qt::AscendingOrder);
        QCOMPARE(defaults().stringForKey(u"errorLogTableSortedColumn"_s), u"hostname"_s);
        QTest::mouseClick(log->findChild<QPushButton*>(u"errorLogClear"_s), Qt::LeftButton);
        QVERIFY(!button->isVisible() && table->model()->rowCount() == 0);
    }

    void sortingIsKept() {
        m_console->addonry().setAddonryArray(
            {samplePlugin(u"Alpha"_s, u"2"_s), samplePlugin(u"Beta"_s, u"1"_s)});
        const auto first = [this] { return outline()->model()->index(0, 0).data().toString(); };
        QCOMPARE(first(), u"Alpha"_s);
        QTest::mouseClick(outline()->header()->viewport(), Qt::LeftButton, {},
                          {outline()->header()->sectionViewportPosition(1) + 10, 10});
        QCOMPARE(first(), u"Beta"_s);
        QCOMPARE(defaults().stringForKey(u"addonryOutlineSortedColumn"_s), u"version"_s);
        QCOMPARE(defaults().objectForKey(u"addonryOutlineSortedDescending"_s), QVariant(false));
    }

    void refreshKeepsExpansionAndSelection() {
        const QList<VLPluginItem> rows{samplePlugin("Alpha"), samplePlugin("Beta"), samplePlugin("Gamma")};
        m_console->addonry().setAddonryArray(rows);
        const QAbstractItemModel& model = *outline()->model();
        const QModelIndex beta = model.index(1, 0);
        outline()->expand(beta);
        outline()->selectionModel()->setCurrentIndex(
            model.index(1, 0, beta), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        const QString child = outline()->currentIndex().data().toString();

        m_console->addonry().setAddonryArray({rows[1], rows[2], samplePlugin(u"Aaa"_s)});
        const QModelIndex moved = model.index(1, 0);  // Aaa, Beta, Gamma
        QCOMPARE(moved.data().toString(), u"Beta"_s);
        QVERIFY(outline()->isExpanded(moved));
        QCOMPARE(outline()->selectionModel()->selectedRows().size(), 1);
        QCOMPARE(outline()->currentIndex().data().toString(), child);
        QCOMPARE(outline()->currentIndex().parent(), moved);
    }

    void differencesOnly() {
        VLPluginItem different = samplePlugin(u"Beta"_s);
        addMissing(different, u"sound.local."_s);
        m_console->addonry().setAddonryArray({samplePlugin(u"Alpha"_s), different});
        QCOMPARE(find<ElidedLabel>("addonrySummary")->text(), u"2 plug-ins · 1 with differences"_s);
        QTest::mouseClick(find<QToolButton>("differencesOnly"), Qt::LeftButton);
        QCOMPARE(outline()->model()->rowCount(), 1);
        QCOMPARE(outline()->model()->index(0, 0).data().toString(), u"Beta"_s);
    }

    void statusPanelAndProgressSheet() {
        addClients();
        TaskThreads& tasks = controller().taskThreads();
        auto* cancel = find<QPushButton>("statusCancelBtn");
        tasks.startStatusProgress();
        QVERIFY(cancel->isVisible());
        QCOMPARE(find<ElidedLabel>("statusText")->text(), u"Processing tasks on 3 computers"_s);
        QTest::mouseClick(cancel, Qt::LeftButton);
        QVERIFY(tasks.processingCancelled() && !cancel->isVisible());
        QCOMPARE(find<ElidedLabel>("statusText")->text(), u"3 computers selected"_s);

        auto* sheet = window().findChild<ProgressSheet*>();
        tasks.startProgress();
        QVERIFY(sheet->isVisible());
        tasks.updateProgressStatus(u"Syncing..."_s);
        QCOMPARE(find<ElidedLabel>("progressStatusText")->text(), u"Syncing..."_s);
        QTest::keyClick(sheet, Qt::Key_Escape);
        QCOMPARE(find<ElidedLabel>("progressStatusText")->text(), u"Canceling..."_s);
        QVERIFY(sheet->isVisible() && !find<QPushButton>("progressCancelBtn")->isEnabled());
        tasks.endProgress();
        QVERIFY(!sheet->isVisible());
    }

    void newIdentityIsAcceptedAfterComparing() {
        addClients();
        const QByteArray certificate = TlsIdentity::create(u"agent"_s).certificate;
        m_sound->showChangedIdentity(certificate);
        controller().services().serviceChanged(m_sound);
        QTRY_VERIFY(
            clientRow(u"Sound"_s).data(Qt::AccessibleTextRole).toString().contains(u"Identity changed"_s));
        click(u"Sound"_s);
        QTest::keyClick(clientView(), Qt::Key_Return);
        auto* sheet = find<IdentitySheet>("identitySheet");
        QVERIFY(sheet && sheet->isVisible());
        QString shown = sheet->findChild<QLabel*>(u"newFingerprint"_s)->text();
        QCOMPARE(shown.remove(u'\n'), certificateFingerprint(certificate));
        sheet->reject();

        int accepted = 0;
        IdentitySheet again(
            m_sound, [&](const QByteArray&) { ++accepted; }, &window());
        again.open();
        const QList<QPushButton*> buttons = again.findChildren<QPushButton*>();
        auto* accept = *std::find_if(buttons.begin(), buttons.end(), std::mem_fn(&QPushButton::isDefault));
        QVERIFY(!accept->isEnabled());
        again.findChild<QCheckBox*>()->setChecked(true);
        // Another key yet, while the sheet was open: it is shown, and has to be compared first.
        m_sound->showChangedIdentity(TlsIdentity::create(u"third"_s).certificate);
        accept->click();
        QCOMPARE(accepted, 0);
        QVERIFY(again.isVisible() && !accept->isEnabled());
        again.findChild<QCheckBox*>()->setChecked(true);
        accept->click();
        QCOMPARE(accepted, 1);
    }

    void logIsFollowedAndSearched() {
        VLLog::appendLog(u"a needle in it"_s);
        window().showLog();
        auto* log = window().findChild<LogWindow*>();
        auto* text = log->findChild<QPlainTextEdit*>(u"logText"_s);
        QTRY_VERIFY(text->toPlainText().contains(u"a needle in it"_s));
        VLLog::appendLog(u"written later"_s);
        QTRY_VERIFY(text->toPlainText().contains(u"written later"_s));
        QTest::keyClicks(log->findChild<QLineEdit*>(), u"needle"_s);
        QCOMPARE(text->textCursor().selectedText(), u"needle"_s);

        VLLog::createNewLog();
        QTRY_VERIFY(!text->toPlainText().contains(u"written later"_s));
    }

    void copyTakesTheFocusedList() {
        addClients();
        m_console->addonry().setAddonryArray({samplePlugin(u"Alpha"_s)});
        QAction* copy = action("&Copy");
        click(u"Sound"_s);
        copy->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), u"Sound\t10.0.0.3"_s);
        outline()->setFocus();
        outline()->selectAll();
        copy->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(),
                 u"Alpha\t1.0\tFxPlug\tEnabled\tAll Users\t2 of 2\tNo differences"_s);
    }

    void layoutIsKept() {
        window().resize(1000, 640);
        window().showTool(u"qmaster"_s);
        window().close();
        m_console->window = std::make_unique<MainWindow>(controller());
        QCOMPARE(window().size(), QSize(1000, 640));
        QCOMPARE(controller().visibleTool(), u"qmaster"_s);
    }
};

ORLENDO_WIDGETS_TEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
