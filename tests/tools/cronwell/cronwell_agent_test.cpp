#include "support/Administrators.h"
#include "support/SampleAgent.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QString agents = u"/Users/anna/Library/LaunchAgents/"_s, daemons = u"/Library/LaunchDaemons/"_s;
const QString tool = u"com.velmora.Tidyhand"_s;
const QString made = u"com.velmora.cronwell.Tidyhand.cleanEveryday"_s;

const QVariant plain, right = administratorCredentials(u"corvalin-sample"_s),
                      wrong = administratorCredentials(u"guess"_s);

/// "Edit tidy every90 filename=a.plist": the operation and its settings, where "tidy" and "every90" stand for
/// a task and a schedule. A removal has the objects themselves.
std::pair<QString, QVariantMap> callOf(QString text) {
    text.replace(u" tidy"_s, u" bundleid="_s + tool + u" taskid=cleanEveryday enabled=1"_s);
    text.replace(u" every90"_s, u" scheduletype=6 intervalval=90"_s);
    QStringList words = text.split(u' ');
    const QString verb = words.takeFirst();
    QVariantMap values;
    for (const QString& word : words) {
        const QString key = word.section(u'=', 0, 0), value = word.section(u'=', 1);
        const bool isNumber = key == u"enabled"_s || key == u"root"_s || key == u"former"_s;
        values.insert(key, isNumber ? QVariant(value.toLongLong()) : QVariant(value));
    }
    return {u"cronwell%1Task:settings:"_s.arg(verb),
            verb == u"Remove"_s ? values : QVariantMap{{u"obj1"_s, values}}};
}

QVariantMap job(const QVariantMap& more, bool disabled = false) {
    QVariantMap content{{u"Label"_s, u"x"_s},
                        {u"Disabled"_s, disabled},
                        {u"taskDescription"_s, u"Clean caches"_s},
                        {u"taskBundleID"_s, tool},
                        {u"taskID"_s, u"cleanEveryday"_s}};
    content.insert(more);
    return content;
}

QVariantMap at(const QVariant& interval) {
    return job({{u"StartCalendarInterval"_s, interval}});
}

QVariantMap watching(const QStringList& paths) {
    return job({{u"WatchPaths"_s, QVariant(QVariantList(paths.begin(), paths.end()))}});
}

}  // namespace

class CronwellAgentTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SampleAgent> m_agent;

    [[nodiscard]] QString disk(const QString& path) const { return m_agent->disk(path); }
    [[nodiscard]] bool addJob(const QString& path, const QVariantMap& content) const {
        return writeFile(disk(path), PropertyList::toData(content));
    }
    [[nodiscard]] QVariantMap tasks() const { return m_agent->perform(u"cronwellTaskDictionary"_s).toMap(); }
    /// Why nothing was done, as the console hears it. Rights that are missing, and what is wrong with the
    /// workstation, are raised.
    [[nodiscard]] QString refusal(const QVariant& credentials, const QString& text) const {
        const auto [selector, objects] = callOf(text);
        return m_agent->refusal(selector, {credentials, objects});
    }
    /// Every task in words, and every file that is none.
    [[nodiscard]] QStringList state() const {
        QStringList lines;
        const QVariantMap found = tasks();
        for (auto entry = found.cbegin(); entry != found.cend(); ++entry) {
            const QVariantMap task = entry->toMap();
            lines.append(entry.key().chopped(6) + (task.value(u"root"_s).toInt() ? u" root"_s : u" user"_s) +
                         (task.value(u"enabled"_s).toInt() ? u" on "_s : u" off "_s) +
                         task.value(u"frequencyDescription"_s).toString());
        }
        for (const QString& folder : {agents, daemons})
            for (const QString& name : QDir(disk(folder)).entryList(QDir::AllEntries | QDir::Hidden))
                if (!found.contains(name)) lines.append(name);
        lines.sort();
        return lines;
    }

