#include "foundation/VLNotificationCenter.h"
#include "remote/LogBudget.h"
#include "remote/VLCallback.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "remote/VLErrorCallback.h"
#include "support/TestEnvironment.h"

#include <QRegularExpression>
#include <QSet>

#include <mutex>

namespace {

using namespace std::chrono_literals;
constexpr auto patience = 30s;

QString latin(const char* text) {
    return QString::fromLatin1(text);
}

const QString host = latin("a.local.");
const QString otherHost = latin("b.local.");

QVariantMap suiteError(qlonglong code, const QString& info = {}) {
    QVariantMap error{{latin("domain"), latin("corvalinDomain")}, {latin("code"), code}};
    if (!info.isEmpty()) error.insert(latin("info"), info);
    return error;
}

QVariantMap recordAt(const VLErrorCallback& callback, qsizetype index) {
    return callback.errorQueue().value(index).toMap();
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
        calls.append(QStringLiteral("%1 %2 %3")
                         .arg(what, hostName, MainThread::isCurrent() ? latin("main") : latin("worker")));
    }
    [[nodiscard]] QStringList noted() const {
        const std::lock_guard lock(mutex);
        return calls;
    }
    VLErrorCallback::Parent parent() {
        using Name = const QString&;
        VLErrorCallback::Parent parent;
        parent.setNeedsMaintenance = [this](Name name, bool needed) {
            note(needed ? latin("needs maintenance") : latin("needs none"), name);
        };
        parent.fetchConfiguration = [this](Name name) { note(latin("fetch"), name); };
        parent.invalidate = [this](Name name) { note(latin("invalidate"), name); };
        parent.knowsHost = [this](Name name) { return known.contains(name); };
        parent.isNameOfClient = [](Name, Name name) { return name == latin("alias.local."); };
        parent.faultscopeAddLogs = [this](const QVariantList& logs, Name name) {
            note(latin("%1 logs").arg(logs.size()), name);
        };
        parent.setSoftwareUpdateCount = [this](qlonglong count, Name name) {
            note(latin("%1 updates").arg(count), name);
        };
        parent.removeStoredPasswordForHost = [this](Name name) { note(latin("forget password"), name); };
        return parent;
    }
    /// Lets everything happen that calls have handed over.
    void settle() {
        QVERIFY(VLThread::joinAll(patience));
        bool reached = false;
        onMainThread([&reached] { reached = true; });
        QVERIFY(MainThread::waitUntil([&reached] { return reached; }, patience));
    }
};

}  // namespace

class ErrorCallbackTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void deduplicates_data();
    void deduplicates();
    void errorRecords();
    void descriptions_data();
    void descriptions();
    void queueOperations();
    void queueIsBounded();
    void refreshesTheButton();
    void handsOver_data();
    void handsOver();
    void postsNotices();
    void queuesErrorsOfAgents_data();
    void queuesErrorsOfAgents();
    void refusesOtherHosts_data();
    void refusesOtherHosts();
    void ignoresBadCalls_data();
    void ignoresBadCalls();
    void cannotFillTheLog();
    void requestsDuringWorkAreDoneOnce();
    void manyThreads();
    void taskCallback();
};

void ErrorCallbackTest::deduplicates_data() {
    QTest::addColumn<QStringList>("steps");  // "host code seconds-since-the-step-before"
    QTest::addColumn<int>("records");
    QTest::newRow("within 120 seconds") << QStringList{latin("a 2006 0"), latin("a 2006 119")} << 1;
    QTest::newRow("at 120 seconds") << QStringList{latin("a 2006 0"), latin("a 2006 120")} << 2;
    QTest::newRow("the date of the record counts")
        << QStringList{latin("a 2006 0"), latin("a 2006 80"), latin("a 2006 80")} << 2;
    QTest::newRow("one between") << QStringList{latin("a 2006 0"), latin("b 2006 1"), latin("a 2006 1")} << 2;
    QTest::newRow("two between") << QStringList{latin("a 2006 0"), latin("b 2006 1"), latin("b 2007 1"),
                                                latin("a 2006 1")}
                                 << 4;
    QTest::newRow("other code") << QStringList{latin("a 2006 0"), latin("a 2007 0")} << 2;
    QTest::newRow("clock set back") << QStringList{latin("a 2006 0"), latin("a 2006 -3600")} << 1;
}

