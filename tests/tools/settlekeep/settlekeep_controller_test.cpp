#include "support/TestTable.h"
#include "support/ToolBench.h"
#include "system/VLAlert.h"
#include "system/VLException.h"
#include "tools/settlekeep/SettlekeepController.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString lastUndo = u"settlekeepLastUndo"_s;  // after what replaced something
using Sent = QList<QPair<QString, QVariantList>>;

FakeProxy::Answer holding(const QVariant& backups, const QVariant& data = QByteArray("zip")) {
    return [=](const QString& selector, const QVariantList&) {
        if (selector == "settlekeepBackups"_L1) return backups;
        return selector == "settlekeepBackupData:"_L1 ? data : QVariant();
    };
}

QVariant throwing(const QString&, const QVariantList&) {
    throw VLException(VLException::inaccessible, u"gone"_s);
}

const QVariantMap oneBackup{{u"B"_s, QVariantMap{{u"path"_s, u"/B"_s}, {u"name"_s, u"B"_s}, {u"type"_s, 1}}}};

}  // namespace

class SettlekeepControllerTest : public QObject {
    Q_OBJECT

    QStringList m_alerts;
    std::unique_ptr<ToolBench> m_bench;
    std::shared_ptr<SettlekeepController> m_controller;

    FakeProxy& addClient(const QString& name, FakeProxy::Answer answer = {}) {
        return m_bench->addClient(name, std::move(answer));
    }
    static bool join() { return VLThread::joinAll(patience); }
    bool refresh() { return m_bench->run(std::bind_front(&SettlekeepController::refresh, m_controller)); }
    bool restore(const QString& host) {
        m_controller->settlekeepRestore(
            {{u"hostname"_s, QString(host + ".local."_L1)}, {u"path"_s, u"/b"_s}, {u"name"_s, u"Good"_s}});
        return join();
    }
    static bool isLogged(const QStringList& expected) {
        const QStringList lines = logLines();
        const auto isThere = [&](const QString& line) { return lines.contains(line); };
        return std::all_of(expected.begin(), expected.end(), isThere);
    }
    void untickAll() {
        for (int row = 0; row < m_controller->settlekeepPrefArray().size(); ++row)
            m_controller->setPrefSelected(row, -1, VLPrefItem::Off);
    }

private Q_SLOTS:
    void init() {
        m_alerts.clear();
        VLAlert::setPresenter([this](const QVariantMap& description, QObject*, auto ended) {
            m_alerts << description.value(u"messageText"_s).toString() + u'|' +
                            description.value(u"informativeText"_s).toString();
            ended(VLAlert::DefaultReturn);
            return [] {};
        });
        m_bench = std::make_unique<ToolBench>();
        m_controller = std::make_shared<SettlekeepController>(m_bench->context());
        m_controller->becomesVisible();
    }
    void cleanup() {
        VLAlert::setPresenter({});
        m_controller.reset();
        m_bench.reset();
    }

    void emptyKeysAreSentToo() {
        const FakeProxy& one = addClient(u"one"_s);
        untickAll();
        m_controller->becomesVisible();  // ticks do not outlive the pane
        QCOMPARE(m_controller->settlekeepSelectedPrefKeys().first(), u"fcpPrefs"_s);
        untickAll();
        m_controller->settlekeepLock();
        m_controller->settlekeepUnlock();
        m_controller->settlekeepTrash();
        m_controller->settlekeepQuickTrash();
        QVERIFY(join() && m_alerts.isEmpty());
        QStringList sent;
        for (const auto& [selector, arguments] : one.sent())
            sent << selector + arguments.value(0).toString() + arguments.value(1).toString();
        sent.sort();  // each has a thread of its own
        QCOMPARE(sent, QStringList({u"executeTask:bundleID:options:0com.velmora.settlekeep"_s, lastUndo,
                                    lastUndo, u"settlekeepLockSelected:"_s, u"settlekeepTrashSelected:"_s,
                                    u"settlekeepUnlockSelected:"_s}));
        QVERIFY(
            isLogged({u"Populating Settlekeep preference type list..."_s,
                      u"Locking selected Settlekeep prefs: "_s, u"Unlocking selected Settlekeep prefs: "_s,
                      u"Trashing selected preferences: "_s, u"Settlekeep quick trash..."_s}));
    }

