#include "agent/tree/TreeArchive.h"
#include "support/Administrators.h"
#include "support/SampleAgent.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

#include <QDirIterator>
#include <QProcess>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Places on the workstation, shortened: U and u are the user's folders for enabled and disabled plug-ins, M
// and m the machine's.
const QList<std::pair<QString, QString>> places{
    {u"U:"_s, u"/Users/anna/Library/Plug-Ins/FxPlug/"_s},
    {u"u:"_s, u"/Users/anna/Library/Plug-Ins/FxPlug (Disabled)/"_s},
    {u"M:"_s, u"/Library/Plug-Ins/FxPlug/"_s},
    {u"m:"_s, u"/Library/Plug-Ins/FxPlug (Disabled)/"_s},
};

QString full(QString path) {
    for (const auto& [letter, folder] : places)
        if (path.startsWith(letter)) return folder + path.mid(2);
    return path;
}

QVariantMap plugin(const QString& path, const QString& type = u"FxPlug"_s) {
    return {{u"name"_s, u"x"_s}, {u"fullPath"_s, full(path)}, {u"type"_s, type}};
}
QVariantMap objects(const QString& path, const QVariant& value) {
    return {{u"obj1"_s, full(path)}, {u"obj2"_s, value}};
}

/// The operations by the words of the tables.
const QMap<QString, QString> selectors{{u"enable"_s, u"addonryEnablePlugin:settings:"_s},
                                       {u"access"_s, u"addonryChangeAccess:settings:"_s},
                                       {u"update"_s, u"addonryUpdatePlugin:settings:"_s},
                                       {u"install"_s, u"addonryInstallPlugin:withData:"_s},
                                       {u"data"_s, u"addonryPluginData:"_s},
                                       {u"needs"_s, u"addonryNeedsAdminAccess:settings:"_s}};
const QMap<QString, QVariant> credentials{
    {u"plain"_s, {}},
    {u"right"_s, administratorCredentials(u"corvalin-sample"_s)},
    {u"wrong"_s, administratorCredentials(u"guess"_s)},
    {u"rubbish"_s, QVariantMap{{u"authUser"_s, 7}}},
};
const QMap<QString, QVariant> values{
    {u"0"_s, 0}, {u"1"_s, 1}, {u"true"_s, true}, {u"text"_s, u"1"_s}, {u"none"_s, {}}};

}  // namespace

class AddonryAgentTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<AgentContext> m_agent;
    std::unique_ptr<AgentRoot> m_root;
    std::shared_ptr<RefusalListener> m_console;

    [[nodiscard]] QString disk(const QString& path) const {
        return m_folder->filePath(u"disk"_s) + full(path);
    }

    [[nodiscard]] bool addPlugin(const QString& path, const QString& version) const {
        return writeBundle(disk(path), {{u"CFBundleName"_s, path.section(u':', 1).section(u'.', 0, 0)},
                                        {u"CFBundleShortVersionString"_s, version}});
    }
    [[nodiscard]] QByteArray archive(const QString& name, const QString& version) const {
        const QTemporaryDir folder;
        if (!writeBundle(folder.filePath(name), {{u"CFBundleShortVersionString"_s, version}})) return {};
        return TreeArchive::pack(WorkstationTree(folder.path()), {{name, u'/' + name}});
    }
    QVariant perform(const QString& selector, const QVariantList& arguments) const {
        return m_root->perform(selector, arguments, 1);
    }
    /// Why nothing was done, as the console hears it. Rights that are missing are raised.
    [[nodiscard]] QString complaint(const QString& selector, const QVariantList& arguments) const {
        return m_console->heardOf(*m_root, selector, arguments);
    }
    /// Every plug-in as the agent lists it, shortened, with its version; what else lies in the folders too.
    [[nodiscard]] QStringList state() const {
        QStringList found;
        const QVariantList listed = perform(u"addonryPluginList"_s, {}).toList();
        for (const QVariant& one : listed) {
            QString path = one.toMap().value(u"fullPath"_s).toString();
            for (const auto& [letter, folder] : places)
                if (path.startsWith(folder)) path = letter + path.mid(folder.size());
            found.append(path + u' ' + one.toMap().value(u"version"_s).toString());
        }
        QDirIterator hidden(m_folder->filePath(u"disk"_s), {u".*"_s}, QDir::AllEntries | QDir::Hidden,
                            QDirIterator::Subdirectories);
        while (hidden.hasNext())
            if (const QString path = hidden.next(); !path.endsWith(u'.')) found.append(path);
        found.sort();
        return found;
    }

