#include "system/SignalWatcher.h"

#include <QEventLoop>
#include <QTest>

#include <csignal>
#include <optional>

namespace {

void (*handlerOf(int signal))(int) {
    struct sigaction action {};
    ::sigaction(signal, nullptr, &action);
    return action.sa_handler;
}

}  // namespace

class SignalWatcherTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// What came before the loop ran is heard in it, and is still known when that loop has ended.
    void hearsAndRemembers() {
        QEventLoop loop;
        QList<int> heard;
        std::optional<SignalWatcher> watcher(std::in_place, std::vector<int>{SIGTERM, SIGHUP},
                                             [&](int signal) {
                                                 heard.append(signal);
                                                 loop.quit();
                                             });
        QVERIFY(!watcher->hasNoted());
        ::raise(SIGHUP);
        ::raise(SIGTERM);
        loop.exec();
        QCOMPARE(heard, (QList<int>{SIGHUP, SIGTERM}));
        QVERIFY(watcher->hasNoted());
        // The next one ends the program, unless it is one that comes again and again.
        QVERIFY(handlerOf(SIGTERM) == SIG_DFL && handlerOf(SIGHUP) != SIG_DFL);
        watcher.reset();
        QVERIFY(handlerOf(SIGTERM) == SIG_DFL && handlerOf(SIGHUP) == SIG_IGN);
    }
};

QTEST_GUILESS_MAIN(SignalWatcherTest)
#include "SignalWatcherTest.moc"
