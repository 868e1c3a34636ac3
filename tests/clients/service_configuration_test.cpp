// What the console makes of an agent's configuration: rules, time-out, wrong types, picture.

#include "clients/ClientConfiguration.h"
#include "clients/support/ClientsFixture.h"
#include "foundation/PropertyList.h"

#include <QGuiApplication>
#include <QScopeGuard>

namespace {

const QDateTime now = QDateTime::fromString(QStringLiteral("2020-05-05T12:00:00Z"), Qt::ISODate);

QVariantMap versions(qlonglong agent, qlonglong suite) {
    return {{QStringLiteral("version"), agent}, {QStringLiteral("corvalinVersion"), suite}};
}

}  // namespace

class ServiceConfigurationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { VLLog::createNewLog(); }

    void versionErrors_data();
    void versionErrors();
    void updates_data();
    void updates();
    void newerConsole_data();
    void newerConsole();
    void wrongTypesCountAsMissing();
    void appliesEverything();
    void reportsWhatTheVersionsCallFor();
    void unusableAnswers_data();
    void unusableAnswers();
    void answerThatNeverComes();
    void slowAnswerDoesNotHoldTheConnection();
    void withoutTimeout();
    void hostNames();
    void picturesAreFetchedOnceAndCached();
    void unusablePictures_data();
    void unusablePictures();
    void unreadableCacheIsWrittenAnew();
};

void ServiceConfigurationTest::versionErrors_data() {
    QTest::addColumn<QVariantMap>("configuration");
    QTest::addColumn<QList<int>>("codes");
    QTest::newRow("both new enough") << versions(1000, 500) << QList<int>{};
    QTest::newRow("agent one too old") << versions(999, 500) << QList<int>{2006};
    QTest::newRow("agent 0 is no version") << versions(0, 500) << QList<int>{};
    QTest::newRow("agent absent") << QVariantMap{{QStringLiteral("corvalinVersion"), 500LL}} << QList<int>{};
    QTest::newRow("negative agent") << versions(-1, 500) << QList<int>{};
    QTest::newRow("suite one too old") << versions(1000, 499) << QList<int>{2007};
    QTest::newRow("suite absent counts as 0")
        << QVariantMap{{QStringLiteral("version"), 1000LL}} << QList<int>{2007};
    QTest::newRow("both") << versions(1, 1) << QList<int>{2006, 2007};
    QTest::newRow("nothing") << QVariantMap{} << QList<int>{2007};
}

void ServiceConfigurationTest::versionErrors() {
    QFETCH(QVariantMap, configuration);
    const ClientsFixture fixture;
    QTEST(ClientConfiguration::read(configuration, QString()).versionErrors(*fixture.environment.bundle),
          "codes");
}

void ServiceConfigurationTest::updates_data() {
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
    row("date of a wrong type", 1030, 3LL, QStringLiteral("today"), Updates::Outdated);
    row("count of a wrong type", 1030, QStringLiteral("3"), now, Updates::Outdated);
}

void ServiceConfigurationTest::updates() {
    QFETCH(qlonglong, version);
    QFETCH(QVariant, count);
    QFETCH(QVariant, counted);
    QVariantMap configuration = versions(version, 500);
    if (count.isValid()) configuration.insert(QStringLiteral("availableUpdateCount"), count);
    if (counted.isValid()) configuration.insert(QStringLiteral("availableUpdateCountLastUpdate"), counted);
    QTEST(static_cast<int>(ClientConfiguration::read(configuration, QString()).updates(now)), "expected");
}

void ServiceConfigurationTest::newerConsole_data() {
    QTest::addColumn<QVariant>("minAdminVersion");
    QTest::addColumn<bool>("outdated");
    QTest::newRow("absent") << QVariant() << false;
    QTest::newRow("this one") << QVariant(1040LL) << false;
    QTest::newRow("the next one") << QVariant(1041LL) << true;
    QTest::newRow("text") << QVariant(QStringLiteral("9999")) << false;
    QTest::newRow("beyond all numbers") << QVariant(1e300) << false;
}

