// The connection troubleshooter and the client information panel, driven through the real window.

#include "SampleConsole.h"
#include "clients/support/LoopbackAgent.h"
#include "clients/view/AddComputerSheet.h"
#include "clients/view/ClientInfoPanel.h"
#include "clients/view/TroubleshooterWindow.h"
#include "support/TestEnvironment.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

class TroubleshooterWindowTest : public QObject {
    Q_OBJECT

    SampleConsole m_console;

    [[nodiscard]] TroubleshooterWindow& window() {
        return *m_console.window->findChild<TroubleshooterWindow*>();
    }
    [[nodiscard]] QString value(const char* row) {
        const auto* label = m_console.window->findChild<ClientInfoPanel*>()->findChild<QLabel*>(
            u"info:"_s + QLatin1String(row));
        return label ? label->text() : QString();
    }
    void click(const char* name) { window().findChild<QPushButton*>(QLatin1String(name))->click(); }

private Q_SLOTS:
    void init() {
        applyTheme(Theme::Light);
        QVERIFY(m_console.start());
        m_console.window->show();
        m_console.window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_console.window.get()));
    }
    void cleanup() { QVERIFY(m_console.end()); }

    void opensByItselfWithoutTakingTheKeyboard() {
        const auto bay = m_console.add("Bay 1", "192.168.1.21");
        bay->showNotConnected(u"refused"_s, ConnectionFailure::Refused);
        m_console.window->showAddComputer();
        auto* edit = m_console.window->findChild<AddComputerSheet*>()->findChild<QLineEdit*>();
        edit->setFocus();
        QTRY_COMPARE(QApplication::focusWidget(), edit);
        Q_EMIT m_console.controller->troubleshooter().requested(bay, true);
        QTRY_VERIFY(window().isVisible());
        QTest::qWait(50);
        QCOMPARE(QApplication::focusWidget(), edit);
        QCOMPARE(window().selectedService(), bay);
        m_console.window->findChild<AddComputerSheet*>()->reject();
    }

    void explainsTheSelectedClient() {
        const auto one = m_console.add("Bay 1", "192.168.1.21"), two = m_console.add("<b>2</b>", "::2");
        one->showNotConnected(u"refused"_s, ConnectionFailure::Refused);
        two->showChangedIdentity("certificate");
        m_console.controller->troubleshooter().showConnectionTroubleshooter(one);
        const auto* title = window().findChild<QLabel*>(u"problemTitle"_s);
        QCOMPARE(title->text(), ConnectionProblem::titleOf(ConnectionProblem::Refused));
        QVERIFY(window().findChild<QPushButton*>(u"reviewIdentity"_s)->isHidden());
        click("retry");
        QTRY_COMPARE(one->reconnects, 1);
        click("copyDetails");
        QCOMPARE(QGuiApplication::clipboard()->text(), window().details());

        window().select(two);
        QCOMPARE(title->text(), ConnectionProblem::titleOf(ConnectionProblem::ChangedKey));
        QVERIFY(window().details().contains(u"<b>2</b>"_s));
    }

    /// Also of an agent that is too old for anything else.
    void asksTheAgentAboutItsMachine() {
        AppController& controller = *m_console.controller;
        LoopbackAgent agent(VLService::environment()->identity.certificate);
        agent.root->setAnswer("systemSpecs",
                              QVariantMap{{u"processor"_s, u"G5"_s}, {u"rackUnit"_s, qlonglong(7)}});
        agent.root->setAnswer("computerIcon:", pngOf({512, 512}));
        const VLServicePtr client =
            controller.discovery().addManualConnection(u"Bay"_s, agent.address(), agent.port());
        QTRY_VERIFY(client->isConnected() && !client->configDict().isEmpty());
        client->setErrorCode(2006);
        QImage picture;
        const QObject duringTest;  // what the slot works on ends with this test
        connect(&controller.clientDetails(), &ClientDetails::largeServiceIconFetched, &duringTest,
                [&](const VLServicePtr&, const QImage& fetched) { picture = fetched; });
        controller.clientDetails().showInfo(client);
        auto* panel = m_console.window->findChild<ClientInfoPanel*>();
        QTRY_COMPARE(value("Processor"), u"G5"_s);
        QCOMPARE(value("Rack unit"), u"7"_s);
        QTRY_COMPARE(picture.size(), QSize(256, 256));
        panel->showService(m_console.add("Bay 2", "192.168.1.22"));
        QTRY_VERIFY(value("Processor").isEmpty());
    }
};

ORLENDO_WIDGETS_TEST_MAIN(TroubleshooterWindowTest)
#include "troubleshooter_window_test.moc"
