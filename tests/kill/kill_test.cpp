#include "agent/AgentRoot.h"
#include "agent/cronwell/LaunchJob.h"
#include "agent/tree/TreeArchive.h"
#include "base/VLLocalPaths.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "remote/TlsIdentity.h"
#include "runs/ActivityDatabase.h"
#include "support/Administrators.h"
#include "support/ChangedHome.h"
#include "support/FileCalls.h"
#include "support/SampleAgent.h"
#include "system/VLException.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// What is done to files, and what must hold when the program dies in the middle: at its next start there is
/// the old or the new, whole, and nothing besides. Everything happens in processes of its own below `folder`.
struct Scenario {
    const char* name;
    std::function<void(const QString& folder)> prepare;
    std::function<void(const QString& folder)> act;
    /// Starts the program again and tells what there is then: folders as they are, all else with its
    /// contents.
    std::function<QStringList(const QString& folder)> start;
    /// What is cleared away after the change, at any time: a path below the folder, there as it was or gone.
    QString clearedLater = {};
    bool cannotExchange = false;
};

// ---- An agent, without the network

/// The one whose workstation is FOLDER/disk and whose own folder is FOLDER/state.
class Agent {
public:
    explicit Agent(const QString& folder) {
        AgentSettings settings;
        settings.root = folder + u"/disk"_s;
        settings.stateDirectory = folder + u"/state"_s;
        settings.adminFile = folder + u"/admin"_s;
        settings.complete();
        m_agent = std::make_shared<AgentContext>(settings, AdministratorGuard::Limits{1000, {}, {}});
        m_root = std::make_unique<AgentRoot>(m_agent);
        m_root->perform(u"setErrorCallback:"_s, {QVariant::fromValue<VLRemoteCallbackPtr>(m_console)}, 1);
    }
    ~Agent() { m_agent->administrators.stop(); }
    Agent(const Agent&) = delete;
    Agent& operator=(const Agent&) = delete;

    /// Throws also what a console would only hear.
    void perform(const QString& selector, const QVariantList& arguments) const {
        const QString heard = m_console->heardOf(*m_root, selector, arguments);
        if (!heard.isEmpty()) throw VLException(VLException::refused, heard);
    }
    /// What an agent does first, when it starts.
    void clearLeftovers() const { m_agent->tree.clearLeftovers(); }

private:
    std::shared_ptr<RefusalListener> m_console = std::make_shared<RefusalListener>();
    std::shared_ptr<AgentContext> m_agent;
    std::unique_ptr<AgentRoot> m_root;
};

QStringList startAgent(const QString& folder) {
    Agent(folder).clearLeftovers();
    // Where it has made temporary files is noted there.
    const QString notes = u"/state/temporary.plist"_s;
    QStringList lines = everything(folder);
    lines.removeIf([&](const QString& line) { return line.section(u": "_s, 0, 0).endsWith(notes); });
    return lines;
}

Scenario onAgent(const char* name, std::function<void(const QString& folder)> prepare,
                 const QString& selector, const QVariantList& arguments) {
    const auto act = [selector, arguments](const QString& folder) {
        Agent(folder).perform(selector, arguments);
    };
    return {name, std::move(prepare), act, startAgent};
}

// ---- Plug-ins

QString plugin(const QString& owner, const QString& name, bool disabled = false) {
    return owner + u"/Library/Plug-Ins/FxPlug"_s + (disabled ? u" (Disabled)/"_s : u"/"_s) + name;
}
const QString anna = u"/Users/anna"_s, everybody, mine = plugin(anna, u"Mine.fxplug"_s),
              old = plugin(anna, u"Old.fxplug"_s, true), glow = plugin(everybody, u"Glow.fxplug"_s);

void addPlugin(const QString& path, const QString& version) {
    writeBundle(path, {{u"CFBundleShortVersionString"_s, version}});
    writeFile(path + u"/Contents/Resources/"_s + version, version.toUtf8());
}

