#include "agent/AgentRoot.h"
#include "agent/TestFiles.h"
#include "agent/identity/MachinePicture.h"
#include "agent/identity/MaintenanceRequest.h"
#include "agent/sample/SampleTree.h"
#include "system/VLException.h"
#include "system/VLLocalPaths.h"

#include <QTemporaryDir>
#include <QTest>

#include <mutex>
#include <thread>

using namespace VLCorvalinServerProtocol;

namespace {

/// Stands for a console's callback object and keeps what was posted.
class RecordingCallback : public VLRemoteCallback {
public:
    void post(const QString& selector, const QVariantList& arguments) override {
        const std::lock_guard lock(m_mutex);
        m_posts.append({selector, arguments});
    }
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

QVariant valueOf(Type type) {
    switch (type) {
        case Type::Any:
        case Type::String:
            return QStringLiteral("text");
        case Type::Boolean:
        case Type::Number:
            return 1LL;
        case Type::Data:
            return QByteArray("data");
        case Type::Date:
            return QDateTime::currentDateTimeUtc();
        case Type::Array:
            return QVariantList{1LL};
        case Type::Dictionary:
            return QVariantMap{{QStringLiteral("key"), 1LL}};
        case Type::Object:
            return reference(std::make_shared<RecordingCallback>());
    }
    return {};
}

}  // namespace

class AgentOperationsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { makeSample(); }
    void init();
    void answersOnlyWhatItCarriesOut_data();
    void answersOnlyWhatItCarriesOut();
    void wrongArgumentsAreRefused_data();
    void wrongArgumentsAreRefused();
    void configuration();
    void crashOfTheAgentIsReportedOnce();
    void specs();
    void pictures_data();
    void pictures();
    void ending();
    void logs();
    void logNamesOfPeers_data();
    void logNamesOfPeers();
    void snapshotHoldsThePlugins();
    void snapshotKeepsItsOwnKeys();
    void errorsReachEveryConsole();
    void progressReachesItsConsole();
    void failureOfOnewayOperationIsReported();
    void manyConsolesAtOnce();

private:
    void makeSample();
    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }
    QVariant perform(const char* selector, const QVariantList& arguments = {}, quint64 peer = 1) {
        return m_root->perform(QString::fromLatin1(selector), arguments, peer);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<AgentContext> m_agent;
    std::unique_ptr<AgentRoot> m_root;
    int m_quits = 0;
    int m_relaunches = 0;
    bool m_hasChanged = false;  ///< this test writes: the next one needs a fresh workstation
};

void AgentOperationsTest::makeSample() {
    m_folder = std::make_unique<QTemporaryDir>();
    VLLocalPaths::setTestRoot(path("local"));
    SampleTree::make(path("sample"), 2);
    m_hasChanged = false;
    init();
}

