#include "SampleConsole.h"
#include "app/window/ErrorLogWindow.h"
#include "app/window/LogWindow.h"
#include "app/window/ProgressSheet.h"
#include "clients/view/AddComputerSheet.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/ClientOutlineModel.h"
#include "clients/view/ClientRowDelegate.h"
#include "clients/view/IdentitySheet.h"
#include "support/AlertAnswers.h"
#include "support/TestEnvironment.h"
#include "widgets/AlertSheet.h"
#include "widgets/ElidedLabel.h"
#include "widgets/SearchField.h"
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

VLPluginItem samplePlugin(const QString& name) {
    VLPluginItem row;
    row.addChild(pluginInstance(name, u"FxPlug"_s, u"1.0"_s), u"edit-bay-1.local."_s);
    row.addChild(pluginInstance(name, u"FxPlug"_s, u"1.0"_s), u"edit-bay-2.local."_s);
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
    [[nodiscard]] QModelIndex clientRow(const VLServicePtr& service) const {
        return window().findChild<ClientOutline*>()->model()->indexOf(service);
    }
    void click(const VLServicePtr& service) const {
        QTest::mouseClick(clientView()->viewport(), Qt::LeftButton, {},
                          clientView()->visualRect(clientRow(service)).center());
    }
    [[nodiscard]] QAction* action(const QString& text) const {
        for (QAction* action : window().findChildren<QAction*>())
            if (action->text() == text) return action;
        return nullptr;
    }

    [[nodiscard]] QAction* command(const char* name) const {
        return window().findChild<QAction*>(QLatin1String(name) + "ClientAction"_L1);
    }

    void addClients() {
        m_one = m_console->add(u"Edit Bay 1"_s, u"10.0.0.1"_s);
        m_two = m_console->add(u"Edit Bay 2"_s, u"10.0.0.2"_s);
        m_sound = m_console->add(u"Sound"_s, u"10.0.0.3"_s);
    }
    [[nodiscard]] QTreeView* outline() const { return find<QTreeView>("addonryOutline"); }

private Q_SLOTS:
    void initTestCase() { applyTheme(Theme::Light); }
    void init() {
        for (const char* key :
             {"manualConnections", "addonryOutlineSortedColumn", "addonryOutlineSortedDescending"})
            defaults().removeObjectForKey(QLatin1String(key));
        m_console = std::make_unique<SampleConsole>();
        QVERIFY(m_console->start());
        window().show();
        QVERIFY(QTest::qWaitForWindowExposed(&window()));
    }
    void cleanup() { QVERIFY(m_console->end()); }

    void clientMenuFitsTheClient() {
        addClients();
        const auto enabled = [this] {
            QStringList texts;
            for (const char* name : {"reconnect", "stop", "restart", "maintenance"})
                if (command(name)->isEnabled()) texts << command(name)->text();
            return texts.join(u", "_s);
        };
        const auto change = [&](const auto& body) {
            body(*m_sound);
            controller().services().serviceChanged(m_sound);
            return enabled();
        };
        const QString usual = u"Reconnect, Stop Client…, Restart Client"_s;
        QCOMPARE(enabled(), u"Reconnect 3 Computers, Stop 3 Clients…, Restart 3 Clients…"_s);
        click(m_sound);
        QCOMPARE(enabled(), usual);
        QCOMPARE(change([](auto& s) { s.setNeedsMaintenance(true); }),
                 usual + u", Cancel Maintenance Request"_s);
        // What the client would not be told is not offered.
        QCOMPARE(change([](auto& s) { s.showError(2006); }), usual);
        Q_EMIT controller().serviceOutlineBadgeClicked(m_sound, u"maintenance"_s);
        QVERIFY(!find<QDialog>("maintenanceSheet")->findChild<QPushButton*>()->text().contains(u"Request"_s));
        find<QDialog>("maintenanceSheet")->accept();
        m_sound->showError(0);
        QCOMPARE(change([](auto& s) { s.setEnabled(false); }), u"Reconnect"_s);
        m_sound->setEnabled(true);
        QCOMPARE(change([](auto& s) { s.showNotConnected({}); }), u"Reconnect"_s);
        command("reconnect")->trigger();
        QTRY_COMPARE(m_sound->reconnects.load(), 1);
    }

    /// Of two that are selected, one can't hear it; the third is not meant.
    void commandsWorkOnEverySelectedClient() {
        addClients();
        controller().services().setSelectedServices({m_one, m_sound});
        command("reconnect")->trigger();
        QTRY_COMPARE(m_one->reconnects.load() + m_sound->reconnects.load(), 2);
        QCOMPARE(m_two->reconnects.load(), 0);

        RunRecord stop;
        const QObject duringTest;
        connect(&controller().taskThreads().runs(), &RunList::ended, &duringTest,
                [&](const RunRecord& run) { stop = run.isChange ? run : stop; });
        const auto stopped = [&](int answer) {
            const AlertAnswers answers(answer);
            command("stop")->trigger();
            return answers.asked.value(0);
        };
        const QString question = u"Stop the client agents of 2 computers?"_s;
        QCOMPARE(stopped(VLAlert::AlternateReturn), question);
        QCOMPARE(stopped(VLAlert::DefaultReturn), question);
        QTRY_COMPARE(stop.action, u"Stop Client"_s);
        QCOMPARE(stop.outcomes.size(), 2);

        m_one->showNotConnected({});
        controller().services().serviceChanged(m_one);
        QCOMPARE(command("stop")->text(), u"Stop Client…"_s);
        QVERIFY(stopped(VLAlert::AlternateReturn).contains(u"“Sound”"_s));
        controller().services().setSelectedServices({m_one});
        QVERIFY(!command("stop")->isEnabled());
    }

    void updatesAreCounted() {
        addClients();
        QSignalSpy totals(&controller().softwareUpdates(), &SoftwareUpdates::softwareUpdateCountChanged);
        for (const qlonglong count : {3, 3})
            controller().setSoftwareUpdateCount(count, m_sound->hostName());
        QCOMPARE(totals.size(), 1);
        QTRY_VERIFY(
            !ClientRowDelegate::badgeRect({0, 0, 200, 40}, clientRow(m_sound), ClientRowDelegate::Updates)
                 .isEmpty());
        click(m_sound);
        QVERIFY(action("Show Software Updates")->isEnabled());  // for those who don't click badges
        controller().setSoftwareUpdateCount(0, m_sound->hostName());
        QVERIFY(!action("Show Software Updates")->isEnabled());
        controller().services().removeServiceFromList(m_sound);
        controller().setSoftwareUpdateCount(3, m_sound->hostName());  // still on its way at the removal
        QCOMPARE(controller().softwareUpdates().softwareUpdateCount(), 0);
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

    void computerAddedByHandIsEdited() {
        Discovery& discovery = controller().discovery();
        for (const int port : {2001, 2002})
            QVERIFY(discovery.submitManualConnection({u"By hand"_s, u"127.0.0.1"_s, port}));
        controller().services().setSelectedServices({discovery.manualRecord(u"127.0.0.1"_s, 2001)});
        window().findChild<QAction*>("editComputerAction")->trigger();
        auto* sheet = find<AddComputerSheet>("addComputerSheet");
        auto* port = sheet->findChild<QLineEdit*>("connectionPortText");
        QCOMPARE(port->text(), u"2001"_s);
        port->setText(u"2002"_s);  // another one's
        QTest::keyClick(sheet, Qt::Key_Return);
        QVERIFY(sheet->isVisible() && discovery.manualRecord(u"127.0.0.1"_s, 2001));
        sheet->findChild<AlertSheet*>()->accept();
        port->setText(u"2003"_s);
        sheet->findChild<QLineEdit*>("connectionNameText")->setText(u"Renamed"_s);
        QTest::keyClick(sheet, Qt::Key_Return);
        QVERIFY(!sheet->isVisible() && !discovery.manualRecord(u"127.0.0.1"_s, 2001));
        QCOMPARE(discovery.manualRecord(u"127.0.0.1"_s, 2003)->name(), u"Renamed"_s);
        const ManualConnections::Entry kept{u"By hand"_s, u"127.0.0.1"_s, 2002},
            edited{u"Renamed"_s, u"127.0.0.1"_s, 2003};
        QCOMPARE(ManualConnections::stored(), (QList{kept, edited}));
    }

    /// Going on in another field is what calls the complaint. The rest is in window_session_test.
    void wrongPortIsComplainedAbout() {
        window().findChild<QAction*>("addComputerAction")->trigger();
        auto* sheet = find<AddComputerSheet>("addComputerSheet");
        auto* port = sheet->findChild<QLineEdit*>("connectionPortText");
        QCOMPARE(port->text(), u"5473"_s);
        port->clear();
        QTest::keyClicks(port, "1024");
        QTest::keyClicks(sheet->findChild<QLineEdit*>("connectionNameText"), "Bay");
        QTest::keyClicks(sheet->findChild<QLineEdit*>("connectionIPAddressText"), "10.1.1.1");
        QVERIFY(!sheet->findChild<QPushButton*>("addButton")->isEnabled());
        const QList<QLabel*> labels = sheet->findChildren<QLabel*>();
        QVERIFY(std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
            return label->text() == port->accessibleDescription() &&
                   label->palette().color(QPalette::WindowText) == themeColors().bad;
        }));
        sheet->reject();
    }

    void errorsAreCountedAndCleared() {
        addClients();
        auto* button = find<QToolButton>("statusErrorBtn");
        QVERIFY(!button->isVisible());
        RunList& runs = controller().taskThreads().runs();
        const RunPtr run =
            runs.begin({.tool = u"cronwell"_s, .action = u"Remove"_s, .subject = u"3 tasks"_s}, {m_one});
        {
            const RunScope scope(run);
            controller().errorCallback()->addStringToQueue(u"Disk full"_s, m_one->hostName());
        }
        QTRY_VERIFY(button->isVisible());
        QCOMPARE(button->text(), u"1 error"_s);

        QTest::mouseClick(button, Qt::LeftButton);
        auto* log = window().findChild<ErrorLogWindow*>();
        QVERIFY(log && log->isVisible());
        QTest::mouseClick(log->findChild<QPushButton*>(u"errorLogCopy"_s), Qt::LeftButton);
        QVERIFY(QGuiApplication::clipboard()->text().contains(
            u"Edit Bay 1\tCronwell\tRemove 3 tasks\tDisk full"_s));

        controller().services().setSelectedServices({});
        auto* table = log->findChild<QTreeView*>(u"errorLogTable"_s);
        Q_EMIT table->customContextMenuRequested(table->visualRect(table->model()->index(0, 0)).center());
        auto* menu = log->findChild<QMenu*>(u"errorLogMenu"_s);
        const QList<QAction*> items = menu->actions();
        const auto show = std::find_if(items.begin(), items.end(), [](const QAction* item) {
            return item->text() == u"Show Computer"_s;
        });
        (*show)->trigger();
        menu->close();
        QCOMPARE(controller().services().selectedServices(), QList<VLServicePtr>{m_one});
        QVERIFY(!log->findChild<QPushButton*>(u"errorLogUpload"_s)->isVisible());  // nothing to send with
        QTest::mouseClick(log->findChild<QPushButton*>(u"errorLogClear"_s), Qt::LeftButton);
        QVERIFY(!button->isVisible());
    }

    void refreshKeepsSortingExpansionAndSelection() {
        const QList<VLPluginItem> rows{samplePlugin("Alpha"), samplePlugin("Beta"), samplePlugin("Gamma")};
        m_console->addonry().setAddonryArray(rows);
        QTest::mouseClick(outline()->header()->viewport(), Qt::LeftButton, {},
                          {outline()->header()->sectionViewportPosition(0) + 10, 10});
        QCOMPARE(defaults().stringForKey(u"addonryOutlineSortedColumn"_s), u"name"_s);
        QCOMPARE(defaults().objectForKey(u"addonryOutlineSortedDescending"_s), QVariant(true));
        const QAbstractItemModel& model = *outline()->model();
        const QModelIndex beta = model.index(1, 0);
        outline()->expand(beta);
        outline()->selectionModel()->setCurrentIndex(
            model.index(1, 0, beta), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        const QString child = outline()->currentIndex().data().toString();

        m_console->addonry().setAddonryArray(
            {rows[0], rows[1], samplePlugin(u"Zoom"_s), samplePlugin(u"Yes"_s)});
        const QModelIndex moved = model.index(2, 0);  // Zoom, Yes, Beta, Alpha
        QCOMPARE(moved.data().toString(), u"Beta"_s);
        QVERIFY(outline()->isExpanded(moved));
        QCOMPARE(outline()->selectionModel()->selectedRows().size(), 1);
        QCOMPARE(outline()->currentIndex().data().toString(), child);
        QCOMPARE(outline()->currentIndex().parent(), moved);
    }

    void headNamesTheComputers() {
        addClients();
        controller().services().setSelectedServices({m_one, m_sound});
        auto* button = find<QToolButton>("paneTargetsBtn");
        QTRY_COMPARE(button->text(), u"Edit Bay 1, Sound"_s);
        controller().services().selectAll();
        QTRY_COMPARE(button->text(), u"3 computers"_s);
        QVERIFY(!find<QWidget>("paneTargetsHidden")->isVisible());
        window().findChild<ClientOutline*>()->searchField()->setText(u"sound"_s);
        QTRY_VERIFY(find<QWidget>("paneTargetsHidden")->isVisible());
        QCOMPARE(find<ElidedLabel>("paneTargetsHidden")->text(), u"2 hidden by the search"_s);
        button->click();
        const auto* list = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        QVERIFY(list && list->actions().size() == 3);
        QCOMPARE(list->actions().first()->text(), u"Edit Bay 1 – hidden by the search"_s);
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
        tasks.progressBarSetMaxValue(2);
        tasks.incrementProgress();
        QVERIFY(!tasks.sheet().indeterminate);
        tasks.incrementProgress();
        QVERIFY(tasks.sheet().indeterminate);  // all is done but the end
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
            clientRow(m_sound).data(Qt::AccessibleTextRole).toString().contains(u"Identity changed"_s));
        click(m_sound);
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
        QTest::keyClicks(log->findChild<QLineEdit*>(), u"needle"_s);
        QCOMPARE(text->textCursor().selectedText(), u"needle"_s);
        VLLog::createNewLog();
        VLLog::appendLog(u"written later"_s);
        QTRY_VERIFY(text->toPlainText().contains(u"written later"_s));
        QVERIFY(!text->toPlainText().contains(u"needle"_s));
    }
};

ORLENDO_WIDGETS_TEST_MAIN(MainWindowTest)
#include "main_window_test.moc"
