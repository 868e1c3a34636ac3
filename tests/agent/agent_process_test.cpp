#include "agent/TestFiles.h"
#include "agent/sample/SampleTree.h"
#include "remote/VLConnection.h"
#include "system/VLException.h"
#include "system/VLLocalPaths.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <mutex>

using namespace std::chrono_literals;

namespace {

constexpr int patience = 30'000;  // milliseconds; far more than it takes

/// The console's callback object: notes what the agent says.
class NotingTarget : public VLCallbackTarget {
public:
    QVariant receive(const QString& selector, const QVariantList& arguments, const QString&) override {
        const std::lock_guard lock(m_mutex);
        m_received.append(selector + u' ' + arguments.value(0).toString());
        return {};
    }
    [[nodiscard]] bool has(const QString& text) {
        const std::lock_guard lock(m_mutex);
        return m_received.contains(text);
    }

private:
    std::mutex m_mutex;
    QStringList m_received;
};

}  // namespace

/// The real program, on a sample workstation, on the loopback interface.
class AgentProcessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void answersAConsole();
    void refusesStrangers();
    void consoleAuthorizedLaterMayConnect();
    void maintenanceIsAskedForAndCancelled();
    void disconnectEndsTheProcess();
    void relaunchComesBackOnTheSamePort();
    void endsOnSignals_data();
    void endsOnSignals();
    void printsItsFingerprint();
    void saysWhyItCannotStart();

private:
    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }
    bool authorize() { return writeFile(path("sample/state/authorized/console.crt"), m_console.certificate); }
    /// Starts the agent and waits for its ready line. The port that it names, or 0.
    quint16 start();
    quint16 readPort();
    std::unique_ptr<VLConnection> connectTo(quint16 port);
    /// Serves the connection until the console has been told `text`.
    static bool serveUntil(VLConnection& connection, NotingTarget& target, const QString& text);
    int runOnce(const QStringList& arguments, QByteArray* output = nullptr);

    TlsIdentity m_console = TlsIdentity::create(QStringLiteral("console"));
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<QProcess> m_process;
};

void AgentProcessTest::init() {
    m_folder = std::make_unique<QTemporaryDir>();
    VLLocalPaths::setTestRoot(path("local"));
    SampleTree::make(path("sample"), 1);
}

void AgentProcessTest::cleanup() {
    if (!m_process) return;
    m_process->kill();
    m_process->waitForFinished(patience);
    m_process.reset();
}

quint16 AgentProcessTest::start() {
    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::SeparateChannels);
    m_process->start(QStringLiteral(AGENT_PROGRAM),
                     {QStringLiteral("--root"), path("sample"), QStringLiteral("--no-advertise")});
    return m_process->waitForStarted(patience) ? readPort() : 0;
}

quint16 AgentProcessTest::readPort() {
    static const QRegularExpression ready(
        QStringLiteral("^corvalin-agent Edit Bay 1 listening on 127\\.0\\.0\\.1:(\\d+)$"));
    QElapsedTimer timer;
    timer.start();
    while (!m_process->canReadLine() && timer.elapsed() < patience) {
        if (!m_process->waitForReadyRead(100) && m_process->state() == QProcess::NotRunning) return 0;
    }
    const auto match = ready.match(QString::fromUtf8(m_process->readLine()).trimmed());
    return match.captured(1).toUShort();
}

std::unique_ptr<VLConnection> AgentProcessTest::connectTo(quint16 port) {
    VLConnectionOptions options;
    options.identity = m_console;
    options.pins = std::make_shared<PinnedCertificates>(path("pins"));
    options.client = QStringLiteral("edit-bay-1.local.");
    options.label = options.client;
    return std::make_unique<VLConnection>(QStringLiteral("127.0.0.1"), port, std::move(options));
}