void preparePlugins(const QString& folder) {
    for (const QString& path : {mine, old, glow})
        addPlugin(folder + u"/disk"_s + path, u"1"_s);
}

QByteArray pluginArchive(const QString& name) {
    const QTemporaryDir folder;
    addPlugin(folder.filePath(name), u"2"_s);
    return TreeArchive::pack(WorkstationTree(folder.path()), {{name, u'/' + name}});
}

const QVariant administrator = administratorCredentials(u"corvalin-sample"_s);

QVariantList pluginSettings(const QString& path, const QVariant& value) {
    return {administrator, QVariantMap{{u"obj1"_s, path}, {u"obj2"_s, value}}};
}

Scenario installing(const char* name, const QString& path) {
    const QVariantMap described{{u"name"_s, u"x"_s}, {u"fullPath"_s, path}, {u"type"_s, u"FxPlug"_s}};
    return onAgent(name, preparePlugins, u"addonryInstallPlugin:withData:"_s,
                   {described, pluginArchive(path.section(u'/', -1))});
}

// ---- Preferences

void restore(const QString& folder) {
    Agent(folder).perform(u"settlekeepRestoreRemoteBackup:"_s, {contentsOf(folder + u"/archive.zip"_s)});
}

Scenario onPreferences(const char* name, std::function<void(const QString& folder)> act,
                       bool cannotExchange = false) {
    return {name,
            ChangedHome::make,
            act,
            startAgent,
            u"/disk"_s + ChangedHome::automatic + u"/1.backup"_s,
            cannotExchange};
}

// ---- Scheduled tasks

const QVariantMap taskSettings{{u"bundleid"_s, u"com.velmora.Tidyhand"_s},
                               {u"taskid"_s, u"clean"_s},
                               {u"enabled"_s, 1},
                               {u"scheduletype"_s, u"6"_s},
                               {u"intervalval"_s, u"90"_s}};

void prepareTasks(const QString& folder) {
    const QString application = folder + u"/disk/Applications/Tidyhand.app"_s;
    writeBundle(application, {{u"CFBundleIdentifier"_s, u"com.velmora.Tidyhand"_s},
                              {u"CFBundleShortVersionString"_s, u"1"_s}});
    writeFile(application + u"/Contents/Resources/ScheduledTasks.plist"_s,
              PropertyList::toData(QVariantMap{
                  {u"tasks"_s, QVariantList{QVariantMap{{u"taskID"_s, u"clean"_s},
                                                        {u"taskDescription"_s, u"Clean caches"_s}}}}}));
    LaunchJob job = LaunchJob::make(u"a"_s, {u"com.velmora.Tidyhand"_s, u"clean"_s, u"Clean caches"_s});
    job.setSchedule(TaskSchedule::every(3600));
    writeFile(folder + u"/disk"_s + anna + u"/Library/LaunchAgents/a.plist"_s, job.toData());
}

Scenario onTasks(const char* name, const QString& verb, QVariantMap objects) {
    Scenario scenario = onAgent(name, prepareTasks, u"cronwell%1Task:settings:"_s.arg(verb),
                                {QVariant(), std::move(objects)});
    // What a task was before is kept before it is changed; that is no state of its own.
    scenario.start = [](const QString& folder) {
        return startAgent(folder).filter(
            QRegularExpression(u"^(?!/state/cronwell/[0-9a-f]{64}[.]plist: )"_s));
    };
    return scenario;
}

QVariantMap edited(const QVariantMap& more) {
    QVariantMap settings = taskSettings;
    settings.insert(more);
    return {{u"obj1"_s, settings}};
}

// ---- The console's own files

/// Qt's own temporary files have six letters behind the name. They stay after a kill.
QStringList withoutTemporary(const QStringList& lines) {
    return lines.filter(QRegularExpression(u"^(?!/[^:]*[.][A-Za-z]{6}: )"_s));
}

const QString settingsFile = u"/config/orlendo.plist"_s;

