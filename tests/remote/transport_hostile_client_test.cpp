#include "remote/HandshakeSlots.h"
#include "remote/support/DeafConsole.h"
#include "remote/support/RawPeer.h"
#include "remote/support/TransportFixture.h"
#include "support/TestEnvironment.h"
#include "support/TestTable.h"

#include <list>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

QByteArray messageHead(quint32 words) {
    const quint32 head[2] = {0, words};
    return QByteArray(reinterpret_cast<const char*>(head), sizeof head);
}

}  // namespace

/// Clients over real sockets that are no consoles: the agent drops them, and serves the others meanwhile.
class TransportHostileClientTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void bad_bytes_end_their_own_connection_data() {
        const TestTable<bool, QByteArray> row("authorized", "bytes");
        row("no TLS", false, "GET / HTTP/1.1\r\n\r\n");
        row("TLS record of nonsense", false,
            QByteArray("\x16\x03\x01\x02\x00", 5).append(QByteArray(512, '\xff')));
        row("garbage", true, QByteArray(4096, '\xa5'));
        row("too large a message", true, messageHead(1u << 27));
        row("too many segments", true, QByteArray(8, '\x7f'));
    }
    void bad_bytes_end_their_own_connection() {
        QFETCH(bool, authorized);
        QFETCH(QByteArray, bytes);
        const TransportFixture fixture;
        const auto server = fixture.serve();
        const auto console = fixture.connect(server->port());
        RawPeer peer(server->port());
        if (authorized) {
            QVERIFY(peer.startTls(&fixture.console));
            QVERIFY(peer.sendTls(bytes));
        } else {
            peer.send(bytes);
        }
        QVERIFY(peer.isClosed());
        QTRY_COMPARE(server->connectionCount(), 1);
        QVERIFY(works(*console));
    }

    void silent_clients_keep_nobody_out() {
        TransportFixture fixture;
        fixture.limits.connect = 1'000ms;
        auto options = fixture.serverOptions();
        options.maximumConnections = 3;
        const auto server = fixture.serve(options);
        std::list<RawPeer> silent;
        for (int index = 0; index < 10; ++index)
            silent.emplace_back(server->port());
        QVERIFY(works(*fixture.connect(server->port())));
        for (RawPeer& peer : silent)
            QVERIFY(peer.isClosed());
    }

    void connections_that_are_reset_at_once_keep_nobody_out() {
        const TransportFixture fixture;
        const auto server = fixture.serve();
        for (int index = 0; index < 300; ++index) {
            const auto socket =
                SocketConnector::connect(u"127.0.0.1"_s, server->port(), Deadline(std::chrono::seconds(10)));
            const linger atOnce{1, 0};
            QCOMPARE(::setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce), 0);
        }
        QVERIFY(works(*fixture.connect(server->port())));
    }

    void control_operations_get_past_a_hung_one_and_the_end_does_not_wait_for_it_for_ever() {
        TransportFixture fixture;
        Gate relaunched;
        for (const QString& selector : {u"ping"_s, u"relaunch"_s})
            fixture.root->on(selector, [&](const QVariantList&, quint64) {
                relaunched.open();
                return QVariant(true);
            });
        auto server = fixture.serve();
        const auto console = fixture.connect(server->port());
        std::thread caller([&] { (void)raisedBy([&] { console->proxy().perform(u"wait"_s); }); });
        QVERIFY(fixture.root->arrived.wait());
        QVERIFY(console->proxy().perform(u"ping"_s, {}, 10s).toBool());
        console->proxy().perform(u"relaunch"_s);
        QVERIFY(relaunched.wait());
        QVERIFY(VLException::didTimeout(raisedBy([&] { console->proxy().perform(u"echo:"_s, {1}, 100ms); })));

        QVERIFY(!server->stop(50ms));
        server.reset();
        caller.join();
        QCOMPARE(fixture.root->closedPeers.load(), 0);
        fixture.root->release.open();
        QTRY_COMPARE(fixture.root->closedPeers.load(), 1);
    }

    /// The oldest of a console goes for its newest, and never for another console's.
    void no_more_connections_than_allowed() {
        const TransportFixture fixture;
        const TlsIdentity other = TlsIdentity::create(u"console"_s);  // of the same name
        auto options = fixture.serverOptions();
        options.maximumConnections = 3;
        options.connectionsPerConsole = 2;
        options.authorizedCertificates =
            [certificates = QList{fixture.console.certificate, other.certificate}] { return certificates; };
        const auto server = fixture.serve(options);
        auto otherOptions = fixture.options();
        otherOptions.identity = other;
        const auto connectOther = [&] {
            return std::make_unique<ServingThread>(u"127.0.0.1"_s, server->port(), otherOptions);
        };
        auto otherConsole = connectOther();
        const auto first = fixture.connect(server->port());
        const auto second = fixture.connect(server->port());
        const auto third = fixture.connect(server->port());
        QVERIFY(works(*second) && works(*third) && works(*otherConsole));
        QVERIFY(raisedBy([&] { (void)works(*first); }).name() != u"none"_s);
        QCOMPARE(raisedBy([&] { (void)connectOther(); }).name(), VLException::inaccessible);  // a fourth
        otherConsole.reset();
        QTRY_COMPARE(server->connectionCount(), 2);
        QVERIFY(works(*connectOther()));
    }

    void crowds_give_way_data() {
        using Slot = std::pair<const char*, bool>;  // address, has spoken
        const TestTable<QList<Slot>, QByteArrayList, int> row("crowd", "known", "dropped");
        row("room for all", {{"10.0.0.1", false}, {"10.0.0.1", false}}, {}, -1);
        row("the oldest", {{"10.0.0.1", false}, {"10.0.0.2", false}, {"10.0.0.3", false}}, {}, 0);
        row("of who has most", {{"10.0.0.1", false}, {"10.0.0.2", true}, {"10.0.0.2", true}}, {}, 1);
        row("the silent one", {{"10.0.0.1", true}, {"10.0.0.1", false}, {"10.0.0.2", false}}, {}, 1);
        row("the silent stranger", {{"10.0.0.1", true}, {"10.0.0.2", true}, {"10.0.0.3", false}}, {}, 2);
        row("one network is one",
            {{"2001:db8::1:1:1:1", false}, {"2001:db8::2:2:2:2", false}, {"2001:db9::1", false}}, {}, 0);
        row("but not of mapped addresses",
            {{"::ffff:10.0.0.1", true}, {"::ffff:10.0.0.2", false}, {"::ffff:10.0.0.3", true}}, {}, 1);
        row("who is known stays", {{"10.0.0.1", false}, {"10.0.0.1", false}, {"10.0.0.2", true}},
            {"10.0.0.1"}, 2);
    }
    void crowds_give_way() {
        using Slot = std::pair<const char*, bool>;
        QFETCH(QList<Slot>, crowd);
        QFETCH(QByteArrayList, known);
        HandshakeSlots handshakes(2);
        for (const QByteArray& address : known)
            handshakes.letIn(QString::fromLatin1(address));
        for (qsizetype id = 0; id < crowd.size(); ++id)
            handshakes.add(quint64(id), QString::fromLatin1(crowd[id].first));
        const auto dropped = handshakes.crowdedOut([&](quint64 id) { return crowd[qsizetype(id)].second; });
        QTEST(dropped ? int(*dropped) : -1, "dropped");
    }

    /// Consoles that call and do not read get few answers made, and all of them once they read.
    void answers_that_nobody_reads_are_bounded_data() {
        const TestTable<int, int> row("consoles", "mostAnswers");
        row("one", 1, 2);
        row("many", 4, 3);
    }
    void answers_that_nobody_reads_are_bounded() {
        QFETCH(int, consoles);
        QFETCH(int, mostAnswers);
        constexpr int calls = 6;
        TransportFixture fixture;
        fixture.limits.unsentBytes = 8 << 20;
        fixture.limits.allUnsentBytes = 16 << 20;
        const QVariantMap logs{{u"log"_s, QByteArray(6 << 20, 'x')}};
        fixture.root->setAnswer(u"gatherLogs"_s, logs);
        const auto server = fixture.serve();
        const auto honest = fixture.connect(server->port());
        std::list<DeafConsole> deaf;
        for (int index = 0; index < consoles; ++index)
            deaf.emplace_back(server->port(), fixture.console, fixture.agent.certificate, "gatherLogs"_ba,
                              calls);
        QTRY_VERIFY(fixture.root->calls(u"gatherLogs"_s) > 0);
        QTest::qWait(500);
        QVERIFY2(fixture.root->calls(u"gatherLogs"_s) <= mostAnswers,
                 qPrintable(QString::number(fixture.root->calls(u"gatherLogs"_s))));
        QVERIFY(works(*honest));
        for (DeafConsole& console : deaf)
            console.hear();
        QCOMPARE(honest->proxy().perform(u"gatherLogs"_s, {}, 10s).toMap(), logs);
        for (DeafConsole& console : deaf)
            QTRY_COMPARE_WITH_TIMEOUT(console.answers(), calls, 20'000);
    }

    void only_the_newest_tls_and_known_certificates_are_let_in() {
        const TransportFixture fixture;
        const auto server = fixture.serve();
        QVERIFY(!RawPeer(server->port()).startTls(&fixture.console, TLS1_2_VERSION));
        QVERIFY(RawPeer(server->port()).startTls(&fixture.console));
        const TlsIdentity stranger = TlsIdentity::create(u"console"_s);
        for (const TlsIdentity* identity : {static_cast<const TlsIdentity*>(nullptr), &stranger}) {
            RawPeer peer(server->port());
            (void)peer.startTls(identity);
            (void)peer.sendTls(messageHead(1));
            QVERIFY(peer.isClosed());
        }
        QTRY_COMPARE(server->connectionCount(), 0);
    }

    void more_operations_than_may_wait_are_refused() {
        TransportFixture fixture;
        fixture.limits.pendingCallbacks = 4;
        const auto server = fixture.serve();
        const auto console = fixture.connect(server->port());
        std::atomic_int done = 0, refused = 0;
        std::vector<std::thread> callers;
        const auto call = [&] {
            const auto raised = raisedBy([&] { console->proxy().perform(u"wait"_s); });
            ++(raised.name() == VLException::generic ? refused : done);
        };
        callers.emplace_back(call);
        QVERIFY(fixture.root->arrived.wait());
        for (int index = 0; index < 10; ++index)
            callers.emplace_back(call);
        QTRY_COMPARE(refused.load(), 6);
        // Asking what it can do, and the heartbeat, do not stand in that line.
        QVERIFY(console->proxy().respondsToSelector(u"wait"_s));
        fixture.root->release.open();
        for (auto& caller : callers)
            caller.join();
        QCOMPARE(done.load(), 5);
    }
};

ORLENDO_TEST_MAIN(TransportHostileClientTest)
#include "transport_hostile_client_test.moc"
