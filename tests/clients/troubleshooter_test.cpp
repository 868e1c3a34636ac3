// What the connection troubleshooter says about which failure, and when it opens; client information.

#include "app/AppController.h"
#include "clients/support/ClientsFixture.h"
#include "clients/troubleshooter/PortTest.h"
#include "clients/troubleshooter/ProblemTexts.h"
#include "support/NoMoreThreads.h"

#include <QAbstractItemModelTester>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTcpSocket>

namespace {

using Kind = ConnectionProblem::Kind;

/// A client in whatever state a test wants to see.
class Record : public VLService {
public:
    explicit Record(const QString& name = u"Edit Bay"_s) {
        setName(name);
        setHostName(name + u".local."_s);
    }
    void connectOnThread(VLCallbackTargetPtr) override {}
    void fail(ConnectionFailure failure) { setState(false, failure, 0); }
    void setState(bool connected, ConnectionFailure failure, int code) {
        m_isConnected = connected;
        m_connectionFailure = failure;
        m_connectionError.set(failure == ConnectionFailure::None ? QString() : u"the reason"_s);
        m_errorCode = code;
    }
    void setConfiguration(const QVariantMap& configuration) { m_configDict.set(configuration); }
};

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

QStringList names(const FailingClientsModel& model) {
    QStringList result;
    for (int row = 0; row < model.rowCount(); ++row)
        result << model.index(row).data().toString();
    return result;
}

}  // namespace

class TroubleshooterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyKindHasItsWords() {
        const ProblemTexts::Subject subject{u"<b>{port}</b>"_s, u"192.168.1.9"_s, 5473};
        QSet<QString> titles;
        for (int kind = Kind::None + 1; kind <= Kind::Other; ++kind) {
            const auto problem = ConnectionProblem{ProblemTexts::describe(Kind(kind), subject)};
            QCOMPARE(problem.kind, Kind(kind));
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
        QTest::addColumn<bool>("connected");
        QTest::addColumn<ConnectionFailure>("failure");
        QTest::addColumn<int>("code");
        QTest::addColumn<int>("kind");
        using enum ConnectionFailure;
        QTest::newRow("fine") << true << None << 0 << int(Kind::None);
        QTest::newRow("not tried yet") << false << None << 0 << int(Kind::None);
        QTest::newRow("outdated, now off") << false << Refused << 2006 << int(Kind::Refused);
        QTest::newRow("back, code remains") << true << AgentFault << 2008 << int(Kind::NoConfiguration);
        QTest::newRow("code says more") << false << Other << 2001 << int(Kind::NotInstalled);
        QTest::newRow("code alone") << false << None << 2007 << int(Kind::SuiteOutdated);
        QTest::newRow("old agent") << true << None << 2006 << int(Kind::AgentOutdated);
        QTest::newRow("silent") << false << Silent << 0 << int(Kind::Silent);
        QTest::newRow("not announced") << false << NotAnnounced << 0 << int(Kind::NotAnnounced);
        QTest::newRow("no route") << false << connectionFailure(EHOSTUNREACH) << 0 << int(Kind::Unreachable);
        QTest::newRow("time-out") << false << connectionFailure(ETIMEDOUT) << 0 << int(Kind::NoAnswer);
    }
    void theMostPressingCounts() {
        QFETCH(bool, connected);
        QFETCH(ConnectionFailure, failure);
        QFETCH(int, code);
        Record record;
        record.setState(connected, failure, code);
        QTEST(int(ConnectionProblem::kindOf(record)), "kind");
        const ClientsFixture fixture;  // its console is build 1040
        record.setState(true, ConnectionFailure::None, 0);
        record.setConfiguration({{u"minAdminVersion"_s, 1041LL}});
        QCOMPARE(ConnectionProblem::kindOf(record), Kind::ConsoleOutdated);
        record.setEnabled(false);
        QCOMPARE(ConnectionProblem::kindOf(record), Kind::Disabled);
    }