void ServiceConfigurationTest::newerConsole() {
    QFETCH(QVariant, minAdminVersion);
    const ClientsFixture fixture;
    const auto configuration =
        ClientConfiguration::read({{QStringLiteral("minAdminVersion"), minAdminVersion}}, QString());
    QTEST(configuration.wantsNewerConsole(*fixture.environment.bundle), "outdated");
}

void ServiceConfigurationTest::wrongTypesCountAsMissing() {
    const char* const keys[] = {"maintenanceRequested", "version",
                                "corvalinVersion",      "preferredHostName",
                                "availableUpdateCount", "availableUpdateCountLastUpdate",
                                "minAdminVersion",      "selfCrashLog"};
    QVariantMap dictionary;
    for (const char* key : keys)
        dictionary.insert(QLatin1String(key), QVariantList{QVariantMap()});
    const auto configuration = ClientConfiguration::read(dictionary, QStringLiteral("Bay"));
    QVERIFY(!configuration.maintenanceRequested);
    QCOMPARE(configuration.version, 0);
    QVERIFY(!configuration.selfCrashLog);
    const QStringList lines = logLines();
    for (const char* key : keys)
        QCOMPARE(countLines(lines, vlFormat(QStringLiteral("Configuration of Bay: the value of %@ is no"),
                                            QLatin1String(key))),
                 1);
    // A name for look-ups, not a place for anything else.
    for (const QString& name : {QStringLiteral("a b"), QStringLiteral("a\nb"), QString(300, u'a')})
        QCOMPARE(ClientConfiguration::read({{QStringLiteral("preferredHostName"), name}}, QString())
                     .preferredHostName,
                 QString());
}

void ServiceConfigurationTest::appliesEverything() {
    ClientsFixture fixture;
    LoopbackAgent agent;
    QVariantMap configuration = versions(1'000'000, 1'000'000);
    configuration.insert({{QStringLiteral("maintenanceRequested"), true},
                          {QStringLiteral("availableUpdateCount"), 4LL},
                          {QStringLiteral("availableUpdateCountLastUpdate"), QDateTime::currentDateTimeUtc()},
                          {QStringLiteral("minAdminVersion"), 2000LL},
                          {QStringLiteral("selfCrashLog"), QStringLiteral("agent.crash")},
                          {QStringLiteral("furtherKey"), QStringLiteral("kept")}});
    agent.root->setAnswer("fetchInitialConfiguration:", configuration);
    const NotificationRecorder notifications{"vlCorvalinAdminOutdated", "vlCorvalinPostLocalError"};
    const VLServicePtr client = fixture.manualClient(agent);

    QTRY_VERIFY(client->isConnected());
    const QString host = client->hostName();
    QTRY_COMPARE(fixture.delegate.calls, QStringList({QStringLiteral("count 4 ") + host,
                                                      QStringLiteral("crash %1 agent.crash").arg(host)}));
    QVERIFY(client->needsMaintenance());
    QCOMPARE(client->configDict(), configuration);
    QTRY_COMPARE(notifications.count("vlCorvalinAdminOutdated"), 1);
    QCOMPARE(notifications.count("vlCorvalinPostLocalError"), 0);

    // The next one says less: what it leaves out is off again.
    agent.root->setAnswer("fetchInitialConfiguration:", versions(1030, 500));
    VLThread::detach(QStringLiteral("worker"), [client] { client->fetchInitialConfiguration(true); });
    QTRY_COMPARE(fixture.delegate.calls.size(), 3);
    QCOMPARE(fixture.delegate.calls.constLast(), QStringLiteral("fetch ") + host);
    QVERIFY(!client->needsMaintenance());
}

void ServiceConfigurationTest::reportsWhatTheVersionsCallFor() {
    ClientsFixture fixture;
    LoopbackAgent agent;
    agent.root->setAnswer("fetchInitialConfiguration:", versions(999, 499));
    const NotificationRecorder notifications{"vlCorvalinPostLocalError"};
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_VERIFY(client->isConnected());  // an outdated client stays connected
    QTRY_COMPARE(notifications.count("vlCorvalinPostLocalError"), 2);
    QList<int> codes;
    for (const VLNotification& notification : notifications.all("vlCorvalinPostLocalError")) {
        codes << notification.userInfo.value(QStringLiteral("errorcode")).toInt();
        QCOMPARE(notification.userInfo.value(QStringLiteral("hostname")).toString(), client->hostName());
    }
    QCOMPARE(codes, QList<int>({2006, 2007}));
    QCOMPARE(client->errorCode(), 2007);

    client->setErrorCode(0);  // posts nothing
    QTest::qWait(10);
    QCOMPARE(notifications.count("vlCorvalinPostLocalError"), 2);
}

