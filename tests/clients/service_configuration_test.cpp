// What the console makes of an agent's configuration: rules, time-out, wrong types, picture.

#include "clients/ClientConfiguration.h"
#include "clients/support/ClientsFixture.h"
#include "foundation/PropertyList.h"

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

    void versionErrors_data() {
        QTest::addColumn<QVariantMap>("configuration");
        QTest::addColumn<QList<int>>("codes");
        QTest::newRow("both new enough") << versions(1000, 500) << QList<int>{};
        QTest::newRow("agent one too old") << versions(999, 500) << QList<int>{2006};
        QTest::newRow("agent 0 is no version") << versions(0, 500) << QList<int>{};
        QTest::newRow("agent absent") << QVariantMap{{u"corvalinVersion"_s, 500LL}} << QList<int>{};
        QTest::newRow("negative agent") << versions(-1, 500) << QList<int>{};
        QTest::newRow("suite one too old") << versions(1000, 499) << QList<int>{2007};
        QTest::newRow("suite absent counts as 0") << QVariantMap{{u"version"_s, 1000LL}} << QList<int>{2007};
        QTest::newRow("both") << versions(1, 1) << QList<int>{2006, 2007};
        QTest::newRow("nothing") << QVariantMap{} << QList<int>{2007};
    }
    void versionErrors() {
        QFETCH(QVariantMap, configuration);
        const ClientsFixture fixture;
        QTEST(ClientConfiguration::read(configuration, QString()).versionErrors(*fixture.environment.bundle),
              "codes");
    }

    void updates_data() {
        using Updates = ClientConfiguration::Updates;
        QTest::addColumn<qlonglong>("version");
        QTest::addColumn<QVariant>("count");
        QTest::addColumn<QVariant>("counted");
        QTest::addColumn<int>("expected");
        const auto row = [](const char* name, qlonglong version, const QVariant& count, const QVariant& date,
                            Updates expected) {
            QTest::newRow(name) << version << count << date << static_cast<int>(expected);
        };
        row("1029 is ignored", 1029, 3LL, now, Updates::Ignored);
        row("1030 is read", 1030, 3LL, now, Updates::Known);
        row("none waiting", 1030, 0LL, now, Updates::Known);
        row("a moment less than a day", 1030, 3LL, now.addMSecs(-86'399'999), Updates::Known);
        row("exactly a day", 1030, 3LL, now.addSecs(-86'400), Updates::Outdated);
        row("clock ahead of ours", 1030, 3LL, now.addDays(2), Updates::Known);
        row("no count", 1030, QVariant(), now, Updates::Outdated);
        row("no date", 1030, 3LL, QVariant(), Updates::Outdated);
        row("date of a wrong type", 1030, 3LL, u"today"_s, Updates::Outdated);
        row("count of a wrong type", 1030, u"3"_s, now, Updates::Outdated);
    }
    void updates() {
        QFETCH(qlonglong, version);
        QFETCH(QVariant, count);
        QFETCH(QVariant, counted);
        QVariantMap configuration = versions(version, 500);
        if (count.isValid()) configuration.insert(u"availableUpdateCount"_s, count);
        if (counted.isValid()) configuration.insert(u"availableUpdateCountLastUpdate"_s, counted);
        QTEST(static_cast<int>(ClientConfiguration::read(configuration, QString()).updates(now)), "expected");
    }

    void newerConsole() {
        const ClientsFixture fixture;
        const auto isOutdated = [&](const QVariant& minAdminVersion) {
            return ClientConfiguration::read({{"minAdminVersion", minAdminVersion}}, {})
                .wantsNewerConsole(*fixture.environment.bundle);
        };
        QVERIFY(isOutdated(1041LL));
        for (const QVariant& other : {QVariant(), QVariant(1040LL), QVariant("9999"), QVariant(1e300)})
            QVERIFY(!isOutdated(other));
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
        QVariantList posted;
        for (const VLNotification& notification : notifications.all("vlCorvalinPostLocalError")) {
            posted << notification.userInfo.value("errorcode");
            QCOMPARE(notification.userInfo.value("hostname").toString(), client->hostName());
        }
        QCOMPARE(posted, QVariantList({2006, 2007}));
    }

    void unusableAnswers_data() {
        QTest::addColumn<QVariant>("answer");
        QTest::addColumn<bool>("raises");
        QTest::newRow("nothing") << QVariant() << false;
        QTest::newRow("text") << QVariant(u"hello"_s) << false;
        QTest::newRow("list") << QVariant(QVariantList{1LL}) << false;
        QTest::newRow("exception") << QVariant() << true;
    }
    void unusableAnswers() {
        QFETCH(QVariant, answer);
        QFETCH(bool, raises);
        ClientsFixture fixture;
        LoopbackAgent agent;
        agent.root->on(fetch, [=](const QVariantList&) {
            if (raises) throw VLException(VLException::generic, u"out of order"_s);
            return answer;
        });
        const VLServicePtr client = fixture.manualClient(agent);
        QTRY_COMPARE(client->errorCode(), 2001);
        // It can still be restarted and stopped.
        QTRY_VERIFY(client->isConnected());
        QVERIFY(client->proxyObject());
        QTRY_VERIFY(!client->spinning());
        QVERIFY(!client->connectionError().isEmpty());
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

    void hostNames() {
        ClientsFixture fixture;
        const auto client = fixture.keep(std::make_shared<VLService>());
        client->processConfiguration({{"preferredHostName", "bay.local."}});
        QTRY_COMPARE(client->hostName(), u"bay.local."_s);
        client->processConfiguration({{"preferredHostName", "other.local."}});
        QTRY_COMPARE(client->availableHostNames(), QStringList{"other.local."});
        QCOMPARE(client->hostName(), u"bay.local."_s);
    }

    /// In place of a cache that cannot be read.
    void picturesAreFetchedOnceAndCached() {
        ClientsFixture fixture;
        QFile torn(fixture.path("serviceicons.cache.plist"));
        QVERIFY(torn.open(QIODevice::WriteOnly) && torn.write("<plist><dict><key>torn") > 0);
        torn.close();
        LoopbackAgent agent;
        const QByteArray data = pngOf({512, 256});
        agent.root->setAnswer("computerIcon", data);
        const VLServicePtr client = fixture.manualClient(agent);
        QTRY_COMPARE(client->icon().size(), QSize(128, 64));
        const QVariantMap cached{{client->hostName(), data}};
        QTRY_COMPARE(PropertyList::readFile(torn.fileName()).toMap(), cached);
        QTRY_COMPARE(VLThread::activeCount(), 1);
        const int asked = agent.root->calls("computerIcon");

        client->setIcon({});
        client->setServiceIcon();
        QCOMPARE(client->icon().size(), QSize(128, 64));
        QCOMPARE(agent.root->calls("computerIcon"), asked);
        QVERIFY(logLines().contains(u"Getting cached icon for service Edit Bay..."_s));
        QVERIFY(torn.remove());  // what is remembered of the file goes with it
        client->setServiceIcon();
        QCOMPARE(agent.root->calls("computerIcon"), asked + 1);
    }

    void unusablePictures_data() {
        QTest::addColumn<QVariant>("answer");
        QByteArray cut = pngOf({64, 64});
        cut.truncate(40);
        QTest::newRow("nothing") << QVariant();
        QTest::newRow("text") << QVariant(u"picture"_s);
        QTest::newRow("empty") << QVariant(QByteArray(""));
        QTest::newRow("cut off") << QVariant(cut);
        QTest::newRow("too many points") << QVariant(pngOf({2000, 2}));
        QTest::newRow("too much data") << QVariant(pngOf({8, 8}) + QByteArray(1024 * 1024, 'x'));
        QTest::newRow("another format") << QVariant(QByteArray("<svg width='9' height='9'/>"));
        QTest::newRow("only looks like an ICO") << QVariant(QByteArray("\0\0\1\0\1\0\xff\xff\xff\xff", 10));
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