bool AgentProcessTest::serveUntil(VLConnection& connection, NotingTarget& target, const QString& text) {
    QElapsedTimer timer;
    timer.start();
    while (!target.has(text) && connection.isValid() && timer.elapsed() < patience)
        connection.serve(50ms);
    return target.has(text);
}

int AgentProcessTest::runOnce(const QStringList& arguments, QByteArray* output) {
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(AGENT_PROGRAM), arguments);
    if (!process.waitForFinished(patience) || process.exitStatus() != QProcess::NormalExit) return -1;
    if (output) *output = process.readAll();
    return process.exitCode();
}

void AgentProcessTest::answersAConsole() {
    QVERIFY(authorize());
    const quint16 port = start();
    QVERIFY(port != 0);
    const auto connection = connectTo(port);
    const auto proxy = connection->rootProxy();
    QVERIFY(proxy->respondsToSelector(QStringLiteral("fetchInitialConfiguration:")));
    QVERIFY(!proxy->respondsToSelector(QStringLiteral("selfDestruct")));
    const QVariantMap configuration = proxy->perform(QStringLiteral("initialConfiguration")).toMap();
    QCOMPARE(configuration.value("preferredHostName"), QVariant("edit-bay-1.local."));
    const QVariantList plugins = proxy->perform(QStringLiteral("addonryPluginList")).toList();
    QCOMPARE(plugins.size(), 16);
    QVERIFY(plugins.first().toMap().value("moddate").toDateTime().isValid());
    QVERIFY(proxy->perform(QStringLiteral("varispotSystemInfo")).toMap().contains("Plugins"));
    QVERIFY(proxy->perform(QStringLiteral("computerIcon")).toByteArray().startsWith("\x89PNG"));
    QVERIFY(proxy->perform(QStringLiteral("gatherLogs")).toMap().size() > 4);
    try {
        proxy->perform(QStringLiteral("logWithFilename:"), {QStringLiteral("missing.log")});
        QFAIL("a log that is not there was found");
    } catch (const VLException& error) {
        QVERIFY(error.reason().contains("missing.log"));
    }
    QVERIFY(connection->isValid());
}

void AgentProcessTest::refusesStrangers() {
    const quint16 port = start();
    QVERIFY(port != 0);
    QVERIFY_EXCEPTION_THROWN(connectTo(port)->rootProxy()->perform(QStringLiteral("ping")), VLException);
}

void AgentProcessTest::consoleAuthorizedLaterMayConnect() {
    const quint16 port = start();
    QVERIFY(port != 0);
    QVERIFY(authorize());
    const auto connection = connectTo(port);
    connection->rootProxy()->perform(QStringLiteral("ping"));
    QVERIFY(connection->isValid());
}

void AgentProcessTest::maintenanceIsAskedForAndCancelled() {
    QVERIFY(authorize());
    const quint16 port = start();
    QVERIFY(port != 0);
    const auto connection = connectTo(port);
    const auto target = std::make_shared<NotingTarget>();
    const auto proxy = connection->rootProxy();
    proxy->perform(QStringLiteral("setErrorCallback:"), {QVariant::fromValue<VLCallbackTargetPtr>(target)});
    proxy->perform(QStringLiteral("initialConfiguration"));  // answered after the oneway call was carried out
    QCOMPARE(runOnce({QStringLiteral("--root"), path("sample"), QStringLiteral("--request-maintenance")}), 0);
    QVERIFY(serveUntil(*connection, *target, QStringLiteral("requestMaintenance: edit-bay-1.local.")));
    QCOMPARE(proxy->perform(QStringLiteral("initialConfiguration")).toMap().value("maintenanceRequested"),
             QVariant(true));
    proxy->perform(QStringLiteral("cancelMaintenanceRequest"));
    QVERIFY(serveUntil(*connection, *target, QStringLiteral("cancelMaintenance: edit-bay-1.local.")));

    QVERIFY(writeFile(
        path("sample/state/updates.plist"),
        PropertyList::toData(QVariantMap{{"updates", QVariantList{QVariantMap{{"title", "New"}}}}})));
    // The watcher may see the file while it is being written: touching the folder once more settles it.
    QVERIFY(writeFile(path("sample/state/touched"), ""));
    QVERIFY(serveUntil(*connection, *target, QStringLiteral("updateConfig: edit-bay-1.local.")));
}

