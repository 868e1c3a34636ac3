#include "remote/VLConnection.h"
#include "remote/support/HostileAgent.h"
#include "remote/support/TransportFixture.h"
#include "support/TestEnvironment.h"

#include <QElapsedTimer>

using namespace std::chrono_literals;

Q_DECLARE_METATYPE(Fault)

namespace {

TransportFixture impatient() {
    TransportFixture fixture;
    fixture.limits.messageBytes = 1024 * 1024;
    fixture.limits.heartbeatInterval = 200ms;
    fixture.limits.heartbeatTimeout = 2'000ms;
    return fixture;
}

}  // namespace

/// Peers with a valid key over real sockets: whatever they answer, the call fails with a clear error, and in
/// time; where the error is inside one answer only, the connection goes on.
class TransportHostileAgentTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void a_fault_fails_the_call_and_no_more_than_it_must_data() {
        QTest::addColumn<Fault>("fault");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("goesOn");
        QTest::addColumn<QString>("reason");
        QTest::newRow("unknown value")
            << Fault::UnknownValue << VLException::invalidArgument << true << QStringLiteral("unknown kind");
        QTest::newRow("unknown outcome") << Fault::UnknownOutcome << VLException::invalidArgument << true
                                         << QStringLiteral("unknown kind");
        QTest::newRow("broken pointer")
            << Fault::BrokenPointer << VLException::invalidArgument << true << QStringLiteral("malformed");
        QTest::newRow("endless list")
            << Fault::EndlessList << VLException::invalidArgument << true << QStringLiteral("malformed");
        QTest::newRow("broken text") << Fault::BrokenText << VLException::invalidArgument << true
                                     << QStringLiteral("UTF-8");
        QTest::newRow("impossible date") << Fault::ImpossibleDate << VLException::invalidArgument << true
                                         << QStringLiteral("out of range");
        QTest::newRow("too deep") << Fault::TooDeep << VLException::invalidArgument << true
                                  << QStringLiteral("deep");
        QTest::newRow("remote error")
            << Fault::RemoteError << VLException::generic << true << QStringLiteral("made to fail");
        QTest::newRow("garbage") << Fault::Garbage << VLException::inaccessible << false
                                 << QStringLiteral("no message");
        QTest::newRow("announces too much")
            << Fault::TooLarge << VLException::inaccessible << false << QStringLiteral("larger than allowed");
        QTest::newRow("sends too much") << Fault::LargerThanLimit << VLException::inaccessible << false
                                        << QStringLiteral("larger than allowed");
        QTest::newRow("closes mid-answer") << Fault::CloseMidAnswer << VLException::inaccessible << false
                                           << QStringLiteral("The other end");  // the end may come as a reset
        QTest::newRow("resets") << Fault::Reset << VLException::inaccessible << false
                                << QStringLiteral("broke the connection off");
        QTest::newRow("falls silent")
            << Fault::Silence << VLException::inaccessible << false << QStringLiteral("no sign of life");
        QTest::newRow("floods blindly")
            << Fault::FloodBlindly << VLException::inaccessible << false << QStringLiteral("floods us");
    }
    void a_fault_fails_the_call_and_no_more_than_it_must() {
        QFETCH(Fault, fault);
        QFETCH(QString, name);
        QFETCH(bool, goesOn);
        QFETCH(QString, reason);
        const TransportFixture fixture = impatient();
        const HostileAgent agent({fault, QStringLiteral("addonryPluginList"),
                                  [](const QString& selector) { return QVariant(selector); }});
        auto target = std::make_shared<CollectingTarget>();
        const auto client = fixture.connect(agent.port(), [&](VLConnection& connection) {
            connection.rootProxy()->perform(QStringLiteral("setErrorCallback:"),
                                            {QVariant::fromValue<VLCallbackTargetPtr>(target)});
        });
        QElapsedTimer timer;
        timer.start();
        const VLException raised =
            raisedBy([&] { client->proxy().perform(QStringLiteral("addonryPluginList"), {}, 30s); });
        QCOMPARE(raised.name(), name);
        QVERIFY2(raised.reason().contains(reason), qPrintable(raised.reason()));
        QVERIFY2(timer.elapsed() < 5'000, "found out too late");
        QCOMPARE(agent.triggered(), 1);

        if (goesOn) {
            QCOMPARE(client->proxy().perform(QStringLiteral("systemSpecs")).toString(),
                     QStringLiteral("systemSpecs"));
            return;
        }
        QVERIFY(client->ends(5s));
        QVERIFY2(client->lossReason().contains(reason), qPrintable(client->lossReason()));
        QCOMPARE(raisedBy([&] { client->proxy().perform(QStringLiteral("systemSpecs")); }).name(),
                 VLException::inaccessible);
        const double pendingAndPaced = 1 + 4 * (double(timer.elapsed()) / 1'000 + 1);
        QVERIFY(double(target->count()) <= fixture.limits.pendingCallbacks * pendingAndPaced);
        // The machine may be repaired: a new connection works, until it happens again.
        const auto again = fixture.connect(agent.port());
        QCOMPARE(again->proxy().perform(QStringLiteral("systemSpecs")).toString(),
                 QStringLiteral("systemSpecs"));
    }

    void no_answer_at_all_is_the_callers_time_limit() {
        const TransportFixture fixture = impatient();
        const HostileAgent agent({Fault::NoAnswer, QStringLiteral("addonryPluginList"),
                                  [](const QString& selector) { return QVariant(selector); }});
        const auto client = fixture.connect(agent.port());
        QVERIFY(VLException::didTimeout(
            raisedBy([&] { client->proxy().perform(QStringLiteral("addonryPluginList"), {}, 300ms); })));
        // Calls that nobody answers hold up no others, and end when the connection is ended.
        VLException raised(QStringLiteral("none"), {});
        std::thread stuck([&] {
            raised = raisedBy([&] { client->proxy().perform(QStringLiteral("addonryPluginList")); });
        });
        QTRY_COMPARE(agent.triggered(), 2);
        QCOMPARE(client->proxy().perform(QStringLiteral("systemSpecs")).toString(),
                 QStringLiteral("systemSpecs"));
        client->control().invalidate();
        stuck.join();
        QCOMPARE(raised.name(), VLException::inaccessible);
    }

    void a_flood_of_callbacks_is_let_in_at_a_steady_pace() {
        TransportFixture fixture;
        fixture.limits.pendingCallbacks = 200;
        const HostileAgent agent({Fault::FloodCallbacks, QStringLiteral("addonryPluginList"),
                                  [](const QString& selector) { return QVariant(selector); }});
        auto target = std::make_shared<CollectingTarget>();
        const auto client = fixture.connect(agent.port(), [&](VLConnection& connection) {
            connection.rootProxy()->perform(QStringLiteral("setErrorCallback:"),
                                            {QVariant::fromValue<VLCallbackTargetPtr>(target)});
        });
        QElapsedTimer timer;
        timer.start();
        client->proxy().perform(QStringLiteral("addonryPluginList"));
        for (int call = 0; call < 20; ++call) {
            const VLException raised =
                raisedBy([&] { client->proxy().perform(QStringLiteral("systemSpecs"), {}, 10s); });
            QCOMPARE(raised.name(), QStringLiteral("none"));
            std::this_thread::sleep_for(10ms);
        }
        const auto seconds = double(timer.elapsed()) / 1'000 + 0.5;
        QVERIFY(target->count() >= 200);
        QVERIFY(double(target->count()) <= 200 + seconds * 4 * 200);
        QVERIFY(client->control().isValid());
    }

    void faults_of_one_agent_leave_the_others_alone() {
        const TransportFixture fixture = impatient();
        const HostileAgent hostile({Fault::Garbage, {}, {}});
        const HostileAgent honest(
            {Fault::None, {}, [](const QString& selector) { return QVariant(selector); }});
        auto options = fixture.options();
        options.client = QStringLiteral("hostile");
        ServingThread bad(QStringLiteral("127.0.0.1"), hostile.port(), options);
        const auto good = fixture.connect(honest.port());
        QCOMPARE(raisedBy([&] { bad.proxy().perform(QStringLiteral("systemSpecs")); }).name(),
                 VLException::inaccessible);
        QCOMPARE(good->proxy().perform(QStringLiteral("systemSpecs")).toString(),
                 QStringLiteral("systemSpecs"));
    }
};

ORLENDO_TEST_MAIN(TransportHostileAgentTest)
#include "transport_hostile_agent_test.moc"
