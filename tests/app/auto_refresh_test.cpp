#include "app/AppDefaults.h"
#include "app/AutoRefresh.h"
#include "app/RefreshRequest.h"
#include "support/TestEnvironment.h"
#include "support/TestTable.h"

#include <QTest>

using namespace Qt::StringLiterals;
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
        VLUserDefaults::standardUserDefaults().registerDefaults(registeredDefaults({}));
        VLUserDefaults::standardUserDefaults().removeObjectForKey(u"autoRefresh"_s);
        m_refresh = std::make_unique<AutoRefresh>(AutoRefresh::Environment{
            [this] { return m_processing; }, [this] { return m_installing; }, [this] { return m_active; },
            [](const std::function<void()>& operation) { operation(); }});
    }

    void guards_data() {
        const TestTable<bool, QString, QVariant, bool> row("byTimer", "state", "stored", "starts");
        row("tick", true, "", {}, true);
        row("tick in the background", true, "inactive", {}, false);
        row("tick turned off", true, "", 0, false);
        row("tick with another number", true, "", 2, false);
        row("tick while processing", true, "processing", {}, false);
        row("tick while installing", true, "installing", {}, false);
        row("toolbar in the background", false, "inactive", {}, true);
        row("toolbar turned off", false, "", 0, true);
        row("toolbar while processing", false, "processing", {}, false);
        row("toolbar while installing", false, "installing", {}, false);
    }
    void guards() {
        QFETCH(bool, byTimer);
        QFETCH(QVariant, stored);
        QFETCH(QString, state);
        m_active = state != u"inactive";
        m_processing = state == u"processing";
        m_installing = state == u"installing";
        if (stored.isValid()) VLUserDefaults::standardUserDefaults().setObject(stored, u"autoRefresh"_s);
        m_refresh->setupAutoRefresh([this] { ++m_started; }, 0);
        m_refresh->autoRefreshData(byTimer);
        QTEST(m_started == 1, "starts");
    }

    void timerTicks() {
        m_refresh->setupAutoRefresh([this] { ++m_started; }, 1);
        QTRY_VERIFY_WITH_TIMEOUT(m_started >= 1, 5000);
        m_refresh->setupAutoRefresh({}, 30);
        m_refresh->autoRefreshData(false);
        QCOMPARE(m_started, 1);
        QVERIFY(m_refresh->interval() == 0 && !m_refresh->refreshEnabled());
        m_refresh->setupAutoRefresh([] {}, std::numeric_limits<int>::max());  // in milliseconds it overflows
        QCOMPARE(m_refresh->interval(), 2'147'483);
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