void changeSettings(const QString& folder, qlonglong number) {
    VLUserDefaults settings(folder + settingsFile);
    for (const char* key : {"first", "second"})
        settings.setObject(number, QLatin1String(key));
    if (!settings.synchronize()) throw VLException(VLException::generic, u"the settings were not written"_s);
}
QStringList readSettings(const QString& folder) {
    const VLUserDefaults settings(folder + settingsFile);
    QStringList read{QString::number(settings.integerForKey(u"first"_s)) + u": "_s +
                     QString::number(settings.integerForKey(u"second"_s))};
    return read + withoutTemporary(everything(folder))
                      .filter(QRegularExpression(u"^(?!/config/orlendo[.]plist(.lock)?: )"_s));
}

/// Two certificates that are always the same.
QByteArray certificate(int number) {
    static const QByteArray made[] = {TlsIdentity::create(u"a"_s).certificate,
                                      TlsIdentity::create(u"b"_s).certificate};
    return made[number];
}
void pin(const QString& folder, int number) {
    if (!PinnedCertificates(folder + u"/agents"_s).pin(u"one.local."_s, certificate(number)))
        throw VLException(VLException::generic, u"the certificate was not pinned"_s);
}
QStringList readPins(const QString& folder) {
    return withoutTemporary(everything(folder));
}

RunRecord runOf(const QString& action) {
    RunRecord run;
    run.id = action;
    run.started = QDateTime(QDate(2011, 7, 1), QTime(12, 0), Qt::UTC);
    run.ended = run.started.addMSecs(1500);
    run.tool = u"addonry"_s;
    run.action = action;
    run.isChange = true;
    for (int number = 1; number <= 20; ++number)
        run.outcomes << HostOutcome{u"bay-%1.local."_s.arg(number), u"Bay"_s, {Outcome::Done, {}}, {}};
    return run;
}
const QString activityFile = u"/activity/activity.sqlite"_s;

void addRun(const QString& folder, const QString& action) {
    ActivityDatabase::open(folder + activityFile)->insert(runOf(action));
}
/// The files of the database are its own business.
QStringList readActivity(const QString& folder) {
    QStringList found;
    {
        const auto database = ActivityDatabase::open(folder + activityFile);
        for (const qint64 key : database->keys({}))
            if (const auto run = database->record(key))
                found << u"%1: %2"_s.arg(run->action).arg(run->outcomes.size());
    }
    return found + everything(folder).filter(QRegularExpression(u"^(?!/activity/activity[.]sqlite)"_s));
}

// ---- The table: a new tool adds its lines

const auto nothing = [](const QString&) {};

const QList<Scenario>& scenarios() {
    static const QList<Scenario> all{
        onPreferences("restore", restore),
        onPreferences("restore without exchanging", restore, true),
        onPreferences("trash",
                      [](const QString& folder) {
                          Agent(folder).perform(u"settlekeepTrashSelected:"_s, {ChangedHome::keys});
                      }),
        onPreferences("back up",
                      [](const QString& folder) {
                          Agent(folder).perform(u"settlekeepBackup:type:"_s, {u"B"_s, 0});
                      }),
        installing("install", plugin(anna, u"New.fxplug"_s)),
        installing("install over another", mine),
        installing("install over a disabled one", plugin(anna, u"Old.fxplug"_s)),
        onAgent("update", preparePlugins, u"addonryUpdatePlugin:settings:"_s,
                {administrator, QVariantMap{{u"obj1"_s, QVariantMap{{u"fullPath"_s, glow}}},
                                            {u"obj2"_s, pluginArchive(u"Glow.fxplug"_s)}}}),
        onAgent("disable", preparePlugins, u"addonryEnablePlugin:settings:"_s, pluginSettings(mine, 1)),
        onAgent("give to all", preparePlugins, u"addonryChangeAccess:settings:"_s, pluginSettings(mine, 0)),
        onAgent("give to one", preparePlugins, u"addonryChangeAccess:settings:"_s, pluginSettings(glow, 1)),
        onTasks("add a task", u"Add"_s, edited({{u"root"_s, 0}})),
        onTasks("edit a task", u"Edit"_s, edited({{u"filename"_s, u"a.plist"_s}})),
        onTasks("disable a task", u"Enable"_s, edited({{u"filename"_s, u"a.plist"_s}, {u"enabled"_s, 0}})),
        onTasks("remove a task", u"Remove"_s, {{u"obj2"_s, u"a.plist"_s}}),
        {"settings", [](const QString& folder) { changeSettings(folder, 1); },
         [](const QString& folder) { changeSettings(folder, 2); }, readSettings},
        {"pin", nothing, [](const QString& folder) { pin(folder, 0); }, readPins},
        {"pin anew", [](const QString& folder) { pin(folder, 0); },
         [](const QString& folder) { pin(folder, 1); }, readPins},
        {"first activity", nothing, [](const QString& folder) { addRun(folder, u"new"_s); }, readActivity},
        {"activity", [](const QString& folder) { addRun(folder, u"old"_s); },
         [](const QString& folder) { addRun(folder, u"new"_s); }, readActivity},
    };
    return all;
}

