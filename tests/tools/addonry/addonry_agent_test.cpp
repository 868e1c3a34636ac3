#include "agent/AgentRoot.h"
#include "agent/TestFiles.h"
#include "agent/tree/TreeArchive.h"
#include "remote/authorization/VLEncryption.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"

#include <QDirIterator>
#include <QScopeGuard>

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// "corvalin-sample"
constexpr char administrators[] =
    "admin:$6$corvalinsample$XHF/rPOAzUgHixb.cMHyJ8FSuk8T64N/4MxF5FNtWQEdQkgxoqMd/"
    "zXweXVhO2VIY1Tw3O5x8JsZepo3EmOgN0\n";

const QString enable = u"addonryEnablePlugin:settings:"_s;
const QString changeAccess = u"addonryChangeAccess:settings:"_s;
const QString update = u"addonryUpdatePlugin:settings:"_s;
const QString install = u"addonryInstallPlugin:withData:"_s;
const QString pluginData = u"addonryPluginData:"_s;
const QString needsAdmin = u"addonryNeedsAdminAccess:settings:"_s;

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

QVariantMap credentials(const QString& password) {
    return {{u"authUser"_s, u"admin"_s},
            {u"authPass"_s, VLEncryption::AESEncryptData(password.toUtf8(), VLEncryption::hostPassphrase())}};
}
const QVariantMap right = credentials(u"corvalin-sample"_s), wrong = credentials(u"guess"_s);
const QVariant plain;

QVariantMap plugin(const QString& path, const QString& type = u"FxPlug"_s) {
    return {{u"name"_s, u"x"_s}, {u"fullPath"_s, full(path)}, {u"type"_s, type}};
}
QVariantMap objects(const QString& path, const QVariant& value) {
    return {{u"obj1"_s, full(path)}, {u"obj2"_s, value}};
}
QVariantMap everyPlugin(int value) {
    return {{u"obj2"_s, value}};
}

}  // namespace

class AddonryAgentTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    std::shared_ptr<AgentContext> m_agent;
    std::unique_ptr<AgentRoot> m_root;

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
        QVERIFY(writeFile(m_folder->filePath(u"admin"_s), administrators));
        AgentSettings settings;
        settings.root = m_folder->filePath(u"disk"_s);
        settings.stateDirectory = m_folder->filePath(u"state"_s);
        settings.adminFile = m_folder->filePath(u"admin"_s);
        settings.complete();
        m_agent = std::make_shared<AgentContext>(settings, AdministratorGuard::Limits{1000, {}, {}});
        m_root = std::make_unique<AgentRoot>(m_agent);
    }
    void cleanup() { m_agent->administrators.stop(); }

    void changes_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("differences");  // what goes, and what comes instead
        const auto add = [](const char* name, const QString& selector, const QVariantList& arguments,
                            const QString& failure, const QString& differences = {}) {
            QTest::newRow(name) << selector << arguments << failure << differences;
        };
        const QString rights = u"1006"_s, none = u"There is no plug-in at"_s, fine;
        const QByteArray glow = archive("Glow.fxplug", "3.0"), other = archive("Glow.component", "3.0");

        add("disable the user's", enable, {plain, objects("U:group/Mine.fxplug", 1)}, fine,
            "-U:group/Mine.fxplug 1.0|+u:group/Mine.fxplug 1.0");
        add("already disabled", enable, {plain, objects("u:Old.fxplug", true)}, fine);
        add("path from before", enable, {plain, objects("U:Old.fxplug", 0)}, fine,
            "-u:Old.fxplug 0.9|+U:Old.fxplug 0.9");
        add("home sign", enable, {plain, objects("~/Library/Plug-Ins/FxPlug/group/Mine.fxplug", 1)}, fine,
            "-U:group/Mine.fxplug 1.0|+u:group/Mine.fxplug 1.0");
        add("machine's, plain", enable, {plain, objects("m:Blur.fxplug", 0)}, rights);
        add("machine's, wrong password", enable, {wrong, objects("m:Blur.fxplug", 0)}, rights);
        add("machine's, rubbish", enable, {QVariantMap{{u"authUser"_s, 7}}, objects("m:Blur.fxplug", 0)},
            rights);
        add("machine's", enable, {right, objects("m:Blur.fxplug", 0)}, fine,
            "-m:Blur.fxplug 1.0|+M:Blur.fxplug 1.0");
        add("all, plain", enable, {plain, everyPlugin(1)}, rights);
        add("all", enable, {right, everyPlugin(1)}, fine,
            "-M:Glow.fxplug 2.0|-U:group/Mine.fxplug 1.0|+m:Glow.fxplug 2.0|+u:group/Mine.fxplug 1.0");
        add("no number", enable, {plain, objects("U:group/Mine.fxplug", u"1"_s)}, u"no number"_s);
        add("no value", enable, {plain, QVariantMap()}, u"no number"_s);

        add("for all users, plain", changeAccess, {plain, objects("U:group/Mine.fxplug", 0)}, rights);
        add("for all users", changeAccess, {right, objects("U:group/Mine.fxplug", 0)}, fine,
            "-U:group/Mine.fxplug 1.0|+M:group/Mine.fxplug 1.0");
        add("for the user, disabled", changeAccess, {right, objects("m:Blur.fxplug", 1)}, fine,
            "-m:Blur.fxplug 1.0|+u:Blur.fxplug 1.0");
        add("for the user, plain", changeAccess, {plain, objects("M:Glow.fxplug", 1)}, rights);
        add("unchanged, plain", changeAccess, {plain, objects("u:Old.fxplug", 1)}, fine);

        add("moved already", changeAccess, {plain, objects("M:group/Mine.fxplug", 1)}, fine);
        add("not moved but gone", changeAccess, {plain, objects("M:group/Mine.fxplug", 0)}, none);

        for (const char* path :
             {"", "/", "/etc/passwd", "/Users/anna/secret.txt", "~/secret.txt", "U:../../../secret.txt",
              "~anna/Library/Plug-Ins/FxPlug/group/Mine.fxplug"}) {
            add(qPrintable(u"no plug-in: "_s + path), enable, {right, objects(path, 1)}, none);
            add(qPrintable(u"no data: "_s + path), pluginData, {full(path)}, none);
        }

        add("vanished", enable, {plain, objects("M:None.fxplug", 1)}, none);
        add("group of plug-ins", enable, {plain, objects("U:group", 1)}, none);
        add("inside a plug-in", enable, {plain, objects("U:group/Mine.fxplug/Contents", 1)}, none);
        add("another computer's", enable, {right, objects("/Users/bob/Library/Plug-Ins/FxPlug/B.fxplug", 1)},
            fine);
        add("another computer's of its user", enable,
            {right, objects("~/Library/Plug-Ins/FxPlug/B.fxplug", 1)}, fine);

        const auto updating = [](const QString& path, const QVariant& data) {
            return QVariantMap{{u"obj1"_s, plugin(path)}, {u"obj2"_s, data}};
        };
        add("update, plain", update, {plain, updating("M:Glow.fxplug", glow)}, rights);
        add("update", update, {right, updating("M:Glow.fxplug", glow)}, fine,
            "-M:Glow.fxplug 2.0|+M:Glow.fxplug 3.0");
        add("update the user's", update, {plain, updating("u:Old.fxplug", glow)}, fine,
            "-u:Old.fxplug 0.9|+u:Old.fxplug 3.0");
        add("update by rubbish", update, {plain, updating("u:Old.fxplug", QByteArray("rubbish"))},
            u"archive"_s);
        add("update by another type", update, {plain, updating("u:Old.fxplug", other)}, u"does not hold"_s);
        add("update without data", update, {plain, updating("u:Old.fxplug", {})}, u"no plug-in to install"_s);
        add("update what is not here", update, {right, updating("U:None.fxplug", glow)}, none);

        add("install", install, {plugin("M:Glow.fxplug"), glow}, fine, "+U:Glow.fxplug 3.0");
        add("install what was disabled", install, {plugin("U:Old.fxplug"), glow}, fine,
            "-u:Old.fxplug 0.9|+U:Old.fxplug 3.0");
        add("install another type", install, {plugin("U:X.fxplug", u"Theme"_s), glow},
            u"no type of plug-in"_s);
        add("install under a hidden name", install, {plugin("U:.x.fxplug"), glow}, u"can be called"_s);
        add("install as a parent", install, {plugin("U:x/.."), glow}, u"can be called"_s);
        add("install as something else", install, {plugin("U:x.component"), glow}, u"can be called"_s);
    }
    void changes() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        QFETCH(QString, failure);
        QFETCH(QString, differences);
        QStringList expected = state();
        QString seen;
        try {
            perform(selector, arguments);
        } catch (const VLException& error) {
            seen = error.reason() + u' ' + error.userInfo().value(u"code"_s).toString();
        }
        QVERIFY2(failure.isEmpty() ? seen.isEmpty() : seen.contains(failure), qPrintable(seen));
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
        const QByteArray data = perform(pluginData, {full("M:Glow.fxplug")}).toByteArray();
        QCOMPARE(TreeArchive::topLevelNames(data), QStringList("Glow.fxplug"));
        if (geteuid() == 0) QVERIFY(chown(qUtf8Printable(disk("U:")), 4242, 4242) == 0);
        perform(install, {plugin("M:Glow.fxplug"), data});
        QVERIFY(state().contains("U:Glow.fxplug 2.0"));
        perform(enable, {plain, objects("U:Glow.fxplug", 1)});
        perform(changeAccess, {right, objects("M:Glow.fxplug", 1)});
        if (geteuid() == 0) QCOMPARE(QFileInfo(disk("U:Glow.fxplug/Contents/Info.plist")).ownerId(), 4242U);
        perform(changeAccess, {right, objects("U:Glow.fxplug", 0)});
        QCOMPARE(QFileInfo(disk("M:Glow.fxplug/Contents/Info.plist")).ownerId(), geteuid());
    }

    /// What cannot be done for one plug-in is done for the others.
    void oneOfManyIsInTheWay() {
        QVERIFY(addPlugin("m:Glow.fxplug", "1.0"));
        try {
            perform(enable, {right, everyPlugin(1)});
            QFAIL("two plug-ins of one name");
        } catch (const VLException& error) {
            QVERIFY2(error.reason().startsWith("1 of 2 plug-ins could not be changed."),
                     qPrintable(error.reason()));
        }
        QVERIFY(state().contains("u:group/Mine.fxplug 1.0") && state().contains("M:Glow.fxplug 2.0"));
    }

    /// A link that the user made is handled by its name; what it leads to is neither read nor moved.
    void linksLeadNowhere() {
        QVERIFY(addPlugin("/Users/anna/elsewhere/L.fxplug", "1.0"));
        QVERIFY(QFile::link(disk("/Users/anna/elsewhere/L.fxplug"), disk("U:L.fxplug")));
        QVERIFY_EXCEPTION_THROWN(perform(pluginData, {full("U:L.fxplug")}), VLException);
        perform(enable, {plain, objects("U:L.fxplug", 1)});
        QVERIFY(QFileInfo(disk("u:L.fxplug")).isSymLink());
        QVERIFY(QFileInfo::exists(disk("/Users/anna/elsewhere/L.fxplug/Contents")));
    }

    void fullDisk() {
        const QByteArray data = archive("Old.fxplug", QString(60'000, u'7'));
        const QStringList before = state();
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit small{20'000, limit.rlim_max};
        ::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
        QString failure;
        try {
            perform(update, {plain, QVariantMap{{u"obj1"_s, plugin("u:Old.fxplug")}, {u"obj2"_s, data}}});
        } catch (const VLException& error) {
            failure = error.reason();
        }
        setrlimit(RLIMIT_FSIZE, &limit);
        QVERIFY2(failure.contains("no room left on the disk"), qPrintable(failure));
        QCOMPARE(state(), before);
    }

    void administratorRights_data() {
        QTest::addColumn<QVariantList>("plugins");
        QTest::addColumn<QVariantMap>("settings");
        QTest::addColumn<bool>("needed");
        const QVariantMap disabling{{u"destDisabled"_s, 1}}, enabling{{u"destDisabled"_s, 0}};
        const QVariantMap forAll{{u"destAccess"_s, 0}}, forUser{{u"destAccess"_s, 1}};
        const QVariantList machine{plugin("M:Glow.fxplug")}, user{plugin("U:group/Mine.fxplug")};
        QTest::newRow("disable the machine's") << machine << disabling << true;
        QTest::newRow("is enabled") << machine << enabling << false;
        QTest::newRow("disable the user's") << user << disabling << false;
        QTest::newRow("any of them") << user + machine << disabling << true;
        QTest::newRow("user's for all") << user << forAll << true;
        QTest::newRow("is the user's") << user << forUser << false;
        QTest::newRow("machine's for the user") << machine << forUser << true;
        QTest::newRow("update the machine's") << machine << QVariantMap() << true;
        QTest::newRow("update the user's") << user << QVariantMap() << false;
        QTest::newRow("not here") << QVariantList{plugin("M:None.fxplug"), 3, u"x"_s} << disabling << false;
        QTest::newRow("none") << QVariantList() << disabling << false;
    }
    void administratorRights() {
        QFETCH(QVariantList, plugins);
        QFETCH(QVariantMap, settings);
        QFETCH(bool, needed);
        QCOMPARE(perform(needsAdmin, {plugins, settings}), QVariant(needed));
    }
};

ORLENDO_TEST_MAIN(AddonryAgentTest)
#include "addonry_agent_test.moc"