    void listsFailingClientsByName() {
        const auto ten = std::make_shared<Record>(u"Bay 10"_s), two = std::make_shared<Record>(u"Bay 2"_s),
                   fine = std::make_shared<Record>(u"Bay 1"_s);
        ten->fail(ConnectionFailure::Refused);
        FailingClientsModel model;
        model.setServices({ten, fine, two});
        QCOMPARE(names(model), QStringList{u"Bay 10"_s});
        const QPersistentModelIndex selected = model.indexOf(ten);
        two->fail(ConnectionFailure::Lost);
        model.setServices({ten, fine, two});
        QCOMPARE(names(model), QStringList({u"Bay 2"_s, u"Bay 10"_s}));
        two->setName(u"Bay 20"_s);
        model.setServices({ten, fine, two});
        QCOMPARE(names(model), QStringList({u"Bay 10"_s, u"Bay 20"_s}));
        QCOMPARE(model.serviceAt(selected), ten);
        ten->setState(true, ConnectionFailure::None, 0);
        model.setServices({ten, fine, two});
        QCOMPARE(names(model), QStringList{u"Bay 20"_s});
        QVERIFY(!selected.isValid());
    }

    void manyChangesTakeFewSignals() {
        QList<VLServicePtr> services;
        for (int i = 0; i < 300; ++i)
            services << std::make_shared<Record>(u"Bay %1"_s.arg(i));
        const auto fail = [&](int every) {
            for (qsizetype i = 0; i < services.size(); ++i)
                static_cast<Record&>(*services[i])
                    .fail(i % every == 0 ? ConnectionFailure::Lost : ConnectionFailure::None);
        };
        FailingClientsModel model;
        const QAbstractItemModelTester tester(&model);
        fail(2);
        model.setServices(services);
        const QPersistentModelIndex kept = model.indexOf(services[6]);
        QSignalSpy removals(&model, &FailingClientsModel::rowsRemoved),
            insertions(&model, &FailingClientsModel::rowsInserted),
            layouts(&model, &FailingClientsModel::layoutChanged),
            changes(&model, &FailingClientsModel::dataChanged);
        fail(3);
        static_cast<Record&>(*services[12]).setName(u"A"_s);
        static_cast<Record&>(*services[18]).startProgressSpinner();
        model.setServices(services);
        QCOMPARE(model.rowCount(), 100);
        QCOMPARE(names(model).first(3), QStringList({u"A"_s, u"Bay 0"_s, u"Bay 3"_s}));
        QCOMPARE(model.serviceAt(kept), services[6]);
        QVERIFY(removals.size() == 1 && insertions.size() == 1 && layouts.size() <= 2);
        QCOMPARE(changes.size(), 1);
        const QString spoken = model.indexOf(services[18]).data(Qt::AccessibleTextRole).toString();
        QVERIFY(spoken.endsWith(u", connecting"_s));
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
        test.start({});
        QCOMPARE(finished.count(), 2);
        {
            const NoMoreThreads none;
            test.start({{u"127.0.0.1"_s, server.serverPort()}});
        }
        QTRY_COMPARE(finished.count(), 3);
    }

    void opensByItselfOnce_data() {
        QTest::addColumn<bool>("unattended");
        QTest::newRow("with somebody there") << false;
        QTest::newRow("with nobody there") << true;
    }
    void opensByItselfOnce() {
        QFETCH(bool, unattended);
        AppController controller({});
        controller.setBrowses(false);
        controller.setUnattended(unattended);
        QVERIFY(controller.init());
        controller.awakeFromNib();
        const auto record = std::make_shared<Record>();
        record->fail(ConnectionFailure::Refused);
        controller.services().addServiceToList(record);
        QSignalSpy requested(&controller, &AppController::connectionTroubleshooterRequested);
        const auto post = [&](const char* name, const QVariantMap& userInfo) {
            VLNotificationCenter::defaultCenter().postNotification(QLatin1String(name), {}, userInfo);
            QCoreApplication::processEvents();
        };
        const auto removed = std::make_shared<Record>();
        const QVariantMap about{{u"service"_s, QVariant::fromValue(VLServicePtr(record))}};
        post("vlCorvalinServiceConnectFailed", {{u"service"_s, QVariant::fromValue(VLServicePtr(removed))}});
        post("vlCorvalinServiceConnectFailed", {});
        QCOMPARE(requested.count(), 0);
        post("vlCorvalinServiceConnectFailed", about);
        post("vlCorvalinServiceConnectFailed", about);
        QCOMPARE(requested.count(), unattended ? 0 : 1);
        QCOMPARE(controller.troubleshooterAutoLaunched(), !unattended);
        if (!unattended) QVERIFY(requested.first().at(1).toBool());

        QCOMPARE(controller.failingClients().rowCount(), 0);  // nobody sees it yet
        controller.setTroubleshooterVisible(true);
        QCOMPARE(controller.failingClients().rowCount(), 1);
        record->setState(true, ConnectionFailure::None, 0);
        post("VLCorvalinServiceInvalidated", about);
        QCOMPARE(controller.failingClients().rowCount(), 0);
        controller.setTroubleshooterVisible(false);
        record->fail(ConnectionFailure::Lost);
        post("vlCorvalinServiceConnectFailed", about);
        QCOMPARE(controller.failingClients().rowCount(), 0);
        requested.clear();
        controller.showConnectionTroubleshooter(nullptr);
        QCOMPARE(requested.count(), 1);
        QVERIFY(!requested.first().at(1).toBool());
        QVERIFY(controller.shutDown());
        VLThread::reset();
        MainThread::resume();
    }

