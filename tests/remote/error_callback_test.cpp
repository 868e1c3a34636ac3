#include "foundation/VLNotificationCenter.h"
#include "remote/FakeRemote.h"
#include "remote/LogBudget.h"
#include "remote/VLCallback.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "remote/VLErrorCallback.h"
#include "support/TestEnvironment.h"

#include <QRegularExpression>
#include <QSet>

using namespace Qt::StringLiterals;

namespace {

const QString host = u"a.local."_s, otherHost = u"b.local."_s;

QVariantMap suiteError(const QVariant& code, const QString& info = {}) {
    QVariantMap error{{u"domain"_s, u"corvalinDomain"_s}, {u"code"_s, code}};
    if (!info.isEmpty()) error.insert(u"info"_s, info);
    return error;
}

QString onThread() {
    return MainThread::isCurrent() ? u"main"_s : u"worker"_s;
}

/// A callback whose parent writes down what it is told, one line per call, and on which kind of thread.
struct Console {
    mutable std::mutex mutex;
    QStringList calls;
    QSet<QString> known{host};
    QDateTime now{QDate(2010, 5, 3), QTime(12, 0), Qt::UTC};
    VLErrorCallback callback{parent(), [this] { return now; }};

    void note(const QString& what, const QString& hostName) {
        const std::lock_guard lock(mutex);
        calls.append(u"%1 %2 %3"_s.arg(what, hostName, onThread()));
    }
    VLErrorCallback::Parent parent() {
        using Name = const QString&;
        VLErrorCallback::Parent parent;
        parent.setNeedsMaintenance = [this](Name name, bool needed) {
            note(needed ? u"needs maintenance"_s : u"needs none"_s, name);
        };
        parent.fetchConfiguration = [this](Name name) { note(u"fetch"_s, name); };
        parent.invalidate = [this](Name name) { note(u"invalidate"_s, name); };
        parent.knowsHost = [this](Name name) { return known.contains(name); };
        parent.isNameOfClient = [](Name, Name name) { return name == u"alias.local."_s; };
        parent.faultscopeAddLogs = [this](const QVariantList& logs, Name name) {
            note(u"%1 logs"_s.arg(logs.size()), name);
        };
        parent.setSoftwareUpdateCount = [this](qlonglong count, Name name) {
            note(u"%1 updates"_s.arg(count), name);
        };
        parent.removeStoredPasswordForHost = [this](Name name) { note(u"forget password"_s, name); };
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
    [[nodiscard]] qsizetype records() const { return callback.errorQueue().size(); }
    [[nodiscard]] QVariant newest(const QString& key) const {
        return callback.errorQueue().value(0).toMap().value(key);
    }
};

}  // namespace

class ErrorCallbackTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void deduplicates_data() {
        QTest::addColumn<QStringList>("steps");  // "host code seconds-since-the-step-before"
        QTest::addColumn<int>("records");
        const auto row = [](const char* name, const char* steps, int records) {
            QTest::newRow(name) << QString::fromLatin1(steps).split(u", "_s) << records;
        };
        row("within 120 seconds", "a 2006 0, a 2006 119", 1);
        row("at 120 seconds", "a 2006 0, a 2006 120", 2);
        row("the date of the record counts", "a 2006 0, a 2006 80, a 2006 80", 2);
        row("one between", "a 2006 0, b 2006 1, a 2006 1", 2);
        row("two between", "a 2006 0, b 2006 1, b 2007 1, a 2006 1", 4);
        row("clock set back", "a 2006 0, a 2006 -3600", 1);
    }
    void deduplicates() {
        QFETCH(QStringList, steps);
        for (const bool asText : {false, true}) {
            Console console;
            for (const QString& step : steps) {
                const QStringList parts = step.split(u' ');
                console.now = console.now.addSecs(parts.at(2).toLongLong());
                if (asText)
                    console.callback.addStringToQueue(parts.at(1), parts.at(0));
                else
                    console.callback.addErrorToQueue(suiteError(parts.at(1).toLongLong()), parts.at(0));
            }
            QTEST(static_cast<int>(console.records()), "records");
        }
    }

