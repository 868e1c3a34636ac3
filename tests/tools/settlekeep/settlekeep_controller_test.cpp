#include "app/TaskThreads.h"
#include "remote/FakeRemote.h"
#include "support/TestEnvironment.h"
#include "system/VLAlert.h"
#include "system/VLException.h"
#include "tools/settlekeep/SettlekeepController.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Sent = QList<QPair<QString, QVariantList>>;

class FakeService : public VLService {
public:
    FakeService(const QString& name, FakeProxy::Answer answer)
        : proxy(std::make_shared<FakeProxy>(std::move(answer))) {
        setName(name);
        setHostName(name + ".local."_L1);
        m_isConnected = true;
    }
    VLProxyObjectPtr proxyObject() const override { return proxy; }
    void connectOnThread(VLCallbackTargetPtr) override {}
    void refreshServiceView() override {}

    std::shared_ptr<FakeProxy> proxy;
};

QVariantMap backup(const QString& host, const QString& path = u"/b"_s) {
    return {{u"hostname"_s, QString(host + ".local."_L1)}, {u"path"_s, path}, {u"name"_s, u"Good"_s}};
}

QVariantMap answerWith(const QString& name) {
    return {{name, QVariantMap{{u"path"_s, QString(u'/' + name)}, {u"name"_s, name}, {u"type"_s, 1}}}};
}

FakeProxy::Answer holding(const QVariant& backups, const QVariant& data = QByteArray("zip")) {
    return [=](const QString& selector, const QVariantList&) {
        if (selector == "settlekeepBackups"_L1) return backups;
        return selector == "settlekeepBackupData:"_L1 ? data : QVariant();
    };
}

}  // namespace

class SettlekeepControllerTest : public QObject {
    Q_OBJECT

    QList<std::shared_ptr<FakeService>> m_clients;
    QList<VLServicePtr> m_selected;
    QStringList m_alerts;
    std::unique_ptr<TaskThreads> m_progress;
    std::unique_ptr<RemoteRunner> m_runner;
    std::shared_ptr<SettlekeepController> m_controller;

    std::shared_ptr<FakeService> addClient(const QString& name, FakeProxy::Answer answer = {}) {
        const auto client = std::make_shared<FakeService>(name, std::move(answer));
        m_clients.append(client);
        m_selected.append(client);
        return client;
    }
    /// What was sent to the client apart from requests for its list.
    static Sent sentTo(const std::shared_ptr<FakeService>& client) {
        Sent sent = client->proxy->sent();
        sent.removeIf([](const auto& call) { return call.first == "settlekeepBackups"_L1; });
        return sent;
    }
    static bool join() { return VLThread::joinAll(30s); }
    void untickAll() {
        for (int row = 0; row < m_controller->settlekeepPrefArray().size(); ++row)
            m_controller->setPrefSelected(row, -1, VLPrefItem::Off);
    }

private Q_SLOTS:
    void init() {
        m_clients.clear();
        m_selected.clear();
        m_alerts.clear();
        VLAlert::setPresenter([this](const QVariantMap& description, QObject*, auto ended) {
            m_alerts << description.value(u"messageText"_s).toString() + u'|' +
                            description.value(u"informativeText"_s).toString();
            ended(VLAlert::DefaultReturn);
            return [] {};
        });
        m_progress = std::make_unique<TaskThreads>(
            TaskThreads::Environment{[this] { return int(m_selected.size()); }, [] {}, [] {}});
        RemoteRunner::Environment environment;
        environment.progress = m_progress.get();
        environment.processorCount = [] { return 4; };
        environment.selectedServices = [this] {
            return QList<RemoteClientPtr>(m_selected.begin(), m_selected.end());
        };
        m_runner = std::make_unique<RemoteRunner>(std::move(environment));
        ToolContext context;
        context.runner = m_runner.get();
        context.progress = m_progress.get();
        context.selectedServices = [this] { return m_selected; };
        context.friendlyServiceName = [](const QString& hostName) { return hostName.section(u'.', 0, 0); };
        context.serviceWithHostName = [this](const QString& hostName) -> VLServicePtr {
            for (const auto& client : m_clients)
                if (client->hostName() == hostName) return client;
            return nullptr;
        };
        m_controller = std::make_shared<SettlekeepController>(context);
        m_controller->becomesVisible();
        startNewLog();
    }
    void cleanup() {
        VLAlert::setPresenter({});
        m_controller.reset();
        m_runner.reset();
        m_progress.reset();
    }

