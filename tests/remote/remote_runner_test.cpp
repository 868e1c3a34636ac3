#include "remote/RemoteRunner.h"
#include "remote/RunnerBench.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"

#include <stdexcept>

namespace {

using namespace std::chrono_literals;
enum class Primitive { Execute, Read, Task };
enum class Fault { ErrorCode, Disabled };

const QString list = QStringLiteral("addonryPluginList");

}  // namespace
Q_DECLARE_METATYPE(std::function<QVariant()>)

class RemoteRunnerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void singleClient_data();
    void singleClient();
    void permissions_data();
    void permissions();
    void arguments();
    void failures_data();
    void failures();
    void timeLimits();
    void answersAreChecked_data();
    void answersAreChecked();
};

void RemoteRunnerTest::singleClient_data() {
    QTest::addColumn<Primitive>("primitive");
    QTest::addColumn<QString>("state");
    QTest::addColumn<bool>("sent");
    QTest::addColumn<QStringList>("lines");
    const QString launching = latin("Launching task..."),
                  performing = latin("Performing method on remote object...");
    const QString unable = latin("Unable to connect to server c0"),
                  unableTask = latin("Unable to connect to c0");
    const struct {
        const char* name;
        Primitive primitive;
        QString first, sending, unable;
        QStringList unknown;
    } kinds[] = {
        {"execute",
         Primitive::Execute,
         latin("Executing remote method setNetworkClientSettings: on host c0"),
         performing,
         unable,
         {latin("Proxy object doesn't respond to selector setNetworkClientSettings:")}},
        {"read",
         Primitive::Read,
         latin("Getting object from remote method setNetworkClientSettings: on host c0"),
         performing,
         unable,
         {latin("Proxy object doesn't respond to selector setNetworkClientSettings:")}},
        {"task",
         Primitive::Task,
         latin("Getting object from remote task 0 for app com.velmora.settlekeep with options (null) on host "
               "c0"),
         launching,
         unableTask,
         {launching}},
    };
    for (const auto& kind : kinds) {
        const auto row = [&kind](const char* state, bool sent, const QStringList& lines) {
            QTest::addRow("%s, %s", kind.name, state)
                << kind.primitive << latin(state) << sent << (QStringList{kind.first} + lines);
        };
        row("usable", true, {kind.sending});
        row("error", false, {});
        row("disabled", false, {});
        row("not connected", false, {kind.unable});
        row("no proxy", false, {kind.unable});
        row("connects at once", true, {kind.sending});
        row("unknown selector", false, kind.unknown);
    }
}

void RemoteRunnerTest::singleClient() {
    QFETCH(Primitive, primitive);
    QFETCH(QString, state);
    Bench bench;
    bench.addClients(1);
    const FakeClientPtr client = bench.clients.first();
    const bool connects = state == latin("connects at once");
    client->error = state == latin("error") ? 2001 : 0;
    client->isEnabled = state != latin("disabled");
    client->connected = state != latin("not connected") && !connects;
    client->hasProxy = state != latin("no proxy");
    client->connectsAtOnce = connects;
    const QString method = latin("setNetworkClientSettings:");
    if (state == latin("unknown selector"))
        client->proxy->unknownSelector =
            primitive == Primitive::Task ? latin("executeTask:bundleID:options:") : method;

    const qsizetype before = logLines().size();
    switch (primitive) {
        case Primitive::Execute:
            bench.runner.executeRemoteMethod(method, QVariantMap(), {}, client);
            break;
        case Primitive::Read:
            QVERIFY(!bench.runner.objectFromRemoteMethod(method, QVariantMap(), {}, client).isValid());
            break;
        case Primitive::Task:
            bench.runner.executeRemoteTask(latin("0"), latin("com.velmora.settlekeep"), {}, client);
            break;
    }
    QTEST(logLines().mid(before), "lines");
    QTEST(!client->proxy->sent().isEmpty(), "sent");
    const bool mustConnect = connects || state == latin("not connected") || state == latin("no proxy");
    QCOMPARE(client->connectAttempts.load(), mustConnect ? 1 : 0);
    QVERIFY(!client->processing);
    QVERIFY(bench.failures.isEmpty());
}

