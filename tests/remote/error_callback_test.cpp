#include "foundation/VLNotificationCenter.h"
#include "remote/FakeRemote.h"
#include "remote/LogBudget.h"
#include "remote/VLCallback.h"
#include "remote/VLErrorCallback.h"
#include "support/TestEnvironment.h"

#include <QSet>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

const QString host = u"a.local."_s, otherHost = u"b.local."_s;

QVariantMap suiteError(const QVariant& code, const QVariant& info = {}) {
    return {{u"domain"_s, u"corvalinDomain"_s}, {u"code"_s, code}, {u"info"_s, info}};
}

QString onThread() {
    return MainThread::isCurrent() ? u"main"_s : u"worker"_s;
}

/// A callback whose parent writes down what it is told, one line per call, and on which kind of thread.
struct Console {
    mutable std::mutex mutex;
    QStringList calls;
    QSet<QString> known{host, otherHost};
    QDateTime now{QDate(2010, 5, 3), QTime(12, 0), Qt::UTC};
    VLErrorCallback callback{parent(), [this] { return now; }};

    void note(const QString& what, const QString& hostName) {
        const std::lock_guard lock(mutex);
        calls.append(u"%1 %2 %3"_s.arg(what, hostName, onThread()));
    }
    VLErrorCallback::Parent parent() {
        using Name = const QString&;
        const auto noting = [this](const char* what) {
            return [this, what = QString::fromLatin1(what)](Name name) { note(what, name); };
        };
        VLErrorCallback::Parent parent;
        parent.setNeedsMaintenance = [this](Name name, bool needed) {
            note(needed ? u"needs maintenance"_s : u"needs none"_s, name);
        };
        parent.fetchConfiguration = noting("fetch");
        parent.invalidate = noting("invalidate");
        parent.removeStoredPasswordForHost = noting("forget password");
        parent.knowsHost = [this](Name name) { return known.contains(name); };
        parent.isNameOfClient = [](Name, Name name) { return name == u"alias.local."_s; };
        parent.faultscopeAddLogs = [this](const QVariantList& logs, Name name) {
            note(u"%1 logs"_s.arg(logs.size()), name);
        };
        parent.setSoftwareUpdateCount = [this](qlonglong count, Name name) {
            note(u"%1 updates"_s.arg(count), name);
        };
        return parent;
    }
    /// Lets everything happen that calls have handed over.
    void settle() {
        QVERIFY(VLThread::joinAll(patience));
        bool reached = false;
        onMainThread([&reached] { reached = true; });
        QVERIFY(MainThread::waitUntil([&reached] { return reached; }, patience));
    }
    /// What is logged while an agent's call is served to the end.
    QStringList linesOf(const QString& selector, const QVariantList& arguments, const QString& sender) {
        const qsizetype before = logLines().size();
        callback.receive(selector, arguments, sender);
        settle();
        return logLines().mid(before);
    }
    [[nodiscard]] qsizetype records() const { return callback.errorCount(); }
    [[nodiscard]] QString newest(const QString& key) const {
        return callback.errorQueue().value(0).toMap().value(key).toString();
    }
};

}  // namespace

class ErrorCallbackTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void deduplicates() {
        // "host code seconds-since-the-step-before", and the number of records.
        for (const auto& [steps, records] :
             {std::pair{"a 2006 0, a 2006 119", 1},
              {"a 2006 0, a 2006 120", 2},
              {"a 2006 0, a 2006 80, a 2006 80", 2},  // the record's date counts
              {"a 2006 0, b 2006 1, a 2006 1", 2},
              {"a 2006 0, b 2006 1, b 2007 1, a 2006 1", 4},
              {"a 2006 0, a 2006 -3600", 1}}) {
            Console errors, texts;
            for (const QString& step : QString::fromLatin1(steps).split(u", "_s)) {
                const QStringList parts = step.split(u' ');
                errors.now = texts.now = errors.now.addSecs(parts.at(2).toLongLong());
                errors.callback.addErrorToQueue(suiteError(parts.at(1).toLongLong()), parts.at(0));
                texts.callback.addStringToQueue(parts.at(1), parts.at(0));
            }
            QVERIFY2(errors.records() == records && texts.records() == records, steps);
        }
    }

    /// Of many requests while the main thread is busy, few reach it, and the last one counts.
    void requestsForMaintenanceWaitForTheList() {
        Console console;
        for (int i = 0; i < 101; ++i)
            console.callback.receive(i % 2 ? u"cancelMaintenance:"_s : u"requestMaintenance:"_s, {host},
                                     host);
        console.settle();
        QVERIFY(console.calls.size() <= 2);
        QCOMPARE(console.calls.last(), u"needs maintenance a.local. main"_s);
    }

    void errorRecords() {
        Console console;
        console.callback.addErrorToQueue(suiteError(1002, u"Motion"_s),
                                         {{u"hostname"_s, host}, {u"appName"_s, u"Motion"_s}});
        QVariantMap expected{
            {u"description"_s, u"Application Motion is outdated. Please update this application."_s},
            {u"date"_s, console.now},
            {u"hostname"_s, host},
            {u"errorcode"_s, 1002},
            {u"actionType"_s, 1},
            {u"appName"_s, u"Motion"_s}};
        QCOMPARE(console.callback.errorQueue(), QVariantList{expected});

        // The code of another domain means something else than a wrong password.
        console.callback.addErrorToQueue({{u"domain"_s, u"NSCocoaErrorDomain"_s}, {u"code"_s, 1006}}, host);
        console.settle();
        QVERIFY(console.calls.isEmpty());

        const QString unknown = u"Unknown error. Please check error logs on the local machine."_s;
        const QVariantMap strange{{u"domain"_s, u"x"_s}, {u"description"_s, QVariantList{1}}};
        for (const auto& [error, text] :
             {std::pair{suiteError(0), QString()},
              {suiteError(1001, u"%s 100%"_s),
               u"Could not find Info.plist file for application %s 100% not found."_s},
              {suiteError(1000), u"Application (unknown) not found."_s},
              {suiteError(1500), unknown},
              {suiteError(-1), unknown},
              {suiteError(u"0"_s), unknown},
              {{{u"domain"_s, u"x"_s}, {u"description"_s, u"no disk"_s}}, u"no disk"_s},
              {strange, unknown}})
            QCOMPARE(VLErrorCallback::descriptionForError(error), text);
    }

    void queueOperations() {
        Console console;
        console.settle();  // what earlier tests posted
        QObject observer;
        int refreshes = 0;
        VLNotificationCenter::defaultCenter().addObserver(
            &observer, u"vlCorvalinErrorLabelRefresh"_s,
            [&refreshes](const VLNotification&) { ++refreshes; });
        console.callback.addStringToQueue(u"100% full"_s, host);
        console.settle();
        console.callback.addStringToQueue(u"100% full"_s, host);  // dropped
        console.now = console.now.addSecs(61);
        console.callback.addStringToQueue(u"%@"_s, otherHost);
        QCOMPARE(console.callback.stringRepresentation(),
                 u"b.local. - 2010-05-03 12:01:01 +0000 - %@\n"
                 "a.local. - 2010-05-03 12:00:00 +0000 - 100% full\n"_s);
        console.callback.removeErrorsForService(host);
        QCOMPARE(refreshes, 1);
        console.settle();
        QCOMPARE(refreshes, 2);  // one for both changes
        QCOMPARE(console.records(), 1);
        QCOMPARE(console.newest(u"hostname"_s), otherHost);
        console.callback.clearErrorQueue();
        QCOMPARE(console.callback.stringRepresentation(), QString());
    }

    /// An agent that never stops complaining neither fills the memory nor pushes out what the others said.
    void queueIsBounded() {
        Console console;
        QVariantList full;
        for (int i = 0; i < ErrorQueue::maximumRecords; ++i)
            full.append(QVariantMap{{u"description"_s, u"0"_s}, {u"hostname"_s, u"h%1"_s.arg(i / 100)}});
        console.callback.setErrorQueue(full);
        console.callback.addStringToQueue(QString(1'000'000, u'x'), host);
        QCOMPARE(console.callback.errorCount(), ErrorQueue::maximumRecords);
        QCOMPARE(console.newest(u"description"_s).size(), ErrorQueue::maximumTextLength);
        for (int i = 0; i < 500; ++i)
            console.callback.addStringToQueue(QString::number(i), host);
        const ErrorQueue::Counts counts = console.callback.errorCountsByHost();
        QCOMPARE(counts.at(host), ErrorQueue::maximumRecordsOfHost);
        QCOMPARE(counts.at(u"h97"_s), 100);
        QVERIFY(!counts.contains(u"h98"_s));
        const auto records = console.callback.errorRecords();
        QCOMPARE(records->at(ErrorQueue::maximumRecordsOfHost - 1)->description, u"300"_s);
    }

    void calls_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QString>("call");  // of the parent
        QTest::addColumn<QString>("line");  // how the log's line begins
        QTest::addColumn<QString>("record");
        const auto row = [](const char* name, const char* selector, const QVariantList& arguments,
                            const char* call, const QString& line = {}, const char* record = "") {
            QTest::addRow("%s %s", selector, name)
                << QString::fromLatin1(selector) << arguments << QString::fromLatin1(call) << line
                << QString::fromLatin1(record);
        };
        // Work goes to the main thread or to a worker, never to the thread that the call came on.
        row("", "requestMaintenance:", {host}, "needs maintenance a.local. main");
        row("", "cancelMaintenance:", {u"a.local"_s}, "needs none a.local. main");
        row("by another name", "updateConfig:", {u"alias.local."_s}, "fetch a.local. worker");
        row("", "forceConfigReload:", {host}, "fetch a.local. worker",
            u"a.local. will reload config data."_s);
        row("", "willDisconnect:", {host}, "invalidate a.local. worker", u"a.local. will disconnect."_s);
        row("", "faultscopeAddLogs:hostName:", {QVariantList{1, 2}, host}, "2 logs a.local. main");
        row("no list", "faultscopeAddLogs:hostName:", {u"x"_s, host}, "0 logs a.local. main");
        row("", "setSoftwareUpdateCount:hostname:", {3, host}, "3 updates a.local. main");
        row("below 0", "setSoftwareUpdateCount:hostname:", {-5, host}, "0 updates a.local. main");
        row("", "ping", {}, "");
        row("", "cancelProcessing", {}, "");

        const QVariantMap named{{u"hostname"_s, u"a.local"_s}};
        const char *refused = "Incorrect username or password.", *forgets = "forget password a.local. worker";
        row("", "addErrorToQueue:hostname:", {suiteError(1006), host}, forgets, {}, refused);
        row("", "addErrorToQueue:userInfo:", {suiteError(1006), named}, forgets, {}, refused);
        row("no host", "addErrorToQueue:userInfo:", {suiteError(1006), QVariantMap()}, forgets, {}, refused);
        row("", "addStringToQueue:hostname:", {u"words"_s, host}, "", {}, "words");
        row("", "addStringToQueue:userInfo:", {u"words"_s, named}, "", {}, "words");
        row("", "addExceptionToQueue:hostname:", {QVariantMap{{u"reason"_s, u"bounds"_s}}, host}, "", {},
            "bounds");

        // An agent that names another client changes nothing there, and is named itself.
        const auto theft = [&](const char* selector, const QVariantList& arguments) {
            row("of another", selector, arguments, "",
                u"Refusing callback %1 of a.local.: it speaks for another computer"_s.arg(
                    QLatin1StringView(selector)),
                "The client software tried to speak for another computer.");
        };
        for (const char* selector : {"requestMaintenance:", "cancelMaintenance:", "updateConfig:",
                                     "forceConfigReload:", "willDisconnect:"})
            theft(selector, {otherHost});
        theft("faultscopeAddLogs:hostName:", {QVariantList{1}, otherHost});
        theft("setSoftwareUpdateCount:hostname:", {4, otherHost});
        theft("addErrorToQueue:hostname:", {suiteError(1006), otherHost});
        theft("addErrorToQueue:userInfo:", {suiteError(1006), QVariantMap{{u"hostname"_s, otherHost}}});
        theft("addStringToQueue:hostname:", {u"x"_s, otherHost});
        theft("addStringToQueue:userInfo:", {u"x"_s, QVariantMap{{u"hostname"_s, otherHost}}});
        theft("addExceptionToQueue:hostname:", {QVariantMap(), otherHost});

        // One that nobody has concerns nobody.
        const auto stray = [&](const char* selector, const QVariantList& arguments, const QString& name) {
            row("of nobody", selector, arguments, "",
                u"Dropping callback %1 of a.local.: there is no computer %2."_s.arg(
                    QLatin1StringView(selector), name));
        };
        stray("requestMaintenance:", {u"c.local."_s}, u"c.local."_s);
        stray("setSoftwareUpdateCount:hostname:", {4, QString()}, {});
        stray("addStringToQueue:hostname:", {u"x"_s, u"c.local."_s}, u"c.local."_s);
        stray("addErrorToQueue:userInfo:", {suiteError(1006), QVariantMap{{u"hostname"_s, 7}}}, {});

        const auto bad = [&](const char* selector, const QVariantList& arguments, const char* error) {
            row("bad", selector, arguments, "",
                u"Ignoring callback %1 of a.local.: %2."_s.arg(QString::fromLatin1(selector).simplified(),
                                                               QLatin1StringView(error)));
        };
        bad("format:", {1}, "unknown selector");
        bad("relaunch", {}, "unknown selector");                    // an operation of the agent
        bad("postCallback:", {QVariantMap()}, "unknown selector");  // of a task's callback
        bad("clearErrorQueue", {}, "unknown selector");             // only for the console
        bad("a\nb", {}, "unknown selector");
        bad("willDisconnect:", {}, "0 arguments instead of 1");
        bad("updateConfig:", {QByteArray("a.local.")}, "argument \"hostname\" is data instead of string");
        bad("setSoftwareUpdateCount:hostname:", {u"3"_s, host},
            "argument \"count\" is string instead of number");
    }
    void calls() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        QFETCH(QString, line);
        QFETCH(QString, record);
        Console console;
        const QStringList lines = console.linesOf(selector, arguments, host);
        QCOMPARE(lines.size(), line.isEmpty() ? 0 : 1);
        QVERIFY2(lines.join(u'\n').startsWith(line), qPrintable(lines.join(u'\n')));
        QTEST(console.calls.join(u'\n'), "call");
        QCOMPARE(console.newest(u"description"_s), record);
        QCOMPARE(console.newest(u"hostname"_s), record.isEmpty() ? QString() : host);

        // Nobody hears a client that was removed.
        Console deaf;
        deaf.known.remove(host);
        QCOMPARE(deaf.linesOf(selector, arguments, host).filter(u"Ignoring"_s).size(),
                 lines.filter(u"Ignoring"_s).size());
        QVERIFY(deaf.calls.isEmpty() && deaf.records() == 0);
    }

    /// However many queue at once, each record is there afterwards.
    void noRecordIsLost() {
        constexpr int threads = 8, recordsEach = 100;
        VLErrorCallback callback;
        std::atomic<int> ready{0};
        std::vector<std::thread> workers;
        for (int worker = 0; worker < threads; ++worker)
            workers.emplace_back([&, worker] {
                for (++ready; ready < threads;)
                    std::this_thread::yield();
                for (int i = 0; i < recordsEach; ++i)
                    callback.addStringToQueue(QString::number(i), QString::number(worker));
            });
        for (std::thread& worker : workers)
            worker.join();
        QCOMPARE(callback.errorCount(), threads * recordsEach);
    }

    void postsNotices() {
        Console console;
        QObject observer;
        QStringList posted;
        const QStringList names{u"vlCorvalinTaskFinished"_s, u"vlCorvalinProgressIncrement"_s};
        for (const QString& name : names)
            VLNotificationCenter::defaultCenter().addObserver(
                &observer, name, [&](const VLNotification& notice) { posted.append(notice.name); });
        console.callback.receive(u"taskFinished"_s, {}, host);
        console.callback.receive(u"incrementProgress"_s, {}, host);
        console.callback.receive(u"taskFinished"_s, {}, u"removed.local."_s);
        QVERIFY(posted.isEmpty());  // not on the calling thread, even when that is the main one
        console.settle();
        QCOMPARE(posted, names);

        // Too many of one kind are dropped, with one line; the other kind and other agents are not touched.
        const qsizetype before = logLines().size();
        for (int i = 0; i < 2 * VLErrorCallback::noticesPerMinute; ++i)
            console.callback.receive(u"taskFinished"_s, {}, host);
        console.callback.receive(u"incrementProgress"_s, {}, host);
        console.callback.receive(u"taskFinished"_s, {}, otherHost);
        console.settle();
        QCOMPARE(posted.size(), 2 + (VLErrorCallback::noticesPerMinute - 1) + 2);
        QCOMPARE(
            logLines().mid(before),
            QStringList{u"a.local. sends taskFinished too often; the rest of this minute's are ignored."_s});
    }

    void cannotFillTheLog() {
        constexpr int calls = 1000, allowed = LogBudget::linesPerMinute;
        Console console;
        const auto call = [&](const QString& sender) {
            QStringList lines = console.linesOf(u"nonsense"_s, {}, sender);
            lines += console.linesOf(u"willDisconnect:"_s, {sender}, sender);
            return lines += console.linesOf(u"updateConfig:"_s, {u"elsewhere"_s}, sender);
        };
        const qsizetype before = logLines().size();
        for (int i = 0; i < calls; ++i)
            console.callback.receive(u"nonsense"_s, {}, host);
        QCOMPARE(logLines().size() - before, allowed);
        QVERIFY(call(host).isEmpty());
        QCOMPARE(call(otherHost).size(), 3);  // every agent has its own lines
        console.now = console.now.addSecs(60);
        const QStringList lines = call(host);
        QCOMPARE(lines.size(), 4);
        QCOMPARE(lines.first(),
                 u"%1 lines about callbacks of a.local. were left out."_s.arg(calls - allowed + 3));
    }

    /// However often an agent asks while a fetch runs, one thread works, and no request is lost.
    void requestsDuringWorkAreDoneOnce() {
        std::atomic<bool> release{true};
        std::atomic<int> fetches{0}, threads{0}, mostThreads{0};
        VLErrorCallback::Parent parent;
        parent.knowsHost = [](const QString&) { return true; };
        parent.fetchConfiguration = [&](const QString&) {
            mostThreads = std::max(mostThreads.load(), ++threads);
            ++fetches;
            MainThread::waitUntil([&release] { return release.load(); }, patience);
            --threads;
            if (fetches == 1) throw std::runtime_error("the first one fails");
        };
        VLErrorCallback callback(parent);
        callback.receive(u"updateConfig:"_s, {host}, host);
        QVERIFY(VLThread::joinAll(patience));

        release = false;
        callback.receive(u"updateConfig:"_s, {host}, host);
        QVERIFY(MainThread::waitUntil([&fetches] { return fetches == 2; }, patience));
        for (int i = 0; i < 100; ++i)
            callback.receive(u"updateConfig:"_s, {host}, host);
        release = true;
        QVERIFY(VLThread::joinAll(patience));
        QCOMPARE(fetches.load(), 3);
        QCOMPARE(mostThreads.load(), 1);
    }

    void taskCallback() {
        QStringList answered;
        auto callback = VLCallback::callbackWithName(
            u"vlEncodemendScanFinished"_s,
            [&answered](const std::shared_ptr<VLCallback>& self) {
                answered << self->name() << self->hostname() << self->info().value(u"output"_s).toString()
                         << onThread();
            },
            host);
        const qsizetype before = logLines().size();
        callback->receive(u"postCallback:"_s, {u"no dictionary"_s}, host);
        callback->receive(u"taskFinished"_s, {}, host);
        for (const QString& output : {u"fine"_s, u"again"_s})
            callback->receive(u"postCallback:"_s, {QVariantMap{{u"output"_s, output}}}, host);
        QCOMPARE(logLines().size(), before + 1);
        callback.reset();  // the hand-off keeps it until the delegate has seen it
        QVERIFY(answered.isEmpty());
        QVERIFY(MainThread::waitUntil([&answered] { return !answered.isEmpty(); }, patience));
        QCOMPARE(answered, (QStringList{u"vlEncodemendScanFinished"_s, host, u"fine"_s, u"main"_s}));
    }
};

ORLENDO_TEST_MAIN(ErrorCallbackTest)
#include "error_callback_test.moc"
