#include "app/Preferences.h"

#include "SampleConsole.h"
#include "app/window/PreferencesWindow.h"
#include "clients/VLVirtualService.h"
#include "foundation/ValueUtilities.h"
#include "support/TestEnvironment.h"
#include "widgets/AlertSheet.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {

VLUserDefaults& defaults() {
    return VLUserDefaults::standardUserDefaults();
}

}  // namespace

class PreferencesTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SampleConsole> m_console;

    [[nodiscard]] AppController& controller() const { return *m_console->controller; }
    PreferencesWindow& preferences() {
        m_console->find<QAction>("preferencesAction")->trigger();
        return *m_console->window->findChild<PreferencesWindow*>();
    }

private Q_SLOTS:
    void initTestCase() { applyTheme(Theme::Light); }
    void init() {
        for (const char* key : {"manualConnections", "requireAdminPassword", "firstRun", "theme"})
            defaults().removeObjectForKey(QLatin1String(key));
        m_console = std::make_unique<SampleConsole>();
        QVERIFY(m_console->start());
        m_console->window->show();
    }
    void cleanup() {
        m_console->window.reset();
        QVERIFY(controller().shutDown());
        m_console.reset();
        VLThread::reset();
        MainThread::resume();
    }

    void switchesKeepTheirTypes_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("off");
        QTest::addColumn<QVariant>("on");
        QTest::newRow("update check") << u"SUCheckAtStartup"_s << QVariant(false) << QVariant(true);
        QTest::newRow("welcome") << u"firstRun"_s << QVariant(false) << QVariant(true);
        QTest::newRow("refresh") << u"autoRefresh"_s << QVariant(0LL) << QVariant(1LL);
        QTest::newRow("keychain") << u"authAddKeychain"_s << QVariant(0LL) << QVariant(1LL);
    }
    void switchesKeepTheirTypes() {
        QFETCH(QString, key);
        auto* box = preferences().findChild<QCheckBox*>(key);
        QVERIFY(box && box->isChecked());  // what holds while nothing is stored
        for (const char* state : {"off", "on"}) {
            box->click();
            const QVariant expected = *static_cast<QVariant*>(QTest::qData(state, QMetaType::QVariant));
            QCOMPARE(defaults().objectForKey(key), expected);
            QCOMPARE(defaults().objectForKey(key).typeId(), expected.typeId());
        }
        Preferences::setOn(key, false);  // as any other part may
        QVERIFY(!box->isChecked());
        Preferences::setOn(key, true);
    }

    void nobodyLocksThemselvesOutUnaware_data() {
        QTest::addColumn<QString>("button");
        QTest::addColumn<bool>("on");
        QTest::newRow("cancelled") << u"defaultButton"_s << false;
        QTest::newRow("wanted") << u"alternateButton"_s << true;
    }
    void nobodyLocksThemselvesOutUnaware() {
        QFETCH(QString, button);
        QFETCH(bool, on);
        auto* box = preferences().findChild<QCheckBox*>(u"requireAdminPassword"_s);
        box->click();
        auto* alert = preferences().findChild<AlertSheet*>();
        QVERIFY(alert && alert->isVisible());
        alert->findChild<QPushButton*>(button)->click();
        QCOMPARE(box->isChecked(), on);
        QCOMPARE(defaults().objectForKey(u"requireAdminPassword"_s), on ? QVariant(1LL) : QVariant());
    }

    void theme() {
        auto* choice = preferences().findChild<QComboBox*>(u"theme"_s);
        choice->setCurrentIndex(choice->findData(int(Theme::Dark)));
        Q_EMIT choice->activated(choice->currentIndex());
        QVERIFY(themeColors().dark);
        QCOMPARE(storedTheme(), Theme::Dark);
        applyTheme(Theme::Light);
        QEvent event(QEvent::PaletteChange);  // Qt sends it only while the application runs
        QApplication::sendEvent(&preferences(), &event);
        QCOMPARE(choice->currentData().toInt(), int(Theme::Light));
        applyTheme(Theme::System);
        QEvent change(QEvent::ThemeChange);
        QApplication::sendEvent(m_console->window.get(), &change);
        QCOMPARE(QApplication::palette().color(QPalette::Window), themeColors().window);
    }

    void manualConnectionsAreRemoved() {
        for (int port : {1, 2})  // nobody listens there
            QVERIFY(controller().discovery().submitManualConnection({u"Bay"_s, u"127.0.0.1"_s, 1024 + port}));
        auto* table = preferences().findChild<QTreeView*>(u"manualConnectionsTable"_s);
        QTRY_COMPARE(table->model()->rowCount(), 2);
        table->setCurrentIndex(table->model()->index(0, 0));
        preferences().findChild<QPushButton*>(u"removeConnection"_s)->click();
        QCOMPARE(table->model()->rowCount(), 1);
        QCOMPARE(table->model()->index(0, 1).data(), u"127.0.0.1:1026"_s);
        QCOMPARE(defaults().arrayForKey(u"manualConnections"_s).size(), 1);
        QCOMPARE(controller().services().serviceArray().size(), 1);
    }

    void demonstrationClients() {
        auto* add = m_console->find<QAction>("addDemonstrationAction");
        add->trigger();
        add->trigger();
        controller().disconnectClient(controller().services().serviceArray().first());
        add->trigger();
        const QList<VLServicePtr> services = controller().services().serviceArray();
        QCOMPARE(services.size(), 2);
        QCOMPARE(services[0]->name(), u"Demo 1"_s);
        QCOMPARE(services[1]->hostName(), u"Demo 2.virtual."_s);
        QVERIFY(!services[0]->icon().isNull() && services[0]->isConnected());
        QVERIFY(controller().servicesAvailable());

        std::atomic<bool> isDone{false};
        QVariantMap answers;
        VLThread::detach(u"reads"_s, [&] {
            answers = controller().runner().objectsFromRemoteMethod(u"addonryPluginList"_s).toMap();
            isDone = true;
        });
        QTRY_VERIFY(isDone);
        QCOMPARE(answers.keys(), QStringList({u"Demo 1.virtual."_s, u"Demo 2.virtual."_s}));
        QVERIFY(answers.first().toList().size() > 3);
        controller().disconnectClient(services[0]);
        QCOMPARE(controller().services().serviceArray(), QList<VLServicePtr>{services[1]});
    }

    void alertsOfWorkers_data() {
        QTest::addColumn<int>("interval");
        QTest::addColumn<QString>("happens");
        QTest::addColumn<int>("code");
        QTest::newRow("answered") << 0 << u"alternateButton"_s << int(VLAlert::AlternateReturn);
        QTest::newRow("time passes") << 50 << QString() << int(VLAlert::DefaultReturn);
        QTest::newRow("answered in time") << 60'000 << u"alternateButton"_s << int(VLAlert::AlternateReturn);
        QTest::newRow("window goes") << 0 << u"delete"_s << int(VLAlert::OtherReturn);
        QTest::newRow("window is closed") << 0 << u"close"_s << int(VLAlert::OtherReturn);
    }
    void alertsOfWorkers() {
        QFETCH(int, interval);
        QFETCH(QString, happens);
        auto* parent = new QWidget(m_console->window.get());
        parent->setWindowFlag(Qt::Window);
        parent->show();
        std::atomic<int> code{99};
        VLThread::detach(u"asks"_s, [&code, interval, parent] {
            const std::chrono::milliseconds time(interval);
            code = interval > 0 ? VLAlert::timedAlertSheetWithMessageText(u"Sync?"_s, u"Sync"_s, u"Later"_s,
                                                                          {}, {}, parent, time)
                                : VLAlert::alertSheetWithMessageText(u"Sync?"_s, u"Sync"_s, u"Later"_s, {},
                                                                     {}, parent, true);
        });
        QPointer<AlertSheet> sheet;
        QTRY_VERIFY((sheet = parent->findChild<AlertSheet*>()) && sheet->isVisible());
        if (happens == u"delete"_s)
            delete parent;
        else if (happens == u"close"_s)
            parent->close();
        else if (!happens.isEmpty())
            sheet->findChild<QPushButton*>(happens)->click();
        QTRY_VERIFY(code != 99);
        QTEST(code.load(), "code");
        QTRY_VERIFY(!sheet);
    }

    void alertKeys_data() {
        QTest::addColumn<QStringList>("titles");  // default, alternate, other
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("code");
        const QStringList one{QString(), QString(), QString()}, two{u"Sync"_s, u"Skip"_s, QString()},
            three{u"Save"_s, u"No"_s, u"Cancel"_s};
        QTest::newRow("return") << three << int(Qt::Key_Return) << 1;
        QTest::newRow("escape, one button") << one << int(Qt::Key_Escape) << 1;
        QTest::newRow("escape, two") << two << int(Qt::Key_Escape) << 0;
        QTest::newRow("escape means Cancel") << three << int(Qt::Key_Escape) << -1;
    }
    void alertKeys() {
        QFETCH(QStringList, titles);
        QFETCH(int, key);
        QFETCH(int, code);
        int answer = 99;
        const auto delegate = std::make_shared<VLAlertHandlers>(
            QHash<QString, VLAlertHandlers::Handler>{{u"ended"_s, [&answer](int given) { answer = given; }}});
        const QString text = u"<b>bold</b> & <img src=\"/etc/passwd\">"_s;
        VLAlert::alertSheetWithMessageText(u"<i>Message</i>"_s, titles[0], titles[1], titles[2], text,
                                           nullptr, delegate, u"ended"_s, false);
        auto* alert = m_console->window->findChild<AlertSheet*>();
        QVERIFY(alert && alert->isVisible());
        const auto labels = alert->findChildren<QLabel*>();
        for (const QLabel* label : labels)
            if (!label->text().isEmpty()) QCOMPARE(label->textFormat(), Qt::PlainText);
        QTest::keyClick(alert, Qt::Key(key));
        QCOMPARE(answer, code);
    }

    void webViewLoadsNothing() {
        StillTextBrowser view;
        setHTMLString(u"<p>Text<img src=\"file:///etc/hostname\"></p>"_s, view);
        QVERIFY(view.toPlainText().startsWith(u"Text"_s));
        view.setSource(QUrl(u"file:///etc/hostname"_s));
        QVERIFY(view.toPlainText().startsWith(u"Text"_s));
    }

    void values() {
        const QList<AsciiRange> letters{{'a', 'z'}, {'A', 'Z'}}, printable{{' ', '~'}};
        QCOMPARE(stringWithString(u"Bay 5 – é\n"_s, letters), u"Bay"_s);
        QCOMPARE(stringWithString(u"Bay 5 – é\n"_s, printable), u"Bay 5  "_s);
        QCOMPARE(stringWithString(u"a"_s, {}), QString());
        const QDateTime sunday(QDate(2009, 11, 1), QTime(23, 59, 7));
        QCOMPARE(componentsFromDate(sunday), (DateComponents{2009, 11, 1, 23, 59, 7, 1}));
        QCOMPARE(componentsFromDate({}), DateComponents());
    }
};

ORLENDO_WIDGETS_TEST_MAIN(PreferencesTest)
#include "preferences_test.moc"