void RemoteRunnerTest::permissions_data() {
    QTest::addColumn<Primitive>("primitive");
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<QStringList>("sent");
    const QStringList always{latin("systemSpecs"),
                             latin("computerIcon:"),
                             latin("validateUsername:password:"),
                             latin("populateVLLogFilenames"),
                             latin("logWithFilename:"),
                             latin("gatherLogs")};
    const QStringList updates{latin("listVelmoraSoftwareUpdates"),
                              latin("fetchSoftwareUpdateAvailableUpdateCount")};
    QTest::newRow("execute in error")
        << Primitive::Execute << Fault::ErrorCode << QStringList{latin("disconnect"), latin("relaunch")};
    QTest::newRow("execute disabled") << Primitive::Execute << Fault::Disabled << QStringList();
    QTest::newRow("read in error") << Primitive::Read << Fault::ErrorCode << (always + updates);
    QTest::newRow("read disabled") << Primitive::Read << Fault::Disabled << always;
}

/// Every operation of the table to a client that is not usable: which ones get through.
void RemoteRunnerTest::permissions() {
    QFETCH(Primitive, primitive);
    QFETCH(Fault, fault);
    Bench bench;
    bench.addClients(1);
    const FakeClientPtr client = bench.clients.first();
    if (fault == Fault::ErrorCode)
        client->error = 2007;
    else
        client->isEnabled = false;
    for (const auto& operation : VLCorvalinServerProtocol::operations()) {
        if (operation.side != VLCorvalinServerProtocol::Side::Agent) continue;
        const QString selector = latin(operation.selector);
        if (primitive == Primitive::Execute)
            bench.runner.executeRemoteMethod(selector, {}, {}, client);
        else
            static_cast<void>(bench.runner.objectFromRemoteMethod(selector, {}, {}, client));
    }
    QStringList sent;
    for (const auto& call : client->proxy->sent())
        sent.append(call.first);
    QTEST(sent, "sent");
    QCOMPARE(client->connectAttempts.load(), 0);
}

/// A selector gets as many arguments as it has places for.
void RemoteRunnerTest::arguments() {
    Bench bench;
    bench.addClients(1);
    const QVariantMap options{{latin("keep"), true}};
    const FakeClientPtr client = bench.clients.first();
    bench.runner.executeRemoteMethod(latin("qmasterStartSharing"), 1, 2, client);
    bench.runner.executeRemoteMethod(latin("consolidateCrashLogs:"), options, QVariantMap(), client);
    bench.runner.executeRemoteMethod(latin("addonryEnablePlugin:settings:"), {}, options, client);
    bench.runner.executeRemoteTask(latin("1"), latin("b"), options, client);
    QList<QVariantList> sent;
    for (const auto& call : client->proxy->sent())
        sent.append(call.second);
    const QList<QVariantList> expected{
        {}, {options}, {QVariant(), options}, {latin("1"), latin("b"), options}};
    QCOMPARE(sent, expected);
}

void RemoteRunnerTest::failures_data() {
    QTest::addColumn<std::function<QVariant()>>("answer");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<bool>("staysConnected");
    const auto row = [](const char* name, std::function<QVariant()> answer, const char* reason,
                        bool staysConnected = false) {
        QTest::newRow(name) << std::move(answer) << latin(reason) << staysConnected;
    };
    row(
        "agent", []() -> QVariant { throw VLException(latin("X"), latin("disk full")); }, "disk full");
    row(
        "agent without reason", []() -> QVariant { throw VLException(latin("X"), {}); }, "X");
    row(
        "suite error",
        []() -> QVariant {
            throw VLException(latin("X"), latin("1000"),
                              {{latin("domain"), latin("corvalinDomain")},
                               {latin("code"), 1000},
                               {latin("info"), latin("Motion")}});
        },
        "Application Motion not found.");
    row(
        "time-out", []() -> QVariant { throw VLException(VLException::portTimeout, latin("r")); },
        "The computer did not answer in time.");
    row(
        "lost", []() -> QVariant { throw VLException(VLException::inaccessible, latin("r")); },
        "The connection to the computer was lost.");
    row(
        "wrong answer", []() -> QVariant { throw VLException(VLException::invalidArgument, latin("r")); },
        "r");
    row(
        "arguments that cannot be sent",
        []() -> QVariant { throw VLUnsentCallException(VLException::invalidArgument, latin("r")); }, "r",
        true);
    row(
        "other", []() -> QVariant { throw std::runtime_error("oops"); }, "oops");
}