void ErrorCallbackTest::deduplicates() {
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
        QTEST(static_cast<int>(console.callback.errorQueue().size()), "records");
    }
}

void ErrorCallbackTest::errorRecords() {
    Console console;
    const QVariantMap userInfo{{latin("hostname"), host}, {latin("appName"), latin("Motion")}};
    console.callback.addErrorToQueue(suiteError(1002, latin("Motion")), userInfo);
    QCOMPARE(recordAt(console.callback, 0),
             (QVariantMap{{latin("description"), latin("Application Motion is outdated. Please update this "
                                                       "application.")},
                          {latin("date"), console.now},
                          {latin("hostname"), host},
                          {latin("errorcode"), 1002},
                          {latin("actionType"), 1},
                          {latin("appName"), latin("Motion")}}));

    console.callback.addErrorToQueue(suiteError(1006), host);
    console.settle();
    QCOMPARE(recordAt(console.callback, 0).value(latin("actionType")), QVariant(0));
    QVERIFY(!recordAt(console.callback, 0).contains(latin("appName")));
    QCOMPARE(console.noted(), QStringList{latin("forget password a.local. worker")});

    // The code of another domain means something else.
    QVariantMap foreign = suiteError(1006);
    foreign.insert(latin("domain"), latin("NSCocoaErrorDomain"));
    console.callback.addErrorToQueue(foreign, otherHost);
    console.callback.addErrorToQueue(suiteError(0), host);
    console.settle();
    QCOMPARE(console.noted().size(), 1);
    QCOMPARE(console.callback.errorQueue().size(), 4);
    QVERIFY(recordAt(console.callback, 0).value(latin("description")).toString().isEmpty());
}

void ErrorCallbackTest::descriptions_data() {
    QTest::addColumn<QVariantMap>("error");
    QTest::addColumn<QString>("description");
    const QString unknown = latin("Unknown error. Please check error logs on the local machine.");
    const auto foreign = [](const QVariant& description) {
        return QVariantMap{
            {latin("domain"), latin("x")}, {latin("code"), 1}, {latin("description"), description}};
    };
    QTest::newRow("none") << suiteError(0) << QString();
    QTest::newRow("with name") << suiteError(1001, latin("Color"))
                               << latin("Could not find Info.plist file for application Color not found.");
    QTest::newRow("without name") << suiteError(1000) << latin("Application (unknown) not found.");
    QTest::newRow("unknown code") << suiteError(1500) << unknown;
    QTest::newRow("negative code") << suiteError(-1) << unknown;
    QTest::newRow("other domain") << foreign(latin("no disk")) << latin("no disk");
    QTest::newRow("other domain, no words") << foreign({}) << unknown;
    QTest::newRow("other domain, strange words") << foreign(QVariantList{1}) << unknown;
    QTest::newRow("nothing") << QVariantMap() << unknown;
    QVariantMap strange = suiteError(0);
    strange.insert(latin("code"), latin("0"));
    QTest::newRow("code is no number") << strange << unknown;
}

void ErrorCallbackTest::descriptions() {
    QFETCH(QVariantMap, error);
    QTEST(VLErrorCallback::descriptionForError(error), "description");
}

