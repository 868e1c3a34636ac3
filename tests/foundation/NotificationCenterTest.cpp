#include "foundation/VLNotificationCenter.h"
#include "support/TestEnvironment.h"

#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

VLNotificationCenter& center() {
    return VLNotificationCenter::defaultCenter();
}

const QString thing = u"vlThing"_s;

}  // namespace

class NotificationCenterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { center().removeObserver(this); }
    void mainThreadPostRunsAtOnceAndEnqueuedLater() {
        QList<VLNotification> received;
        center().addObserver(this, thing,
                             [&](const VLNotification& notification) { received << notification; });
        center().enqueueNotification(thing, 1);
        QVERIFY(received.isEmpty());
        center().postNotification(thing, u"host"_s, {{u"count"_s, 3}});
        center().postNotification(u"VLThing"_s);  // another name
        QCOMPARE(received.size(), 1);
        QCOMPARE(received.first().name, thing);
        QCOMPARE(received.first().object, QVariant(u"host"_s));
        QCOMPARE(received.first().userInfo.value(u"count"_s), QVariant(3));
        QVERIFY(QTest::qWaitFor([&] { return received.size() == 2; }, 20'000));
    }

    void postsOfWorkersArriveOnTheMainThread() {
        constexpr int workers = 4;
        constexpr int posts = 500;
        std::vector<std::vector<int>> seen(workers);
        bool onMain = true;
        center().addObserver(this, thing, [&](const VLNotification& notification) {
            onMain = onMain && MainThread::isCurrent();
            seen.at(notification.object.toUInt()).push_back(notification.userInfo.value(u"i"_s).toInt());
        });
        std::vector<std::thread> threads;
        for (int worker = 0; worker < workers; ++worker)
            threads.emplace_back([worker] {
                for (int i = 0; i < posts; ++i)
                    center().postNotification(thing, worker, {{u"i"_s, i}});
            });
        QVERIFY(QTest::qWaitFor(
            [&] {
                return std::all_of(seen.begin(), seen.end(),
                                   [](const auto& list) { return list.size() == posts; });
            },
            20'000));
        for (auto& thread : threads)
            thread.join();
        for (const auto& list : seen)
            QVERIFY(std::is_sorted(list.begin(), list.end()));
        QVERIFY(onMain);
    }

    void destroyedAndRemovedObserversAreNotCalled() {
        int count = 0;
        const auto handler = [&](const VLNotification&) { ++count; };
        auto shortLived = std::make_unique<QObject>();
        center().addObserver(shortLived.get(), thing, handler);
        center().addObserver(this, thing, handler);
        center().enqueueNotification(thing);
        shortLived.reset();
        center().removeObserver(this);
        bool served = false;
        onMainThread([&served] { served = true; });
        QVERIFY(QTest::qWaitFor([&] { return served; }, 20'000));
        QCOMPARE(count, 0);
    }

    void handlersMayAddAndRemove() {
        int first = 0;
        int second = 0;
        int added = 0;
        auto other = std::make_unique<QObject>();
        center().addObserver(this, thing, [&](const VLNotification&) {
            ++first;
            other.reset();  // was registered before, is due in this same round
            for (int i = 0; i < 100; ++i)
                center().addObserver(this, thing, [&](const VLNotification&) { ++added; });
        });
        center().addObserver(other.get(), thing, [&](const VLNotification&) { ++second; });
        center().postNotification(thing);
        QCOMPARE(first, 1);
        QCOMPARE(second, 0);
        QCOMPARE(added, 0);
    }
};

ORLENDO_TEST_MAIN(NotificationCenterTest)
#include "NotificationCenterTest.moc"
