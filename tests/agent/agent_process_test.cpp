#include "agent/TestFiles.h"
#include "agent/sample/SampleTree.h"
#include "remote/VLConnection.h"
#include "support/Programs.h"
#include "system/VLException.h"
#include "system/VLLocalPaths.h"

#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace std::chrono_literals;

/// The real program, on a sample workstation, on the loopback interface.
class AgentProcessTest : public QObject {
    Q_OBJECT

    TlsIdentity m_console = TlsIdentity::create("console");
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QProcess> m_process;

    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }
    bool authorize() { return writeFile(path("sample/state/authorized/console.crt"), m_console.certificate); }
    /// The port, or 0.
    quint16 start() {
        m_process = std::make_unique<QProcess>();
        m_process->start(AGENT_PROGRAM, {"--root", path("sample"), "--no-advertise"});
        return readAgentPort(*m_process);
    }
    std::unique_ptr<VLConnection> connectTo(quint16 port) {
        VLConnectionOptions options;
        options.identity = m_console;
        options.pins = std::make_shared<PinnedCertificates>(path("pins"));
        options.client = options.label = "edit-bay-1.local.";
        return std::make_unique<VLConnection>("127.0.0.1", port, std::move(options));
    }
    [[nodiscard]] ProgramResult runAgent(const QStringList& arguments) const {
        return runProgram(AGENT_PROGRAM, QStringList{"--root", path("sample")} + arguments);
    }

private Q_SLOTS:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        VLLocalPaths::setTestRoot(path("local"));
        SampleTree::make(path("sample"), 1);
    }
    void cleanup() { m_process.reset(); }

    void answersAConsole() {
        QVERIFY(authorize());
        const auto connection = connectTo(start());
        const auto proxy = connection->rootProxy();
        QVERIFY(!proxy->respondsToSelector("selfDestruct"));
        const QVariantMap configuration = proxy->perform("initialConfiguration").toMap();
        QCOMPARE(configuration.value("preferredHostName"), QVariant("edit-bay-1.local."));
        const QVariantList plugins = proxy->perform("addonryPluginList").toList();
        QCOMPARE(plugins.size(), 16);
        QVERIFY(proxy->perform("computerIcon").toByteArray().startsWith("\x89PNG"));
        QCOMPARE(proxy->perform("systemSpecs").toMap().value("consoleUser"), QVariant("anna"));
        try {
            proxy->perform("logWithFilename:", {"missing.log"});
            QFAIL("a log that is not there was found");
        } catch (const VLException& error) {
            QVERIFY(error.reason().contains("missing.log"));
        }
        QCOMPARE(kill(static_cast<pid_t>(m_process->processId()), SIGINT), 0);
        QVERIFY(hasEnded(*m_process, 0));
    }

    void servesOnlyConsolesThatAreAuthorized() {
        const quint16 port = start();
        QVERIFY(port != 0);
        QVERIFY_EXCEPTION_THROWN(connectTo(port)->rootProxy()->perform("ping"), VLException);
        QVERIFY(authorize());  // while it runs
        const auto connection = connectTo(port);
        connection->rootProxy()->perform("ping");
        QVERIFY(connection->isValid());
    }

    void printsItsFingerprint() {
        const ProgramResult first = runAgent({"--print-fingerprint"});
        QCOMPARE(first.exitCode, 0);
        QCOMPARE(runAgent({"--print-fingerprint"}).output, first.output);
        QCOMPARE(first.output.trimmed(), certificateFingerprint(contentsOf(path("sample/state/agent.crt"))));
    }

    void saysWhyItCannotStart() {
        const ProgramResult second = runAgent({"--no-advertise", "--port", QString::number(start())});
        QCOMPARE(second.exitCode, 1);
        QVERIFY(second.messages.startsWith("corvalin-agent: "));
        const ProgramResult lost = runAgent({"--root", path("nowhere"), "--state", path("state")});
        QCOMPARE(lost.exitCode, 1);
        QVERIFY(lost.messages.contains("nowhere"));
    }
};

QTEST_GUILESS_MAIN(AgentProcessTest)
#include "agent_process_test.moc"
