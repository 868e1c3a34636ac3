#include "remote/FakeRemote.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "support/TestEnvironment.h"
#include "support/TestTable.h"
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
        const TestTable<QString, QString, bool, QStringList> table("primitive", "state", "sent", "lines");
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
            const auto row = [&](const char* state, bool sent, const QStringList& lines) {
                table(qPrintable(primitive.name + u", "_s + state), primitive.name, state, sent,
                      QStringList(primitive.first) + lines);
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

    /// Every operation of the table to a client that is in error or disabled: which ones get through.
    void permissions() {
        const QStringList always{u"systemSpecs"_s,
                                 u"computerIcon:"_s,
                                 u"validateUsername:password:"_s,
                                 u"populateVLLogFilenames"_s,
                                 u"logWithFilename:"_s,
                                 u"gatherLogs"_s};
        const QStringList updates{u"listVelmoraSoftwareUpdates"_s,
                                  u"fetchSoftwareUpdateAvailableUpdateCount"_s};
        const struct {
            QString primitive;
            int error;
            QStringList sent;
        } rows[] = {{u"execute"_s, 2007, {u"disconnect"_s, u"relaunch"_s}},
                    {u"execute"_s, 0, {}},
                    {u"read"_s, 2007, always + updates},
                    {u"read"_s, 0, always}};
        for (const auto& row : rows) {
            SingleBench bench;
            bench.client()->error = row.error;
            bench.client()->isEnabled = row.error != 0;
            for (const auto& operation : VLCorvalinServerProtocol::operations())
                if (operation.side == VLCorvalinServerProtocol::Side::Agent)
                    (void)bench.use(row.primitive, QString::fromLatin1(operation.selector));
            QStringList sent;
            for (const auto& call : bench.client()->proxy->sent())
                sent.append(call.first);
            QCOMPARE(sent, row.sent);
            QCOMPARE(bench.client()->connectAttempts.load(), 0);
        }
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
        const TestTable<std::exception_ptr, QString, bool> table("exception", "reason", "staysConnected");
        const auto row = [&](const char* name, const auto& exception, const char* reason,
                             bool stays = false) {
            table(name, std::make_exception_ptr(exception), reason, stays);
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
        const TestTable<QString, QVariant, QString> row("selector", "answer", "received");
        row("right", list, QVariantList{1}, {});
        row("dictionary for list", list, QVariantMap(), u"expected array, received dictionary"_s);
        row("data for text", u"logWithFilename:"_s, QByteArray("x"), u"expected string, received data"_s);
        row("number for truth value", u"validateUsername:password:"_s, 1, {});
        row("unknown operation", u"somethingElse"_s, QVariantList(), {});
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
