#include "clients/ServiceList.h"
#include "clients/support/ClientsFixture.h"
#include "support/Programs.h"
#include "support/TestFiles.h"

#include <QTest>

#include <csignal>

namespace {

bool isReady(const VLServicePtr& service) {
    return service->isConnected() && !service->configDict().isEmpty();
}

}  // namespace

/// A client record and the real agent program, which is killed, stopped and started again under it.
class AgentRestartTest : public QObject {
    Q_OBJECT

    std::unique_ptr<ClientsFixture> m_fixture;
    std::unique_ptr<QProcess> m_agent;
    quint16 m_port = 0;

    [[nodiscard]] QString path(const char* name) const { return m_fixture->path(name); }
    [[nodiscard]] bool start() {
        m_agent = startSampleAgent(QStringLiteral(AGENT_PROGRAM), m_fixture->path(""), m_port);
        return m_port != 0;
    }
    void sendSignal(int number) const { ::kill(pid_t(m_agent->processId()), number); }
    [[nodiscard]] VLServicePtr connectedClient() {
        const VLServicePtr service = m_fixture->manualClient(u"127.0.0.1"_s, m_port);
        return QTest::qWaitFor([&] { return isReady(service); }, patience) ? service : nullptr;
    }

private Q_SLOTS:
    void init() {
        m_fixture = std::make_unique<ClientsFixture>();
        m_port = 0;
        QVERIFY(writeFile(path("console.crt"), consoleIdentity().certificate));
        QCOMPARE(runProgram(QStringLiteral(AGENT_PROGRAM),
                            {u"--make-sample"_s, path("sample"), u"--profile"_s, u"2"_s})
                     .exitCode,
                 0);
        QVERIFY(start());
    }
    void cleanup() {
        m_fixture.reset();
        sendSignal(SIGKILL);
        m_agent->waitForFinished(patience);
    }

    /// A call that the agent will never answer fails as soon as the agent is gone; the record connects again
    /// by itself as soon as there is an agent again, however often that takes.
    void lossDuringACall() {
        const VLServicePtr service = connectedClient();
        QVERIFY(service);
        sendSignal(SIGSTOP);
        std::atomic<bool> isFailed{false};
        onWorker([&] {
            try {
                service->proxyObject()->perform(u"addonryPluginList"_s);
            } catch (const VLException& exception) {
                isFailed = exception.name() == VLException::inaccessible;
            }
        });
        QTest::qWait(100);
        QVERIFY(!isFailed);
        sendSignal(SIGKILL);
        QVERIFY(m_agent->waitForFinished(patience));
        QTRY_VERIFY_WITH_TIMEOUT(isFailed && !service->isConnected(), 5'000);
        // Several attempts fail meanwhile.
        QTRY_VERIFY_WITH_TIMEOUT(countLines(logLines(), u"Attempting to reconnect to Edit Bay"_s) > 2,
                                 patience);

        QVERIFY(start());
        QTRY_VERIFY_WITH_TIMEOUT(isReady(service), patience);
        QVERIFY(service->connectionError().isEmpty());
        QVERIFY(!service->proxyObject()->perform(u"addonryPluginList"_s).toList().isEmpty());
    }

    void relaunch() {
        const VLServicePtr service = connectedClient();
        QVERIFY(service);
        const VLProxyObjectPtr former = service->proxyObject();
        onWorker([former] { former->perform(u"relaunch"_s); });
        QTRY_VERIFY_WITH_TIMEOUT(isReady(service) && service->proxyObject() != former, patience);
        QCOMPARE(m_agent->state(), QProcess::Running);
    }
};

ORLENDO_TEST_MAIN(AgentRestartTest)
#include "agent_restart_test.moc"
