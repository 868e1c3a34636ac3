#include "app/AppController.h"
#include "app/ConsoleIdentity.h"
#include "app/window/MainWindow.h"
#include "clients/view/AddComputerSheet.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/ClientOutlineModel.h"
#include "clients/view/GroupSheet.h"
#include "support/Programs.h"
#include "support/TestEnvironment.h"
#include "widgets/Theme.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include <csignal>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

/// An administrator's day with the real window over a real agent.
class WindowSessionTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    std::unique_ptr<QProcess> m_agent;
    quint16 m_port = 0;
    std::unique_ptr<AppController> m_controller;
    std::unique_ptr<MainWindow> m_window;

    [[nodiscard]] QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }
    [[nodiscard]] bool startAgent() {
        m_agent = startSampleAgent(QStringLiteral(AGENT_PROGRAM), m_folder.path(), m_port);
        return m_port != 0;
    }
    void startConsole() {
        m_controller = std::make_unique<AppController>(toolRegistry());
        m_controller->setBrowses(false);
        m_controller->setUnattended(true);
        QVERIFY(m_controller->init());
        VLServiceEnvironment environment = *VLService::environment();
        environment.timing.reconnect = 500ms;
        VLService::setEnvironment(std::move(environment));
        m_window = std::make_unique<MainWindow>(*m_controller);
        m_controller->awakeFromNib();
        m_window->showTool(u"addonry"_s);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }
    void quitConsole() {
        if (!m_controller) return;
        m_window.reset();
        QVERIFY(m_controller->shutDown());
        m_controller.reset();
        VLThread::reset();
        MainThread::resume();
    }

    [[nodiscard]] ClientOutline& outline() const { return *m_window->findChild<ClientOutline*>(); }
    [[nodiscard]] ClientOutlineModel& model() const { return *outline().model(); }
    [[nodiscard]] VLServicePtr client() const { return m_controller->services().serviceArray().value(0); }
    [[nodiscard]] VLServiceGroupPtr group() const { return m_controller->services().groups().value(0); }
    [[nodiscard]] bool isReady() const {
        return client() && client()->isConnected() && !client()->configDict().isEmpty();
    }
    [[nodiscard]] int plugins() const {
        return m_window->findChild<QTreeView*>(u"addonryOutline"_s)->model()->rowCount();
    }

private Q_SLOTS:
    void initTestCase() {
        applyTheme(Theme::Light);
        ConsoleIdentity::exportCertificate(path("console.crt"));
        const QStringList makeSample{u"--make-sample"_s, path("sample"), u"--profile"_s, u"1"_s};
        QCOMPARE(runProgram(QStringLiteral(AGENT_PROGRAM), makeSample).exitCode, 0);
        QVERIFY(startAgent());
        startConsole();
    }
    void cleanupTestCase() {
        quitConsole();
        m_agent->terminate();
        QVERIFY(hasEnded(*m_agent, 0));
    }

    void addsAComputer() {
        m_window->findChild<QAction*>(u"addComputerAction"_s)->trigger();
        auto* sheet = m_window->findChild<AddComputerSheet*>();
        QVERIFY(sheet);
        QTest::keyClicks(sheet->findChild<QLineEdit*>(u"connectionNameText"_s), u"Edit Bay"_s);
        QTest::keyClicks(sheet->findChild<QLineEdit*>(u"connectionIPAddressText"_s), u"127.0.0.1"_s);
        auto* port = sheet->findChild<QLineEdit*>(u"connectionPortText"_s);
        port->clear();
        QTest::keyClicks(port, QString::number(m_port));
        QTest::mouseClick(sheet->findChild<QPushButton*>(u"addButton"_s), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(isReady(), patience);
        QTRY_VERIFY_WITH_TIMEOUT(plugins() > 5, patience);
    }

    void makesAGroup() {
        QTest::mouseClick(outline().findChild<QToolButton*>(u"newGroupButton"_s), Qt::LeftButton);
        auto* sheet = m_window->findChild<GroupSheet*>();
        QVERIFY(sheet);
        if (auto* withSelected = sheet->findChild<QAbstractButton*>(u"groupWithSelected"_s))
            withSelected->setChecked(false);
        QTest::keyClicks(sheet->findChild<QLineEdit*>(u"groupNameText"_s), u"First Floor"_s);
        QTest::mouseClick(sheet->findChild<QPushButton*>(u"addGroupButton"_s), Qt::LeftButton);
        QTRY_VERIFY(group());
        QVERIFY(group()->children().isEmpty());

        m_controller->services().moveToGroup({client()}, group());
        QTRY_VERIFY(model().indexInGroup(client()).isValid());
    }

    void showsAKilledAgentAndItsReturn() {
        ::kill(pid_t(m_agent->processId()), SIGKILL);
        QVERIFY(m_agent->waitForFinished(patience));
        QTRY_VERIFY_WITH_TIMEOUT(!client()->isConnected() && !client()->connectionError().isEmpty(),
                                 patience);
        const auto state = [this] {
            return model().indexOf(client()).data(ClientOutlineModel::StateKindRole).toInt();
        };
        QTRY_VERIFY_WITH_TIMEOUT(state() != ClientState::Connected, patience);
        QVERIFY(startAgent());
        QTRY_VERIFY_WITH_TIMEOUT(isReady() && state() == ClientState::Connected, patience);

        const VLProxyObjectPtr former = client()->proxyObject();
        VLThread::detach(u"relaunch"_s, [former] { former->perform(u"relaunch"_s); });
        QTRY_VERIFY_WITH_TIMEOUT(isReady() && client()->proxyObject() != former, patience);
        QCOMPARE(m_agent->state(), QProcess::Running);
    }

    void findsAllAgainAfterQuitting() {
        quitConsole();
        startConsole();
        QTRY_VERIFY_WITH_TIMEOUT(isReady(), patience);
        QCOMPARE(m_controller->services().serviceArray().size(), 1);
        QCOMPARE(client()->name(), u"Edit Bay"_s);
        QVERIFY(group());
        QCOMPARE(group()->name(), u"First Floor"_s);
        QCOMPARE(group()->children(), QList{client()});
        outline().selectGroup(group());
        QTRY_VERIFY_WITH_TIMEOUT(plugins() > 5, patience);
    }
};

ORLENDO_WIDGETS_TEST_MAIN(WindowSessionTest)
#include "window_session_test.moc"
