// What the console makes of an agent's configuration: rules, time-out, wrong types, picture.

#include "base/PropertyList.h"
#include "clients/ClientConfiguration.h"
#include "clients/support/ClientsFixture.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"

#include <QGuiApplication>

namespace {

const QDateTime now = QDateTime::fromString(u"2020-05-05T12:00:00Z"_s, Qt::ISODate);

constexpr char fetch[] = "fetchInitialConfiguration:";

QVariantMap versions(qlonglong agent, qlonglong suite) {
    return {{u"version"_s, agent}, {u"corvalinVersion"_s, suite}};
}

}  // namespace

class ServiceConfigurationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { startNewLog(); }

    void versionErrors() {
        const ClientsFixture fixture;
        const VLBundle& console = *fixture.environment.bundle;
        const std::pair<QVariantMap, QList<int>> rows[] = {
            {versions(1000, 500), {}},      {versions(999, 500), {2006}},
            {versions(0, 500), {}},  // no version
            {versions(-1, 500), {}},        {versions(1000, 499), {2007}},
            {versions(1, 1), {2006, 2007}}, {{}, {2007}}};  // the suite's counts as 0
        for (const auto& [configuration, codes] : rows)
            QCOMPARE(ClientConfiguration::read(configuration, {}).versionErrors(console), codes);
        const auto wantsNewerConsole = [&](const QVariant& minAdminVersion) {
            return ClientConfiguration::read({{"minAdminVersion", minAdminVersion}}, {})
                .wantsNewerConsole(console);
        };
        QVERIFY(wantsNewerConsole(1041LL));
        for (const QVariant& other : {QVariant(), QVariant(1040LL), QVariant("9999"), QVariant(1e300)})
            QVERIFY(!wantsNewerConsole(other));
    }

    void updates() {
        using Updates = ClientConfiguration::Updates;
        const struct {
            qlonglong version;
            QVariant count, counted;
            Updates expected;
        } rows[] = {{1029, 3LL, now, Updates::Ignored},
                    {1030, 3LL, now, Updates::Known},
                    {1030, 0LL, now.addMSecs(-86'399'999), Updates::Known},
                    {1030, 3LL, now.addSecs(-86'400), Updates::Outdated},
                    {1030, 3LL, now.addDays(2), Updates::Known},  // its clock is ahead of ours
                    {1030, {}, now, Updates::Outdated},
                    {1030, 3LL, {}, Updates::Outdated},
                    {1030, 3LL, u"today"_s, Updates::Outdated},
                    {1030, u"3"_s, now, Updates::Outdated}};
        for (const auto& row : rows) {
            QVariantMap configuration = versions(row.version, 500);
            if (row.count.isValid()) configuration.insert(u"availableUpdateCount"_s, row.count);
            if (row.counted.isValid()) configuration.insert(u"availableUpdateCountLastUpdate"_s, row.counted);
            QCOMPARE(ClientConfiguration::read(configuration, {}).updates(now), row.expected);
        }
    }

    void wrongTypesCountAsMissing() {
        const QStringList keys{"maintenanceRequested", "version",
                               "corvalinVersion",      "preferredHostName",
                               "availableUpdateCount", "availableUpdateCountLastUpdate",
                               "minAdminVersion",      "selfCrashLog"};
        QVariantMap dictionary;
        for (const QString& key : keys)
            dictionary.insert(key, QVariantList{QVariantMap()});
        const auto configuration = ClientConfiguration::read(dictionary, "Bay");
        QVERIFY(!configuration.maintenanceRequested && configuration.version == 0);
        QVERIFY(!configuration.selfCrashLog);
        for (const QString& key : keys)
            QCOMPARE(countLines(logLines(), u"Configuration of Bay: the value of %1 is no"_s.arg(key)), 1);
        // A name for look-ups, not a place for anything else.
        for (const QString& name : {u"a b"_s, u"a\nb"_s, QString(300, u'a')})
            QVERIFY(ClientConfiguration::read({{"preferredHostName", name}}, {}).preferredHostName.isEmpty());
    }

    void appliesEverything() {
        ClientsFixture fixture;
        LoopbackAgent agent;
        QVariantMap configuration = versions(1'000'000, 1'000'000);
        configuration.insert({{u"maintenanceRequested"_s, true},
                              {u"availableUpdateCount"_s, 4LL},
                              {u"availableUpdateCountLastUpdate"_s, QDateTime::currentDateTimeUtc()},
                              {u"minAdminVersion"_s, 2000LL},
                              {u"selfCrashLog"_s, u"agent.crash"_s},
                              {u"furtherKey"_s, u"kept"_s}});
        agent.root->setAnswer(fetch, configuration);
        const NotificationRecorder notifications{"vlCorvalinAdminOutdated", "vlCorvalinPostLocalError"};
        const VLServicePtr client = fixture.manualClient(agent);

        QTRY_VERIFY(client->isConnected());
        const QString host = client->hostName();
        QTRY_COMPARE(fixture.delegate.calls,
                     QStringList({u"count 4 "_s + host, u"crash %1 agent.crash"_s.arg(host)}));
        QVERIFY(client->needsMaintenance());
        QCOMPARE(client->configDict(), configuration);
        QTRY_COMPARE(notifications.count("vlCorvalinAdminOutdated"), 1);
        QCOMPARE(notifications.count("vlCorvalinPostLocalError"), 0);

        // The next one says less: what it leaves out is off again.
        agent.root->setAnswer(fetch, versions(1030, 500));
        onWorker([client] { client->fetchInitialConfiguration(true); });
        QTRY_COMPARE(fixture.delegate.calls.size(), 3);
        QCOMPARE(fixture.delegate.calls.constLast(), u"fetch "_s + host);
        QVERIFY(!client->needsMaintenance());
    }

    void reportsWhatTheVersionsCallFor() {
        ClientsFixture fixture;
        LoopbackAgent agent;
        agent.root->setAnswer(fetch, versions(999, 499));
        const NotificationRecorder notifications{"vlCorvalinPostLocalError"};
        const VLServicePtr client = fixture.manualClient(agent);
        QTRY_VERIFY(client->isConnected());  // an outdated client stays connected
        QTRY_COMPARE(notifications.count("vlCorvalinPostLocalError"), 2);
        client->setErrorCode(0);  // posts nothing
        QTest::qWait(10);
        const auto posted = notifications.all("vlCorvalinPostLocalError");
        QCOMPARE(posted.size(), 2);
        QCOMPARE(posted.first().userInfo.value("errorcode"), QVariant(2006));
        QCOMPARE(posted.last().userInfo.value("errorcode"), QVariant(2007));
        QCOMPARE(posted.last().userInfo.value("hostname").toString(), client->hostName());
    }

    void answerThatNeverComes() {
        ClientsFixture fixture(1h);
        fixture.environment.timing.configuration = 200ms;
        fixture.apply();
        LoopbackAgent agent;
        Gate gate;
        agent.root->hold(fetch, gate);
        const NotificationRecorder notifications{"vlCorvalinPostLocalError",
                                                 "vlCorvalinServiceConnectFailed"};
        const VLServicePtr client = fixture.manualClient(agent);
        QTRY_COMPARE(client->errorCode(), 2008);
        QTRY_VERIFY(client->isConnected());  // the connection goes on
        QTRY_VERIFY(!client->spinning());
        QTest::qWait(250);
        QCOMPARE(countLines(logLines(), u"Connection timed out for "_s + client->hostName() + u'.'), 1);
        QCOMPARE(notifications.count("vlCorvalinPostLocalError"), 1);
        QCOMPARE(notifications.count("vlCorvalinServiceConnectFailed"), 1);

        gate.open();
        agent.root->setAnswer(fetch, ScriptedRoot::goodConfiguration());
        onWorker([client] { client->fetchInitialConfiguration(true); });
        QTRY_COMPARE(client->errorCode(), 0);
        QTRY_COMPARE(client->configDict(), ScriptedRoot::goodConfiguration());
    }

    void slowAnswerDoesNotHoldTheConnection() {
        std::atomic<bool> returned{false};
        ClientsFixture fixture;
        LoopbackAgent agent;
        Gate first, second;
        agent.root->hold(fetch, first, ScriptedRoot::goodConfiguration());
        const VLServicePtr client = fixture.manualClient(agent);
        QTRY_VERIFY(client->isConnected());
        QVERIFY(client->configDict().isEmpty() && client->spinning());
        first.open();
        QTRY_COMPARE(client->configDict(), ScriptedRoot::goodConfiguration());
        QTRY_VERIFY(!client->spinning());

        // One that is not waited for does not count as late.
        fixture.environment.timing.configuration = 100ms;
        fixture.apply();
        agent.root->hold(fetch, second);
        onWorker([&] {
            client->fetchInitialConfiguration(false);
            returned = true;
        });
        QTRY_VERIFY(returned);
        QCOMPARE(client->errorCode(), 0);
        QVERIFY(client->isConnected());
        second.open();

        client->disconnect();
        client->fetchInitialConfiguration(false);  // nobody to ask
        QVERIFY(logLines().contains(
            "Error: proxy object does not respond to selector fetchInitialConfiguration:."));
    }

    /// In place of a cache that cannot be read.
    void picturesAreFetchedOnceAndCached() {
        ClientsFixture fixture;
        const QString cache = fixture.path("serviceicons.cache.plist");
        QVERIFY(writeFile(cache, "<plist><dict><key>torn"));
        LoopbackAgent agent;
        const QByteArray data = pngOf({512, 256});
        agent.root->setAnswer("computerIcon", data);
        const VLServicePtr client = fixture.manualClient(agent);
        QTRY_COMPARE(client->icon().size(), QSize(128, 64));
        const QVariantMap cached{{client->hostName(), data}};
        QTRY_COMPARE(PropertyList::readFile(cache).toMap(), cached);
        QTRY_COMPARE(VLThread::activeCount(), 1);
        const int asked = agent.root->calls("computerIcon");

        client->setIcon({});
        client->setServiceIcon();
        QCOMPARE(client->icon().size(), QSize(128, 64));
        QCOMPARE(agent.root->calls("computerIcon"), asked);
        QVERIFY(logLines().contains(u"Getting cached icon for service Edit Bay..."_s));
        QVERIFY(QFile::remove(cache));  // what is remembered of the file goes with it
        client->setServiceIcon();
        QCOMPARE(agent.root->calls("computerIcon"), asked + 1);
    }

    void unusablePictures_data() {
        const TestTable<QVariant> row("answer");
        row("cut off", pngOf({64, 64}).first(40));
        row("too many points", pngOf({2000, 2}));
        row("too much data", pngOf({8, 8}) + QByteArray(1024 * 1024, 'x'));
        row("another format", QByteArray("<svg width='9' height='9'/>"));
        row("only looks like an ICO", QByteArray("\0\0\1\0\1\0\xff\xff\xff\xff", 10));
    }
    void unusablePictures() {
        QFETCH(QVariant, answer);
        ClientsFixture fixture;
        LoopbackAgent agent;
        agent.root->setAnswer("computerIcon", answer);
        const VLServicePtr client = fixture.manualClient(agent);
        QTRY_VERIFY(client->isConnected());
        QTRY_VERIFY(agent.root->calls("computerIcon") > 0);
        QTRY_COMPARE(VLThread::activeCount(), 1);
        QVERIFY(client->icon().isNull());
        QVERIFY(!QFileInfo::exists(fixture.path("serviceicons.cache.plist")));
        QVERIFY(client->isConnected());
    }
};

ORLENDO_GUI_TEST_MAIN(ServiceConfigurationTest)
#include "service_configuration_test.moc"