    void errorRecords() {
        Console console;
        const QVariantMap userInfo{{u"hostname"_s, host}, {u"appName"_s, u"Motion"_s}};
        console.callback.addErrorToQueue(suiteError(1002, u"Motion"_s), userInfo);
        const QVariantMap expected{
            {u"description"_s, u"Application Motion is outdated. Please update this application."_s},
            {u"date"_s, console.now},
            {u"hostname"_s, host},
            {u"errorcode"_s, 1002},
            {u"actionType"_s, 1},
            {u"appName"_s, u"Motion"_s}};
        QCOMPARE(console.callback.errorQueue(), QVariantList{expected});

        console.callback.addErrorToQueue(suiteError(1006), host);
        console.settle();
        QCOMPARE(console.newest(u"actionType"_s), QVariant(0));
        QVERIFY(!console.newest(u"appName"_s).isValid());
        QCOMPARE(console.calls, QStringList{u"forget password a.local. worker"_s});
        // The code of another domain means something else.
        console.callback.addErrorToQueue({{u"domain"_s, u"NSCocoaErrorDomain"_s}, {u"code"_s, 1006}}, host);
        console.settle();
        QCOMPARE(console.calls.size(), 1);
    }

    void descriptions_data() {
        QTest::addColumn<QVariantMap>("error");
        QTest::addColumn<QString>("description");
        const auto row = [](const char* name, const QVariantMap& error,
                            const char* text =
                                "Unknown error. Please check error logs on the local machine.") {
            QTest::newRow(name) << error << QString::fromLatin1(text);
        };
        row("none", suiteError(0), "");
        row("name that looks like a format", suiteError(1001, u"%s 100%"_s),
            "Could not find Info.plist file for application %s 100% not found.");
        row("without name", suiteError(1000), "Application (unknown) not found.");
        row("outdated client", suiteError(2007),
            "Corvalin is outdated on this machine. Please install a more recent version.");
        row("time-out", suiteError(2008),
            "Connection timed out. Please make sure that you have the latest version of the client "
            "software.");
        row("unknown code", suiteError(1500));
        row("negative code", suiteError(-1));
        row("code is no number", suiteError(u"0"_s));
        row("other domain", {{u"domain"_s, u"x"_s}, {u"description"_s, u"no disk"_s}}, "no disk");
        row("other domain, strange words", {{u"domain"_s, u"x"_s}, {u"description"_s, QVariantList{1}}});
        row("nothing", {});
    }
    void descriptions() {
        QFETCH(QVariantMap, error);
        QTEST(VLErrorCallback::descriptionForError(error), "description");
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
        QCOMPARE(console.newest(u"hostname"_s).toString(), otherHost);
        console.callback.clearErrorQueue();
        QCOMPARE(console.records(), 0);
        QCOMPARE(console.callback.stringRepresentation(), QString());
    }

    /// An agent that never stops complaining neither fills the memory nor stops the console.
    void queueIsBounded() {
        Console console;
        QVariantList full;
        for (int i = 0; i < ErrorQueue::maximumRecords; ++i)
            full.append(QVariantMap{{u"description"_s, u"0"_s}, {u"hostname"_s, u"h%1"_s.arg(i / 100)}});
        console.callback.setErrorQueue(full);
        console.callback.addStringToQueue(QString(1'000'000, u'x'), host);
        QCOMPARE(console.callback.errorCount(), ErrorQueue::maximumRecords);
        QCOMPARE(console.newest(u"description"_s).toString().size(), ErrorQueue::maximumTextLength);

        // Nor does it push out what the others said.
        for (int i = 0; i < 500; ++i)
            console.callback.addStringToQueue(QString::number(i), host);
        const ErrorQueue::Counts counts = console.callback.errorCountsByHost();
        QCOMPARE(counts.at(host), ErrorQueue::maximumRecordsOfHost);
        QCOMPARE(counts.at(u"h97"_s), 100);
        QVERIFY(!counts.contains(u"h98"_s));
        const auto records = console.callback.errorRecords();
        QCOMPARE(records->at(ErrorQueue::maximumRecordsOfHost - 1)->description, u"300"_s);
        console.callback.removeErrorsForService(host);
        QCOMPARE(console.callback.errorCountsByHost().size(), counts.size() - 1);
    }

