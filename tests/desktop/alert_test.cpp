#include "desktop/VLAlert.h"
#include "support/TestEnvironment.h"

#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// Alerts with a presenter that draws nothing: the test answers them.
class AlertTest : public QObject {
    Q_OBJECT

    struct Shown {
        QVariantMap description;
        std::function<void(int)> ended;
        bool isOrderedOut = false;
    };
    std::vector<std::shared_ptr<Shown>> m_shown;

    void present(std::function<void(Shown&)> then = {}) {
        VLAlert::setPresenter(
            [this, then](const QVariantMap& description, QObject*, std::function<void(int)> ended) {
                auto shown = std::make_shared<Shown>(Shown{description, std::move(ended)});
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

    void blocksUntilAnswered() {
        for (const auto& [onWorker, answer] : {std::pair{false, 1}, {false, 0}, {true, 1}, {true, -1}}) {
            present([answer = answer](Shown& shown) { shown.ended(answer); });
            QCOMPARE(ask(onWorker, blockingAlert), answer);
        }
        QCOMPARE(m_shown.size(), 4u);
        QCOMPARE(m_shown[0]->description,
                 (QVariantMap{{u"messageText"_s, u"Sync?"_s},
                              {u"defaultButtonTitle"_s, u"Sync"_s},
                              {u"alternateButtonTitle"_s, u"Cancel"_s},
                              {u"informativeText"_s, u"All of them."_s},
                              {u"didEndSelector"_s, u"alertDidEnd:returnCode:contextInfo:"_s}}));
    }

    void delegateHearsTheAnswer() {
        present();
        int answer = 99;
        const auto delegate = std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{
            {u"syncAlertDidEnd:"_s, [&answer](int code) { answer = code; }}});
        // A delegate that does not know the selector, or gives none and has no default one, is not asked.
        for (const QString& selector : {u"otherAlertDidEnd:"_s, QString(), u"syncAlertDidEnd:"_s})
            QCOMPARE(VLAlert::alertSheetWithMessageText(u"Sync?"_s, {}, {}, {}, {}, this, delegate, selector,
                                                        false),
                     -1);
        QCOMPARE(m_shown.size(), 1u);
        m_shown[0]->ended(0);
        QCOMPARE(answer, 0);
    }

    void timePasses() {
        const auto timed = [](std::chrono::milliseconds interval) {
            return [interval] {
                return VLAlert::timedAlertSheetWithMessageText(u"Relaunching"_s, {}, u"Stay"_s, {}, {},
                                                               nullptr, interval);
            };
        };
        present();
        QCOMPARE(ask(false, timed(0ms)), 1);
        QCOMPARE(ask(true, timed(0ms)), 1);
        QCOMPARE(ask(false, timed(60ms)), 1);
        for (const auto& shown : m_shown)
            QVERIFY(shown->isOrderedOut);
        present([](Shown& shown) { shown.ended(0); });
        QCOMPARE(ask(false, timed(60s)), 0);
        QVERIFY(!m_shown.back()->isOrderedOut);
    }

    void quittingEndsEveryWait() {
        present([](Shown&) { VLThread::cancelAll(); });
        QCOMPARE(ask(true, blockingAlert), -1);
        VLThread::reset();
        int code = 99;
        present([](Shown&) { QCoreApplication::exit(3); });
        QTimer::singleShot(0, this, [&code] { code = blockingAlert(); });
        QCOMPARE(QCoreApplication::exec(), 3);
        QCOMPARE(code, -1);
        QVERIFY(m_shown.at(0)->isOrderedOut && m_shown.at(1)->isOrderedOut);
    }

    void nobodyToShowIt() {
        QCOMPARE(VLAlert::alertSheetWithMessageText(u"Disk full"_s, u"on Edit Bay 1"_s, nullptr), -1);
        QVERIFY(logLines().contains(u"Alert without a window: Disk full on Edit Bay 1"_s));
    }
};

ORLENDO_TEST_MAIN(AlertTest)
#include "alert_test.moc"