void ErrorCallbackTest::queueOperations() {
    Console console;
    QCOMPARE(console.callback.stringRepresentation(), QString());
    console.callback.addStringToQueue(latin("100% full"), host);
    console.now = console.now.addSecs(61);
    console.callback.addStringToQueue(latin("%@"), otherHost);
    QCOMPARE(console.callback.stringRepresentation(),
             latin("b.local. - 2010-05-03 12:01:01 +0000 - %@\n"
                   "a.local. - 2010-05-03 12:00:00 +0000 - 100% full\n"));
    console.callback.removeErrorsForService(host);
    QCOMPARE(console.callback.errorQueue().size(), 1);
    QCOMPARE(recordAt(console.callback, 0).value(latin("hostname")).toString(), otherHost);
    console.callback.clearErrorQueue();
    QVERIFY(console.callback.errorQueue().isEmpty());
}

/// An agent that never stops complaining neither fills the memory nor stops the console.
void ErrorCallbackTest::queueIsBounded() {
    Console console;
    QVariantList many;
    for (int i = 0; i < VLErrorCallback::maximumRecords; ++i)
        many.append(QVariantMap{{latin("description"), QString::number(i)}, {latin("hostname"), host}});
    console.callback.setErrorQueue(many);
    console.callback.addStringToQueue(QString(1'000'000, u'x'), host);
    QCOMPARE(console.callback.errorQueue().size(), VLErrorCallback::maximumRecords);
    QCOMPARE(recordAt(console.callback, 0).value(latin("description")).toString().size(),
             VLErrorCallback::maximumTextLength);
    QCOMPARE(recordAt(console.callback, 1).value(latin("description")).toString(), latin("0"));
}

void ErrorCallbackTest::refreshesTheButton() {
    Console console;
    console.settle();  // what earlier tests posted
    QObject observer;
    int refreshes = 0;
    VLNotificationCenter::defaultCenter().addObserver(&observer, latin("vlCorvalinErrorLabelRefresh"),
                                                      [&refreshes](const VLNotification&) { ++refreshes; });
    console.callback.addStringToQueue(latin("x"), host);
    console.callback.addStringToQueue(latin("x"), host);  // dropped
    console.callback.removeErrorsForService(host);
    console.settle();
    QCOMPARE(refreshes, 2);
}

void ErrorCallbackTest::handsOver_data() {
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("sender");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<QStringList>("lines");
    const auto row = [](const char* name, const char* selector, const QVariantList& arguments,
                        const QString& sender, const QStringList& calls, const QStringList& lines = {}) {
        QTest::newRow(name) << latin(selector) << arguments << sender << calls << lines;
    };
    row("maintenance", "requestMaintenance:", {host}, host, {latin("needs maintenance a.local. main")});
    row("no maintenance", "cancelMaintenance:", {host}, host, {latin("needs none a.local. main")});
    row("configuration", "updateConfig:", {host}, host, {latin("fetch a.local. worker")});
    row("configuration, forced", "forceConfigReload:", {host}, host, {latin("fetch a.local. worker")},
        {latin("a.local. will reload config data.")});
    row("leaving", "willDisconnect:", {host}, host, {latin("invalidate a.local. worker")},
        {latin("a.local. will disconnect.")});
    row("without dot", "requestMaintenance:", {latin("a.local")}, host,
        {latin("needs maintenance a.local. main")});
    row("other name", "updateConfig:", {latin("alias.local.")}, host, {latin("fetch a.local. worker")});
    row("unknown client", "requestMaintenance:", {otherHost}, otherHost, {});
    row("unknown client leaves", "willDisconnect:", {otherHost}, otherHost, {});
    row("crash logs", "faultscopeAddLogs:hostName:", {QVariantList{1, 2}, host}, host,
        {latin("2 logs a.local. main")});
    row("crash logs that are none", "faultscopeAddLogs:hostName:", {latin("x"), host}, host,
        {latin("0 logs a.local. main")});
    row("updates", "setSoftwareUpdateCount:hostname:", {3, host}, host, {latin("3 updates a.local. main")});
    row("impossible count", "setSoftwareUpdateCount:hostname:", {-5, host}, host,
        {latin("0 updates a.local. main")});
    row("ping", "ping", {}, host, {});
    row("cancel", "cancelProcessing", {}, host, {});
}