void AgentOperationsTest::init() {
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

void AgentOperationsTest::answersOnlyWhatItCarriesOut_data() {
    QTest::addColumn<QString>("selector");
    QTest::addColumn<bool>("responds");
    for (const char* selector : {"initialConfiguration",
                                 "fetchInitialConfiguration:",
                                 "systemSpecs",
                                 "computerIcon",
                                 "computerIcon:",
                                 "setErrorCallback:",
                                 "disconnect",
                                 "relaunch",
                                 "ping",
                                 "cancelMaintenanceRequest",
                                 "addonryPluginList",
                                 "varispotSystemInfo",
                                 "populateVLLogFilenames",
                                 "logWithFilename:",
                                 "gatherLogs",
                                 "postError:",
                                 "postError:userInfo:",
                                 "postErrorString:",
                                 "postErrorString:userInfo:",
                                 "postFinishedTask",
                                 "incrementRemoteProgress"})
        QTest::newRow(selector) << QString::fromLatin1(selector) << true;
    for (const char* selector :
         {"", "initialconfiguration", "computerIcon::", "addErrorToQueue:hostname:", "dealloc"})
        QTest::newRow(selector) << QString::fromLatin1(selector) << false;
}

void AgentOperationsTest::answersOnlyWhatItCarriesOut() {
    QFETCH(QString, selector);
    QFETCH(bool, responds);
    QCOMPARE(m_root->respondsToSelector(selector), responds);
    if (!responds) QVERIFY_EXCEPTION_THROWN(m_root->perform(selector, {}, 1), VLException);
}

void AgentOperationsTest::wrongArgumentsAreRefused_data() {
    QTest::addColumn<QString>("selector");
    for (const QString& selector : m_root->selectors())
        QTest::newRow(qPrintable(selector)) << selector;
}

void AgentOperationsTest::wrongArgumentsAreRefused() {
    QFETCH(QString, selector);
    const Operation& declared = *operation(Side::Agent, selector);
    QVariantList right;
    for (const Argument& argument : declared.arguments)
        right.append(valueOf(argument.type));

    const auto refused = [&](const QVariantList& arguments) {
        try {
            m_root->perform(selector, arguments, 1);
        } catch (const VLException& error) {
            return error.name() == VLException::invalidArgument;
        }
        return false;
    };
    QVERIFY(refused(right + QVariantList{1LL}));
    if (!right.isEmpty()) QVERIFY(refused(right.mid(1)));
    for (qsizetype i = 0; i < right.size(); ++i) {
        const Argument& argument = declared.arguments[static_cast<std::size_t>(i)];
        if (argument.type == Type::Any) continue;
        for (const Type type : {Type::String, Type::Number, Type::Data, Type::Date, Type::Array,
                                Type::Dictionary, Type::Object}) {
            QVariantList wrong = right;
            wrong[i] = valueOf(type);
            if (!accepts(argument.type, wrong[i])) QVERIFY(refused(wrong));
        }
        QVariantList missing = right;
        missing[i] = QVariant();
        if (!argument.optional) QVERIFY(refused(missing));
    }
    QCOMPARE(m_quits + m_relaunches, 0);
}

void AgentOperationsTest::configuration() {
    m_hasChanged = true;
    const QVariantMap configuration = perform("initialConfiguration").toMap();
    QCOMPARE(configuration.value("maintenanceRequested"), QVariant(false));
    QVERIFY(configuration.value("version").toLongLong() > 1029);
    QCOMPARE(configuration.value("corvalinVersion"), QVariant(312LL));
    QCOMPARE(configuration.value("preferredHostName"), QVariant("edit-bay-2.local."));
    QCOMPARE(configuration.value("availableUpdateCount"), QVariant(1LL));
    QVERIFY(configuration.value("availableUpdateCountLastUpdate")
                .toDateTime()
                .secsTo(QDateTime::currentDateTimeUtc()) < 60);
    QCOMPARE(configuration.value("minAdminVersion"), QVariant(1000LL));
    QVERIFY(!configuration.contains("selfCrashLog"));
    QCOMPARE(perform("fetchInitialConfiguration:", {QVariant()}).toMap().keys(), configuration.keys());

    QVERIFY(MaintenanceRequest::request(m_agent->settings.stateDirectory));
    QCOMPARE(perform("initialConfiguration").toMap().value("maintenanceRequested"), QVariant(true));
    perform("cancelMaintenanceRequest");
    QCOMPARE(perform("initialConfiguration").toMap().value("maintenanceRequested"), QVariant(false));

    // Nobody has looked for updates, and the suite is not there: nothing is claimed about either.
    QVERIFY(QFile::remove(path("sample/state/updates.plist")));
    QVERIFY(QDir(path("sample/disk/Applications/Corvalin.app")).removeRecursively());
    const QVariantMap bare = perform("initialConfiguration").toMap();
    QVERIFY(!bare.contains("availableUpdateCount") && !bare.contains("corvalinVersion"));
}

void AgentOperationsTest::crashOfTheAgentIsReportedOnce() {
    m_hasChanged = true;
    const QString name = QStringLiteral("corvalin-agent_2010-09-01-101500_edit-bay-2.crash");
    QVERIFY(writeFile(path("sample/disk/Library/Logs/CrashReporter/" + name), "Process: corvalin-agent"));
    QCOMPARE(perform("initialConfiguration").toMap().value("selfCrashLog").toString(), name);
    QCOMPARE(perform("logWithFilename:", {name}).toString(), QString("Process: corvalin-agent"));
    QVERIFY(!perform("initialConfiguration").toMap().contains("selfCrashLog"));
}

void AgentOperationsTest::specs() {
    const QVariantMap specs = perform("systemSpecs").toMap();
    QCOMPARE(specs.value("name"), QVariant("Edit Bay 2"));
    QCOMPARE(specs.value("model"), QVariant("iMac9,1"));
    QCOMPARE(specs.value("systemVersion"), QVariant("10.6.3"));
    QCOMPARE(specs.value("processorCount"), QVariant(2LL));
    QCOMPARE(specs.value("consoleUser"), QVariant("bruno"));
}

void AgentOperationsTest::pictures_data() {
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("picture");
    QTest::newRow("tower") << "MacPro4,1"
                           << "com.apple.macpro";
    QTest::newRow("rack") << "RackMac3,1"
                          << "com.apple.xserve";
    QTest::newRow("small, by its old name") << "PowerMac10,1"
                                            << "com.apple.macmini";
    QTest::newRow("laptop, longer name first") << "MacBookPro5,1"
                                               << "com.apple.macbookpro-15-unibody";
    QTest::newRow("all in one") << "iMac9,1"
                                << "com.apple.imac-aluminum-20";
    QTest::newRow("unknown") << "Toaster1,1"
                             << "";
    QTest::newRow("none") << ""
                          << "";
}

void AgentOperationsTest::pictures() {
    QFETCH(QString, model);
    QFETCH(QString, picture);
    QCOMPARE(MachinePicture::nameForModel(model), picture);
    QCOMPARE(MachinePicture::forModel(model).startsWith("\x89PNG"), !picture.isEmpty());
}

void AgentOperationsTest::ending() {
    perform("disconnect");
    QCOMPARE(m_quits, 1);
    perform("relaunch");
    QCOMPARE(m_relaunches, 1);
    QVERIFY(perform("computerIcon").toByteArray().startsWith("\x89PNG"));
    QCOMPARE(perform("computerIcon:", {128LL}), perform("computerIcon"));
    QVERIFY(!perform("ping").isValid());
}

void AgentOperationsTest::logs() {
    m_hasChanged = true;
    QVERIFY(
        writeFile(path("sample/disk/Users/visitor/Library/Logs/Velmora/Corvalin.1.log"), "of the visitor"));
    QVERIFY(writeFile(path("sample/disk/Library/Logs/Velmora/notes.txt"), "no log"));
    QVERIFY(QFile::link(path("sample/admin-users"), path("sample/disk/Library/Logs/Velmora/stolen.log")));
    const QStringList names = perform("populateVLLogFilenames").toStringList();
    QVERIFY(names.contains("Settlekeep.1.log"));
    QVERIFY(names.contains("Corvalin Network Client.1.log"));
    QVERIFY(!names.contains("notes.txt") && !names.contains("stolen.log"));
    QVERIFY(!names.contains("Corvalin.1.log"));  // there are two, told apart by their paths
    const QString ofVisitor = QStringLiteral("/Users/visitor/Library/Logs/Velmora/Corvalin.1.log");
    QCOMPARE(perform("logWithFilename:", {ofVisitor}).toString(), QString("of the visitor"));
    QVERIFY(perform("logWithFilename:", {"Settlekeep.1.log"}).toString().contains("Backup finished."));

    const QVariantMap gathered = perform("gatherLogs").toMap();
    QCOMPARE(gathered.size(), names.size());
    QCOMPARE(gathered.value(ofVisitor), QVariant(QByteArray("of the visitor")));
}

void AgentOperationsTest::logNamesOfPeers_data() {
    QTest::addColumn<QString>("name");
    for (const char* name : {"", ".", "../agent.conf", "/../admin-users", "/etc/passwd", "missing.log",
                             "/Library/Preferences/com.velmora.corvalinnetclient.plist",
                             "/Library/Logs/Velmora/../Velmora/Cronwell.1.log"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void AgentOperationsTest::logNamesOfPeers() {
    QFETCH(QString, name);
    QVERIFY_EXCEPTION_THROWN(perform("logWithFilename:", {name}), VLException);
}

void AgentOperationsTest::snapshotHoldsThePlugins() {
    const QVariantMap snapshot = perform("varispotSystemInfo").toMap();
    QCOMPARE(snapshot.value("Plugins"), perform("addonryPluginList"));
    QVERIFY(snapshot.value("Plugins").toList().size() > 10);
    QCOMPARE(snapshot.value("Mac OS X"), QVariant("10.6.3"));
    QCOMPARE(snapshot.value("Final Cut Pro"), QVariant("7.0.2"));
    QCOMPARE(snapshot.value("Batch Monitor"), QVariant("1.5.2"));  // in a folder of the applications folder
    QCOMPARE(snapshot.value("ProCodec"), QVariant("1.0.2"));
    const QVariantMap framework = snapshot.value("Frameworks").toMap().value("ProEffects.framework").toMap();
    QCOMPARE(framework.value("name"), QVariant("ProEffects"));
    QCOMPARE(framework.value("version"), QVariant("1.7.2"));
    QCOMPARE(snapshot.value("Kexts").toMap().value("CaptureIO.kext").toMap().value("version"),
             QVariant("7.1"));
}

void AgentOperationsTest::snapshotKeepsItsOwnKeys() {
    m_hasChanged = true;
    for (const char* name : {"Plugins", "Frameworks", "Kexts"}) {
        QVERIFY(writeBundle(path("sample/disk/Applications/") + name + ".app",
                            {{"CFBundleName", name}, {"CFBundleVersion", "1.0"}}));
    }
    const QVariantMap snapshot = perform("varispotSystemInfo").toMap();
    QCOMPARE(snapshot.value("Plugins").typeId(), int(QMetaType::QVariantList));
    QCOMPARE(snapshot.value("Frameworks").typeId(), int(QMetaType::QVariantMap));
    QCOMPARE(snapshot.value("Kexts").typeId(), int(QMetaType::QVariantMap));
}

void AgentOperationsTest::errorsReachEveryConsole() {
    const auto first = std::make_shared<RecordingCallback>();
    const auto second = std::make_shared<RecordingCallback>();
    perform("setErrorCallback:", {reference(first)}, 1);
    perform("setErrorCallback:", {reference(second)}, 2);
    const QString host = QStringLiteral("edit-bay-2.local.");
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
    for (const auto& [selector, arguments] : expected) {
        const auto* declared = operation(Side::Console, selector);
        QVERIFY(declared && argumentError(*declared, arguments).isEmpty());
    }

    m_root->peerClosed(1);
    perform("postErrorString:", {"later"});
    QVERIFY(first->take().isEmpty());
    QCOMPARE(second->take().size(), 1);
}

void AgentOperationsTest::progressReachesItsConsole() {
    const auto first = std::make_shared<RecordingCallback>();
    const auto second = std::make_shared<RecordingCallback>();
    perform("setErrorCallback:", {reference(first)}, 1);
    perform("setErrorCallback:", {reference(second)}, 2);
    perform("postFinishedTask", {}, 1);
    perform("incrementRemoteProgress", {}, 1);
    QCOMPARE(first->take(),
             (QList<RecordingCallback::Post>{{"taskFinished", {}}, {"incrementProgress", {}}}));
    QVERIFY(second->take().isEmpty());
    perform("postFinishedTask", {}, 3);  // a helper on the machine itself, without a callback object
    QCOMPARE(first->take().size() + second->take().size(), 2);
}

void AgentOperationsTest::failureOfOnewayOperationIsReported() {
    const auto callback = std::make_shared<RecordingCallback>();
    perform("setErrorCallback:", {reference(callback)});
    QVERIFY_EXCEPTION_THROWN(perform("postError:", {"no dictionary"}), VLException);
    const auto posts = callback->take();
    QCOMPARE(posts.size(), 1);
    QCOMPARE(posts.first().first, QString("addExceptionToQueue:hostname:"));
    QCOMPARE(posts.first().second.at(0).toMap().value("name").toString(), VLException::invalidArgument);
    QVERIFY_EXCEPTION_THROWN(perform("logWithFilename:", {"missing.log"}), VLException);
    QVERIFY(callback->take().isEmpty());  // that one is waited for
}

void AgentOperationsTest::manyConsolesAtOnce() {
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

QTEST_GUILESS_MAIN(AgentOperationsTest)
#include "agent_operations_test.moc"
