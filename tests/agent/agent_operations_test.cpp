#include "agent/AgentRoot.h"
#include "agent/identity/MaintenanceRequest.h"
#include "agent/sample/SampleTree.h"
#include "base/VLLocalPaths.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"
#include "system/VLException.h"

#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;
using namespace VLCorvalinServerProtocol;

namespace {

/// Stands for a console's callback object and keeps what was posted.
class RecordingCallback : public VLRemoteCallback {
public:
    void post(const QString& selector, const QVariantList& arguments) override {
        const std::lock_guard lock(m_mutex);
        m_posts.append({selector, arguments});
    }
    QVariant perform(const QString&, const QVariantList&, std::chrono::milliseconds) override { return {}; }
    [[nodiscard]] bool isConnected() const override { return true; }

    using Post = std::pair<QString, QVariantList>;
    [[nodiscard]] QList<Post> take() {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_posts, {});
    }

private:
    std::mutex m_mutex;
    QList<Post> m_posts;
};

QVariant reference(const std::shared_ptr<RecordingCallback>& callback) {
    return QVariant::fromValue<VLRemoteCallbackPtr>(callback);
}

}  // namespace

class AgentOperationsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { makeSample(); }

    void init() {
        if (m_hasChanged) makeSample();
        AgentSettings settings;
        QString error;
        const QVariantMap configuration = PropertyList::readFile(path("sample/agent.conf")).toMap();
        QVERIFY2(settings.apply(configuration, path("sample"), &error), qPrintable(error));
        settings.complete();
        m_agent = std::make_shared<AgentContext>(settings);
        m_quits = m_relaunches = 0;
        m_agent->quit = [this] { ++m_quits; };
        m_agent->relaunch = [this] { ++m_relaunches; };
        m_root = std::make_unique<AgentRoot>(m_agent);
    }

    void unknownOperationsAreRefused() {
        for (const QString selector :
             {"", "initialconfiguration", "computerIcon::", "addErrorToQueue:hostname:", "dealloc"}) {
            QVERIFY(!m_root->respondsToSelector(selector));
            QVERIFY_EXCEPTION_THROWN(m_root->perform(selector, {}, 1), VLException);
        }
    }

    /// Those that no tool answers yet, in the order of the table. A new tool takes its own off the list.
    void allOtherOperationsAreAnswered() {
        QStringList unanswered;
        for (const Operation& declared : operations()) {
            const QString selector = QString::fromLatin1(declared.selector);
            if (declared.side == Side::Agent && !m_root->respondsToSelector(selector))
                unanswered.append(selector);
        }
        QCOMPARE(unanswered.join(u' '),
                 u"needsAdminAccess: authExecuteTask:bundleID:options:username:password: "
                 "authExecuteTask:bundleID:options:username:password:callback:callbackName: "
                 "corvalinAppInfo finalCutStudioAppInfo launchApp: terminateApp: forceQuitApp: "
                 "networkClientSettings setNetworkClientSettings: "
                 "routemarkPaths setRoutemarkPaths: setRoutemarkPath:forKey: resetRoutemarkPath: "
                 "fcsCrashLog: faultscopeGetDefinition: faultscopeRemoveLogFilename: "
                 "faultscopeSubmitCrashLog:comment: consolidateCrashLogs: "
                 "tidyhandRunTasks: purgewrightRemoveApps:settings: hostbenchTrashCaches:settings: "
                 "qmasterJobs qmasterJobPause: qmasterJobResume: qmasterJobTerminate: qmasterStartSharing "
                 "qmasterStopSharing qmasterResetServices processQmasterClusterOnThread: "
                 "listVelmoraSoftwareUpdates installVelmoraSoftwareUpdate:settings: "
                 "softwareUpdateManualInstall:"_s);
    }

    void wrongArgumentsAreRefused() {
        const QVariantList kinds{"text",
                                 1LL,
                                 QByteArray("data"),
                                 QDateTime::currentDateTimeUtc(),
                                 QVariantList{1LL},
                                 QVariantMap{{"key", 1LL}},
                                 reference(std::make_shared<RecordingCallback>())};
        for (const QString& selector : m_root->selectors()) {
            const Operation& declared = *operation(Side::Agent, selector);
            QVariantList right;
            for (const Argument& argument : declared.arguments)
                right.append(*std::find_if(kinds.begin(), kinds.end(), [&](const QVariant& value) {
                    return accepts(argument.type, value);
                }));
            QList<QVariantList> wrong{right + QVariantList{1LL}};
            if (!right.isEmpty()) wrong << right.mid(1);
            for (qsizetype i = 0; i < right.size(); ++i) {
                const Argument& argument = declared.arguments[static_cast<std::size_t>(i)];
                if (argument.type == Type::Any) continue;
                for (const QVariant& value : kinds + QVariantList{QVariant()}) {
                    if (value.isValid() ? accepts(argument.type, value) : argument.optional) continue;
                    wrong << right;
                    wrong.last()[i] = value;
                }
            }
            for (const QVariantList& arguments : std::as_const(wrong)) {
                QString name;
                try {
                    m_root->perform(selector, arguments, 1);
                } catch (const VLException& error) {
                    name = error.name();
                }
                QVERIFY2(name == VLException::invalidArgument, qPrintable(selector));
            }
        }
        QCOMPARE(m_quits + m_relaunches, 0);
    }

    void picture_data() {
        const TestTable<QVariant, QSize> row("asked", "size");
        const auto asked = [](const QVariant& width, const QVariant& height) {
            return QVariantMap{{"width", width}, {"height", height}};
        };
        row("smaller", asked(32LL, 32LL), {32, 32});
        row("larger", asked(512LL, 512LL), {512, 512});
        row("fits into it", asked(100LL, 40LL), {40, 40});
        row("beyond reason", asked(1LL << 40, 1LL << 40), {1024, 1024});
        for (const QVariant& nonsense : QVariantList{QVariant(), "48", asked(-1LL, 32LL), asked(0LL, 0LL)})
            row("its own", nonsense, {256, 256});
    }
    void picture() {
        QFETCH(QVariant, asked);
        QTEST(QImage::fromData(perform("computerIcon:", {asked}).toByteArray()).size(), "size");
    }

    void configuration() {
        m_hasChanged = true;
        const QVariantMap configuration = configurationFor();
        QCOMPARE(configuration.value("maintenanceRequested"), QVariant(false));
        QVERIFY(configuration.value("version").toLongLong() > 1029);
        QCOMPARE(configuration.value("corvalinVersion"), QVariant(312LL));
        QCOMPARE(configuration.value("preferredHostName"), QVariant("edit-bay-2.local."));
        QCOMPARE(configuration.value("availableUpdateCount"), QVariant(1LL));
        QVERIFY(!configuration.contains("selfCrashLog"));
        QCOMPARE(perform("fetchInitialConfiguration:", {QVariant()}).toMap().keys(), configuration.keys());

        QVERIFY(MaintenanceRequest::request(m_agent->settings.stateDirectory));
        QCOMPARE(configurationFor().value("maintenanceRequested"), QVariant(true));
        perform("cancelMaintenanceRequest");
        QCOMPARE(configurationFor().value("maintenanceRequested"), QVariant(false));

        // Nobody has looked for updates, and the suite is not there: nothing is claimed about either.
        QVERIFY(QFile::remove(path("sample/state/updates.plist")));
        QVERIFY(QDir(path("sample/disk/Applications/Corvalin.app")).removeRecursively());
        const QVariantMap bare = configurationFor();
        QVERIFY(!bare.contains("availableUpdateCount") && !bare.contains("corvalinVersion"));
    }

    void crashOfTheAgentIsReportedOnceToEachConsole() {
        m_hasChanged = true;
        m_root->peerOpened(1, "first", {});
        m_root->peerOpened(2, "second", {});
        m_root->peerOpened(3, "first", {});  // connected anew
        const QString name = u"corvalin-agent_2010-09-01-101500_edit-bay-2.crash"_s;
        QVERIFY(writeFile(path("sample/disk/Library/Logs/CrashReporter/" + name), "Process: corvalin-agent"));
        QCOMPARE(configurationFor().value("selfCrashLog").toString(), name);
        QCOMPARE(perform("logWithFilename:", {name}).toString(), QString("Process: corvalin-agent"));
        for (const auto& [peer, isTold] : {std::pair{1, false}, {3, false}, {2, true}, {2, false}})
            QCOMPARE(configurationFor(quint64(peer)).contains("selfCrashLog"), isTold);
    }

    void logs() {
        m_hasChanged = true;
        QVERIFY(writeFile(path("sample/disk/Users/visitor/Library/Logs/Velmora/Corvalin.1.log"),
                          "of the visitor"));
        QVERIFY(writeFile(path("sample/disk/Library/Logs/Velmora/notes.txt"), "no log"));
        // Nothing that leads elsewhere is a log, neither the file nor a folder above it.
        QVERIFY(writeFile(path("sample/disk/private/stolen.log"), "secret"));
        QVERIFY(QFile::link("/private/stolen.log", path("sample/disk/Library/Logs/Velmora/stolen.log")));
        QVERIFY(QFile::link("/private", path("sample/disk/Users/visitor/Library/Logs/CrashReporter")));
        QVERIFY(writeFile(path("sample/disk/private/Corvalin_stolen.crash"), "secret"));
        QVERIFY(QDir().mkpath(path("sample/disk/Users/guest/Library/Logs")));
        QVERIFY(QFile::link("/private", path("sample/disk/Users/guest/Library/Logs/Velmora")));
        const QStringList names = perform("populateVLLogFilenames").toStringList();
        QVERIFY(names.contains("Settlekeep.1.log"));
        QVERIFY(names.contains("Corvalin Network Client.1.log"));
        QVERIFY(!names.contains("notes.txt") && names.filter("stolen").isEmpty());
        QVERIFY(!names.contains("Corvalin.1.log"));  // there are two, told apart by their paths
        const QString ofVisitor = u"/Users/visitor/Library/Logs/Velmora/Corvalin.1.log"_s;
        QCOMPARE(perform("logWithFilename:", {ofVisitor}).toString(), QString("of the visitor"));
        QVERIFY(perform("logWithFilename:", {"Settlekeep.1.log"}).toString().contains("Backup finished."));

        const QVariantMap gathered = perform("gatherLogs").toMap();
        QCOMPARE(gathered.size(), names.size());
        QCOMPARE(gathered.value(ofVisitor), QVariant(QByteArray("of the visitor")));
    }

    void logNamesOfPeers() {
        for (const QString name : {"", ".", "../agent.conf", "/../admin-users", "/etc/passwd", "missing.log",
                                   "/Library/Preferences/com.velmora.corvalinnetclient.plist",
                                   "/Library/Logs/Velmora/../Velmora/Cronwell.1.log"})
            QVERIFY_EXCEPTION_THROWN(perform("logWithFilename:", {name}), VLException);
    }

    void snapshot() {
        m_hasChanged = true;
        for (const QString name : {"Plugins", "Frameworks"})  // applications so called do not hide them
            QVERIFY(writeBundle(path("sample/disk/Applications/" + name + ".app"),
                                {{"CFBundleName", name}, {"CFBundleVersion", "1.0"}}));
        const QVariantMap snapshot = perform("varispotSystemInfo").toMap();
        QCOMPARE(snapshot.value("Plugins"), perform("addonryPluginList"));
        QVERIFY(snapshot.value("Plugins").toList().size() > 10);
        QCOMPARE(snapshot.value("Mac OS X"), QVariant("10.6.3"));
        QCOMPARE(snapshot.value("Batch Monitor"),
                 QVariant("1.5.2"));  // in a folder of the applications folder
        QCOMPARE(snapshot.value("ProCodec"), QVariant("1.0.2"));
        const auto frameworks = snapshot.value("Frameworks").toMap(), kexts = snapshot.value("Kexts").toMap();
        QVERIFY(frameworks.contains("ProEffects.framework"));
        QCOMPARE(kexts.value("CaptureIO.kext").toMap().value("version"), QVariant("7.1"));
    }

    void errorsReachEveryConsole() {
        const auto first = addConsole(1), second = addConsole(2);
        const QString host = u"edit-bay-2.local."_s;
        const QVariantMap error{{"domain", "corvalinDomain"}, {"code", 1003LL}};
        const QVariantMap lie{{"hostname", "somebody-else.local."}, {"appName", "Motion"}};
        const QVariantMap truth{{"hostname", host}, {"appName", "Motion"}};

        perform("postError:", {error});
        perform("postError:userInfo:", {error, lie});
        perform("postErrorString:", {"Disk full"});
        perform("postErrorString:userInfo:", {"Disk full", lie});
        const QList<RecordingCallback::Post> expected{
            {"addErrorToQueue:hostname:", {error, host}},
            {"addErrorToQueue:userInfo:", {error, truth}},
            {"addStringToQueue:hostname:", {"Disk full", host}},
            {"addStringToQueue:userInfo:", {"Disk full", truth}},
        };
        QCOMPARE(first->take(), expected);
        QCOMPARE(second->take(), expected);
        m_root->peerClosed(1);
        perform("postErrorString:", {"later"});
        QVERIFY(first->take().isEmpty());
        QCOMPARE(second->take().size(), 1);
    }

    void progressReachesItsConsole() {
        const auto first = addConsole(1), second = addConsole(2);
        perform("postFinishedTask", {}, 1);
        perform("incrementRemoteProgress", {}, 1);
        QCOMPARE(first->take(),
                 (QList<RecordingCallback::Post>{{"taskFinished", {}}, {"incrementProgress", {}}}));
        QVERIFY(second->take().isEmpty());
        perform("postFinishedTask", {}, 3);  // has no callback object: what it does is nobody else's matter
        QVERIFY(first->take().isEmpty() && second->take().isEmpty());
    }

    void oneConsoleDoesNotFloodTheOthersOrTheLog() {
        VLLog::createNewLog();
        const auto first = addConsole(1), second = addConsole(2);
        const auto linesLogged = [] {
            VLLog::finishWriting();
            return contentsOf(VLLog::currentLogPath()).count('\n');
        };
        const auto before = linesLogged();
        for (int i = 0; i < 1'000; ++i) {
            perform("postErrorString:", {"text"}, 1);
            QVERIFY_EXCEPTION_THROWN(perform("postErrorString:", {1LL}, 1), VLException);
        }
        QCOMPARE(second->take().size(), LogBudget::linesPerMinute);
        QCOMPARE(linesLogged() - before, LogBudget::linesPerMinute);
        perform("postErrorString:", {"text"}, 2);
        QCOMPARE(second->take().size(), 1);
    }

    void consolesHearUnderTheNameTheyKnow() {
        const auto first = addConsole(1), second = addConsole(2);
        perform("initialConfiguration", {}, 1);
        m_agent->hostName.set("edit-bay-9.local.");
        const auto said = [this](const std::shared_ptr<RecordingCallback>& console) {
            m_agent->consoles.postToAll("updateConfig:", {m_agent->hostName.get()});
            return console->take().last().second.first().toString();
        };
        QCOMPARE(said(first), QString("edit-bay-2.local."));
        QCOMPARE(said(second), QString("edit-bay-9.local."));
        perform("initialConfiguration", {}, 1);
        QCOMPARE(said(first), QString("edit-bay-9.local."));

        (void)first->take();
        m_agent->consoles.setLongSilence(std::chrono::milliseconds(0));
        perform("postFinishedTask", {}, 1);
        QCOMPARE(first->take(), (QList<RecordingCallback::Post>{{"ping", {}}, {"taskFinished", {}}}));
    }

    void updatesAreCountedAfreshAndTheCountIsKept() {
        m_hasChanged = true;
        const auto console = addConsole(1);
        const QString stored = path("sample/state/update-count.plist");
        QFile list(path("sample/state/updates.plist"));
        QVERIFY(list.open(QIODevice::ReadWrite));
        QVERIFY(
            list.setFileTime(QDateTime::currentDateTime().addDays(-3), QFileDevice::FileModificationTime));
        perform("fetchSoftwareUpdateAvailableUpdateCount");
        QCOMPARE(console->take(), (QList<RecordingCallback::Post>{
                                      {"setSoftwareUpdateCount:hostname:", {1LL, "edit-bay-2.local."}}}));
        QVariantMap count = PropertyList::readFile(stored).toMap();
        const QDateTime twoDaysAgo = QDateTime::currentDateTimeUtc().addDays(-2);
        count.insert("availableUpdateCountLastUpdate", twoDaysAgo);
        QVERIFY(writeFile(stored, PropertyList::toData(count)));
        const auto date = [this] {
            return configurationFor().value("availableUpdateCountLastUpdate").toDateTime();
        };
        QVERIFY(qAbs(date().secsTo(twoDaysAgo)) <= 1);
        QVERIFY(writeFile(list.fileName(), PropertyList::toData(QVariantMap{{"updates", QVariantList()}})));
        QVERIFY(qAbs(date().secsTo(QDateTime::currentDateTimeUtc())) < 60);
    }

    void crashLogs() {
        m_hasChanged = true;
        const QString folder = path("sample/disk/Users/bruno/Library/Logs/CrashReporter/");
        QVERIFY(writeFile(folder + "Strange_2010.crash", QByteArray("\xff\x00\n", 3).repeated(1'000)));
        const auto console = addConsole(1), delegate = std::make_shared<RecordingCallback>();
        perform("crashLogsSinceDate:delegate:", {QVariant(), QVariant()});
        perform("crashLogsSinceDate:delegate:",
                {QDateTime::currentDateTimeUtc().addDays(1), reference(delegate)});
        QCOMPARE(delegate->take().value(0).second.value(0).toList(), QVariantList());
        const auto all = console->take();
        QCOMPARE(all.size(), 1);
        QStringList logs;
        for (const QVariant& entry : all.first().second.first().toList()) {
            const QVariantMap log = entry.toMap();
            QVERIFY(log.value("date").toDateTime().isValid());
            logs.append(log.value("app").toString() + ": " + log.value("cause").toString());
        }
        logs.sort();
        const QString plugin = "Final Cut Pro: Plug-in example.plugins.HalftonePress";
        QCOMPARE(logs, (QStringList{plugin, plugin, "Final Cut Pro: QuickTime component",
                                    "Soundtrack Pro: Audio Unit", "Strange: Unknown"}));
    }

    void tasks() {
        QVERIFY(QDir().mkpath(path("sample/disk/Applications/Empty.app/Contents")));
        QVERIFY(writeBundle(path("sample/disk/Applications/Old.app"),
                            {{"CFBundleIdentifier", "com.velmora.Old"}}));
        qlonglong code = 1000;
        for (const char* bundleID : {"com.velmora.Nothing", "com.velmora.Empty", "com.velmora.Old",
                                     "com.velmora.Faultscope"}) {  // in the order of the codes
            try {
                perform("executeTask:bundleID:options:", {"task", bundleID, QVariant()});
                QFAIL("nothing is raised");
            } catch (const VLException& error) {
                QCOMPARE(error.userInfo().value("code").toLongLong(), code++);
            }
        }
    }

    void failureOfOnewayOperationIsReported() {
        const auto callback = addConsole(1);
        QVERIFY_EXCEPTION_THROWN(perform("postError:", {"no dictionary"}), VLException);
        const auto posts = callback->take();
        QCOMPARE(posts.size(), 1);
        QCOMPARE(posts.first().first, QString("addExceptionToQueue:hostname:"));
        QCOMPARE(posts.first().second.at(0).toMap().value("name").toString(), VLException::invalidArgument);
        QVERIFY_EXCEPTION_THROWN(perform("logWithFilename:", {"missing.log"}), VLException);
        QVERIFY(callback->take().isEmpty());  // that one is waited for
    }

    void manyConsolesAtOnce() {
        std::vector<std::thread> consoles;
        std::atomic<int> wrong = 0;
        for (quint64 peer = 1; peer <= 4; ++peer) {
            consoles.emplace_back([this, peer, &wrong] {
                const auto callback = std::make_shared<RecordingCallback>();
                for (int i = 0; i < 10; ++i) {
                    perform("setErrorCallback:", {reference(callback)}, peer);
                    if (perform("addonryPluginList", {}, peer).toList().size() < 10) ++wrong;
                    if (perform("initialConfiguration", {}, peer).toMap().isEmpty()) ++wrong;
                    if (perform("populateVLLogFilenames", {}, peer).toList().isEmpty()) ++wrong;
                    perform("postErrorString:", {"text"}, peer);
                    m_root->peerClosed(peer);
                }
                if (callback->take().isEmpty()) ++wrong;
            });
        }
        for (std::thread& console : consoles)
            console.join();
        QCOMPARE(wrong.load(), 0);
        QCOMPARE(m_agent->consoles.count(), 0);
    }

private:
    void makeSample() {
        m_folder = std::make_unique<QTemporaryDir>();
        VLLocalPaths::setTestRoot(path("local"));
        SampleTree::make(path("sample"), 2);
        m_hasChanged = false;
        init();
    }
    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }
    QVariant perform(const char* selector, const QVariantList& arguments = {}, quint64 peer = 1) {
        return m_root->perform(QString::fromLatin1(selector), arguments, peer);
    }

    QVariantMap configurationFor(quint64 peer = 1) {
        return perform("initialConfiguration", {}, peer).toMap();
    }
    std::shared_ptr<RecordingCallback> addConsole(quint64 peer) {
        auto callback = std::make_shared<RecordingCallback>();
        perform("setErrorCallback:", {reference(callback)}, peer);
        return callback;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<AgentContext> m_agent;
    std::unique_ptr<AgentRoot> m_root;
    int m_quits = 0;
    int m_relaunches = 0;
    bool m_hasChanged = false;  ///< this test writes: the next one needs a fresh workstation
};

QTEST_GUILESS_MAIN(AgentOperationsTest)
#include "agent_operations_test.moc"
