#include "agent/sample/SampleTree.h"
#include "remote/VLErrorCallback.h"
#include "remote/support/TransportFixture.h"
#include "support/Programs.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

#include <csignal>

using namespace Qt::StringLiterals;

/// The real program on a sample workstation, which calls the console's real callback object.
class AgentProcessTest : public QObject {
    Q_OBJECT

    const QString m_host = u"edit-bay-2.local."_s;
    QTemporaryDir m_folder;
    TransportFixture m_fixture;
    QProcess m_process;
    std::unique_ptr<ServingThread> m_connection;
    std::mutex m_mutex;
    QStringList m_effects;

    [[nodiscard]] QString path(const QString& name) const { return m_folder.filePath(name); }
    [[nodiscard]] ProgramResult runAgent(const QStringList& arguments) const {
        return runProgram(AGENT_PROGRAM, QStringList{"--root", path("sample")} + arguments);
    }
    void note(const QString& effect) {
        const std::lock_guard lock(m_mutex);
        m_effects.append(effect);
    }
    [[nodiscard]] QStringList effects() {
        const std::lock_guard lock(m_mutex);
        return m_effects;
    }
    void perform(const char* selector, const QVariantList& arguments = {}) {
        (void)raisedBy([&] { m_connection->proxy().perform(QString::fromLatin1(selector), arguments); });
    }
    VLErrorCallback::Parent parent() {
        VLErrorCallback::Parent parent;
        parent.knowsHost = [this](const QString& host) { return host == m_host; };
        parent.setNeedsMaintenance = [this](const QString&, bool needed) {
            note(needed ? u"maintenance"_s : u"no maintenance"_s);
        };
        parent.fetchConfiguration = [this](const QString&) { note(u"fetch"_s); };
        parent.invalidate = [this](const QString&) { note(u"invalidate"_s); };
        parent.faultscopeAddLogs = [this](const QVariantList& logs, const QString&) {
            note(QString::number(logs.size()) + u" logs"_s);
        };
        parent.setSoftwareUpdateCount = [this](qlonglong count, const QString&) {
            note(QString::number(count) + u" updates"_s);
        };
        return parent;
    }

private Q_SLOTS:
    void initTestCase() { SampleTree::make(path("sample"), 2); }

    void printsItsFingerprint() {
        const ProgramResult first = runAgent({"--print-fingerprint"});
        QCOMPARE(first.exitCode, 0);
        QCOMPARE(runAgent({"--print-fingerprint"}).output, first.output);
        QCOMPARE(first.output.trimmed(), certificateFingerprint(contentsOf(path("sample/state/agent.crt"))));
    }

    /// Every callback has its effect in the console.
    void callsBack() {
        m_process.start(AGENT_PROGRAM, {"--root", path("sample"), "--no-advertise"});
        const quint16 port = readAgentPort(m_process);
        const QStringList anyPort{"--no-advertise", "--port", "0"};
        const QString ownState = path("own-state"), otherRoot = path("other-root");
        QVERIFY(QDir().mkpath(otherRoot));
        const ProgramResult refused[] = {runAgent(anyPort),
                                         runAgent(anyPort + QStringList{"--state", ownState})};
        for (const ProgramResult& second : refused)
            QVERIFY2(
                second.exitCode == 1 && second.messages.startsWith("corvalin-agent: Another agent runs on "),
                qPrintable(second.messages));
        const ProgramResult samePort = runProgram(
            AGENT_PROGRAM,
            {"--root", otherRoot, "--state", ownState, "--no-advertise", "--port", QString::number(port)});
        QVERIFY(samePort.exitCode == 1 && samePort.messages.contains("Cannot listen on"));
        const auto callback = std::make_shared<VLErrorCallback>(parent());
        const QVariant reference = QVariant::fromValue<VLCallbackTargetPtr>(callback);
        VLConnectionOptions options = m_fixture.options();
        options.client = options.label = m_host;
        const auto connect = [&] {
            m_connection = std::make_unique<ServingThread>(u"127.0.0.1"_s, port, options);
        };
        QCOMPARE(raisedBy(connect).name(), VLException::refused);
        QVERIFY(writeFile(path("sample/state/authorized/console.crt"), m_fixture.console.certificate));
        connect();
        perform("setErrorCallback:", {reference});
        perform("initialConfiguration");

        const auto isEffectOf = [this](const QString& effect, const std::function<void()>& cause) {
            const auto before = effects().count(effect);
            cause();
            return QTest::qWaitFor([&] { return effects().count(effect) > before; }, patience);
        };
        QVERIFY(isEffectOf(u"maintenance"_s, [&] { (void)runAgent({"--request-maintenance"}); }));
        QVERIFY(isEffectOf(u"no maintenance"_s, [&] { perform("cancelMaintenanceRequest"); }));
        QVERIFY(isEffectOf(u"1 updates"_s, [&] { perform("fetchSoftwareUpdateAvailableUpdateCount"); }));
        QVERIFY(isEffectOf(u"4 logs"_s, [&] { perform("crashLogsSinceDate:delegate:", {{}, reference}); }));
        QVERIFY(isEffectOf(u"fetch"_s, [&] {  // updateConfig:
            const QVariantMap updates{{"updates", QVariantList{1LL, 2LL}}};
            QVERIFY(writeFile(path("sample/state/updates.plist"), PropertyList::toData(updates)));
            QVERIFY(writeFile(path("sample/state/touched"), ""));
        }));
        QVERIFY(isEffectOf(u"fetch"_s, [&] { kill(pid_t(m_process.processId()), SIGHUP); }));
        QVERIFY(isEffectOf(u"fetch"_s, [&] {  // forceConfigReload:, for other settings
            QVariantMap settings = PropertyList::readFile(path("sample/agent.conf")).toMap();
            settings.insert("minAdminVersion", 2000LL);
            QVERIFY(writeFile(path("sample/agent.conf"), PropertyList::toData(settings)));
        }));
        QTRY_COMPARE(m_connection->proxy().perform("initialConfiguration").toMap().value("minAdminVersion"),
                     QVariant(2000LL));
        QTRY_VERIFY(logLines().contains(m_host + u" will reload config data."_s));

        QVERIFY(isEffectOf(u"invalidate"_s, [&] { perform("disconnect"); }));
        QVERIFY(hasEnded(m_process, 0));
        m_connection.reset();
    }
};

ORLENDO_TEST_MAIN(AgentProcessTest)
#include "agent_process_test.moc"