private Q_SLOTS:
    void init() {
        m_agent = std::make_unique<SampleAgent>(1);
        for (const QString& folder : {agents, daemons})
            QVERIFY(QDir(disk(folder)).removeRecursively());
        QVERIFY(addJob(agents + u"a.plist"_s, at(QVariantMap{{u"Hour"_s, 3}})));
        QVERIFY(addJob(daemons + u"r.plist"_s, job({{u"StartInterval"_s, 60}}, true)));
        QVERIFY(addJob(daemons + u"foreign.plist"_s, {{u"Label"_s, u"foreign"_s}}));
    }

    void tellsWhatIsScheduled_data() {
        const TestTable<QVariantMap, QString> row("content", "told");  // words|type|value
        const QString unknown = u"Unknown schedule|0|"_s;
        row("seconds", job({{u"StartInterval"_s, 60}}), u"Every 60 seconds|6|60"_s);
        row("calendar", at(QVariantMap{{u"Hour"_s, 3}, {u"Minute"_s, 5}}), u"Every day at 3:05|7|,3,5,,"_s);
        row("list of one", at(QVariantList{QVariantMap{{u"Day"_s, 1}}}),
            u"Every month on day 1 Every hour at minute 00|7|1,,,,"_s);
        row("list of two", at(QVariantList{QVariantMap(), QVariantMap()}), unknown);
        row("texts", at(QVariantMap{{u"Hour"_s, u"3"_s}}), u"|7|,,,,"_s);
        row("directory", watching({u"/Volumes"_s}), u"Whenever /Volumes changes|8|/Volumes"_s);
        row("two directories", watching({u"/a"_s, u"/b"_s}), unknown);
        row("nothing", job({}), unknown);
        QVariantMap both = watching({u"/a"_s});
        both.insert(u"StartInterval"_s, 60);
        row("two kinds", both, unknown);
        row("rubbish", job({{u"StartInterval"_s, u"x"_s}}), unknown);
    }
    void tellsWhatIsScheduled() {
        QFETCH(QVariantMap, content);
        QVERIFY(addJob(agents + u"b.plist"_s, content));
        const QVariantMap task = tasks().value(u"b.plist"_s).toMap();
        QStringList parts;
        for (const QVariant& part : task.value(u"interval"_s).toMap())  // by name: Day, Hour, Minute …
            parts.append(part.toString());
        const QString told = task.value(u"frequencyDescription"_s).toString() + u'|' +
                             task.value(u"scheduleType"_s).toString() + u'|' +
                             task.value(u"intervalSeconds"_s).toString() + parts.join(u',') +
                             task.value(u"intervalDirectory"_s).toString();
        QTEST(told, "told");
    }

    void leavesOthersAlone() {
        QVERIFY(addJob(agents + u"empty.plist"_s, job({{u"taskID"_s, QString()}})));
        QVERIFY(addJob(agents + u"number.plist"_s, job({{u"taskDescription"_s, 5}})));
        QVERIFY(addJob(agents + u".hidden.plist"_s, job({})));
        QVERIFY(addJob(agents + u"other.txt"_s, job({})));
        QVERIFY(addJob(agents + u"r.plist"_s, job({{u"StartInterval"_s, 5}})));  // cannot stand for root's
        QVERIFY(addJob(u"/private/secret.plist"_s, job({})));
        QVERIFY(writeFile(disk(agents + u"damaged.plist"_s), "<plist><dict>"));
        QVERIFY(writeFile(disk(agents + u"huge.plist"_s), QByteArray(200'000, ' ')));
        const QString secret = disk(u"/private/secret.plist"_s);
        QVERIFY(QFile::link(secret, disk(agents + u"soft.plist"_s)));
        QCOMPARE(::link(qPrintable(secret), qPrintable(disk(agents + u"hard.plist"_s))), 0);
        QVERIFY(QDir().mkpath(disk(agents + u"folder.plist"_s)));
        QCOMPARE(tasks().keys(), (QStringList{u"a.plist"_s, u"r.plist"_s}));
        QCOMPARE(tasks().value(u"r.plist"_s).toMap().value(u"root"_s), QVariant(1));
        for (const auto& name : {u"foreign"_s, u"soft"_s, u"hard"_s, u"folder"_s, u"number"_s})
            QVERIFY(!refusal(right, u"Remove obj1=%1.plist"_s.arg(name)).isEmpty());
        QVERIFY(QFile::exists(disk(daemons + u"foreign.plist"_s)));
    }

    void changes_data() {
        // What is refused and why; or what goes, and what comes instead. Whose rights count is decided by
        // what is touched, however it was sent.
        addTextRows({"who", "call", "failure", "goes", "comes"},
                    uR"(
plain|Add tidy every90 root=0|||NEW user on Every 90 seconds
wrong|Add tidy every90 root=0|||NEW user on Every 90 seconds
plain|Add tidy root=0 scheduletype=7 intervalval=,5,,1,2|||NEW user on Every February on every Monday at 5:00
plain|Add tidy root=0 scheduletype=7 intervalval=00,3,,,
plain|Add tidy every90 root=1|Incorrect username
wrong|Add tidy every90 root=1|Incorrect username
right|Add tidy every90 root=1|||NEW root on Every 90 seconds
plain|Add tidy every90||a user on Every day at 3:00|a user on Every 90 seconds
right|Add tidy every90||r root off Every 60 seconds|r root on Every 90 seconds
plain|Add bundleid=x taskid=cleanEveryday enabled=1 every90|1000
plain|Add bundleid=com.velmora.Tidyhand every90 taskid=../x enabled=1|1003
plain|Add tidy scheduletype=7 intervalval=99,,,,|minute must be
plain|Add tidy|scheduletype
plain|Add tidy scheduletype=6|seconds must be
plain|Add every90 enabled=1|bundleid
plain|Edit tidy every90 filename=a.plist||a user on Every day at 3:00|a user on Every 90 seconds
plain|Edit tidy every90 filename=r.plist|Incorrect username
right|Edit tidy every90 filename=r.plist||r root off Every 60 seconds|r root on Every 90 seconds
plain|Edit every90 bundleid=x taskid=y enabled=1 filename=a.plist|1000
plain|Edit tidy every90|filename
right|Edit tidy every90 filename=none.plist|no scheduled task
right|Edit tidy every90 filename=../a.plist|not the name
right|Edit tidy every90 filename=/etc/passwd|not the name
plain|Enable enabled=0 filename=a.plist||a user on Every day at 3:00|a user off Every day at 3:00
plain|Enable enabled=1 filename=r.plist|Incorrect username
plain|Enable enabled=0||a user on Every day at 3:00|a user off Every day at 3:00
plain|Enable enabled=1|Incorrect username
right|Enable enabled=1||r root off Every 60 seconds|r root on Every 60 seconds
plain|Enable filename=a.plist|enabled
plain|Remove obj2=a.plist||a user on Every day at 3:00
plain|Remove obj2=r.plist|Incorrect username
right|Remove obj1=r.plist||r root off Every 60 seconds
right|Remove obj1=foreign.plist|no scheduled task
right|Remove obj1=../../../secret|not the name
right|Remove root=1|file name is missing
)"_s);
    }
    void changes() {
        QFETCH(QString, who);
        QFETCH(QString, call);
        QFETCH(QString, failure);
        QFETCH(QString, goes);
        QFETCH(QString, comes);
        QStringList expected = state();
        const QVariant& credentials = who == u"right"_s ? right : who == u"wrong"_s ? wrong : plain;
        const QString seen = refusal(credentials, call);
        QVERIFY2(seen.contains(failure) && seen.isEmpty() == failure.isEmpty(), qPrintable(seen));
        QVERIFY(goes.isEmpty() || expected.removeOne(goes));
        if (!comes.isEmpty()) expected.append(comes.replace(u"NEW"_s, made));
        expected.sort();
        QCOMPARE(state(), expected);
    }

    void keepsWhatItDoesNotKnow() {
        const QVariantMap nested{{u"when"_s, QDateTime(QDate(2010, 9, 1), {}, Qt::UTC)}};
        QVariantMap content = at(QVariantMap{{u"Hour"_s, 3}});
        content.insert({{u"Nice"_s, 5}, {u"Data"_s, QByteArray("x")}, {u"List"_s, QVariantList{nested}}});
        const QString file = disk(agents + u"a.plist"_s);
        QVERIFY(writeFile(file, PropertyList::toData(content, PropertyList::Format::Binary)));
        const QVariant before = PropertyList::readFile(file);
        QCOMPARE(refusal(plain, u"Edit tidy filename=a.plist scheduletype=7 intervalval=,4,,,"_s), QString());
        content.insert(u"StartCalendarInterval"_s, QVariantMap{{u"Hour"_s, 4}, {u"Minute"_s, 0}});
        QCOMPARE(PropertyList::readFile(file), PropertyList::normalized(content));
        QVERIFY(contentsOf(file).startsWith("bplist"));

        // Whoever takes it back gets all of it, once it is removed too.
        const QString former = u" tidy former=1 root=0 filename=a.plist scheduletype=7 intervalval=,%1,,,"_s;
        QCOMPARE(refusal(plain, u"Edit"_s + former.arg(3)), QString());
        QCOMPARE(PropertyList::readFile(file), before);
        QCOMPARE(refusal(plain, u"Remove obj2=a.plist"_s), QString());
        QCOMPARE(refusal(plain, u"Add"_s + former.arg(3)), QString());
        QCOMPARE(PropertyList::readFile(file), before);
        QCOMPARE(refusal(plain, u"Edit"_s + former.arg(4)), QString());
        QCOMPARE(PropertyList::readFile(file), PropertyList::normalized(content));
        // One schedule among several cannot be said, but it was there.
        QVERIFY(addJob(agents + u"a.plist"_s, at(QVariantList{QVariantMap(), QVariantMap()})));
        const QVariant several = PropertyList::readFile(file);
        QCOMPARE(refusal(plain, u"Edit tidy every90 filename=a.plist"_s), QString());
        QVERIFY(refusal(plain, u"Edit tidy filename=a.plist scheduletype=0"_s).contains(u"unknown"_s));
        QCOMPARE(refusal(plain, u"Edit tidy former=1 filename=a.plist scheduletype=0"_s), QString());
        QCOMPARE(PropertyList::readFile(file), several);
    }

    void makesWhatTheLaunchServiceReads() {
        QVERIFY(QDir(disk(u"/Users/anna/Library"_s)).removeRecursively());
        if (::geteuid() == 0) QCOMPARE(::chown(qPrintable(disk(u"/Users/anna"_s)), 1234, 1234), 0);
        for (const int seconds : {90, 90, 91})
            QCOMPARE(refusal(plain, u"Add tidy root=0 scheduletype=6 intervalval=%1"_s.arg(seconds)),
                     QString());
        QCOMPARE(QDir(disk(agents)).entryList(QDir::Files | QDir::Hidden),
                 (QStringList{made + u"-2.plist"_s, made + u".plist"_s}));
        const QString file = disk(agents + made + u".plist"_s);
        QVariantMap expected = job({{u"Label"_s, made}, {u"StartInterval"_s, 90LL}});
        expected.insert(u"ProgramArguments"_s,
                        QVariantList{u"/Library/Application Support/Corvalin/CorvalinTask"_s, u"-bundleid"_s,
                                     tool, u"-taskid"_s, u"cleanEveryday"_s});
        QCOMPARE(PropertyList::readFile(file).toMap(), expected);
        if (::geteuid() == 0) QCOMPARE(QFileInfo(file).ownerId(), 1234U);
    }

    /// A job of an older version of the application: its words are the present ones when it is filled in.
    void renewsTheWords() {
        QVERIFY(addJob(agents + u"a.plist"_s, job({{u"taskDescription"_s, u"Tidy up"_s}})));
        QCOMPARE(refusal(plain, u"Add tidy every90"_s), QString());
        QCOMPARE(tasks().value(u"a.plist"_s).toMap().value(u"taskDescription"_s),
                 QVariant(u"Clean caches"_s));
        QCOMPARE(tasks().size(), 2);
    }

    /// The user made the folder a link to somewhere else: nothing is read or written there.
    void followsNoLinkOfTheUser() {
        QVERIFY(QDir(disk(agents)).removeRecursively());
        QVERIFY(addJob(u"/private/a.plist"_s, job({})));
        QVERIFY(QFile::link(disk(u"/private"_s), disk(agents.chopped(1))));
        QVERIFY(!tasks().contains(u"a.plist"_s));
        QVERIFY(!refusal(plain, u"Add tidy every90"_s).isEmpty());
        QCOMPARE(QDir(disk(u"/private"_s)).entryList(QDir::Files), QStringList{u"a.plist"_s});
    }
};

ORLENDO_TEST_MAIN(CronwellAgentTest)
#include "cronwell_agent_test.moc"