    void backups() {
        const FakeProxy& one = addClient(u"one"_s, holding(oneBackup));
        QSignalSpy sheet(m_controller.get(), &SettlekeepController::backupSheetWanted);
        m_controller->settlekeepBackup();
        m_controller->settlekeepBackupAction(u".."_s, 2);
        QVERIFY(join());
        const QString keys = m_controller->settlekeepSelectedPrefKeys().join(u',');
        QCOMPARE(m_controller->report().rows,
                 QList<QStringList>({{u"B"_s, u"one"_s, u"Known Good"_s, {}, {}, {}}}));
        untickAll();
        m_controller->settlekeepQuickBackup();
        m_controller->settlekeepQuickBackupAction(u"Q"_s, 1);
        QVERIFY(join());
        QCOMPARE(sheet.size(), 2);
        const QVariantMap options{{u"backupName"_s, u".."_s}, {u"backupType"_s, 2LL}, {u"keys"_s, keys}};
        QCOMPARE(one.sent(), Sent({{u"settlekeepBackupSelected:"_s, {options}},
                                   {u"settlekeepBackups"_s, {}},
                                   {u"settlekeepBackup:type:"_s, {u"Q"_s, 1LL}},
                                   {u"settlekeepBackups"_s, {}}}));
        QVERIFY(isLogged({u"Showing backup dialog for selected preference backup..."_s,
                          u"Backing up selected Settlekeep preferences: "_s + keys,
                          u"Showing Settlekeep quick backup dialog..."_s,
                          u"Performing quick backup to Q of type 1..."_s}));

        m_controller->settlekeepBackup();
        m_controller->settlekeepBackupAction(u"."_s, 0);
        m_controller->settlekeepQuickBackupAction(QString(), 0);
        QVERIFY(join());
        QCOMPARE(one.sent().size(), 4);
        const QString badName =
            u"You must enter a backup name|You must enter a valid name for this backup."_s;
        QCOMPARE(m_alerts, QStringList({u"No items selected|You must select at least one item to backup."_s,
                                        badName, badName}));
    }

    void listSurvivesWhatClientsDo() {
        addClient(u"good"_s, holding(oneBackup));
        addClient(u"silent"_s, throwing);
        addClient(u"list"_s, holding(QVariantList{1}));
        addClient(u"odd"_s, holding(QVariantMap{{u"x"_s, 1}}));
        QSignalSpy busy(m_controller.get(), &ToolController::busyChanged);
        QVERIFY(refresh());
        QCOMPARE(m_controller->settlekeepBackupArray().size(), 1);
        QCOMPARE(m_controller->settlekeepBackupArray().first().value(u"hostname"_s), u"good.local."_s);
        m_bench->services.clear();
        QVERIFY(refresh());  // of nobody
        addClient(u"one"_s, [this](const QString&, const QVariantList&) {
            onMainThreadAndWait([this] { m_bench->progress.cancelStatusProgress(); });
            return QVariant(QVariantMap());
        });
        QVERIFY(refresh());  // half a run counts for nothing
        QCOMPARE(m_controller->settlekeepBackupArray().size(), 1);
        QCOMPARE(busy.size(), 2);  // not while there is a list
        QVERIFY(isLogged(
            {u"Populating Settlekeep backups..."_s, u"Unable to get backup data."_s,
             u"Backups of odd.local.: 1 of 1 entries left out, 0 values of a wrong kind ignored"_s}));
    }

    void restoreSendsPathOrData() {
        const FakeProxy &one = addClient(u"one"_s), &owner = addClient(u"owner"_s, holding({})),
                        &three = addClient(u"three"_s, throwing), &four = addClient(u"four"_s);
        m_controller->settlekeepRestore({});
        QVERIFY(restore(u"owner"_s));
        const Sent remote{{u"settlekeepRestoreRemoteBackup:"_s, {QByteArray("zip")}}}, undo{{lastUndo, {}}};
        QCOMPARE(three.sent(), remote);
        for (const FakeProxy* other : {&one, &four})  // the loss of one stops nobody else
            QCOMPARE(other->sent(), remote + undo);
        QCOMPARE(owner.sent(), Sent({{u"settlekeepBackupData:"_s, {u"/b"_s}},
                                     {u"settlekeepRestoreLocalBackup:"_s, {u"/b"_s}}}) +
                                   undo);
        QVERIFY(
            isLogged({u"Restoring Settlekeep backup Good..."_s, u"Progress: Restoring backup on four..."_s}));
    }

    void restoreThatTouchesNobody_data() {
        const TestTable<QString, QVariant, QString> row("host", "data", "line");
        const QString noData = u"Unable to get data for selected backup."_s;
        row("client is gone", u"nobody"_s, {}, u"Unable to get service for selected backup."_s);
        row("no data", u"owner"_s, {}, noData);
        row("data of a wrong kind", u"owner"_s, u"text"_s, noData);
        row("cancelled", u"owner"_s, QByteArray("cancel"), u"Restoring Settlekeep backup Good..."_s);
    }
    void restoreThatTouchesNobody() {
        QFETCH(QString, host);
        QFETCH(QVariant, data);
        QFETCH(QString, line);
        const FakeProxy& other = addClient(u"other"_s);
        addClient(u"owner"_s, [&](const QString&, const QVariantList&) -> QVariant {
            if (data == QByteArray("cancel"))
                onMainThreadAndWait([this] { m_bench->progress.cancelAllProgress(); });
            return data;
        });
        QVERIFY(restore(host) && isLogged({line}));
        QVERIFY(other.sent().isEmpty() && !m_bench->progress.isProcessing());
    }
};

ORLENDO_TEST_MAIN(SettlekeepControllerTest)
#include "settlekeep_controller_test.moc"
