// What the connection troubleshooter says about which failure, and when it opens; client information.

#include "app/AppController.h"
#include "clients/support/ClientsFixture.h"
#include "clients/troubleshooter/PortTest.h"
#include "clients/troubleshooter/ProblemTexts.h"
#include "support/SampleService.h"
#include "support/TestTable.h"

#include <QGuiApplication>
#include <QSignalSpy>
#include <QTcpSocket>

namespace {

using Kind = ConnectionProblem::Kind;

/// What a real client can meet.
struct Stage {
    ClientsFixture fixture{1h};
    QTcpServer server;
    LoopbackAgent agent;

    VLServicePtr stranger(const QByteArray& greeting) {
        server.listen(QHostAddress::LocalHost);
        QObject::connect(&server, &QTcpServer::newConnection, [this, greeting] {
            while (QTcpSocket* socket = server.nextPendingConnection()) {
                socket->write(greeting);
                socket->disconnectFromHost();
            }
        });
        return fixture.manualClient(u"127.0.0.1"_s, server.serverPort());
    }
    VLServicePtr make(Kind kind) {
        switch (kind) {
            case Kind::BadAddress:
                return fixture.manualClient(u"300.1.1.1"_s, 5473);
            case Kind::HostNotFound: {  // a label this long is refused without asking any name server
                VLNetService service = netService(u"Edit Bay"_s, QString(70, u'a'), 5473);
                service.addresses.clear();
                return fixture.discoveredClient(service);
            }
            case Kind::HungUp:
                return stranger({});
            case Kind::NotCorvalin:
                return stranger("220 mail.example ready\r\n");
            case Kind::NotAuthorized:
                fixture.environment.identity = otherAgentIdentity();
                fixture.apply();
                return fixture.manualClient(agent);
            case Kind::ChangedKey:
                fixture.environment.pins->pin(u"%1:%2"_s.arg(agent.address()).arg(agent.port()),
                                              otherAgentIdentity().certificate);
                return fixture.manualClient(agent);
            case Kind::NotInstalled:
                agent.root->setAnswer("fetchInitialConfiguration:", u"hello"_s);
                return fixture.manualClient(agent);
            default:
                return fixture.manualClient(u"127.0.0.1"_s, deadPort());
        }
    }
};

}  // namespace

class TroubleshooterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyKindHasItsWords() {
        const ProblemTexts::Subject subject{u"<b>{port}</b>"_s, u"192.168.1.9"_s, 5473};
        QSet<QString> titles;
        for (int kind = Kind::None + 1; kind <= Kind::Other; ++kind) {
            const ConnectionProblem problem = ProblemTexts::describe(Kind(kind), subject);
            QVERIFY2(!problem.title.isEmpty() && !problem.steps.isEmpty(), qPrintable(problem.asText()));
            titles << problem.title;
            const QString rest = problem.asText().remove(subject.name);
            QVERIFY2(!rest.contains(u'{') && !rest.contains(u'|'), qPrintable(rest));
        }
        QCOMPARE(titles.size(), Kind::Other);
        const QString advice = ProblemTexts::describe(Kind::NotAuthorized, subject).asText();
        QVERIFY(advice.contains(u"orlendo --export-certificate"_s));
        QVERIFY(advice.contains(u"corvalin-agent --authorize"_s));
    }

    void tellsFailuresApart_data() {
        QTest::addColumn<int>("kind");
        for (const Kind kind : {Kind::Refused, Kind::BadAddress, Kind::HostNotFound, Kind::HungUp,
                                Kind::NotCorvalin, Kind::NotAuthorized, Kind::ChangedKey, Kind::NotInstalled})
            QTest::addRow("%s", qPrintable(ConnectionProblem::titleOf(kind))) << int(kind);
    }
    void tellsFailuresApart() {
        QFETCH(int, kind);
        Stage stage;
        const VLServicePtr client = stage.make(Kind(kind));
        QTRY_COMPARE(ConnectionProblem::kindOf(*client), Kind(kind));
        QVERIFY(!ConnectionProblem::of(*client).reason.isEmpty());
    }

    void theMostPressingCounts_data() {
        const TestTable<bool, ConnectionFailure, int, int> row("connected", "failure", "code", "kind");
        using enum ConnectionFailure;
        row("fine", true, None, 0, Kind::None);
        row("outdated, now off", false, Refused, 2006, Kind::Refused);
        row("back, code remains", true, AgentFault, 2008, Kind::NoConfiguration);
        row("code says more", false, Other, 2001, Kind::NotInstalled);
        row("code alone", false, None, 2007, Kind::SuiteOutdated);
        row("old agent", true, None, 2006, Kind::AgentOutdated);
        row("silent", false, Silent, 0, Kind::Silent);
        row("not announced", false, NotAnnounced, 0, Kind::NotAnnounced);
        row("no route", false, connectionFailure(EHOSTUNREACH), 0, Kind::Unreachable);
        row("time-out", false, connectionFailure(ETIMEDOUT), 0, Kind::NoAnswer);
    }
    void theMostPressingCounts() {
        QFETCH(bool, connected);
        QFETCH(ConnectionFailure, failure);
        QFETCH(int, code);
        SampleService record(u"Edit Bay"_s, {});
        record.showState(connected, failure, code);
        QTEST(int(ConnectionProblem::kindOf(record)), "kind");
        const ClientsFixture fixture;  // its console is build 1040
        record.showState(true, ConnectionFailure::None);
        record.showConfiguration({{u"minAdminVersion"_s, 1041LL}});
        QCOMPARE(ConnectionProblem::kindOf(record), Kind::ConsoleOutdated);
        record.setEnabled(false);
        QCOMPARE(ConnectionProblem::kindOf(record), Kind::Disabled);
    }

    void triesEachAddress() {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        PortTest test;
        QMap<int, bool> outcomes;
        connect(&test, &PortTest::outcomeReady, this, [&](const PortTest::Outcome& outcome) {
            outcomes.insert(outcome.target.port, outcome.open);
            QVERIFY(!outcome.text.isEmpty());
        });
        const QSignalSpy finished(&test, &PortTest::finished);
        const int closed = deadPort();
        test.start({{u"127.0.0.1"_s, server.serverPort()}, {u"127.0.0.1"_s, closed}, {{}, 1}});
        QVERIFY(test.isRunning());
        QTRY_COMPARE(finished.count(), 1);
        QVERIFY(!test.isRunning());
        QCOMPARE(outcomes, (QMap<int, bool>{{server.serverPort(), true}, {closed, false}, {1, false}}));

        test.start({{u"127.0.0.1"_s, server.serverPort()}});
        test.cancel();
        QVERIFY(VLThread::joinAll(10s));
        QCoreApplication::processEvents();
        QCOMPARE(finished.count(), 1);
        QCOMPARE(outcomes.size(), 3);
    }

    void opensByItselfOnce_data() {
        const TestTable<bool> row("unattended");
        row("with somebody there", false);
        row("with nobody there", true);
    }
    void opensByItselfOnce() {
        QFETCH(bool, unattended);
        AppController controller({});
        controller.setBrowses(false);
        controller.setUnattended(unattended);
        QVERIFY(controller.init());
        controller.awakeFromNib();
        const auto record = std::make_shared<SampleService>(u"Edit Bay"_s, QString());
        record->showState(false, ConnectionFailure::Refused);
        controller.services().addServiceToList(record);
        QSignalSpy requested(&controller.troubleshooter(), &ConnectionTroubleshooter::requested);
        const auto post = [&](const char* name, const QVariantMap& userInfo) {
            VLNotificationCenter::defaultCenter().postNotification(QLatin1String(name), {}, userInfo);
            QCoreApplication::processEvents();
        };
        const QVariantMap about{{u"service"_s, QVariant::fromValue(VLServicePtr(record))}};
        post("vlCorvalinServiceConnectFailed",
             {{u"service"_s, QVariant::fromValue(
                                 VLServicePtr(std::make_shared<SampleService>(u"Edit Bay"_s, QString())))}});
        QCOMPARE(requested.count(), 0);
        post("vlCorvalinServiceConnectFailed", about);
        post("vlCorvalinServiceConnectFailed", about);
        QCOMPARE(requested.count(), unattended ? 0 : 1);
        QCOMPARE(controller.troubleshooter().wasAutoLaunched(), !unattended);
        if (!unattended) QVERIFY(requested.first().at(1).toBool());

        controller.troubleshooter().setVisible(true);
        QCOMPARE(controller.troubleshooter().failingClients().rowCount(), 1);
        record->showState(true, ConnectionFailure::None);
        post("VLCorvalinServiceInvalidated", about);
        QCOMPARE(controller.troubleshooter().failingClients().rowCount(), 0);
        requested.clear();
        controller.troubleshooter().showConnectionTroubleshooter(nullptr);
        QCOMPARE(requested.count(), 1);
        QVERIFY(!requested.first().at(1).toBool());
        QVERIFY(controller.shutDown());
        VLThread::reset();
        MainThread::resume();
    }

    void presentsWhatAgentsTell() {
        const QDateTime date(QDate(2024, 1, 31), QTime(12, 0), Qt::UTC);
        const QString unknown = u"unknown"_s;
        const auto shown = [](const QVariantMap& configuration, const QVariantMap& machine,
                              const QString& title) {
            SampleService record(u"Edit Bay"_s, {});
            record.showConfiguration(configuration);
            for (const ClientInfo::Row& row : ClientInfo::of(record, u"Offline Editing"_s, machine).rows)
                if (row.title == title) return row.value;
            return u"no row"_s;
        };
        const struct {
            const char* key;
            QVariant sent;
            QString title, value;
        } rows[] = {{"version", 1040LL, "Agent version", u"1040"_s},
                    {"version", u"1040"_s, "Agent version", unknown},
                    {"other", {}, "Agent version", u"not reported"_s},
                    {"minAdminVersion", 1e300, "Needs console", unknown},
                    {"maintenanceRequested", true, "Maintenance",
                     u"Not requested"_s},  // the record's own flag counts
                    {"maintenanceRequested", u"yes"_s, "Maintenance", unknown},
                    {"availableUpdateCountLastUpdate", date, "Last counted",
                     QLocale().toString(date.toLocalTime(), QLocale::LongFormat)},
                    {"other", {}, "Key fingerprint", u"none"_s},
                    {"other", {}, "Group", u"Offline Editing"_s}};
        for (const auto& row : rows)
            QCOMPARE(shown({{row.key, row.sent}}, {}, row.title), row.value);
        // What it tells about the machine.
        const QVariantMap machine{{u"processor"_s, u"G5 <b>\n2.5 GHz"_s},
                                  {u"memoryBytes"_s, 4LL << 30},
                                  {u"videoCard2"_s, QVariantList{1, 2}},
                                  {u"fast"_s, true}};
        QCOMPARE(shown({}, machine, u"Processor"_s), u"G5 <b> 2.5 GHz"_s);
        QCOMPARE(shown({}, machine, u"Memory"_s), QLocale().formattedDataSize(4LL << 30, 1));
        QCOMPARE(shown({}, machine, u"Video card2"_s), u"2 values"_s);
        QCOMPARE(shown({}, machine, u"Fast"_s), u"Yes"_s);
        QCOMPARE(shown({}, {{u"processor"_s, 5LL}}, u"Processor"_s), unknown);
        QCOMPARE(shown({}, {{u"memoryBytes"_s, -1LL}}, u"Memory"_s), unknown);
    }
};

ORLENDO_GUI_TEST_MAIN(TroubleshooterTest)
#include "troubleshooter_test.moc"
