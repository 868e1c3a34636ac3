#include "remote/FakeRemote.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"

#include <stdexcept>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

const QString list = u"addonryPluginList"_s, method = u"setNetworkClientSettings:"_s;
const QString bundle = u"com.velmora.settlekeep"_s;

/// One client and the runner's three ways to use it.
struct SingleBench : Bench {
    explicit SingleBench(const FakeProxy::Answer& answer = {}) { addClients(1, answer); }
    QVariant use(const QString& primitive, const QString& selector, const QVariant& argument = {}) {
        QVariant answer;
        const auto body = [&] { answer = useHere(primitive, selector, argument); };
        return onWorker(body) ? answer : u"stuck"_s;
    }
    QVariant useHere(const QString& primitive, const QString& selector, const QVariant& argument = {}) {
        if (primitive == u"read"_s) return runner.objectFromRemoteMethod(selector, argument, {}, client());
        if (primitive == u"task"_s)
            runner.executeRemoteTask(u"0"_s, bundle, {}, client());
        else
            runner.executeRemoteMethod(selector, argument, {}, client());
        return {};
    }
    [[nodiscard]] const FakeClientPtr& client() const { return clients.first(); }
};

}  // namespace
Q_DECLARE_METATYPE(std::exception_ptr)

class RemoteRunnerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void singleClient_data() {
        QTest::addColumn<QString>("primitive");
        QTest::addColumn<QString>("state");
        QTest::addColumn<bool>("sent");
        QTest::addColumn<QStringList>("lines");
        const QString performing = u"Performing method on remote object..."_s,
                      noSuch = u"Proxy object doesn't respond to selector "_s + method,
                      unable = u"Unable to connect to server c0"_s, launching = u"Launching task..."_s;
        const struct {
            QString name, first, sending, unable, unknown;
        } primitives[] = {
            {u"execute"_s, u"Executing remote method %1 on host c0"_s.arg(method), performing, unable,
             noSuch},
            {u"read"_s, u"Getting object from remote method %1 on host c0"_s.arg(method), performing, unable,
             noSuch},
            {u"task"_s,
             u"Getting object from remote task 0 for app %1 with options (null) on host c0"_s.arg(bundle),
             launching, u"Unable to connect to c0"_s, launching},
        };
        for (const auto& primitive : primitives) {
            const auto row = [&primitive](const char* state, bool sent, const QStringList& lines) {
                QTest::addRow("%s, %s", qPrintable(primitive.name), state)
                    << primitive.name << QString::fromLatin1(state) << sent
                    << (QStringList(primitive.first) + lines);
            };
            row("usable", true, {primitive.sending});
            row("error", false, {});
            row("disabled", false, {});
            row("not connected", false, {primitive.unable});
            row("no proxy", false, {primitive.unable});
            row("connects at once", true, {primitive.sending});
            row("unknown selector", false, {primitive.unknown});
        }
    }
    void singleClient() {
        QFETCH(QString, primitive);
        QFETCH(QString, state);
        SingleBench bench;
        FakeClient& client = *bench.client();
        const bool connects = state == u"connects at once"_s;
        client.error = state == u"error"_s ? 2001 : 0;
        client.isEnabled = state != u"disabled"_s;
        client.connected = state != u"not connected"_s && !connects;
        client.hasProxy = state != u"no proxy"_s;
        client.connectsAtOnce = connects;
        if (state == u"unknown selector"_s)
            client.proxy->unknownSelector =
                primitive == u"task"_s ? u"executeTask:bundleID:options:"_s : method;
        const qsizetype before = logLines().size();
        QVERIFY(!bench.use(primitive, method, QVariantMap()).isValid());
        QTEST(logLines().mid(before), "lines");
        QTEST(!client.proxy->sent().isEmpty(), "sent");
        QCOMPARE(client.connectAttempts.load(), client.hasProxy && client.connected && !connects ? 0 : 1);
        QVERIFY(!client.processing);
        QVERIFY(bench.failures.isEmpty());
    }

    void permissions_data() {
        QTest::addColumn<QString>("primitive");
        QTest::addColumn<int>("error");
        QTest::addColumn<QStringList>("sent");
        const QStringList always{u"systemSpecs"_s,
                                 u"computerIcon:"_s,
                                 u"validateUsername:password:"_s,
                                 u"populateVLLogFilenames"_s,
                                 u"logWithFilename:"_s,
                                 u"gatherLogs"_s};
        const QStringList updates{u"listVelmoraSoftwareUpdates"_s,
                                  u"fetchSoftwareUpdateAvailableUpdateCount"_s};
        QTest::newRow("execute in error")
            << u"execute"_s << 2007 << QStringList{u"disconnect"_s, u"relaunch"_s};
        QTest::newRow("execute disabled") << u"execute"_s << 0 << QStringList();
        QTest::newRow("read in error") << u"read"_s << 2007 << (always + updates);
        QTest::newRow("read disabled") << u"read"_s << 0 << always;
    }
    /// Every operation of the table to a client that is in error or disabled: which ones get through.
    void permissions() {
        QFETCH(QString, primitive);
        QFETCH(int, error);
        SingleBench bench;
        bench.client()->error = error;
        bench.client()->isEnabled = error != 0;
        for (const auto& operation : VLCorvalinServerProtocol::operations())
            if (operation.side == VLCorvalinServerProtocol::Side::Agent)
                (void)bench.use(primitive, QString::fromLatin1(operation.selector));
        QStringList sent;
        for (const auto& call : bench.client()->proxy->sent())
            sent.append(call.first);
        QTEST(sent, "sent");
        QCOMPARE(bench.client()->connectAttempts.load(), 0);
    }

    /// A selector gets as many arguments as it has places for.
    void arguments() {
        SingleBench bench;
        const QVariantMap options{{u"keep"_s, true}};
        const FakeClientPtr client = bench.client();
        QVERIFY(onWorker([&] {
            bench.runner.executeRemoteMethod(u"qmasterStartSharing"_s, 1, 2, client);
            bench.runner.executeRemoteMethod(u"consolidateCrashLogs:"_s, options, QVariantMap(), client);
            bench.runner.executeRemoteMethod(u"addonryEnablePlugin:settings:"_s, {}, options, client);
            bench.runner.executeRemoteTask(u"1"_s, u"b"_s, options, client);
        }));
        QList<QVariantList> sent;
        for (const auto& call : client->proxy->sent())
            sent.append(call.second);
        QCOMPARE(sent,
                 (QList<QVariantList>{{}, {options}, {QVariant(), options}, {u"1"_s, u"b"_s, options}}));
    }

    void failures_data() {
        QTest::addColumn<std::exception_ptr>("exception");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<bool>("staysConnected");
        const auto row = [](const char* name, const auto& exception, const char* reason, bool stays = false) {
            QTest::newRow(name) << std::make_exception_ptr(exception) << QString::fromLatin1(reason) << stays;
        };
        row("agent", VLException(u"X"_s, u"disk full"_s), "disk full");
        row("agent without reason", VLException(u"X"_s, {}), "X");
        const QVariantMap suiteError{
            {u"domain"_s, u"corvalinDomain"_s}, {u"code"_s, 1000}, {u"info"_s, u"Motion"_s}};
        row("suite error", VLException(u"X"_s, u"1000"_s, suiteError), "Application Motion not found.");
        row("time-out", VLException(VLException::portTimeout, u"r"_s),
            "The computer did not answer in time.");
        row("lost", VLException(VLException::inaccessible, u"r"_s),
            "The connection to the computer was lost.");
        row("wrong answer", VLException(VLException::invalidArgument, u"r"_s), "r");
        row("unsendable arguments", VLUnsentCallException(VLException::invalidArgument, u"r"_s), "r", true);
        row("other", std::runtime_error("oops"), "oops");
    }
    /// Logged, the client is not connected any more if it may be to blame, the queue hears of it, and the
    /// caller goes on.
    void failures() {
        QFETCH(std::exception_ptr, exception);
        QFETCH(QString, reason);
        SingleBench bench([exception](const QString&, const QVariantList&) -> QVariant {
            std::rethrow_exception(exception);
        });
        QVERIFY(!bench.use(u"read"_s, list).isValid());
        QTEST(bench.client()->connected.load(), "staysConnected");
        QVERIFY(!bench.client()->processing);
        QVERIFY(logLines().last().startsWith(
            u"Exception in -[AppController objectFromRemoteMethod:withObject:withObject:service:]. "_s));
        QCOMPARE(bench.failures,
                 QStringList{u"c0.local.: The operation \"addonryPluginList\" failed. "_s + reason});
    }

    /// Reads end in time; what is only executed may take as long as it needs.
    void timeLimits() {
        SingleBench bench;
        const auto limitOf = [&](const QString& primitive, const QString& selector) {
            FakeProxy& proxy = *bench.client()->proxy;
            proxy.probeLimit = proxy.performLimit = std::chrono::hours(1);
            (void)bench.use(primitive, selector);
            return proxy.probeLimit.load() == 10s ? proxy.performLimit.load() : -1s;
        };
        QCOMPARE(limitOf(u"read"_s, list), 60s);
        for (const char* selector : {"computerIcon", "gatherLogs", "logWithFilename:"})
            QCOMPARE(limitOf(u"read"_s, QLatin1String(selector)), 300s);
        QCOMPARE(limitOf(u"execute"_s, list), noTimeLimit);
        QCOMPARE(limitOf(u"task"_s, {}), noTimeLimit);
    }

    /// It would stand still for as long as the agent likes.
    void refusesTheMainThread() {
        for (const QString& primitive : {u"read"_s, u"execute"_s, u"task"_s}) {
            SingleBench bench([](const QString&, const QVariantList&) { return QVariantList{1}; });
            const qsizetype before = logLines().size();
            QVERIFY(!bench.useHere(primitive, list).isValid());
            QCOMPARE(logLines().mid(before),
                     QStringList{u"Error: trying to call a client on main thread. Aborting..."_s});
            QVERIFY(bench.client()->proxy->sent().isEmpty());
        }
    }

    void answersAreChecked_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QVariant>("answer");
        QTest::addColumn<QString>("received");  // empty when the answer passes
        QTest::newRow("right") << list << QVariant(QVariantList{1}) << QString();
        QTest::newRow("dictionary for list")
            << list << QVariant(QVariantMap()) << u"expected array, received dictionary"_s;
        QTest::newRow("data for text")
            << u"logWithFilename:"_s << QVariant(QByteArray("x")) << u"expected string, received data"_s;
        QTest::newRow("list for dictionary") << u"varispotSystemInfo"_s << QVariant(QVariantList())
                                             << u"expected dictionary, received array"_s;
        QTest::newRow("number for truth value")
            << u"validateUsername:password:"_s << QVariant(1) << QString();
        QTest::newRow("unknown operation") << u"somethingElse"_s << QVariant(QVariantList()) << QString();
    }
    void answersAreChecked() {
        QFETCH(QString, selector);
        QFETCH(QVariant, answer);
        QFETCH(QString, received);
        SingleBench bench([answer](const QString&, const QVariantList&) { return answer; });
        const QVariant result = bench.use(u"read"_s, selector);
        QVERIFY(bench.client()->connected);
        QCOMPARE(result, received.isEmpty() ? answer : QVariant());
        QCOMPARE(bench.failures.size(), received.isEmpty() ? 0 : 1);
        if (received.isEmpty()) return;
        QCOMPARE(logLines().last(),
                 u"Client c0 answered %1 with the wrong type: %2."_s.arg(selector, received));
        QCOMPARE(bench.failures.first(),
                 u"c0.local.: The answer to \"%1\" has the wrong type: %2."_s.arg(selector, received));
    }
};

ORLENDO_TEST_MAIN(RemoteRunnerTest)
#include "remote_runner_test.moc"