/// Work goes to the main thread or to a worker, never to the thread that the call came on.
void ErrorCallbackTest::handsOver() {
    QFETCH(QString, selector);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, sender);
    Console console;
    const qsizetype before = logLines().size();
    QVERIFY(!console.callback.receive(selector, arguments, sender).isValid());
    console.settle();
    QTEST(console.noted(), "calls");
    QTEST(logLines().mid(before), "lines");
    QVERIFY(console.callback.errorQueue().isEmpty());
}

void ErrorCallbackTest::postsNotices() {
    Console console;
    QObject observer;
    QStringList posted;
    for (const char* name : {"vlCorvalinTaskFinished", "vlCorvalinProgressIncrement"})
        VLNotificationCenter::defaultCenter().addObserver(&observer, latin(name),
                                                          [&posted](const VLNotification& notification) {
                                                              if (!notification.object.isValid())
                                                                  posted.append(notification.name);
                                                          });
    console.callback.receive(latin("taskFinished"), {}, host);
    console.callback.receive(latin("incrementProgress"), {}, host);
    QVERIFY(posted.isEmpty());  // not on the calling thread, even when that is the main one
    console.settle();
    QCOMPARE(posted, (QStringList{latin("vlCorvalinTaskFinished"), latin("vlCorvalinProgressIncrement")}));
}

void ErrorCallbackTest::queuesErrorsOfAgents_data() {
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("description");
    const QVariantMap named{{latin("hostname"), latin("a.local")}}, unnamed;
    const QVariantMap exception{{latin("name"), latin("NSRangeException")},
                                {latin("reason"), latin("beyond bounds")}};
    const auto row = [](const char* selector, const QVariantList& arguments, const char* description) {
        QTest::addRow("%s %d", selector, static_cast<int>(arguments.at(1).toMap().size()))
            << latin(selector) << arguments << latin(description);
    };
    row("addErrorToQueue:hostname:", {suiteError(1006), host}, "Incorrect username or password.");
    row("addErrorToQueue:userInfo:", {suiteError(1006), named}, "Incorrect username or password.");
    row("addErrorToQueue:userInfo:", {suiteError(1006), unnamed}, "Incorrect username or password.");
    row("addStringToQueue:hostname:", {latin("words"), host}, "words");
    row("addStringToQueue:userInfo:", {latin("words"), named}, "words");
    row("addExceptionToQueue:hostname:", {exception, host}, "beyond bounds");
}

void ErrorCallbackTest::queuesErrorsOfAgents() {
    QFETCH(QString, selector);
    QFETCH(QVariantList, arguments);
    Console console;
    console.callback.receive(selector, arguments, host);
    QCOMPARE(console.callback.errorQueue().size(), 1);
    QTEST(recordAt(console.callback, 0).value(latin("description")).toString(), "description");
    QCOMPARE(recordAt(console.callback, 0).value(latin("hostname")).toString(), host);
    console.settle();
}

void ErrorCallbackTest::refusesOtherHosts_data() {
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QVariantList>("arguments");
    const QVariantMap userInfo{{latin("hostname"), host}}, strange{{latin("hostname"), 7}};
    const auto row = [](const char* selector, const QVariantList& arguments) {
        QTest::addRow("%s %s", selector,
                      qPrintable(arguments.last().toMap().value(latin("hostname")).toString()))
            << latin(selector) << arguments;
    };
    for (const char* selector : {"requestMaintenance:", "cancelMaintenance:", "updateConfig:",
                                 "forceConfigReload:", "willDisconnect:"})
        row(selector, {host});
    row("faultscopeAddLogs:hostName:", {QVariantList{1}, host});
    row("setSoftwareUpdateCount:hostname:", {4, host});
    row("addErrorToQueue:hostname:", {suiteError(1006), host});
    row("addErrorToQueue:userInfo:", {suiteError(1006), userInfo});
    row("addErrorToQueue:userInfo:", {suiteError(1006), strange});
    row("addStringToQueue:hostname:", {latin("x"), host});
    row("addStringToQueue:userInfo:", {latin("x"), userInfo});
    row("addExceptionToQueue:hostname:", {QVariantMap(), host});
}

