#include "support/AlertAnswers.h"
#include "support/TestTable.h"
#include "support/ToolBench.h"
#include "tools/settlekeep/BackupList.h"
#include "tools/settlekeep/SettlekeepController.h"

#include <QSignalSpy>
#include <QTest>
#include <QTranslator>

using namespace Qt::StringLiterals;

namespace {

using Sent = QList<QPair<QString, QVariantList>>;

FakeProxy::Answer holding(const QVariant& backups, const QVariant& data = QByteArray("zip")) {
    return [=](const QString& selector, const QVariantList&) {
        if (selector == "settlekeepBackups"_L1) return backups;
        return selector == "settlekeepBackupData:"_L1 ? data : QVariant();
    };
}

const QVariantMap oneBackup{{u"B"_s, QVariantMap{{u"path"_s, u"/B"_s}, {u"name"_s, u"B"_s}, {u"type"_s, 1}}}};

class LoudTranslator : public QTranslator {
public:
    [[nodiscard]] bool isEmpty() const override { return false; }
    [[nodiscard]] QString translate(const char*, const char* text, const char*, int) const override {
        return QString::fromUtf8(text).toUpper();
    }
};

}  // namespace

class SettlekeepControllerTest : public QObject {
    Q_OBJECT

    std::unique_ptr<AlertAnswers> m_alerts;
    std::unique_ptr<ToolBench> m_bench;
    std::shared_ptr<SettlekeepController> m_controller;

    FakeProxy& addClient(const QString& name, FakeProxy::Answer answer = {}) {
        return m_bench->addClient(name, std::move(answer));
    }
    static bool join() { return VLThread::joinAll(patience); }
    static bool isLogged(const QStringList& expected) {
        const QStringList lines = logLines();
        const auto isThere = [&](const QString& line) { return lines.contains(line); };
        return std::all_of(expected.begin(), expected.end(), isThere);
    }

private Q_SLOTS:
    void init() {
        m_alerts = std::make_unique<AlertAnswers>();
        m_bench = std::make_unique<ToolBench>();
        m_controller = std::make_shared<SettlekeepController>(m_bench->context());
        m_controller->becomesVisible();
    }
    void cleanup() {
        m_alerts.reset();
        m_controller.reset();
        m_bench.reset();
    }

    void locksAreThoseThatClientsTell() {
        for (const auto& [name, locked] :
             {std::pair(u"one"_s, QVariant(QVariantList{u"fcpPrefs"_s, u"stpPrefs"_s})),
              {u"two"_s, QVariant(QVariantList{u"fcpPrefs"_s, u"fcpPrefs"_s, 5})},
              {u"odd"_s, QVariant(u"x"_s)}})
            addClient(name, [locked = locked](const QString& selector, const QVariantList&) {
                return selector == "settlekeepLockedKeys"_L1 ? locked : QVariant();
            });
        const QSignalSpy changed(m_controller.get(), &SettlekeepController::locksChanged);
        QVERIFY(m_bench->run([this] { m_controller->populateLocks(); }));
        QCOMPARE(changed.size(), 1);
        QStringList hosts = m_controller->locks().value(u"fcpPrefs"_s);
        hosts.sort();
        QCOMPARE(hosts, (QStringList{u"one.local."_s, u"two.local."_s}));
        QCOMPARE(m_controller->locks().value(u"stpPrefs"_s), QStringList{u"one.local."_s});
    }

    void scriptsReadEnglishAndUsersTheirLanguage() {
        LoudTranslator loud;
        QVERIFY(QCoreApplication::installTranslator(&loud));
        addClient(u"one"_s, holding(oneBackup));
        QVERIFY(m_bench->run([this] { m_controller->refresh(); }));
        const ToolReport report = m_controller->report();
        QCOMPARE(report.header.value(2), u"Type"_s);
        QCOMPARE(report.rows.value(0).value(2), u"Known Good"_s);
        QCOMPARE(backupTypeText(m_controller->settlekeepBackupArray().value(0)), u"KNOWN GOOD"_s);
        m_controller->becomesVisible();
        const VLPrefItem first = m_controller->settlekeepPrefArray().value(0);
        QCOMPARE(first.name(), u"Final Cut Pro"_s);
        QCOMPARE(first.children().value(1).name(), u"BORIS PLUGIN PREFERENCES"_s);
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
        for (int row = 0; row < m_controller->settlekeepPrefArray().size(); ++row)
            m_controller->setPrefSelected(row, -1, VLPrefItem::Off);
        m_controller->settlekeepQuickBackup();
        m_controller->settlekeepQuickBackupAction(u"Q"_s, 1);
        QVERIFY(join());
        QCOMPARE(sheet.size(), 2);
        const QVariantMap options{{u"backupName"_s, u".."_s}, {u"backupType"_s, 2LL}, {u"keys"_s, keys}};
        QCOMPARE(one.sent(), Sent({{u"settlekeepBackupSelected:"_s, {options}},
                                   {u"settlekeepBackups"_s, {}},
                                   {u"settlekeepLockedKeys"_s, {}},
                                   {u"settlekeepBackup:type:"_s, {u"Q"_s, 1LL}},
                                   {u"settlekeepBackups"_s, {}},
                                   {u"settlekeepLockedKeys"_s, {}}}));
        QVERIFY(isLogged({u"Showing backup dialog for selected preference backup..."_s,
                          u"Backing up selected Settlekeep preferences: "_s + keys,
                          u"Showing Settlekeep quick backup dialog..."_s,
                          u"Performing quick backup to Q of type 1..."_s}));

        m_controller->settlekeepBackup();
        m_controller->settlekeepBackupAction(u"."_s, 0);
        m_controller->settlekeepQuickBackupAction(QString(), 0);
        QVERIFY(join());
        QCOMPARE(one.sent().size(), 6);
        const QString badName = u"You must enter a backup name"_s;
        QCOMPARE(m_alerts->asked, QStringList({u"No items selected"_s, badName, badName}));
        QCOMPARE(m_alerts->details.last(), u"You must enter a valid name for this backup."_s);
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
        m_controller->settlekeepRestore(
            {{u"hostname"_s, QString(host + ".local."_L1)}, {u"path"_s, u"/b"_s}, {u"name"_s, u"Good"_s}});
        QVERIFY(join() && isLogged({line}));
        QVERIFY(other.sent().isEmpty() && !m_bench->progress.isProcessing());
    }
};

ORLENDO_TEST_MAIN(SettlekeepControllerTest)
#include "settlekeep_controller_test.moc"
