#include "foundation/VLNotificationCenter.h"
#include "support/TestEnvironment.h"

#include <memory>
#include <thread>

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
    void mainThreadPostRunsAtOnceAndOthersLater() {
        QList<VLNotification> received;
        center().addObserver(this, thing,
                             [&](const VLNotification& notification) { received << notification; });
        center().enqueueNotification(thing, 1);
        std::thread([] { center().postNotification(thing); }).join();
        QVERIFY(received.isEmpty());
        center().postNotification(thing, u"host"_s, {{u"count"_s, 3}});
        center().postNotification(u"VLThing"_s);  // another name
        QCOMPARE(received.size(), 1);
        QCOMPARE(received.first().object, QVariant(u"host"_s));
        QCOMPARE(received.first().userInfo.value(u"count"_s), QVariant(3));
        QVERIFY(QTest::qWaitFor([&] { return received.size() == 3; }, 20'000));
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
        int first = 0, second = 0, added = 0;
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