    void handsOver_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("line");
        const auto row = [](const char* selector, const QVariantList& arguments, const char* call,
                            const char* line = "") {
            QTest::addRow("%s %s", selector, call) << QString::fromLatin1(selector) << arguments
                                                   << QString::fromLatin1(call) << QString::fromLatin1(line);
        };
        row("requestMaintenance:", {host}, "needs maintenance a.local. main");
        row("cancelMaintenance:", {u"a.local"_s}, "needs none a.local. main");
        row("updateConfig:", {u"alias.local."_s}, "fetch a.local. worker");
        row("forceConfigReload:", {host}, "fetch a.local. worker", "a.local. will reload config data.");
        row("willDisconnect:", {host}, "invalidate a.local. worker", "a.local. will disconnect.");
        row("faultscopeAddLogs:hostName:", {QVariantList{1, 2}, host}, "2 logs a.local. main");
        row("faultscopeAddLogs:hostName:", {u"x"_s, host}, "0 logs a.local. main");
        row("setSoftwareUpdateCount:hostname:", {3, host}, "3 updates a.local. main");
        row("setSoftwareUpdateCount:hostname:", {-5, host}, "0 updates a.local. main");
        row("requestMaintenance:", {otherHost}, "");  // of a client that is not known
        row("willDisconnect:", {otherHost}, "");
        row("ping", {}, "");
        row("cancelProcessing", {}, "");
    }
    /// Work goes to the main thread or to a worker, never to the thread that the call came on.
    void handsOver() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        Console console;
        const QString sender = arguments == QVariantList{otherHost} ? otherHost : host;
        QTEST(console.linesOf(selector, arguments, sender).join(u'\n'), "line");
        QTEST(console.calls.join(u'\n'), "call");
        QCOMPARE(console.records(), 0);
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
        QVERIFY(posted.isEmpty());  // not on the calling thread, even when that is the main one
        console.settle();
        QCOMPARE(posted, names);

        // Too many of one kind are dropped, with one line; the other kind and other agents are not touched.
        console.known.insert(otherHost);
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

    void isDeafToClientsThatWereRemoved() {
        Console console;
        console.known.clear();
        const QVariantList calls[] = {
            {u"requestMaintenance:"_s, host},
            {u"willDisconnect:"_s, host},
            {u"faultscopeAddLogs:hostName:"_s, QVariantList{1}, host},
            {u"setSoftwareUpdateCount:hostname:"_s, 4, host},
            {u"addErrorToQueue:hostname:"_s, suiteError(1006), host},
            {u"addStringToQueue:hostname:"_s, u"x"_s, otherHost},
            {u"taskFinished"_s},
        };
        QObject observer;
        int notices = 0;
        VLNotificationCenter::defaultCenter().addObserver(&observer, u"vlCorvalinTaskFinished"_s,
                                                          [&notices](const VLNotification&) { ++notices; });
        for (const QVariantList& call : calls)
            QVERIFY(console.linesOf(call.first().toString(), call.mid(1), host).isEmpty());
        QVERIFY(console.calls.isEmpty());
        QCOMPARE(console.records() + notices, 0);
        console.callback.addStringToQueue(u"The connection was lost."_s, host);  // the console's own words
        QCOMPARE(console.records(), 1);
    }

    void queuesErrorsOfAgents_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QString>("description");
        const QVariantMap named{{u"hostname"_s, u"a.local"_s}}, exception{{u"reason"_s, u"beyond bounds"_s}};
        const QString password = u"Incorrect username or password."_s;
        const auto row = [](const char* selector, const QVariantList& arguments, const QString& description) {
            QTest::addRow("%s %d", selector, static_cast<int>(arguments.at(1).toMap().size()))
                << QString::fromLatin1(selector) << arguments << description;
        };
        row("addErrorToQueue:hostname:", {suiteError(1006), host}, password);
        row("addErrorToQueue:userInfo:", {suiteError(1006), named}, password);
        row("addErrorToQueue:userInfo:", {suiteError(1006), QVariantMap()}, password);
        row("addStringToQueue:hostname:", {u"words"_s, host}, u"words"_s);
        row("addStringToQueue:userInfo:", {u"words"_s, named}, u"words"_s);
        row("addExceptionToQueue:hostname:", {exception, host}, u"beyond bounds"_s);
    }
    void queuesErrorsOfAgents() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        Console console;
        (void)console.linesOf(selector, arguments, host);
        QCOMPARE(console.records(), 1);
        QTEST(console.newest(u"description"_s).toString(), "description");
        QCOMPARE(console.newest(u"hostname"_s).toString(), host);
    }

    void refusesOtherHosts_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QVariantList>("arguments");
        const QVariantMap userInfo{{u"hostname"_s, host}}, strange{{u"hostname"_s, 7}};
        const auto row = [](const char* name, const QVariantList& arguments) {
            QTest::newRow(name) << QString::fromLatin1(name).section(u' ', 0, 0) << arguments;
        };
        for (const char* selector : {"requestMaintenance:", "cancelMaintenance:", "updateConfig:",
                                     "forceConfigReload:", "willDisconnect:"})
            row(selector, {host});
        row("faultscopeAddLogs:hostName:", {QVariantList{1}, host});
        row("setSoftwareUpdateCount:hostname:", {4, host});
        row("addErrorToQueue:hostname:", {suiteError(1006), host});
        row("addErrorToQueue:userInfo:", {suiteError(1006), userInfo});
        row("addErrorToQueue:userInfo: strange", {suiteError(1006), strange});
        row("addStringToQueue:hostname:", {u"x"_s, host});
        row("addStringToQueue:userInfo:", {u"x"_s, userInfo});
        row("addExceptionToQueue:hostname:", {QVariantMap(), host});
    }
    /// An agent that names another client changes nothing there, and is named itself.
    void refusesOtherHosts() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        Console console;
        console.known.insert(otherHost);
        const QStringList lines = console.linesOf(selector, arguments, otherHost);
        QVERIFY(lines.join(u'\n').startsWith(
            u"Refusing callback %1 of b.local.: it speaks for another computer"_s.arg(selector)));
        QVERIFY(console.calls.isEmpty());
        QCOMPARE(console.records(), 1);
        QCOMPARE(console.newest(u"hostname"_s).toString(), otherHost);
        QCOMPARE(console.newest(u"description"_s).toString(),
                 u"The client software tried to speak for another computer."_s);
    }

    void ignoresBadCalls_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* name, const char* selector, const QVariantList& arguments,
                            const char* error) {
            QTest::newRow(name) << QString::fromLatin1(selector) << arguments << QString::fromLatin1(error);
        };
        const char* unknown = "unknown selector";
        row("unknown", "format:", {1}, unknown);
        row("operation of the agent", "relaunch", {}, unknown);
        row("of a task callback", "postCallback:", {QVariantMap()}, unknown);
        row("only for the console", "clearErrorQueue", {}, unknown);
        row("lines in the selector", "a\nb", {}, unknown);
        row("too few", "willDisconnect:", {}, "0 arguments instead of 1");
        row("host is no text", "updateConfig:", {QByteArray("a.local.")},
            "argument \"hostname\" is data instead of string");
        row("count is no number", "setSoftwareUpdateCount:hostname:", {u"3"_s, host},
            "argument \"count\" is string instead of number");
    }
    void ignoresBadCalls() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        QFETCH(QString, error);
        Console console;
        const QStringList lines = console.linesOf(selector, arguments, host);
        selector.replace(u'\n', u' ');
        QCOMPARE(lines, QStringList{u"Ignoring callback %1 of a.local.: %2."_s.arg(selector, error)});
        QVERIFY(console.calls.isEmpty());
        QCOMPARE(console.records(), 0);
    }

    void cannotFillTheLog() {
        constexpr int calls = 1000, allowed = LogBudget::linesPerMinute;
        Console console;
        console.known.insert(otherHost);
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

    /// Callbacks of many connections while the queue is read and emptied: every reader sees whole records.
    void manyThreads() {
        constexpr int threads = 4, calls = 200;
        const QRegularExpression whole(u"^h\\d - 2010-05-03 12:00:00 \\+0000 - e\\d+$"_s);
        Console console;
        for (int thread = 0; thread < threads; ++thread)
            console.known.insert(u"h%1"_s.arg(thread));
        std::atomic<int> running{threads};
        for (int thread = 0; thread < threads; ++thread)
            VLThread::detach(u"agent"_s, [&console, &running, thread] {
                const QString sender = u"h%1"_s.arg(thread);
                for (int i = 0; i < calls; ++i) {
                    console.callback.receive(u"addStringToQueue:hostname:"_s, {u"e%1"_s.arg(i), sender},
                                             sender);
                    console.callback.receive(u"setSoftwareUpdateCount:hostname:"_s, {i, sender}, sender);
                    if (i % 50 == 49) console.callback.removeErrorsForService(sender);
                }
                --running;
            });
        while (running > 0) {
            const QString text = console.callback.stringRepresentation();
            for (const QString& line : text.split(u'\n', Qt::SkipEmptyParts))
                QVERIFY2(whole.match(line).hasMatch(), qPrintable(line));
            MainThread::waitUntil([] { return true; }, std::chrono::milliseconds(0));
        }
        console.settle();
        QCOMPARE(console.calls.size(), threads * calls);
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