/// An agent that names another client changes nothing there, and is named itself.
void ErrorCallbackTest::refusesOtherHosts() {
    QFETCH(QString, selector);
    QFETCH(QVariantList, arguments);
    Console console;
    console.known.insert(otherHost);
    const qsizetype before = logLines().size();
    console.callback.receive(selector, arguments, otherHost);
    console.settle();
    QVERIFY(console.noted().isEmpty());
    QVERIFY(logLines().mid(before).join(u'\n').startsWith(
        latin("Refusing callback %1 of b.local.: it speaks for another computer").arg(selector)));
    QCOMPARE(console.callback.errorQueue().size(), 1);
    QCOMPARE(recordAt(console.callback, 0).value(latin("hostname")).toString(), otherHost);
    QCOMPARE(recordAt(console.callback, 0).value(latin("description")).toString(),
             latin("The client software tried to speak for another computer."));
}

void ErrorCallbackTest::ignoresBadCalls_data() {
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* name, const QString& selector, const QVariantList& arguments,
                        const char* error) { QTest::newRow(name) << selector << arguments << latin(error); };
    row("unknown", latin("format:"), {1}, "format: of a.local.: unknown selector");
    row("operation of the agent", latin("relaunch"), {}, "relaunch of a.local.: unknown selector");
    row("of a task callback", latin("postCallback:"), {QVariantMap()},
        "postCallback: of a.local.: unknown selector");
    row("only for the console", latin("clearErrorQueue"), {},
        "clearErrorQueue of a.local.: unknown selector");
    row("lines in the selector", latin("a\nb"), {}, "a b of a.local.: unknown selector");
    row("too few", latin("willDisconnect:"), {}, "willDisconnect: of a.local.: 0 arguments instead of 1");
    row("too many", latin("taskFinished"), {1}, "taskFinished of a.local.: 1 arguments instead of 0");
    row("host is no text", latin("updateConfig:"), {QByteArray("a.local.")},
        "updateConfig: of a.local.: argument \"hostname\" is data instead of string");
    row("count is no number", latin("setSoftwareUpdateCount:hostname:"), {latin("3"), host},
        "setSoftwareUpdateCount:hostname: of a.local.: argument \"count\" is string instead of number");
    row("error is no dictionary", latin("addErrorToQueue:hostname:"), {latin("x"), host},
        "addErrorToQueue:hostname: of a.local.: argument \"error\" is string instead of dictionary");
}

void ErrorCallbackTest::ignoresBadCalls() {
    QFETCH(QString, selector);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, error);
    Console console;
    const qsizetype before = logLines().size();
    console.callback.receive(selector, arguments, host);
    console.settle();
    QCOMPARE(logLines().mid(before), QStringList{latin("Ignoring callback %1.").arg(error)});
    QVERIFY(console.noted().isEmpty());
    QVERIFY(console.callback.errorQueue().isEmpty());
}

void ErrorCallbackTest::cannotFillTheLog() {
    constexpr int calls = 1000, allowed = LogBudget::linesPerMinute;
    Console console;
    console.known.insert(otherHost);
    const auto call = [&](const QString& sender) {
        const qsizetype before = logLines().size();
        console.callback.receive(latin("nonsense"), {}, sender);
        console.callback.receive(latin("forceConfigReload:"), {sender}, sender);
        console.callback.receive(latin("willDisconnect:"), {sender}, sender);
        console.callback.receive(latin("updateConfig:"), {latin("elsewhere")}, sender);
        return logLines().mid(before);
    };
    const qsizetype before = logLines().size();
    for (int i = 0; i < calls; ++i)
        console.callback.receive(latin("nonsense"), {}, host);
    QCOMPARE(logLines().size() - before, allowed);
    QVERIFY(call(host).isEmpty());
    QCOMPARE(call(otherHost).size(), 4);  // every agent has its own lines

    console.now = console.now.addSecs(60);
    const QStringList lines = call(host);
    QCOMPARE(lines.size(), 5);
    QCOMPARE(lines.first(),
             latin("%1 lines about callbacks of a.local. were left out.").arg(calls - allowed + 4));
    console.settle();
}

