#include "remote/CallbackObject.h"
#include "remote/support/HostileAgent.h"
#include "remote/support/TransportFixture.h"
#include "support/TestEnvironment.h"
#include "support/TestTable.h"

#include <QElapsedTimer>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Fault)

namespace {

const QString fatal = u"addonryPluginList"_s;  // sets the agent off; it answers all else with the selector

struct HostileFixture : TransportFixture {
    explicit HostileFixture(Fault fault)
        : hostile({fault, fatal, [](const QString& selector) { return QVariant(selector); }}) {
        limits.messageBytes = 1024 * 1024;
        limits.heartbeatInterval = 200ms;
        limits.heartbeatTimeout = 2'000ms;
    }
    [[nodiscard]] std::unique_ptr<ServingThread> connect() const {
        return TransportFixture::connect(hostile.port(), [this](VLConnection& connection) {
            connection.rootProxy()->perform(u"setErrorCallback:"_s,
                                            {QVariant::fromValue<VLCallbackTargetPtr>(target)});
        });
    }
    HostileAgent hostile;
    std::shared_ptr<CollectingTarget> target = std::make_shared<CollectingTarget>();
};

bool answersOtherwise(const ServingThread& client) {
    return client.proxy().perform(u"systemSpecs"_s, {}, 10s).toString() == u"systemSpecs"_s;
}

}  // namespace

