#include "support/NoMoreThreads.h"
#include "support/TestEnvironment.h"
#include "system/VLAlert.h"

#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A sheet that the fake presenter "shows"; the test answers it.
struct Shown {
    QVariantMap description;
    QObject* parentWindow = nullptr;
    std::function<void(int)> ended;
    bool isOrderedOut = false;
};

}  // namespace

/// Alerts with a presenter that draws nothing.
class AlertTest : public QObject {
    Q_OBJECT

    std::vector<std::shared_ptr<Shown>> m_shown;

    void present(std::function<void(Shown&)> then = {}) {
        VLAlert::setPresenter(
            [this, then](const QVariantMap& description, QObject* parent, std::function<void(int)> ended) {
                auto shown = std::make_shared<Shown>(Shown{description, parent, std::move(ended)});
                m_shown.push_back(shown);
                if (then) QTimer::singleShot(20ms, this, [shown, then] { then(*shown); });
                return VLAlert::OrderOut([shown] { shown->isOrderedOut = true; });
            });
    }
    static int ask(bool onWorker, const std::function<int()>& alert) {
        if (!onWorker) return alert();
        std::atomic<int> code{99};
        VLThread::detach(u"asks"_s, [&] { code = alert(); });
        [&] { QTRY_VERIFY_WITH_TIMEOUT(code != 99, 5000); }();
        return code;
    }
    static int blockingAlert() {
        return VLAlert::alertSheetWithMessageText(u"Sync?"_s, u"Sync"_s, u"Cancel"_s, {}, u"All of them."_s,
                                                  nullptr, true);
    }

private Q_SLOTS:
    void cleanup() {
        m_shown.clear();
        VLAlert::setPresenter({});
        VLThread::cancelAll();
        QVERIFY(VLThread::joinAll(5s));
        VLThread::reset();
    }

    void blocksUntilAnswered_data() {
        QTest::addColumn<bool>("onWorker");
        QTest::addColumn<int>("answer");
        QTest::newRow("main, default") << false << 1;
        QTest::newRow("main, alternate") << false << 0;
        QTest::newRow("worker, default") << true << 1;
        QTest::newRow("worker, other") << true << -1;
    }
    void blocksUntilAnswered() {
        QFETCH(bool, onWorker);
        QFETCH(int, answer);
        present([answer](Shown& shown) { shown.ended(answer); });
        QCOMPARE(ask(onWorker, blockingAlert), answer);
        QCOMPARE(m_shown.size(), 1u);
        QCOMPARE(m_shown[0]->description,
                 (QVariantMap{{u"messageText"_s, u"Sync?"_s},
                              {u"defaultButtonTitle"_s, u"Sync"_s},
                              {u"alternateButtonTitle"_s, u"Cancel"_s},
                              {u"informativeText"_s, u"All of them."_s},
                              {u"didEndSelector"_s, u"alertDidEnd:returnCode:contextInfo:"_s}}));
    }

    void delegateHearsTheAnswer_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<int>("heard");
        QTest::newRow("knows it") << u"syncAlertDidEnd:"_s << 0;
        QTest::newRow("does not respond") << u"otherAlertDidEnd:"_s << 99;
        QTest::newRow("none given, has no default one") << QString() << 99;
    }
    void delegateHearsTheAnswer() {
        QFETCH(QString, selector);
        QFETCH(int, heard);
        present();
        int answer = 99;
        const auto delegate = std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{
            {u"syncAlertDidEnd:"_s, [&answer](int code) { answer = code; }}});
        QCOMPARE(
            VLAlert::alertSheetWithMessageText(u"Sync?"_s, {}, {}, {}, {}, this, delegate, selector, false),
            -1);
        QCOMPARE(m_shown.size(), heard == 99 ? 0u : 1u);
        if (heard != 99) m_shown[0]->ended(0);
        QCOMPARE(answer, heard);
    }

    void timePasses_data() {
        QTest::addColumn<bool>("onWorker");
        QTest::addColumn<int>("interval");
        QTest::addColumn<int>("code");
        QTest::newRow("at once") << false << 0 << 1;
        QTest::newRow("at once, worker") << true << 0 << 1;
        QTest::newRow("after a while") << false << 60 << 1;
        QTest::newRow("answered before") << false << 60000 << 0;
    }
    void timePasses() {
        QFETCH(bool, onWorker);
        QFETCH(int, interval);
        QFETCH(int, code);
        present([code](Shown& shown) {
            if (code == 0) shown.ended(0);
        });
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(ask(onWorker,
                     [interval] {
                         return VLAlert::timedAlertSheetWithMessageText(u"Relaunching"_s, {}, u"Stay"_s, {},
                                                                        {}, nullptr,
                                                                        std::chrono::milliseconds(interval));
                     }),
                 code);
        QVERIFY(timer.elapsed() < 4000);
        QCOMPARE(m_shown.at(0)->isOrderedOut, code == 1);
    }

    void timePassesWithoutAThread() {
        present();
        const NoMoreThreads none;
        QCOMPARE(VLAlert::timedAlertSheetWithMessageText(u"Relaunching"_s, {}, {}, {}, {}, nullptr, 30ms), 1);
        QVERIFY(m_shown.at(0)->isOrderedOut);
    }

    void quittingEndsEveryWait_data() {
        QTest::addColumn<bool>("onWorker");
        QTest::newRow("main") << false;
        QTest::newRow("worker") << true;
    }
    void quittingEndsEveryWait() {
        QFETCH(bool, onWorker);
        int code = 99;
        if (onWorker) {
            present([](Shown&) { VLThread::cancelAll(); });
            code = ask(true, blockingAlert);
        } else {
            present([](Shown&) { QCoreApplication::exit(3); });
            QTimer::singleShot(0, this, [&code] { code = blockingAlert(); });
            QCOMPARE(QCoreApplication::exec(), 3);
        }
        QCOMPARE(code, -1);
        QVERIFY(m_shown.at(0)->isOrderedOut);
    }

    void nobodyToShowIt() {
        QCOMPARE(VLAlert::alertSheetWithMessageText(u"Disk full"_s, u"on Edit Bay 1"_s, nullptr), -1);
        QVERIFY(logLines().contains(u"Alert without a window: Disk full on Edit Bay 1"_s));
    }
};

ORLENDO_TEST_MAIN(AlertTest)
#include "alert_test.moc"