// ---- The harness

QStringList below(const QString& path, const QStringList& lines) {
    QStringList found;
    for (const QString& line : lines)
        if (!path.isEmpty() && line.startsWith(path)) found.append(line);
    return found;
}

/// What there is after a start.
struct State {
    QStringList contents;  ///< with the paths that they have
    QStringList folders;

    /// Lines of everything(). Dates of today are the same one, also in archives; so is what is numbered
    /// because it was made in the same second.
    static State of(QStringList lines, const QString& clearedLater, const QStringList& asBefore) {
        static const QRegularExpression date(
            u"\\b20[2-9]\\d-\\d\\d-\\d\\d[ T]\\d\\d[.:]\\d\\d[.:]\\d\\d( \\d+)?"_s),
            archive(u": PK\x03\x04.*"_s, QRegularExpression::DotMatchesEverythingOption);
        if (const QStringList left = below(clearedLater, lines); left == asBefore)
            lines.removeIf([&](const QString& line) { return left.contains(line); });
        State state;
        for (QString& line : lines) {
            line.replace(date, u"DATE"_s).replace(archive, u": archive"_s);
            (line.contains(u": "_s) || line.contains(u" -> "_s) ? state.contents : state.folders)
                .append(line);
        }
        state.contents.sort();
        return state;
    }
};

/// What `state` has and neither of the others.
QStringList leftovers(const State& state, const State& one, const State& other) {
    QStringList left;
    for (const QString& folder : state.folders)
        if (!one.folders.contains(folder) && !other.folders.contains(folder)) left.append(folder);
    return left;
}

QString differences(const QStringList& state, const QStringList& wanted) {
    QStringList lines;
    for (const QString& line : state)
        if (!wanted.contains(line)) lines.append(u"+ "_s + line.left(120));
    for (const QString& line : wanted)
        if (!state.contains(line)) lines.append(u"- "_s + line.left(120));
    return lines.mid(0, 12).join(u'\n');
}

}  // namespace

class KillTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder{quickFolder()};
    const Scenario* m_scenario = nullptr;
    QByteArray m_explanation;
    QStringList m_clearedLater;  ///< what that is before the change

    [[nodiscard]] QString prepared() const { return m_folder.filePath(u"prepared"_s); }
    /// A copy of what was prepared, made anew.
    [[nodiscard]] QString fresh() const {
        const QString folder = m_folder.filePath(u"run"_s);
        QDir(folder).removeRecursively();
        return QProcess::execute(u"cp"_s, {u"-a"_s, prepared(), folder}) == 0 ? folder : QString();
    }
    [[nodiscard]] std::optional<State> stateAt(const QString& folder) const {
        const auto lines = FileCalls::inChild([&] { return m_scenario->start(folder); });
        if (!lines) return std::nullopt;
        return State::of(*lines, m_scenario->clearedLater, m_clearedLater);
    }
    [[nodiscard]] FileCalls::Result act(const QString& folder, FileCalls::Trouble trouble) const {
        trouble.cannotExchange = m_scenario->cannotExchange;
        return FileCalls::run(folder, trouble, [&] {
            try {
                m_scenario->act(folder);
            } catch (const std::exception&) {
                return 1;
            }
            return 0;
        });
    }
    /// Evenly over all of them; all where ORLENDO_ALL_KILLS is set.
    [[nodiscard]] static QList<int> sampled(int calls) {
        const int most = qEnvironmentVariableIsSet("ORLENDO_ALL_KILLS") ? calls : 24;
        QList<int> chosen;
        for (int call = 1; call <= calls; ++call)
            if (calls <= most || call * most / calls != (call - 1) * most / calls) chosen.append(call);
        return chosen;
    }