void ServiceConfigurationTest::unusableAnswers_data() {
    QTest::addColumn<QVariant>("answer");
    QTest::addColumn<bool>("raises");
    QTest::newRow("nothing") << QVariant() << false;
    QTest::newRow("text") << QVariant(QStringLiteral("hello")) << false;
    QTest::newRow("list") << QVariant(QVariantList{1LL}) << false;
    QTest::newRow("exception") << QVariant() << true;
}

void ServiceConfigurationTest::unusableAnswers() {
    QFETCH(QVariant, answer);
    QFETCH(bool, raises);
    ClientsFixture fixture;
    LoopbackAgent agent;
    agent.root->on("fetchInitialConfiguration:", [=](const QVariantList&) {
        if (raises) throw VLException(VLException::generic, QStringLiteral("out of order"));
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

void ServiceConfigurationTest::answerThatNeverComes() {
    Gate gate;
    ClientsFixture fixture;
    fixture.environment.timing.configuration = 200ms;
    fixture.environment.timing.reconnect = 1h;
    fixture.apply();
    LoopbackAgent agent;
    const auto opensAtTheEnd = qScopeGuard([&] { gate.open(); });
    agent.root->on("fetchInitialConfiguration:", [&](const QVariantList&) {
        gate.wait();
        return QVariant(ScriptedRoot::goodConfiguration());
    });
    const NotificationRecorder notifications{"vlCorvalinPostLocalError", "vlCorvalinServiceConnectFailed"};
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_COMPARE(client->errorCode(), 2008);
    QTRY_VERIFY(client->isConnected());  // the connection goes on
    QTRY_VERIFY(!client->spinning());
    QTest::qWait(250);
    QCOMPARE(countLines(logLines(), QStringLiteral("Connection timed out for ") + client->hostName() + u'.'),
             1);
    QCOMPARE(notifications.count("vlCorvalinPostLocalError"), 1);
    QCOMPARE(notifications.count("vlCorvalinServiceConnectFailed"), 1);

    gate.open();
    agent.root->setAnswer("fetchInitialConfiguration:", ScriptedRoot::goodConfiguration());
    VLThread::detach(QStringLiteral("worker"), [client] { client->fetchInitialConfiguration(true); });
    QTRY_COMPARE(client->errorCode(), 0);
    QTRY_COMPARE(client->configDict(), ScriptedRoot::goodConfiguration());
    QCOMPARE(VLServiceTiming().configuration, std::chrono::milliseconds(15s));
}

void ServiceConfigurationTest::slowAnswerDoesNotHoldTheConnection() {
    Gate gate;
    ClientsFixture fixture;
    LoopbackAgent agent;
    const auto opensAtTheEnd = qScopeGuard([&] { gate.open(); });
    agent.root->on("fetchInitialConfiguration:", [&](const QVariantList&) {
        gate.wait();
        return QVariant(ScriptedRoot::goodConfiguration());
    });
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_VERIFY(client->isConnected());
    QVERIFY(client->configDict().isEmpty());
    QVERIFY(client->spinning());
    gate.open();
    QTRY_COMPARE(client->configDict(), ScriptedRoot::goodConfiguration());
    QTRY_VERIFY(!client->spinning());
    QCOMPARE(client->errorCode(), 0);
}

void ServiceConfigurationTest::withoutTimeout() {
    Gate gate;
    std::atomic<bool> returned{false};
    ClientsFixture fixture;
    LoopbackAgent agent;
    const auto opensAtTheEnd = qScopeGuard([&] { gate.open(); });
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_COMPARE(client->configDict(), ScriptedRoot::goodConfiguration());
    QTRY_VERIFY(client->isConnected());
    fixture.environment.timing.configuration = 100ms;
    fixture.apply();
    agent.root->on("fetchInitialConfiguration:", [&](const QVariantList&) {
        gate.wait();
        return QVariant();
    });
    VLThread::detach(QStringLiteral("worker"), [&] {
        client->fetchInitialConfiguration(false);
        returned = true;
    });
    QTRY_VERIFY(returned);
    QCOMPARE(client->errorCode(), 0);
    QVERIFY(client->isConnected());
    gate.open();

    client->disconnect();
    client->fetchInitialConfiguration(false);  // nobody to ask
    QVERIFY(logLines().contains(
        QStringLiteral("Error: proxy object does not respond to selector fetchInitialConfiguration:.")));
    QVERIFY(!client->isConnected());
}

void ServiceConfigurationTest::hostNames() {
    ClientsFixture fixture;
    const auto client = fixture.keep(std::make_shared<VLService>());
    QVariantMap configuration = versions(1000, 500);
    configuration.insert(QStringLiteral("preferredHostName"), QStringLiteral("bay.local."));
    client->processConfiguration(configuration);  // on a thread of its own when called here
    QTRY_COMPARE(client->hostName(), QStringLiteral("bay.local."));

    configuration.insert(QStringLiteral("preferredHostName"), QStringLiteral("other.local."));
    client->processConfiguration(configuration);
    QTRY_COMPARE(client->availableHostNames(), QStringList{QStringLiteral("other.local.")});
    QCOMPARE(client->hostName(), QStringLiteral("bay.local."));
}

void ServiceConfigurationTest::picturesAreFetchedOnceAndCached() {
    ClientsFixture fixture;
    LoopbackAgent agent;
    const QByteArray data = pngOf({24, 16});
    agent.root->setAnswer("computerIcon", data);
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_COMPARE(client->icon().size(), QSize(24, 16));
    QCOMPARE(
        PropertyList::readFile(fixture.path("serviceicons.cache.plist")).toMap().value(client->hostName()),
        data);
    QTRY_COMPARE(VLThread::activeCount(), 1);
    const int asked = agent.root->calls("computerIcon");

    client->setIcon({});
    client->setServiceIcon();
    QCOMPARE(client->icon().size(), QSize(24, 16));
    QCOMPARE(agent.root->calls("computerIcon"), asked);
    QVERIFY(logLines().contains(QStringLiteral("Getting cached icon for service Edit Bay...")));
}

void ServiceConfigurationTest::unusablePictures_data() {
    QTest::addColumn<QVariant>("answer");
    QByteArray cut = pngOf({64, 64});
    cut.truncate(40);
    QTest::newRow("nothing") << QVariant();
    QTest::newRow("text") << QVariant(QStringLiteral("picture"));
    QTest::newRow("empty") << QVariant(QByteArray(""));
    QTest::newRow("cut off") << QVariant(cut);
    QTest::newRow("too many points") << QVariant(pngOf({2000, 2}));
    QTest::newRow("too much data") << QVariant(pngOf({8, 8}) + QByteArray(1024 * 1024, 'x'));
    QTest::newRow("another format") << QVariant(
        QByteArray("<svg xmlns='http://www.w3.org/2000/svg' width='9' "
                   "height='9'><rect width='9' height='9'/></svg>"));
    QTest::newRow("only looks like an ICO") << QVariant(QByteArray("\0\0\1\0\1\0\xff\xff\xff\xff", 10));
}

void ServiceConfigurationTest::unusablePictures() {
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

void ServiceConfigurationTest::unreadableCacheIsWrittenAnew() {
    ClientsFixture fixture;
    QFile file(fixture.path("serviceicons.cache.plist"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("<plist><dict><key>torn");
    file.close();
    LoopbackAgent agent;
    agent.root->setAnswer("computerIcon", pngOf({8, 8}));
    const VLServicePtr client = fixture.manualClient(agent);
    QTRY_COMPARE(client->icon().size(), QSize(8, 8));
    QTRY_COMPARE(PropertyList::readFile(file.fileName()).toMap().keys(), QStringList{client->hostName()});
}

ORLENDO_GUI_TEST_MAIN(ServiceConfigurationTest)
#include "service_configuration_test.moc"