    void presentsWhatAgentsTell_data() {
        QTest::addColumn<QVariantMap>("configuration");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("value");
        const QDateTime date(QDate(2024, 1, 31), QTime(12, 0), Qt::UTC);
        const auto row = [](const char* key, const QVariant& sent, const char* title, const QString& value) {
            QTest::addRow("%s: %s", title, qPrintable(value))
                << QVariantMap{{QLatin1String(key), sent}} << QString::fromLatin1(title) << value;
        };
        const QString unknown = u"unknown"_s;
        row("version", 1040LL, "Agent version", u"1040"_s);
        row("version", u"1040"_s, "Agent version", unknown);
        row("other", {}, "Agent version", u"not reported"_s);
        row("corvalinVersion", QVariantList{}, "Suite version", unknown);
        row("minAdminVersion", 1e300, "Needs console", unknown);
        row("maintenanceRequested", true, "Maintenance", u"Not requested"_s);  // the record's own flag counts
        row("maintenanceRequested", u"yes"_s, "Maintenance", unknown);
        row("availableUpdateCount", 12345LL, "Updates waiting", QLocale().toString(12345));
        row("availableUpdateCountLastUpdate", date, "Last counted",
            QLocale().toString(date.toLocalTime(), QLocale::LongFormat));
        row("availableUpdateCountLastUpdate", 5, "Last counted", unknown);
        row("preferredHostName", QByteArray("x"), "Preferred name", unknown);
        row("selfCrashLog", u"<b>agent.crash</b>"_s, "Own crash log", u"<b>agent.crash</b>"_s);
        row("other", {}, "Key fingerprint", u"none"_s);
        row("other", {}, "Group", u"Offline Editing"_s);
        // What it tells about the machine.
        const auto fact = [](const char* key, const QVariant& sent, const char* title, const QString& value) {
            QTest::addRow("%s: %s", title, qPrintable(value))
                << QVariantMap{{u"machine"_s, QVariantMap{{QLatin1String(key), sent}}}}
                << QString::fromLatin1(title) << value;
        };
        fact("processor", u"G5 <b>\n2.5 GHz"_s, "Processor", u"G5 <b> 2.5 GHz"_s);
        fact("processor", 5LL, "Processor", unknown);
        fact("memoryBytes", 4LL << 30, "Memory", QLocale().formattedDataSize(4LL << 30, 1));
        fact("memoryBytes", -1LL, "Memory", unknown);
        fact("videoCard2", QVariantList{1, 2}, "Video card2", u"2 values"_s);
        fact("fast", true, "Fast", u"Yes"_s);
    }
    void presentsWhatAgentsTell() {
        QFETCH(QVariantMap, configuration);
        QFETCH(QString, title);
        Record record;
        record.setConfiguration(configuration);
        const QList<ClientInfo::Row> rows =
            ClientInfo::of(record, u"Offline Editing"_s, configuration.value(u"machine"_s).toMap()).rows;
        const auto found = std::find_if(rows.begin(), rows.end(),
                                        [&](const ClientInfo::Row& row) { return row.title == title; });
        QVERIFY(found != rows.end());
        QTEST(found->value, "value");
    }
};

ORLENDO_GUI_TEST_MAIN(TroubleshooterTest)
#include "troubleshooter_test.moc"