private Q_SLOTS:
    void initTestCase() {
        if (!FileCalls::areSupported()) QSKIP("the kernel does not let a process watch another's calls");
        VLLocalPaths::setTestRoot(m_folder.filePath(u"own"_s));
        certificate(0);
    }

    void oldOrNew_data() {
        QTest::addColumn<int>("index");
        QTest::addColumn<bool>("isKilled");
        for (int index = 0; index < scenarios().size(); ++index) {
            QTest::addRow("killed: %s", scenarios()[index].name) << index << true;
            QTest::addRow("failing: %s", scenarios()[index].name) << index << false;
        }
    }
    /// Killed before any one call, or that call fails.
    void oldOrNew() {
        QFETCH(int, index);
        QFETCH(bool, isKilled);
        m_scenario = &scenarios()[index];
        m_clearedLater.clear();
        QDir(prepared()).removeRecursively();
        QDir().mkpath(prepared() + u"/state"_s);
        writeFile(prepared() + u"/admin"_s, sampleAdministrators);
        const auto atFirst = FileCalls::inChild([&] {
            m_scenario->prepare(prepared());
            return m_scenario->start(prepared());
        });
        QVERIFY(atFirst);
        m_clearedLater = below(m_scenario->clearedLater, *atFirst);
        const auto before = stateAt(fresh());
        const QString changed = fresh();
        const FileCalls::Result whole = act(changed, {});
        QCOMPARE(whole.exitCode, 0);
        const auto after = stateAt(changed);
        QVERIFY(before && after);
        QVERIFY2(before->contents != after->contents, "nothing was changed");

        int kills = 0;
        for (const int call : sampled(whole.calls)) {
            const QString folder = fresh();
            const auto result = act(folder, isKilled ? FileCalls::Trouble{.killedAt = call}
                                                     : FileCalls::Trouble{.failingAt = call});
            const auto explain = [&, where = QByteArray("call ") +
                                             QByteArray::number(call)](const QString& text) {
                m_explanation = where + ": " + text.toUtf8();
                return m_explanation.constData();
            };
            if (result.isKilled) ++kills;
            QVERIFY2(result.isKilled == isKilled, explain(u"not killed, or dead"_s));
            const auto now = stateAt(folder);
            QVERIFY2(now, explain(u"it does not start again"_s));
            const bool isNew = now->contents == after->contents;
            QVERIFY2(isNew || now->contents == before->contents,
                     explain(u"a mixture\n"_s + differences(now->contents, before->contents) +
                             u"\nto the new:\n"_s + differences(now->contents, after->contents)));
            const QStringList left = leftovers(*now, *before, *after);
            QVERIFY2(left.isEmpty(), explain(u"left over: "_s + left.join(u' ')));
            QVERIFY2(isKilled || isNew || result.exitCode == 1, explain(u"a failure that nobody hears of"_s));
        }
        QVERIFY2(!isKilled || kills > 0, "nobody was killed");
        qInfo("%d calls, %d of them tried", whole.calls, int(sampled(whole.calls).size()));
    }
};

QTEST_GUILESS_MAIN(KillTest)
#include "kill_test.moc"