private Q_SLOTS:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(addPlugin("M:Glow.fxplug", "2.0") && addPlugin("m:Blur.fxplug", "1.0"));
        QVERIFY(addPlugin("U:group/Mine.fxplug", "1.0") && addPlugin("u:Old.fxplug", "0.9"));
        QVERIFY(writeFile(m_folder->filePath(u"disk/Users/anna/secret.txt"_s), "secret"));
        QVERIFY(writeFile(m_folder->filePath(u"admin"_s), sampleAdministrators));
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

    void changes_data() {
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("differences");  // what goes, and what comes instead
        const auto add = [](const char* call, const char* failure, const char* differences = "") {
            QTest::newRow(call) << QString::fromLatin1(failure) << QString::fromLatin1(differences);
        };
        const char *rights = "1006", *none = "There is no plug-in at", *fine = "";
        // Operation, credentials, plug-in ("*": all), value.
        const char* mine = "-U:group/Mine.fxplug 1.0|+u:group/Mine.fxplug 1.0";
        add("enable plain U:group/Mine.fxplug 1", fine, mine);
        add("enable plain ~/Library/Plug-Ins/FxPlug/group/Mine.fxplug 1", fine, mine);
        add("enable plain u:Old.fxplug true", fine);
        add("enable plain U:Old.fxplug 0", fine, "-u:Old.fxplug 0.9|+U:Old.fxplug 0.9");  // moved meanwhile
        add("enable plain m:Blur.fxplug 0", rights);
        add("enable wrong m:Blur.fxplug 0", rights);
        add("enable rubbish m:Blur.fxplug 0", rights);
        add("enable right m:Blur.fxplug 0", fine, "-m:Blur.fxplug 1.0|+M:Blur.fxplug 1.0");
        add("enable plain * 1", rights);
        add("enable right * 1", fine,
            "-M:Glow.fxplug 2.0|-U:group/Mine.fxplug 1.0|+m:Glow.fxplug 2.0|+u:group/Mine.fxplug 1.0");
        add("enable plain U:group/Mine.fxplug text", "no number");
        add("enable plain * none", "no number");
        add("access plain U:group/Mine.fxplug 0", rights);
        add("access right U:group/Mine.fxplug 0", fine, "-U:group/Mine.fxplug 1.0|+M:group/Mine.fxplug 1.0");
        add("access right m:Blur.fxplug 1", fine, "-m:Blur.fxplug 1.0|+u:Blur.fxplug 1.0");
        add("access plain M:Glow.fxplug 1", rights);
        add("access plain u:Old.fxplug 1", fine);
        add("access plain M:group/Mine.fxplug 1", fine);  // moved already
        add("access plain M:group/Mine.fxplug 0", none);  // not moved but gone

        for (const QByteArray path :
             {"", "/", "/etc/passwd", "/Users/anna/secret.txt", "~/secret.txt", "U:../../../secret.txt",
              "~anna/Library/Plug-Ins/FxPlug/group/Mine.fxplug"}) {
            add(("enable right " + path + " 1").constData(), none);
            add(("data plain " + path).constData(), none);
        }
        add("enable plain M:None.fxplug 1", none);
        add("enable plain U:group 1", none);
        add("enable plain U:group/Mine.fxplug/Contents 1", none);
        // What all selected computers are told is no fault on one that lacks it.
        add("enable right /Users/bob/Library/Plug-Ins/FxPlug/B.fxplug 1", fine);
        add("enable right ~/Library/Plug-Ins/FxPlug/B.fxplug 1", fine);

        add("update plain M:Glow.fxplug Glow.fxplug", rights);
        add("update right M:Glow.fxplug Glow.fxplug", fine, "-M:Glow.fxplug 2.0|+M:Glow.fxplug 3.0");
        add("update plain u:Old.fxplug Glow.fxplug", fine, "-u:Old.fxplug 0.9|+u:Old.fxplug 3.0");
        add("update plain u:Old.fxplug rubbish", "archive");
        add("update plain u:Old.fxplug Glow.component", "does not hold");
        add("update plain u:Old.fxplug none", "no plug-in to install");
        add("update right U:None.fxplug Glow.fxplug", none);

        add("install FxPlug M:Glow.fxplug Glow.fxplug", fine, "+U:Glow.fxplug 3.0");
        add("install FxPlug U:Old.fxplug Glow.fxplug", fine, "-u:Old.fxplug 0.9|+U:Old.fxplug 3.0");
        add("install Theme U:X.fxplug Glow.fxplug", "no type of plug-in");
        for (const char* call :
             {"install FxPlug U:.x.fxplug Glow.fxplug", "install FxPlug U:x/.. Glow.fxplug",
              "install FxPlug U:x.component Glow.fxplug"})
            add(call, "can be called");
    }
    [[nodiscard]] QVariantList argumentsOf(const QStringList& words) const {
        const QString path = words[2], value = words.value(3);
        if (words[0] == "data") return {full(path)};
        if (words[0] == "enable" || words[0] == "access")
            return {credentials[words[1]],
                    path == "*" ? QVariantMap{{u"obj2"_s, values[value]}} : objects(path, values[value])};
        QVariant data = value == "rubbish" ? QVariant("rubbish"_ba) : QVariant();
        if (value.contains(u'.')) data = archive(value, "3.0");
        if (words[0] == "install") return {plugin(path, words[1]), data};
        return {credentials[words[1]], QVariantMap{{u"obj1"_s, plugin(path)}, {u"obj2"_s, data}}};
    }
    void changes() {
        const QStringList words = QString::fromLatin1(QTest::currentDataTag()).split(u' ');
        QFETCH(QString, failure);
        QFETCH(QString, differences);
        QStringList expected = state();
        const QString seen = complaint(selectors[words[0]], argumentsOf(words));
        QVERIFY2(failure.isEmpty() ? seen.isEmpty() : seen.contains(failure), qPrintable(seen));
        QCOMPARE(seen.startsWith("Raised"), failure == "1006");
        for (const QString& difference : differences.split(u'|', Qt::SkipEmptyParts)) {
            if (difference.startsWith(u'+'))
                expected.append(difference.mid(1));
            else
                QVERIFY2(expected.removeOne(difference.mid(1)), qPrintable(difference));
        }
        expected.sort();
        QCOMPARE(state(), expected);
        QVERIFY(QFileInfo::exists(disk("/Users/anna/secret.txt")));
    }

    void archivesGoFromMachineToMachine() {
        const QByteArray data = perform(selectors[u"data"_s], {full("M:Glow.fxplug")}).toByteArray();
        QCOMPARE(TreeArchive::topLevelNames(data), QStringList("Glow.fxplug"));
        if (geteuid() == 0)
            QCOMPARE(QProcess::execute(u"chown"_s, {u"-R"_s, u"4242:4242"_s, disk("/Users/anna")}), 0);
        perform(selectors[u"install"_s], {plugin("M:Glow.fxplug"), data});
        QVERIFY(state().contains("U:Glow.fxplug 2.0"));
        perform(selectors[u"enable"_s], {QVariant(), objects("U:Glow.fxplug", 1)});
        perform(selectors[u"access"_s], {credentials[u"right"_s], objects("M:Glow.fxplug", 1)});
        if (geteuid() == 0) QCOMPARE(QFileInfo(disk("U:Glow.fxplug/Contents/Info.plist")).ownerId(), 4242U);
        perform(selectors[u"access"_s], {credentials[u"right"_s], objects("U:Glow.fxplug", 0)});
        QCOMPARE(QFileInfo(disk("M:Glow.fxplug/Contents/Info.plist")).ownerId(), geteuid());
    }

    /// What cannot be done for one plug-in is done for the others.
    void oneOfManyIsInTheWay() {
        QVERIFY(addPlugin("m:Glow.fxplug", "1.0"));
        const QString seen =
            complaint(selectors[u"enable"_s], {credentials[u"right"_s], QVariantMap{{u"obj2"_s, 1}}});
        QVERIFY2(seen.startsWith("1 of 2 plug-ins could not be changed."), qPrintable(seen));
        QVERIFY(state().contains("u:group/Mine.fxplug 1.0") && state().contains("M:Glow.fxplug 2.0"));
    }

    /// A link that the user made is handled by its name; what it leads to is neither read nor moved.
    void linksLeadNowhere() {
        QVERIFY(addPlugin("/Users/anna/elsewhere/L.fxplug", "1.0"));
        QVERIFY(QFile::link(disk("/Users/anna/elsewhere/L.fxplug"), disk("U:L.fxplug")));
        QVERIFY(complaint(selectors[u"data"_s], {full("U:L.fxplug")}).contains("is a link"));
        perform(selectors[u"enable"_s], {QVariant(), objects("U:L.fxplug", 1)});
        QVERIFY(QFileInfo(disk("u:L.fxplug")).isSymLink());
        QVERIFY(QFileInfo::exists(disk("/Users/anna/elsewhere/L.fxplug/Contents")));
    }

    void administratorRights() {
        const QVariantMap disabling{{u"destDisabled"_s, 1}}, enabling{{u"destDisabled"_s, 0}}, updating;
        const QVariantMap forAll{{u"destAccess"_s, 0}}, forUser{{u"destAccess"_s, 1}};
        const QVariantList machine{plugin("M:Glow.fxplug")}, user{plugin("U:group/Mine.fxplug")};
        const QVariantList notHere{plugin("M:None.fxplug"), 3, u"x"_s};
        const auto needs = [this](const QVariantList& plugins, const QVariantMap& settings) {
            return perform(selectors[u"needs"_s], {plugins, settings}).toBool();
        };
        QVERIFY(needs(machine, disabling) && needs(user + machine, disabling) && needs(machine, updating));
        QVERIFY(needs(user, forAll) && needs(machine, forUser));
        QVERIFY(!needs(machine, enabling) && !needs(user, disabling) && !needs(user, updating));
        QVERIFY(!needs(user, forUser) && !needs(notHere, disabling) && !needs({}, disabling));
    }
};

ORLENDO_TEST_MAIN(AddonryAgentTest)
#include "addonry_agent_test.moc"
