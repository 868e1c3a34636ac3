#include "app/AppDefaults.h"
#include "app/AutoRefresh.h"
#include "app/RefreshRequest.h"
#include "support/TestEnvironment.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

class AutoRefreshTest : public QObject {
    Q_OBJECT

    bool m_processing = false, m_installing = false, m_active = true;
    int m_started = 0;
    std::unique_ptr<AutoRefresh> m_refresh;

private Q_SLOTS:
    void init() {
        m_processing = m_installing = false;
        m_active = true;
        m_started = 0;
        VLUserDefaults::standardUserDefaults().registerDefaults(registeredDefaults());
        VLUserDefaults::standardUserDefaults().removeObjectForKey(QStringLiteral("autoRefresh"));
        m_refresh = std::make_unique<AutoRefresh>(AutoRefresh::Environment{
            [this] { return m_processing; }, [this] { return m_installing; }, [this] { return m_active; },
            [](const std::function<void()>& operation) { operation(); }});
    }

    void guards_data() {
        QTest::addColumn<bool>("byTimer");
        QTest::addColumn<bool>("active");
        QTest::addColumn<bool>("processing");
        QTest::addColumn<bool>("installing");
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<bool>("starts");
        const QVariant nothing;
        QTest::newRow("tick") << true << true << false << false << nothing << true;
        QTest::newRow("tick in the background") << true << false << false << false << nothing << false;
        QTest::newRow("tick turned off") << true << true << false << false << QVariant(0) << false;
        QTest::newRow("tick with another number") << true << true << false << false << QVariant(2) << false;
        QTest::newRow("tick while processing") << true << true << true << false << nothing << false;
        QTest::newRow("tick while installing") << true << true << false << true << nothing << false;
        QTest::newRow("toolbar") << false << true << false << false << nothing << true;
        QTest::newRow("toolbar in the background") << false << false << false << false << nothing << true;
        QTest::newRow("toolbar turned off") << false << true << false << false << QVariant(0) << true;
        QTest::newRow("toolbar while processing") << false << true << true << false << nothing << false;
        QTest::newRow("toolbar while installing") << false << true << false << true << nothing << false;
    }
    void guards() {
        QFETCH(bool, byTimer);
        QFETCH(QVariant, stored);
        QFETCH(bool, active);
        QFETCH(bool, processing);
        QFETCH(bool, installing);
        m_active = active;
        m_processing = processing;
        m_installing = installing;
        if (stored.isValid())
            VLUserDefaults::standardUserDefaults().setObject(stored, QStringLiteral("autoRefresh"));
        m_refresh->setupAutoRefresh([this] { ++m_started; }, 0);
        m_refresh->autoRefreshData(byTimer);
        QTEST(m_started == 1, "starts");
    }

    void timerAndToolbarItem_data() {
        QTest::addColumn<bool>("hasOperation");
        QTest::addColumn<int>("interval");
        QTest::addColumn<bool>("processing");
        QTest::addColumn<int>("timer");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("repeated") << true << 60 << false << 60 << true;
        QTest::newRow("only when asked") << true << 0 << false << 0 << true;
        QTest::newRow("negative") << true << -5 << false << 0 << true;
        QTest::newRow("while processing") << true << 30 << true << 30 << false;
        QTest::newRow("too long for a timer")
            << true << std::numeric_limits<int>::max() << false << 2147483 << true;
        QTest::newRow("none") << false << 0 << false << 0 << false;
        QTest::newRow("none, with an interval") << false << 30 << false << 0 << false;
    }
    void timerAndToolbarItem() {
        QFETCH(bool, hasOperation);
        QFETCH(int, interval);
        QFETCH(bool, processing);
        m_refresh->setupAutoRefresh([] {}, 300);  // the pane before
        m_processing = processing;
        m_refresh->setupAutoRefresh(hasOperation ? [] {} : std::function<void()>(), interval);
        QTEST(m_refresh->interval(), "timer");
        QTEST(m_refresh->refreshEnabled(), "enabled");
    }

    void timerTicks() {
        m_refresh->setupAutoRefresh([this] { ++m_started; }, 1);
        QTRY_VERIFY_WITH_TIMEOUT(m_started >= 1, 5000);
        m_refresh->setupAutoRefresh({}, 0);
        m_refresh->autoRefreshData(false);
        QCOMPARE(m_started, 1);
    }

    void defaultsHaveTheirTypes() {
        const QVariantMap defaults = registeredDefaults();
        QCOMPARE(defaults.size(), 13);
        for (auto it = defaults.begin(); it != defaults.end(); ++it) {
            const bool isInteger =
                it.key() == QLatin1String("authAddKeychain") || it.key() == QLatin1String("autoRefresh");
            const bool isText = it.key().endsWith(QLatin1String("SortedColumn"));
            const auto expected = isInteger ? QMetaType::LongLong
                                  : isText  ? QMetaType::QString
                                            : QMetaType::Bool;
            QVERIFY2(it->typeId() == expected, qPrintable(it.key()));
        }
        QCOMPARE(defaults.value(QStringLiteral("cronwellOutlineSortedColumn")),
                 QStringLiteral("taskDescription"));
        QCOMPARE(defaults.value(QStringLiteral("faultscopeLogTableSortedDescending")), true);
    }

    void booleanNo_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("isNo");
        QTest::newRow("absent") << QVariant() << false;
        QTest::newRow("NO") << QVariant(false) << true;
        QTest::newRow("YES") << QVariant(true) << false;
        QTest::newRow("zero") << QVariant(qlonglong{0}) << true;
        QTest::newRow("text") << QVariant(QStringLiteral("0")) << false;
        QTest::newRow("list") << QVariant(QVariantList()) << false;
    }
    void booleanNo() {
        QFETCH(QVariant, value);
        QTEST(isBooleanNo(value), "isNo");
    }

    void manyRequestsGiveOneRefresh() {
        bool blocked = true, settled = false;
        int refreshes = 0;
        RefreshRequest request({[&] { return blocked; }, [&] { return settled; }, [&] { ++refreshes; }},
                               {20ms, 10s});
        for (int i = 0; i < 5; ++i)
            request.request();
        QTest::qWait(60);
        QCOMPARE(refreshes, 0);  // something runs
        blocked = false;
        QTest::qWait(60);
        QCOMPARE(refreshes, 0);  // a client is about to connect
        settled = true;
        QTRY_COMPARE(refreshes, 1);
        QVERIFY(!request.isPending());
        QTest::qWait(60);
        QCOMPARE(refreshes, 1);
    }

    void clientsThatNeverConnectDoNotHoldTheRefreshBack() {
        int refreshes = 0;
        RefreshRequest request({[] { return false; }, [] { return false; }, [&] { ++refreshes; }},
                               {10ms, 40ms});
        request.request();
        QTRY_COMPARE(refreshes, 1);
        request.request();
        request.cancel();
        QTest::qWait(80);
        QCOMPARE(refreshes, 1);
    }
};

ORLENDO_TEST_MAIN(AutoRefreshTest)
#include "auto_refresh_test.moc"