/// Logged, the client is not connected any more if it may be to blame, the queue hears of it, and the caller
/// goes on.
void RemoteRunnerTest::failures() {
    QFETCH(std::function<QVariant()>, answer);
    QFETCH(QString, reason);
    Bench bench;
    bench.addClients(1, [answer](const QString&, const QVariantList&) { return answer(); });
    const FakeClientPtr client = bench.clients.first();
    const qsizetype before = logLines().size();
    QVERIFY(!bench.runner.objectFromRemoteMethod(list, {}, {}, client).isValid());
    QTEST(client->connected.load(), "staysConnected");
    QVERIFY(!client->processing);
    const QString line = logLines().mid(before).last();
    QVERIFY2(
        line.startsWith(latin("Exception in -[AppController objectFromRemoteMethod:withObject:withObject:"
                              "service:]. ")),
        qPrintable(line));
    QCOMPARE(bench.failures,
             QStringList{latin("c0.local.: The operation \"addonryPluginList\" failed. ") + reason});
}

/// Reads end in time; what is only executed may take as long as it needs.
void RemoteRunnerTest::timeLimits() {
    Bench bench;
    bench.addClients(1);
    const FakeClientPtr client = bench.clients.first();
    RemoteRunner& runner = bench.runner;
    const auto limitOf = [&](const std::function<void()>& call) {
        client->proxy->probeLimit = client->proxy->performLimit = std::chrono::hours(1);
        call();
        return client->proxy->probeLimit.load() == 10s ? client->proxy->performLimit.load() : -1s;
    };
    QCOMPARE(limitOf([&] { (void)runner.objectFromRemoteMethod(list, {}, {}, client); }), 60s);
    QCOMPARE(limitOf([&] { (void)runner.objectFromRemoteMethod(latin("computerIcon"), {}, {}, client); }),
             300s);
    QCOMPARE(limitOf([&] { (void)runner.objectFromRemoteTask(latin("1"), latin("b"), {}, client); }), 60s);
    QCOMPARE(limitOf([&] { runner.executeRemoteMethod(list, {}, {}, client); }), noTimeLimit);
    QCOMPARE(limitOf([&] { runner.executeRemoteTask(latin("1"), latin("b"), {}, client); }), noTimeLimit);
}

void RemoteRunnerTest::answersAreChecked_data() {
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QVariant>("answer");
    QTest::addColumn<QString>("received");  // empty when the answer passes
    const auto row = [](const char* name, const char* selector, const QVariant& answer,
                        const char* received) {
        QTest::newRow(name) << latin(selector) << answer << latin(received);
    };
    row("right", "addonryPluginList", QVariantList{1}, "");
    row("dictionary for list", "addonryPluginList", QVariantMap(), "expected array, received dictionary");
    row("text for list", "addonryPluginList", latin("x"), "expected array, received string");
    row("data for text", "logWithFilename:", QByteArray("x"), "expected string, received data");
    row("list for dictionary", "varispotSystemInfo", QVariantList(), "expected dictionary, received array");
    row("number for truth value", "validateUsername:password:", 1, "");
    row("anything", "systemSpecs", 4.5, "");
    row("unknown operation", "somethingElse", QVariantList(), "");
}

void RemoteRunnerTest::answersAreChecked() {
    QFETCH(QString, selector);
    QFETCH(QVariant, answer);
    QFETCH(QString, received);
    Bench bench;
    bench.addClients(1, [answer](const QString&, const QVariantList&) { return answer; });
    const FakeClientPtr client = bench.clients.first();
    const qsizetype before = logLines().size();
    const QVariant result = bench.runner.objectFromRemoteMethod(selector, {}, {}, client);
    QVERIFY(client->connected);
    if (received.isEmpty()) {
        QCOMPARE(result, answer);
        QVERIFY(bench.failures.isEmpty());
        return;
    }
    QVERIFY(!result.isValid());
    QCOMPARE(logLines().mid(before).last(),
             latin("Client c0 answered %1 with the wrong type: %2.").arg(selector, received));
    QCOMPARE(bench.failures,
             QStringList{
                 latin("c0.local.: The answer to \"%1\" has the wrong type: %2.").arg(selector, received)});
}

ORLENDO_TEST_MAIN(RemoteRunnerTest)
#include "remote_runner_test.moc"
