#include "agent/AgentCommandLine.h"
#include "agent/AuthorizedConsoles.h"
#include "remote/TlsIdentity.h"
#include "support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

using Action = AgentCommand::Action;

class AgentSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void actions() {
        const std::pair<QStringList, Action> rows[] = {
            {{"--port", "0"}, Action::Serve},
            {{"--version"}, Action::Print},
            {{"--print-fingerprint"}, Action::PrintFingerprint},
            {{"--request-maintenance"}, Action::RequestMaintenance},
            {{"--make-sample", "x", "--profile", "4"}, Action::MakeSample},
            {{"--make-sample", "x"}, Action::Fail},
            {{"--make-sample", "x", "--profile", "5"}, Action::Fail},
            {{"--port", "65536"}, Action::Fail},
            {{"--frobnicate"}, Action::Fail},
            {{"extra"}, Action::Fail},
            {{"--config", "/nonexistent/agent.conf"}, Action::Fail}};
        for (const auto& [arguments, action] : rows) {
            const AgentCommand command = parse(QStringList{"--root", "/tmp"} + arguments);
            QVERIFY2(command.action == action, qPrintable(arguments.join(u' ')));
            QCOMPARE(command.text.isEmpty(), action != Action::Fail && action != Action::Print);
        }
    }

    void wrongConfigurationFiles() {
        const QVariantList wrong{QVariantMap{{"prot", 4000LL}},
                                 QVariantMap{{"port", "4000"}},
                                 QVariantMap{{"port", 70'000LL}},
                                 QVariantMap{{"root", ""}},
                                 QVariantMap{{"advertise", "no"}},
                                 QVariantList{"root"},
                                 QVariantMap{{"authorize", QVariantList{1LL}}}};
        for (const QVariant& content : wrong) {
            QVERIFY(writeFile(path("agent.conf"), PropertyList::toData(content)));
            QCOMPARE(parse({"--config", path("agent.conf")}).action, Action::Fail);
        }
        QVERIFY(writeFile(path("agent.conf"), "<plist><dict>"));
        QCOMPARE(parse({"--config", path("agent.conf")}).action, Action::Fail);
    }

    void commandLineGoesFirst() {
        QVERIFY(writeFile(
            path("agent.conf"),
            PropertyList::toData(QVariantMap{
                {"root", "disk"}, {"hostName", "file.local"}, {"authorize", QVariantList{"keys"}}})));
        const AgentSettings fromFile = parse({"--config", path("agent.conf")}).settings;
        QCOMPARE(fromFile.root, path("disk"));
        QCOMPARE(fromFile.hostName, QString("file.local."));  // always with the dot that ends it
        QCOMPARE(fromFile.authorized, QStringList{path("keys")});
        const AgentSettings both = parse({"--config", path("agent.conf"), "--name", "From line", "--root",
                                          "/srv", "--port", "9", "--authorize", "/a", "--authorize", "/b"})
                                       .settings;
        QCOMPARE(both.name, QString("From line"));
        QCOMPARE(both.root, QString("/srv"));
        QCOMPARE(both.port, quint16(9));
        QCOMPARE(both.authorized, (QStringList{"/a", "/b"}));
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