void AgentProcessTest::disconnectEndsTheProcess() {
    QVERIFY(authorize());
    const quint16 port = start();
    QVERIFY(port != 0);
    const auto connection = connectTo(port);
    const auto target = std::make_shared<NotingTarget>();
    const auto proxy = connection->rootProxy();
    proxy->perform(QStringLiteral("setErrorCallback:"), {QVariant::fromValue<VLCallbackTargetPtr>(target)});
    proxy->perform(QStringLiteral("disconnect"));
    QVERIFY(serveUntil(*connection, *target, QStringLiteral("willDisconnect: edit-bay-1.local.")));
    QElapsedTimer timer;
    timer.start();
    while (connection->isValid() && timer.elapsed() < patience)
        connection->serve(50ms);
    QVERIFY(!connection->isValid());
    QVERIFY(m_process->waitForFinished(patience));
    QCOMPARE(m_process->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_process->exitCode(), 0);
}

void AgentProcessTest::relaunchComesBackOnTheSamePort() {
    QVERIFY(authorize());
    const quint16 port = start();
    QVERIFY(port != 0);
    const qint64 processId = m_process->processId();
    for (int round = 0; round < 2; ++round) {
        const auto connection = connectTo(port);
        connection->rootProxy()->perform(QStringLiteral("relaunch"));
        connection->serve(50ms);
        QCOMPARE(readPort(), port);
    }
    QCOMPARE(m_process->processId(), processId);
    const auto connection = connectTo(port);  // with the same key: the pin still holds
    QCOMPARE(connection->rootProxy()->perform(QStringLiteral("addonryPluginList")).toList().size(), 16);
}

void AgentProcessTest::endsOnSignals_data() {
    QTest::addColumn<int>("signal");
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void AgentProcessTest::endsOnSignals() {
    QFETCH(int, signal);
    QVERIFY(authorize());
    const quint16 port = start();
    QVERIFY(port != 0);
    const auto connection = connectTo(port);
    QCOMPARE(kill(static_cast<pid_t>(m_process->processId()), signal), 0);
    QVERIFY(m_process->waitForFinished(patience));
    QCOMPARE(m_process->exitStatus(), QProcess::NormalExit);
    QCOMPARE(m_process->exitCode(), 0);
}

void AgentProcessTest::printsItsFingerprint() {
    QByteArray first;
    QByteArray second;
    const QStringList arguments{QStringLiteral("--root"), path("sample"),
                                QStringLiteral("--print-fingerprint")};
    QCOMPARE(runOnce(arguments, &first), 0);
    QCOMPARE(runOnce(arguments, &second), 0);
    QCOMPARE(first, second);
    QFile certificate(path("sample/state/agent.crt"));
    QVERIFY(certificate.open(QIODevice::ReadOnly));
    QCOMPARE(QString::fromUtf8(first).trimmed(), certificateFingerprint(certificate.readAll()));
}

void AgentProcessTest::saysWhyItCannotStart() {
    const quint16 port = start();
    QVERIFY(port != 0);
    QByteArray output;
    QCOMPARE(runOnce({QStringLiteral("--root"), path("sample"), QStringLiteral("--no-advertise"),
                      QStringLiteral("--port"), QString::number(port)},
                     &output),
             1);
    QVERIFY(output.startsWith("corvalin-agent: "));
    QVERIFY(runOnce({QStringLiteral("--root"), path("nowhere"), QStringLiteral("--state"), path("state")},
                    &output) == 1);
    QVERIFY(output.contains("nowhere"));
}

QTEST_GUILESS_MAIN(AgentProcessTest)
#include "agent_process_test.moc"