/// Peers with a valid key over real sockets: whatever they answer, the call fails with a clear error, and in
/// time; where the error is inside one answer only, the connection goes on.
class TransportHostileAgentTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void a_fault_fails_the_call_and_no_more_than_it_must_data() {
        const TestTable<Fault, QString, QString> row("fault", "name", "reason");
        const QString wrong = VLException::invalidArgument, lost = VLException::inaccessible;
        row("unknown value", Fault::UnknownValue, wrong, u"unknown kind"_s);
        row("unknown outcome", Fault::UnknownOutcome, wrong, u"unknown kind"_s);
        row("endless list", Fault::EndlessList, wrong, u"malformed"_s);
        row("broken text", Fault::BrokenText, wrong, u"UTF-8"_s);
        row("impossible date", Fault::ImpossibleDate, wrong, u"out of range"_s);
        row("too deep", Fault::TooDeep, wrong, u"deep"_s);
        row("remote error", Fault::RemoteError, VLException::generic, u"made to fail"_s);
        row("garbage", Fault::Garbage, lost, u"no message"_s);
        row("announces too much", Fault::TooLarge, lost, u"larger than allowed"_s);
        row("sends too much", Fault::LargerThanLimit, lost, u"larger than allowed"_s);
        row("closes mid-answer", Fault::CloseMidAnswer, lost, u"The other end"_s);  // may come as a reset
        row("resets", Fault::Reset, lost, u"broke the connection off"_s);
        row("falls silent", Fault::Silence, lost, u"no sign of life"_s);
        row("floods blindly", Fault::FloodBlindly, lost, u"floods us"_s);
    }
    void a_fault_fails_the_call_and_no_more_than_it_must() {
        QFETCH(Fault, fault);
        QFETCH(QString, name);
        QFETCH(QString, reason);
        const HostileFixture fixture(fault);
        const auto client = fixture.connect();
        QElapsedTimer timer;
        timer.start();
        const VLException raised = raisedBy([&] { client->proxy().perform(fatal, {}, 30s); });
        QCOMPARE(raised.name(), name);
        QVERIFY2(raised.reason().contains(reason), qPrintable(raised.reason()));
        QVERIFY2(timer.elapsed() < 5'000, "found out too late");
        QCOMPARE(fixture.hostile.triggered(), 1);
        if (name != VLException::inaccessible) {
            QVERIFY(answersOtherwise(*client));
            return;
        }
        QVERIFY(client->ends(5s));
        QVERIFY2(client->lossReason().contains(reason), qPrintable(client->lossReason()));
        QCOMPARE(raisedBy([&] { (void)answersOtherwise(*client); }).name(), VLException::inaccessible);
        const double pendingAndPaced = 1 + 4 * (double(timer.elapsed()) / 1'000 + 1);
        QVERIFY(double(fixture.target->count()) <= fixture.limits.pendingCallbacks * pendingAndPaced);
        // The machine may be repaired: a new connection works, until it happens again.
        QVERIFY(answersOtherwise(*fixture.connect()));
    }

    void what_an_agent_responds_to_is_learnt_once_data() {
        const TestTable<Fault, QString, std::optional<QStringList>, int> row("fault", "trigger", "selectors",
                                                                             "asked");
        row("listed", Fault::None, fatal, QStringList{u"systemSpecs"_s, u"qmasterJobs:"_s}, 0);
        row("an older agent", Fault::None, fatal, std::nullopt, 2);
        row("names that nobody knows", Fault::None, fatal,
            QStringList{u"qmasterJobs"_s.repeated(5'000), u"systemSpecs"_s, u"nonsense"_s}, 0);
        row("more than there can be", Fault::None, fatal, QStringList(5'000, u"systemSpecs"_s), 2);
        row("the list never comes", Fault::NoAnswer, u"selectors"_s, std::nullopt, 2);
    }
    void what_an_agent_responds_to_is_learnt_once() {
        QFETCH(Fault, fault);
        QFETCH(QString, trigger);
        QFETCH(std::optional<QStringList>, selectors);
        QFETCH(int, asked);
        const TransportFixture fixture;
        HostileAgent::Options options{fault, trigger, {}, selectors};
        const HostileAgent agent(options);
        const auto client = fixture.connect(agent.port());
        for (int time = 0; time < 3; ++time) {
            QVERIFY(client->proxy().respondsToSelector(u"systemSpecs"_s, 10s));
            QVERIFY(!client->proxy().respondsToSelector(u"qmasterJobs"_s, 10s));
        }
        QCOMPARE(agent.asked(), asked);
        client->control().invalidate();
        QCOMPARE(raisedBy([&] { (void)client->proxy().respondsToSelector(u"systemSpecs"_s); }).name(),
                 VLException::inaccessible);
    }

    void no_answer_at_all_is_the_callers_time_limit() {
        const HostileFixture fixture(Fault::NoAnswer);
        const auto client = fixture.connect();
        QVERIFY(VLException::didTimeout(raisedBy([&] { client->proxy().perform(fatal, {}, 300ms); })));
        // Calls that nobody answers hold up no others, and end when the connection is ended.
        VLException raised(u"none"_s, {});
        std::thread stuck([&] { raised = raisedBy([&] { client->proxy().perform(fatal); }); });
        QTRY_COMPARE(fixture.hostile.triggered(), 2);
        QVERIFY(answersOtherwise(*client));
        client->control().invalidate();
        stuck.join();
        QCOMPARE(raised.name(), VLException::inaccessible);
    }

    void a_flood_of_callbacks_is_let_in_at_a_steady_pace() {
        HostileFixture fixture(Fault::FloodCallbacks);
        fixture.limits = RemoteLimits();
        fixture.limits.pendingCallbacks = 200;
        const auto client = fixture.connect();
        QElapsedTimer timer;
        timer.start();
        client->proxy().perform(fatal);
        for (int call = 0; call < 20; ++call) {
            QVERIFY(answersOtherwise(*client));
            std::this_thread::sleep_for(10ms);
        }
        const auto seconds = double(timer.elapsed()) / 1'000 + 0.5;
        QVERIFY(fixture.target->count() >= 200);
        QVERIFY(double(fixture.target->count()) <= 200 + seconds * 4 * 200);
        QVERIFY(client->control().isValid());
    }

    /// One callback may be as large as it likes; those after it wait until it is paid for.
    void large_callbacks_are_paced_by_their_bytes() {
        kj::EventLoop loop;
        kj::WaitScope scope(loop);
        kj::TimerImpl timer(kj::origin<kj::TimePoint>());
        RemoteLimits limits;
        limits.callbackBytesPerSecond = 1'000;
        CallbackGate gate(timer, limits);
        kj::Promise<void> large = gate.enter(5'000), small = gate.enter(10);
        QVERIFY(large.poll(scope) && !small.poll(scope));
        for (const auto& [seconds, isIn] : {std::pair(3, false), std::pair(5, true)}) {
            timer.advanceTo(kj::origin<kj::TimePoint>() + seconds * kj::SECONDS);
            QCOMPARE(small.poll(scope), isIn);
        }
    }
};

ORLENDO_TEST_MAIN(TransportHostileAgentTest)
#include "transport_hostile_agent_test.moc"