    void keysAreSentToAll_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QString>("line");
        QTest::newRow("lock") << u"lock"_s << u"settlekeepLockSelected:"_s
                              << u"Locking selected Settlekeep prefs: "_s;
        QTest::newRow("unlock") << u"unlock"_s << u"settlekeepUnlockSelected:"_s
                                << u"Unlocking selected Settlekeep prefs: "_s;
        QTest::newRow("trash") << u"trash"_s << u"settlekeepTrashSelected:"_s
                               << u"Trashing selected preferences: "_s;
    }
    void keysAreSentToAll() {
        QFETCH(QString, action);
        QFETCH(QString, selector);
        QFETCH(QString, line);
        const auto one = addClient(u"one"_s), two = addClient(u"two"_s);
        const auto act = [&] {
            if (action == "lock"_L1) m_controller->settlekeepLock();
            if (action == "unlock"_L1) m_controller->settlekeepUnlock();
            if (action == "trash"_L1) m_controller->settlekeepTrash();
            return join();
        };
        untickAll();
        QVERIFY(act());
        m_controller->setPrefSelected(0, 0, VLPrefItem::On);
        m_controller->setPrefSelected(3, -1, VLPrefItem::On);
        QVERIFY(act());
        const Sent expected{{selector, {QString()}}, {selector, {u"fcpPrefs,motion"_s}}};
        QCOMPARE(sentTo(one), expected);
        QCOMPARE(sentTo(two), expected);
        QVERIFY(logLines().contains(line) && logLines().contains(line + u"fcpPrefs,motion"_s));
        QVERIFY(m_alerts.isEmpty());
        QTRY_VERIFY(!m_progress->isProcessing());
    }

    void quickTrashIsATask() {
        const auto one = addClient(u"one"_s);
        m_controller->settlekeepQuickTrash();
        QVERIFY(join());
        const Sent expected{
            {u"executeTask:bundleID:options:"_s, {u"0"_s, u"com.velmora.settlekeep"_s, QVariant()}}};
        QCOMPARE(sentTo(one), expected);
        QVERIFY(logLines().contains(u"Settlekeep quick trash..."_s));
    }

    void namedBackup() {
        const auto one = addClient(u"one"_s, holding(answerWith(u"B"_s)));
        QSignalSpy sheet(m_controller.get(), &SettlekeepController::backupSheetWanted);
        m_controller->settlekeepBackup();
        QCOMPARE(sheet.size(), 1);
        m_controller->settlekeepBackupAction(u".."_s, 2);
        QVERIFY(join());
        const QString keys = m_controller->settlekeepSelectedPrefKeys().join(u',');
        const QVariantMap options{{u"backupName"_s, u".."_s}, {u"backupType"_s, 2LL}, {u"keys"_s, keys}};
        QCOMPARE(sentTo(one), Sent({{u"settlekeepBackupSelected:"_s, {options}}}));
        QCOMPARE(m_controller->settlekeepBackupArray().size(), 1);
        QVERIFY(logLines().contains(u"Showing backup dialog for selected preference backup..."_s));
        QVERIFY(logLines().contains(u"Backing up selected Settlekeep preferences: "_s + keys));
        untickAll();
        m_controller->settlekeepBackup();
        QCOMPARE(sheet.size(), 1);
        QCOMPARE(m_alerts, QStringList(u"No items selected|You must select at least one item to backup."_s));
    }

    void quickBackupNeedsNoTicks() {
        const auto one = addClient(u"one"_s, holding(answerWith(u"B"_s)));
        untickAll();
        QSignalSpy sheet(m_controller.get(), &SettlekeepController::backupSheetWanted);
        m_controller->settlekeepQuickBackup();
        QCOMPARE(sheet.size(), 1);
        m_controller->settlekeepQuickBackupAction(u"Q"_s, 1);
        QVERIFY(join());
        QCOMPARE(sentTo(one), Sent({{u"settlekeepBackup:type:"_s, {u"Q"_s, 1LL}}}));
        QVERIFY(logLines().contains(u"Performing quick backup to Q of type 1..."_s));
        QCOMPARE(m_controller->report().rows,
                 QList<QStringList>({{u"B"_s, u"one"_s, u"Known Good"_s, {}, {}, {}}}));
    }

    void badNamesAreRefused() {
        const auto one = addClient(u"one"_s);
        m_controller->settlekeepBackupAction(u"."_s, 0);
        m_controller->settlekeepQuickBackupAction(QString(), 0);
        QVERIFY(join());
        QVERIFY(sentTo(one).isEmpty());
        const QString alert = u"You must enter a backup name|You must enter a valid name for this backup."_s;
        QCOMPARE(m_alerts, QStringList({alert, alert}));
    }

    void listSurvivesWhatClientsDo() {
        addClient(u"good"_s, holding(answerWith(u"B"_s)));
        addClient(u"silent"_s, [](const QString&, const QVariantList&) -> QVariant {
            throw VLException(VLException::inaccessible, u"gone"_s);
        });
        addClient(u"list"_s, holding(QVariantList{1}));
        addClient(u"odd"_s, holding(QVariantMap{{u"x"_s, 1}}));
        QSignalSpy busy(m_controller.get(), &ToolController::busyChanged);
        const auto refresh = [this] {
            VLThread::detach(u"refresh"_s, [this] { m_controller->refresh(); });
            return join();
        };
        QVERIFY(refresh());
        QCOMPARE(m_controller->settlekeepBackupArray().size(), 1);
        QCOMPARE(m_controller->settlekeepBackupArray().first().value(u"hostname"_s), u"good.local."_s);
        QCOMPARE(busy.size(), 2);
        m_selected.clear();
        QVERIFY(refresh());
        QCOMPARE(m_controller->settlekeepBackupArray().size(), 1);
        QCOMPARE(busy.size(), 2);  // the list is not empty
        const QStringList lines = logLines();
        for (const QString& line :
             {u"Populating Settlekeep backups..."_s, u"Unable to get backup data."_s,
              u"Backups of odd.local.: 1 of 1 entries left out, 0 values of a wrong kind ignored"_s})
            QVERIFY2(lines.contains(line), qPrintable(line));
    }

    void cancellingKeepsTheList() {
        m_controller->setSettlekeepBackupArray({backup(u"old"_s)});
        addClient(u"one"_s, [this](const QString&, const QVariantList&) {
            onMainThreadAndWait([this] { m_progress->cancelStatusProgress(); });
            return QVariant(answerWith(u"B"_s));
        });
        VLThread::detach(u"refresh"_s, [this] { m_controller->refresh(); });
        QVERIFY(join());
        QCOMPARE(m_controller->settlekeepBackupArray(), QList<QVariantMap>{backup(u"old"_s)});
    }

    void restoreSendsPathOrData() {
        const auto one = addClient(u"one"_s);
        const auto owner = addClient(u"owner"_s, holding({}));
        const auto three = addClient(u"three"_s, [](const QString&, const QVariantList&) -> QVariant {
            throw VLException(VLException::inaccessible, u"gone"_s);
        });
        const auto four = addClient(u"four"_s);
        m_controller->settlekeepRestore({});
        m_controller->settlekeepRestore(backup(u"owner"_s));
        QVERIFY(join());
        const Sent remote{{u"settlekeepRestoreRemoteBackup:"_s, {QByteArray("zip")}}};
        QCOMPARE(sentTo(one), remote);
        QCOMPARE(sentTo(four), remote);
        QCOMPARE(sentTo(three), remote);  // its loss stops nobody else
        QCOMPARE(sentTo(owner), Sent({{u"settlekeepBackupData:"_s, {u"/b"_s}},
                                      {u"settlekeepRestoreLocalBackup:"_s, {u"/b"_s}}}));
        const QStringList lines = logLines();
        QCOMPARE(lines.filter(u"Restoring Settlekeep backup Good..."_s).size(), 1);
        QVERIFY(lines.contains(u"Progress: Restoring backup on four..."_s));
        QVERIFY(!m_progress->isProcessing());
    }

    void restoreThatTouchesNobody_data() {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QVariant>("data");
        QTest::addColumn<QString>("line");
        QTest::newRow("client is gone")
            << u"nobody"_s << QVariant() << u"Unable to get service for selected backup."_s;
        QTest::newRow("no data") << u"owner"_s << QVariant() << u"Unable to get data for selected backup."_s;
        QTest::newRow("data of a wrong kind")
            << u"owner"_s << QVariant(u"text"_s) << u"Unable to get data for selected backup."_s;
    }
    void restoreThatTouchesNobody() {
        QFETCH(QString, host);
        QFETCH(QVariant, data);
        QFETCH(QString, line);
        addClient(u"owner"_s, holding({}, data));
        const auto other = addClient(u"other"_s);
        m_controller->settlekeepRestore(backup(host));
        QVERIFY(join());
        QVERIFY(sentTo(other).isEmpty());
        QVERIFY(logLines().contains(line));
        QVERIFY(!m_progress->isProcessing());
    }

    void cancelledRestoreStopsAtTheNextClient() {
        addClient(u"one"_s, [this](const QString& selector, const QVariantList&) -> QVariant {
            if (selector == "settlekeepBackupData:"_L1) return QByteArray("zip");
            onMainThreadAndWait([this] { m_progress->cancelAllProgress(); });
            return {};
        });
        const auto two = addClient(u"two"_s);
        m_controller->settlekeepRestore(backup(u"one"_s));
        QVERIFY(join());
        QVERIFY(sentTo(two).isEmpty());
    }

    void ticksDoNotOutliveThePane() {
        untickAll();
        QVERIFY(m_controller->settlekeepSelectedPrefKeys().isEmpty());
        m_controller->becomesVisible();
        QCOMPARE(m_controller->settlekeepSelectedPrefKeys().first(), u"fcpPrefs"_s);
        QVERIFY(logLines().contains(u"Populating Settlekeep preference type list..."_s));
    }
};

ORLENDO_TEST_MAIN(SettlekeepControllerTest)
#include "settlekeep_controller_test.moc"
