#include "agent/AgentRoot.h"
#include "agent/TestFiles.h"
#include "agent/cronwell/LaunchJob.h"
#include "remote/authorization/VLEncryption.h"
#include "support/SampleAgent.h"
#include "support/TestEnvironment.h"

#include <QScopeGuard>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

// "corvalin-sample"
constexpr char administrators[] =
    "admin:$6$corvalinsample$XHF/rPOAzUgHixb.cMHyJ8FSuk8T64N/4MxF5FNtWQEdQkgxoqMd/"
    "zXweXVhO2VIY1Tw3O5x8JsZepo3EmOgN0\n";

const QString agents = u"/Users/anna/Library/LaunchAgents/"_s, daemons = u"/Library/LaunchDaemons/"_s;

QVariantMap credentials(const QString& password) {
    return {{u"authUser"_s, u"admin"_s},
            {u"authPass"_s, VLEncryption::AESEncryptData(password.toUtf8(), VLEncryption::hostPassphrase())}};
}
const QVariant right = credentials(u"corvalin-sample"_s), wrong = credentials(u"guess"_s), plain;

/// "filename=a.plist enabled=1 root=1": numbers for those two, else texts.
QVariantMap settings(const QString& text) {
    QVariantMap values;
    for (const QString& word : text.split(u' ', Qt::SkipEmptyParts)) {
        const QString key = word.section(u'=', 0, 0), value = word.section(u'=', 1);
        const bool isNumber = key == u"enabled"_s || key == u"root"_s;
        values.insert(key, isNumber ? QVariant(value.toLongLong()) : QVariant(value));
    }
    return values;
}

QVariantMap job(const QVariantMap& more, bool disabled = false) {
    QVariantMap content{{u"Label"_s, u"x"_s},
                        {u"Disabled"_s, disabled},
                        {u"taskDescription"_s, u"Clean"_s},
                        {u"taskBundleID"_s, u"com.velmora.Tidyhand"_s},
                        {u"taskID"_s, u"clean"_s}};
    content.insert(more);
    return content;
}

}  // namespace

class CronwellAgentTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<AgentContext> m_agent;
    std::unique_ptr<AgentRoot> m_root;
    std::shared_ptr<RefusalListener> m_console;

    [[nodiscard]] QString disk(const QString& path) const { return m_folder->filePath(u"disk"_s) + path; }
    [[nodiscard]] bool addJob(const QString& path, const QVariantMap& content) const {
        return writeFile(disk(path), PropertyList::toData(content));
    }
    QVariant perform(const QString& selector, const QVariantList& arguments = {}) const {
        return m_root->perform(selector, arguments, 1);
    }
    /// Why nothing was done, as the console hears it; empty when it was done.
    [[nodiscard]] QString refusal(const QString& selector, const QVariantList& arguments) const {
        m_console->reason.clear();
        try {
            perform(selector, arguments);
        } catch (const VLException& error) {  // rights, and what is wrong with the workstation
            return error.userInfo().value(u"code"_s).toString() + u' ' + error.reason();
        }
        return m_console->reason;
    }
    [[nodiscard]] QVariantMap task(const QString& fileName) const {
        return perform(u"cronwellTaskDictionary"_s).toMap().value(fileName).toMap();
    }
    /// Every task in words, and every file that is none.
    [[nodiscard]] QStringList state() const {
        QStringList lines;
        const QVariantMap tasks = perform(u"cronwellTaskDictionary"_s).toMap();
        for (auto entry = tasks.cbegin(); entry != tasks.cend(); ++entry) {
            const QVariantMap task = entry->toMap();
            lines.append(u"%1 %2 %3 %4"_s.arg(entry.key(),
                                              task.value(u"root"_s).toInt() ? u"root"_s : u"user"_s,
                                              task.value(u"enabled"_s).toInt() ? u"on"_s : u"off"_s,
                                              task.value(u"frequencyDescription"_s).toString()));
        }
        for (const QString& folder : {agents, daemons})
            for (const QString& name :
                 QDir(disk(folder)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
                if (!tasks.contains(name)) lines.append(name);
        lines.sort();
        return lines;
    }

private Q_SLOTS:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        const QVariantMap daily{{u"StartCalendarInterval"_s, QVariantMap{{u"Hour"_s, 3}}}};
        QVERIFY(addJob(agents + u"a.plist"_s, job(daily)));
        QVERIFY(addJob(daemons + u"r.plist"_s, job({{u"StartInterval"_s, 60}}, true)));
        QVERIFY(addJob(daemons + u"foreign.plist"_s, {{u"Label"_s, u"foreign"_s}}));
        const QString application = u"/Applications/Corvalin Tools/Tidyhand.app"_s;
        QVERIFY(writeBundle(disk(application), {{u"CFBundleIdentifier"_s, u"com.velmora.Tidyhand"_s},
                                                {u"CFBundleShortVersionString"_s, u"1.9"_s}}));
        QVERIFY(addJob(application + u"/Contents/Resources/ScheduledTasks.plist"_s,
                       {{u"tasks"_s, QVariantList{QVariantMap{{u"taskID"_s, u"clean"_s},
                                                              {u"taskDescription"_s, u"Clean"_s}},
                                                  QVariantMap{{u"taskID"_s, 7}}, u"x"_s}}}));
        QVERIFY(writeFile(m_folder->filePath(u"admin"_s), administrators));
        AgentSettings settings;
        settings.root = m_folder->filePath(u"disk"_s);
        settings.stateDirectory = m_folder->filePath(u"state"_s);
        settings.adminFile = m_folder->filePath(u"admin"_s);
        settings.complete();
        m_agent = std::make_shared<AgentContext>(settings, AdministratorGuard::Limits{1000, {}, {}});
        m_root = std::make_unique<AgentRoot>(m_agent);
        m_console = std::make_shared<RefusalListener>();
        perform(u"setErrorCallback:"_s, {QVariant::fromValue<VLRemoteCallbackPtr>(m_console)});
    }
    void cleanup() { m_agent->administrators.stop(); }

    void tellsWhatIsScheduled_data() {
        QTest::addColumn<QVariantMap>("content");
        QTest::addColumn<QString>("words");
        QTest::addColumn<int>("type");
        QTest::addColumn<QVariant>("value");
        const auto calendar = [](const QVariant& interval) {
            return job({{u"StartCalendarInterval"_s, interval}});
        };
        const auto interval = [](const QString& minute, const QString& hour, const QString& day) {
            return QVariant(QVariantMap{{u"Minute"_s, minute},
                                        {u"Hour"_s, hour},
                                        {u"Day"_s, day},
                                        {u"Weekday"_s, QString()},
                                        {u"Month"_s, QString()}});
        };
        const QString unknown = u"Unknown schedule"_s;
        QTest::newRow("seconds") << job({{u"StartInterval"_s, 60}}) << u"Every 60 seconds"_s << 6
                                 << QVariant(60);
        QTest::newRow("calendar") << calendar(QVariantMap{{u"Hour"_s, 3}, {u"Minute"_s, 5}})
                                  << u"Every day at 3:05"_s << 7 << interval(u"5"_s, u"3"_s, {});
        QTest::newRow("list of one") << calendar(QVariantList{QVariantMap{{u"Day"_s, 1}}})
                                     << u"Every month on day 1 Every hour at minute 00"_s << 7
                                     << interval({}, {}, u"1"_s);
        QTest::newRow("list of two") << calendar(QVariantList{QVariantMap(), QVariantMap()}) << unknown << 0
                                     << QVariant();
        QTest::newRow("texts") << calendar(QVariantMap{{u"Hour"_s, u"3"_s}}) << QString() << 7
                               << interval({}, {}, {});
        QTest::newRow("directory") << job({{u"WatchPaths"_s, QVariantList{u"/Volumes"_s}}})
                                   << u"Whenever /Volumes changes"_s << 8 << QVariant(u"/Volumes"_s);
        QTest::newRow("two directories")
            << job({{u"WatchPaths"_s, QVariantList{u"/a"_s, u"/b"_s}}}) << unknown << 0 << QVariant();
        QTest::newRow("nothing") << job({}) << unknown << 0 << QVariant();
        QTest::newRow("two kinds") << job({{u"StartInterval"_s, 60},
                                           {u"WatchPaths"_s, QVariantList{u"/a"_s}}})
                                   << unknown << 0 << QVariant();
        QTest::newRow("rubbish") << job({{u"StartInterval"_s, u"x"_s}}) << unknown << 0 << QVariant();
    }
    void tellsWhatIsScheduled() {
        QFETCH(QVariantMap, content);
        QVERIFY(addJob(agents + u"b.plist"_s, content));
        const QVariantMap told = task(u"b.plist"_s);
        QTEST(told.value(u"frequencyDescription"_s).toString(), "words");
        QTEST(told.value(u"scheduleType"_s).toInt(), "type");
        QVariant value;
        for (const QString& key : {u"intervalSeconds"_s, u"interval"_s, u"intervalDirectory"_s})
            if (told.contains(key)) value = told.value(key);
        QTEST(value, "value");
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
        QVERIFY(QFile::link(disk(u"/private/secret.plist"_s), disk(agents + u"soft.plist"_s)));
        QCOMPARE(
            ::link(qPrintable(disk(u"/private/secret.plist"_s)), qPrintable(disk(agents + u"hard.plist"_s))),
            0);
        QVERIFY(QDir().mkpath(disk(agents + u"folder.plist"_s)));
        QCOMPARE(perform(u"cronwellTaskDictionary"_s).toMap().keys(),
                 (QStringList{u"a.plist"_s, u"r.plist"_s}));
        QCOMPARE(task(u"r.plist"_s).value(u"root"_s), QVariant(1));
        for (const char* name : {"foreign.plist", "soft.plist", "hard.plist", "folder.plist", "number.plist"})
            QVERIFY(!refusal(u"cronwellRemoveTask:settings:"_s,
                             {right, QVariantMap{{u"obj1"_s, QString::fromLatin1(name)}}})
                         .isEmpty());
        QVERIFY(QFile::exists(disk(daemons + u"foreign.plist"_s)));
    }

    void changes_data() {
        QTest::addColumn<QString>("verb");
        QTest::addColumn<QVariant>("credentials");
        QTest::addColumn<QVariantMap>("objects");
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("differences");  // what goes, and what comes instead
        const auto row = [](const char* name, const char* verb, const QVariant& credentials,
                            const QString& text, const QString& failure, const QString& differences = {}) {
            QTest::newRow(name) << QString::fromLatin1(verb) << credentials
                                << QVariantMap{{u"obj1"_s, settings(text)}} << failure << differences;
        };
        const QString rights = u"1006"_s, fine;
        const QString tidy = u"bundleid=com.velmora.Tidyhand taskid=clean enabled=1 "_s;
        const QString seconds = tidy + u"scheduletype=6 intervalval=90 "_s;
        const QString made = u"com.velmora.cronwell.Tidyhand.clean.plist"_s;

        row("add", "Add", plain, seconds + u"root=0"_s, fine, u"+"_s + made + u" user on Every 90 seconds"_s);
        row("add calendar", "Add", plain, tidy + u"root=0 scheduletype=7 intervalval=,,,1,2"_s, fine,
            u"+"_s + made + u" user on Every February on every Monday Every hour at minute 00"_s);
        row("add directory", "Add", plain, tidy + u"root=0 scheduletype=8 intervalval=/Volumes"_s, fine,
            u"+"_s + made + u" user on Whenever /Volumes changes"_s);
        row("add what is there", "Add", plain, tidy + u"root=0 scheduletype=7 intervalval=00,3,,,"_s, fine);
        row("add root's, plain", "Add", plain, seconds + u"root=1"_s, rights);
        row("add root's, wrong password", "Add", wrong, seconds + u"root=1"_s, rights);
        row("add root's", "Add", right, seconds + u"root=1"_s, fine,
            u"+"_s + made + u" root on Every 90 seconds"_s);
        row("fill in", "Add", plain, seconds, fine,
            u"-a.plist user on Every day at 3:00|+a.plist user on Every 90 seconds"_s);
        row("fill in root's", "Add", right, seconds, fine,
            u"-r.plist root off Every 60 seconds|+r.plist root on Every 90 seconds"_s);
        row("add the user's with rights", "Add", wrong, seconds + u"root=0"_s, fine,
            u"+"_s + made + u" user on Every 90 seconds"_s);
        row("unknown application", "Add", plain,
            u"bundleid=x taskid=clean enabled=1 scheduletype=6 intervalval=9"_s, u"1000"_s);
        row("unknown task", "Add", plain,
            u"bundleid=com.velmora.Tidyhand taskid=../../x enabled=1 scheduletype=6 intervalval=9"_s,
            u"1003"_s);
        row("wrong schedule", "Add", plain, tidy + u"scheduletype=7 intervalval=99,,,,"_s,
            u"minute must be"_s);
        row("climbing directory", "Add", plain, tidy + u"scheduletype=8 intervalval=/a/../b"_s, u"climb"_s);
        row("no schedule", "Add", plain, tidy, u"scheduletype"_s);
        row("no interval", "Add", plain, tidy + u"scheduletype=6"_s, u"seconds must be"_s);
        row("no application", "Add", plain, u"scheduletype=6 intervalval=9 enabled=1"_s, u"bundleid"_s);
        row("no state", "Add", plain, u"bundleid=x taskid=x scheduletype=6 intervalval=9"_s, u"enabled"_s);

        row("edit", "Edit", plain, seconds + u"filename=a.plist"_s, fine,
            u"-a.plist user on Every day at 3:00|+a.plist user on Every 90 seconds"_s);
        row("edit root's, plain", "Edit", plain, seconds + u"filename=r.plist"_s, rights);
        row("edit root's", "Edit", right, seconds + u"filename=r.plist"_s, fine,
            u"-r.plist root off Every 60 seconds|+r.plist root on Every 90 seconds"_s);
        row("edit to an unknown task", "Edit", plain,
            u"bundleid=x taskid=y enabled=1 scheduletype=6 intervalval=90 filename=a.plist"_s, u"1000"_s);
        row("edit nothing", "Edit", plain, seconds, u"filename"_s);
        for (const char* name : {"none.plist", "foreign.plist", "../a.plist", "/etc/passwd", "..", ".a.plist",
                                 "a", "LaunchAgents/a.plist"})
            row(qPrintable(u"edit "_s + QString::fromLatin1(name)), "Edit", right,
                seconds + u"filename="_s + QString::fromLatin1(name), QString::fromLatin1(name));

        row("disable", "Enable", plain, u"enabled=0 filename=a.plist"_s, fine,
            u"-a.plist user on Every day at 3:00|+a.plist user off Every day at 3:00"_s);
        row("enable root's, plain", "Enable", plain, u"enabled=1 filename=r.plist"_s, rights);
        row("disable all: root's is off already", "Enable", plain, u"enabled=0"_s, fine,
            u"-a.plist user on Every day at 3:00|+a.plist user off Every day at 3:00"_s);
        row("enable all, plain", "Enable", plain, u"enabled=1"_s, rights);
        row("enable all", "Enable", right, u"enabled=1"_s, fine,
            u"-r.plist root off Every 60 seconds|+r.plist root on Every 60 seconds"_s);
        row("enable without a value", "Enable", plain, u"filename=a.plist"_s, u"enabled"_s);

        const auto remove = [](const char* name, const QVariant& credentials, const QVariantMap& objects,
                               const QString& failure, const QString& differences = {}) {
            QTest::newRow(name) << u"Remove"_s << credentials << objects << failure << differences;
        };
        remove("remove", plain, {{u"obj2"_s, u"a.plist"_s}}, fine, u"-a.plist user on Every day at 3:00"_s);
        remove("remove root's, plain", plain, {{u"obj2"_s, u"r.plist"_s}}, rights);
        remove("remove root's", right, {{u"obj1"_s, u"r.plist"_s}}, fine,
               u"-r.plist root off Every 60 seconds"_s);
        remove("remove foreign", right, {{u"obj1"_s, u"foreign.plist"_s}}, u"no scheduled task"_s);
        remove("remove outside", right, {{u"obj1"_s, u"../../../secret"_s}}, u"not the name"_s);
        remove("remove nothing", right, {}, u"file name is missing"_s);
        remove("remove a list", right, {{u"obj1"_s, QVariantList{u"a.plist"_s}}}, u"file name is missing"_s);
    }
    void changes() {
        QFETCH(QString, verb);
        QFETCH(QVariant, credentials);
        QFETCH(QVariantMap, objects);
        QFETCH(QString, failure);
        QFETCH(QString, differences);
        QStringList expected = state();
        const QString seen = refusal(u"cronwell%1Task:settings:"_s.arg(verb), {credentials, objects});
        QVERIFY2(seen.contains(failure) && seen.isEmpty() == failure.isEmpty(), qPrintable(seen));
        for (const QString& difference : differences.split(u'|', Qt::SkipEmptyParts)) {
            if (difference.startsWith(u'-'))
                QVERIFY2(expected.removeOne(difference.mid(1)), qPrintable(difference));
            if (difference.startsWith(u'+')) expected.append(difference.mid(1));
        }
        expected.sort();
        QCOMPARE(state(), expected);
    }

    void keepsWhatItDoesNotKnow() {
        const QVariantMap more{
            {u"StartCalendarInterval"_s, QVariantMap{{u"Hour"_s, 3}}},
            {u"Nice"_s, 5},
            {u"Secret"_s, QByteArray("data")},
            {u"Nested"_s, QVariantList{QVariantMap{{u"when"_s, QDateTime(QDate(2010, 9, 1), {}, Qt::UTC)}}}}};
        QVERIFY(writeFile(disk(agents + u"a.plist"_s),
                          PropertyList::toData(job(more), PropertyList::Format::Binary)));
        perform(
            u"cronwellEditTask:settings:"_s,
            {plain,
             QVariantMap{{u"obj1"_s,
                          settings(u"filename=a.plist bundleid=com.velmora.Tidyhand taskid=clean enabled=0 "
                                   "scheduletype=7 intervalval=,4,,,"_s)}}});
        QVariantMap expected = job(more, true);
        expected.insert(u"StartCalendarInterval"_s, QVariantMap{{u"Hour"_s, 4}, {u"Minute"_s, 0}});
        QCOMPARE(PropertyList::readFile(disk(agents + u"a.plist"_s)), PropertyList::normalized(expected));
        QFile file(disk(agents + u"a.plist"_s));
        QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll().startsWith("bplist"));
    }

    void makesWhatTheLaunchServiceReads() {
        QVERIFY(QDir(disk(u"/Users/anna/Library"_s)).removeRecursively());
        QVERIFY(QDir().mkpath(disk(u"/Users/anna"_s)));
        if (::geteuid() == 0) QCOMPARE(::chown(qPrintable(disk(u"/Users/anna"_s)), 1234, 1234), 0);
        const auto add = [this](const QString& interval) {
            perform(u"cronwellAddTask:settings:"_s,
                    {plain,
                     QVariantMap{{u"obj1"_s, settings(u"bundleid=com.velmora.Tidyhand taskid=clean enabled=1 "
                                                      "scheduletype=6 root=0 intervalval="_s +
                                                      interval)}}});
        };
        add(u"90"_s);
        add(u"90"_s);
        add(u"91"_s);
        const QString label = u"com.velmora.cronwell.Tidyhand.clean"_s;
        QCOMPARE(QDir(disk(agents)).entryList(QDir::Files | QDir::Hidden),
                 (QStringList{label + u"-2.plist"_s, label + u".plist"_s}));
        const QVariantMap made = PropertyList::readFile(disk(agents + label + u".plist"_s)).toMap();
        QCOMPARE(
            made,
            (QVariantMap{{u"Label"_s, label},
                         {u"ProgramArguments"_s,
                          QVariantList{u"/Library/Application Support/Corvalin/CorvalinTask"_s,
                                       u"-bundleid"_s, u"com.velmora.Tidyhand"_s, u"-taskid"_s, u"clean"_s}},
                         {u"Disabled"_s, false},
                         {u"StartInterval"_s, 90LL},
                         {u"taskDescription"_s, u"Clean"_s},
                         {u"taskBundleID"_s, u"com.velmora.Tidyhand"_s},
                         {u"taskID"_s, u"clean"_s}}));
        if (::geteuid() == 0) QCOMPARE(QFileInfo(disk(agents + label + u".plist"_s)).ownerId(), 1234U);
    }

    void offersTheApplicationsTasks() {
        QCOMPARE(perform(u"vlAppTasks"_s).toList(),
                 (QVariantList{QVariantMap{
                     {u"taskBundleID"_s, u"com.velmora.Tidyhand"_s},
                     {u"name"_s, u"Tidyhand"_s},
                     {u"tasks"_s, QVariantList{QVariantMap{{u"taskID"_s, u"clean"_s},
                                                           {u"taskDescription"_s, u"Clean"_s}}}}}}));
    }

    /// The user made the folder a link to somewhere else: nothing is read or written there.
    void followsNoLinkOfTheUser() {
        QVERIFY(QDir(disk(agents)).removeRecursively());
        QVERIFY(QDir().mkpath(disk(u"/private"_s)));
        QVERIFY(QFile::link(disk(u"/private"_s), disk(agents.chopped(1))));
        QVERIFY(addJob(u"/private/a.plist"_s, job({})));
        QVERIFY(task(u"a.plist"_s).isEmpty());
        const QVariantMap added{{u"obj1"_s, settings(u"bundleid=com.velmora.Tidyhand taskid=clean enabled=1 "
                                                     "scheduletype=6 intervalval=9"_s)}};
        QVERIFY_EXCEPTION_THROWN(perform(u"cronwellAddTask:settings:"_s, {plain, added}), VLException);
        QCOMPARE(QDir(disk(u"/private"_s)).entryList(QDir::Files), QStringList{u"a.plist"_s});
    }

    /// The disk takes no byte more: the job stays as it is, and the console hears why.
    void fullDisk() {
        const QStringList before = state();
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const auto restore = qScopeGuard([&] { setrlimit(RLIMIT_FSIZE, &limit); });
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit full{0, limit.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full);
        QString reason;
        try {
            perform(u"cronwellEnableTask:settings:"_s,
                    {plain, QVariantMap{{u"obj1"_s, settings(u"enabled=0 filename=a.plist"_s)}}});
        } catch (const VLException& error) {
            reason = error.reason();
        }
        setrlimit(RLIMIT_FSIZE, &limit);
        QVERIFY2(reason.contains(u"a.plist"_s), qPrintable(reason));
        QCOMPARE(state(), before);
    }
};

ORLENDO_TEST_MAIN(CronwellAgentTest)
#include "cronwell_agent_test.moc"
