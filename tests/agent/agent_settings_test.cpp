#include "agent/AgentCommandLine.h"
#include "agent/AuthorizedConsoles.h"
#include "agent/TestFiles.h"
#include "agent/sample/SampleTree.h"
#include "remote/TlsIdentity.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using Action = AgentCommand::Action;

class AgentSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void actions_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("action");
        const auto row = [](const char* name, const QStringList& arguments, Action action) {
            QTest::newRow(name) << QStringList{"--root", "/tmp"} + arguments << int(action);
        };
        row("serve", {"--port", "0"}, Action::Serve);
        row("version", {"--version"}, Action::Print);
        row("fingerprint", {"--print-fingerprint"}, Action::PrintFingerprint);
        row("maintenance", {"--request-maintenance"}, Action::RequestMaintenance);
        row("sample", {"--make-sample", "x", "--profile", "4"}, Action::MakeSample);
        row("sample without profile", {"--make-sample", "x"}, Action::Fail);
        row("sample 5", {"--make-sample", "x", "--profile", "5"}, Action::Fail);
        row("port too large", {"--port", "65536"}, Action::Fail);
        row("unknown option", {"--frobnicate"}, Action::Fail);
        row("extra argument", {"extra"}, Action::Fail);
        row("missing configuration", {"--config", "/nonexistent/agent.conf"}, Action::Fail);
    }
    void actions() {
        QFETCH(QStringList, arguments);
        QFETCH(int, action);
        const AgentCommand command = parse(arguments);
        QCOMPARE(int(command.action), action);
        QCOMPARE(command.text.isEmpty(), command.action != Action::Fail && command.action != Action::Print);
    }

    void configurationFiles_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isAccepted");
        const auto row = [](const char* name, const QVariant& content, bool isAccepted) {
            QTest::newRow(name) << PropertyList::toData(content) << isAccepted;
        };
        row("empty", QVariantMap(), true);
        row("full",
            QVariantMap{{"root", "disk"},
                        {"port", 4000LL},
                        {"advertise", false},
                        {"authorize", QVariantList{"keys"}}},
            true);
        row("unknown key", QVariantMap{{"prot", 4000LL}}, false);
        row("port as text", QVariantMap{{"port", "4000"}}, false);
        row("port too large", QVariantMap{{"port", 70'000LL}}, false);
        row("empty root", QVariantMap{{"root", ""}}, false);
        row("advertise no truth value", QVariantMap{{"advertise", "no"}}, false);
        row("authorize of numbers", QVariantMap{{"authorize", QVariantList{1LL}}}, false);
        row("a list", QVariantList{"root"}, false);
        QTest::newRow("damaged") << QByteArray("<plist><dict>") << false;
    }
    void configurationFiles() {
        QFETCH(QByteArray, content);
        QFETCH(bool, isAccepted);
        QVERIFY(writeFile(path("agent.conf"), content));
        const AgentCommand command = parse({"--config", path("agent.conf")});
        QCOMPARE(command.action, isAccepted ? Action::Serve : Action::Fail);
    }

    void commandLineGoesFirst() {
        QVERIFY(writeFile(path("agent.conf"),
                          PropertyList::toData(QVariantMap{{"root", "disk"},
                                                           {"state", "/var/state"},
                                                           {"name", "From file"},
                                                           {"hostName", "file.local"},
                                                           {"authorize", QVariantList{"keys"}}})));
        const AgentSettings fromFile = parse({"--config", path("agent.conf")}).settings;
        QCOMPARE(fromFile.root, path("disk"));
        QCOMPARE(fromFile.stateDirectory, QString("/var/state"));
        QCOMPARE(fromFile.hostName, QString("file.local."));  // always with the dot that ends it
        QCOMPARE(fromFile.authorized, QStringList{path("keys")});
        QCOMPARE(fromFile.port, AgentSettings::standardPort);
        const AgentSettings both = parse({"--config", path("agent.conf"), "--name", "From line", "--root",
                                          "/srv", "--port", "9", "--authorize", "/a", "--authorize", "/b"})
                                       .settings;
        QCOMPARE(both.name, QString("From line"));
        QCOMPARE(both.root, QString("/srv"));
        QCOMPARE(both.port, quint16(9));
        QCOMPARE(both.authorized, (QStringList{"/a", "/b"}));
    }

    void sampleRoot() {
        SampleTree::make(path("sample"), 3);
        const AgentSettings settings = parse({"--root", path("sample"), "--port", "7000"}).settings;
        QCOMPARE(settings.root, path("sample/disk"));
        QCOMPARE(settings.stateDirectory, path("sample/state"));
        QCOMPARE(settings.name, QString("Grading Suite"));
        QCOMPARE(settings.listenAddress, QString("127.0.0.1"));
        QCOMPARE(settings.port, quint16(7000));
        QCOMPARE(settings.authorized, QStringList{path("sample/state/authorized")});
    }

    void certificates() {
        const QByteArray first = TlsIdentity::create("first").certificate;
        const QByteArray second = TlsIdentity::create("second").certificate;
        QVERIFY(writeFile(path("keys/a.crt"), "A note before it\n" + first + second));
        QVERIFY(writeFile(path("keys/b.pem"),
                          "-----BEGIN CERTIFICATE-----\nbm9uc2Vuc2U=\n-----END CERTIFICATE-----\n"));
        QVERIFY(writeFile(path("keys/c.pem"), QByteArray(100'000, '\0')));
        QVERIFY(writeFile(path("keys/d.txt"), second));
        const auto found = readAuthorizedCertificates({path("keys"), path("missing")});
        QCOMPARE(found.size(), 2);
        QCOMPARE(certificateFingerprint(found.at(1)), certificateFingerprint(second));
        QCOMPARE(readAuthorizedCertificates({path("keys/d.txt")}).size(), 1);
    }

private:
    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }
    [[nodiscard]] static AgentCommand parse(const QStringList& arguments) {
        return AgentCommand::parse(QStringList{u"corvalin-agent"_s} + arguments);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(AgentSettingsTest)
#include "agent_settings_test.moc"