/// However often an agent asks while a fetch runs, one thread works, and no request is lost.
void ErrorCallbackTest::requestsDuringWorkAreDoneOnce() {
    std::atomic<bool> release{false};
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
    callback.receive(latin("updateConfig:"), {host}, host);
    QVERIFY(MainThread::waitUntil([&fetches] { return fetches == 1; }, patience));
    release = true;
    QVERIFY(VLThread::joinAll(patience));

    release = false;
    callback.receive(latin("updateConfig:"), {host}, host);
    QVERIFY(MainThread::waitUntil([&fetches] { return fetches == 2; }, patience));
    for (int i = 0; i < 100; ++i)
        callback.receive(latin("updateConfig:"), {host}, host);
    release = true;
    QVERIFY(VLThread::joinAll(patience));
    QCOMPARE(fetches.load(), 3);
    QCOMPARE(mostThreads.load(), 1);
}

/// Callbacks of many connections while the queue is read and emptied: every reader sees whole records.
void ErrorCallbackTest::manyThreads() {
    constexpr int threads = 4, calls = 200;
    const QRegularExpression whole(latin("^h\\d - 2010-05-03 12:00:00 \\+0000 - e\\d+$"));
    Console console;
    std::atomic<int> running{threads};
    for (int thread = 0; thread < threads; ++thread)
        VLThread::detach(latin("agent"), [&console, &running, thread] {
            const QString sender = latin("h%1").arg(thread);
            for (int i = 0; i < calls; ++i) {
                const QString text = latin("e%1").arg(i);
                console.callback.receive(latin("addStringToQueue:hostname:"), {text, sender}, sender);
                console.callback.receive(latin("setSoftwareUpdateCount:hostname:"), {i, sender}, sender);
                if (i % 50 == 49) console.callback.removeErrorsForService(sender);
            }
            --running;
        });
    while (running > 0) {
        const QStringList lines = console.callback.stringRepresentation().split(u'\n', Qt::SkipEmptyParts);
        for (const QString& line : lines)
            QVERIFY2(whole.match(line).hasMatch(), qPrintable(line));
        MainThread::waitUntil([] { return true; }, 0ms);
    }
    console.settle();
    QCOMPARE(console.noted().size(), threads * calls);
}

void ErrorCallbackTest::taskCallback() {
    QStringList answered;
    auto callback = VLCallback::callbackWithName(
        latin("vlEncodemendScanFinished"),
        [&answered](const std::shared_ptr<VLCallback>& self) {
            answered << self->name() << self->hostname() << self->info().value(latin("output")).toString()
                     << (MainThread::isCurrent() ? latin("main") : latin("worker"));
        },
        host);
    callback->receive(latin("postCallback:"), {latin("no dictionary")}, host);
    callback->receive(latin("taskFinished"), {}, host);
    callback->receive(latin("postCallback:"), {QVariantMap{{latin("output"), latin("fine")}}}, host);
    callback->receive(latin("postCallback:"), {QVariantMap{{latin("output"), latin("again")}}}, host);
    callback.reset();  // the hand-off keeps it until the delegate has seen it
    QVERIFY(answered.isEmpty());
    QVERIFY(MainThread::waitUntil([&answered] { return !answered.isEmpty(); }, patience));
    QCOMPARE(answered, (QStringList{latin("vlEncodemendScanFinished"), host, latin("fine"), latin("main")}));
}

ORLENDO_TEST_MAIN(ErrorCallbackTest)
#include "error_callback_test.moc"
