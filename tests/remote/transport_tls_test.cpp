#include "remote/SocketConnector.h"
#include "remote/TlsIdentity.h"
#include "remote/TlsSettings.h"
#include "remote/VLConnection.h"
#include "remote/VLServer.h"
#include "remote/support/HostileAgent.h"
#include "remote/support/SpawnedProcess.h"
#include "remote/support/TransportFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <netinet/in.h>
#include <sys/socket.h>

using namespace std::chrono_literals;

namespace {

std::shared_ptr<ScriptedRoot> echoingRoot() {
    auto root = std::make_shared<ScriptedRoot>();
    root->on(QStringLiteral("echo:"),
             [](const QVariantList& arguments, quint64) { return arguments.value(0); });
    return root;
}

bool works(const ServingThread& client) {
    return client.proxy().perform(QStringLiteral("echo:"), {QStringLiteral("x")}).toString() ==
           QLatin1String("x");
}

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

TlsIdentity identityOfAnotherHost() {
    const QTemporaryDir folder;
    const QString certificate = folder.filePath(QStringLiteral("c"));
    const QString key = folder.filePath(QStringLiteral("k"));
    const QByteArray command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj /CN=other "
        "-addext subjectAltName=DNS:www.example.com -keyout " +
        key.toUtf8() + " -out " + certificate.toUtf8();
    SpawnedProcess(command.split(' ')).waitForEnd();
    return {contents(certificate), contents(key)};
}

}  // namespace

class TransportTlsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void an_identity_is_made_once_and_kept_to_its_owner() {
        QTemporaryDir folder;
        const QString directory = folder.filePath(QStringLiteral("deep/keys"));
        const auto made =
            TlsIdentity::loadOrCreate(directory, QStringLiteral("console"), QStringLiteral("Bay 1"));
        const QString key = directory + QStringLiteral("/console.key");
        const auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        const auto folderOwner = owner | QFile::ExeOwner | QFile::ExeUser;
        QCOMPARE(QFile::permissions(directory), folderOwner);
        QCOMPARE(QFile::permissions(key), owner);

        QFile::setPermissions(key, owner | QFile::ReadOther);
        const auto loaded =
            TlsIdentity::loadOrCreate(directory, QStringLiteral("console"), QStringLiteral("else"));
        QCOMPARE(loaded.certificate, made.certificate);
        QCOMPARE(loaded.privateKey, made.privateKey);
        QCOMPARE(QFile::permissions(key), owner);
        QVERIFY(TlsSettings::isAgentCertificate(made.certificate));
        QCOMPARE(certificateFingerprint(made.certificate).size(), 32 * 3 - 1);
        QCOMPARE(certificateFingerprint("nonsense"), QString());
    }

    void a_damaged_identity_is_an_error_and_never_replaced() {
        QTemporaryDir folder;
        const auto load = [&] {
            return TlsIdentity::loadOrCreate(folder.path(), QStringLiteral("a"), QStringLiteral("a"));
        };
        (void)load();
        QFile key(folder.filePath(QStringLiteral("a.key")));
        QVERIFY(key.open(QIODevice::WriteOnly));
        key.write(TlsIdentity::create(QStringLiteral("b")).privateKey);
        key.close();
        QCOMPARE(raisedBy(load).name(), VLException::generic);
        key.remove();
        QCOMPARE(raisedBy(load).name(), VLException::generic);
        QVERIFY(!key.exists());
    }

    void pins_are_found_again_under_any_name_data() {
        QTest::addColumn<QString>("client");
        QTest::newRow("host name") << QStringLiteral("edit-bay-1.local.");
        QTest::newRow("way out of the folder") << QStringLiteral("../../etc/passwd");
        QTest::newRow("dots") << QStringLiteral("..");
        QTest::newRow("text") << QStringLiteral("Schnittplatz „1“ / links");
        QTest::newRow("long") << QString(5'000, u'x');
        QTest::newRow("zero") << QString(QLatin1String("a\0b", 3));
    }
    void pins_are_found_again_under_any_name() {
        QFETCH(QString, client);
        QTemporaryDir folder;
        PinnedCertificates pins(folder.filePath(QStringLiteral("pins")));
        const QByteArray certificate = TlsIdentity::create(QStringLiteral("a")).certificate;
        QVERIFY(!pins.find(client));
        QVERIFY(pins.pin(client, certificate));
        QCOMPARE(pins.find(client), std::optional(certificate));
        QVERIFY(!pins.find(client + u'x'));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 0);
        QCOMPARE(QDir(folder.filePath(QStringLiteral("pins"))).entryList(QDir::Files).size(), 1);
        QVERIFY(pins.remove(client));
        QVERIFY(!pins.find(client));
        QVERIFY(!pins.pin(client, "nonsense"));
    }

    void the_first_contact_pins_and_a_changed_key_is_refused_until_accepted() {
        TransportFixture fixture;
        const QByteArray firstKey = fixture.agent.certificate;
        quint16 port = 0;
        {
            const auto server = fixture.serve(echoingRoot());
            port = server->port();
            QVERIFY(works(*fixture.connect(port)));
            QCOMPARE(fixture.pins->find(fixture.options().client), std::optional(firstKey));
            QVERIFY(works(*fixture.connect(port)));
        }
        fixture.agent = TlsIdentity::create(QStringLiteral("agent"));
        const auto server = fixture.serve(echoingRoot());
        const VLException raised = raisedBy([&] { (void)fixture.connect(server->port()); });
        QCOMPARE(raised.name(), VLException::changedKey);
        QCOMPARE(raised.userInfo().value(QStringLiteral("pinned")).toString(),
                 certificateFingerprint(firstKey));
        QCOMPARE(raised.userInfo().value(QStringLiteral("presented")).toString(),
                 certificateFingerprint(fixture.agent.certificate));
        const QByteArray presented = raised.userInfo().value(QStringLiteral("certificate")).toByteArray();
        QCOMPARE(presented, fixture.agent.certificate);
        QCOMPARE(fixture.pins->find(fixture.options().client), std::optional(firstKey));

        QVERIFY(fixture.pins->pin(fixture.options().client, presented));
        QVERIFY(works(*fixture.connect(server->port())));
    }

    void an_unreadable_pin_is_not_replaced() {
        TransportFixture fixture;
        const auto server = fixture.serve(echoingRoot());
        QVERIFY(works(*fixture.connect(server->port())));
        const QDir folder(fixture.folder.filePath(QStringLiteral("pins")));
        QFile pin(folder.filePath(folder.entryList(QDir::Files).value(0)));
        QVERIFY(pin.open(QIODevice::WriteOnly | QIODevice::Truncate));
        pin.close();
        const VLException raised = raisedBy([&] { (void)fixture.connect(server->port()); });
        QCOMPARE(raised.name(), VLException::changedKey);
        QCOMPARE(raised.userInfo().value(QStringLiteral("pinned")).toString(), QString());
    }

    void an_unknown_console_is_told_so_until_it_is_authorized() {
        TransportFixture fixture;
        auto options = fixture.serverOptions();
        std::mutex mutex;
        QList<QByteArray> authorized{"nonsense", TlsIdentity::create(QStringLiteral("console")).certificate};
        options.authorizedCertificates = [&] {
            const std::lock_guard lock(mutex);
            return authorized;
        };
        const VLServer server(echoingRoot(), options);
        for (int attempt = 0; attempt < 20; ++attempt)
            QCOMPARE(raisedBy([&] { (void)fixture.connect(server.port()); }).name(), VLException::refused);
        {
            const std::lock_guard lock(mutex);
            authorized << fixture.console.certificate;  // the same common name as the other one's
        }
        QVERIFY(works(*fixture.connect(server.port())));
        {
            const std::lock_guard lock(mutex);
            authorized.clear();
        }
        QCOMPARE(raisedBy([&] { (void)fixture.connect(server.port()); }).name(), VLException::refused);
    }

    void a_server_that_is_no_agent_is_not_pinned() {
        // Valid TLS, but not for the agents' host name.
        HostileAgent::Options options;
        options.identity = identityOfAnotherHost();
        const HostileAgent agent(options);
        const TransportFixture fixture;
        QCOMPARE(raisedBy([&] { (void)fixture.connect(agent.port()); }).name(), VLException::inaccessible);
        QVERIFY(!fixture.pins->find(fixture.options().client));
        // Not even when somebody pins it by hand.
        QVERIFY(fixture.pins->pin(fixture.options().client, options.identity.certificate));
        QCOMPARE(raisedBy([&] { (void)fixture.connect(agent.port()); }).name(), VLException::inaccessible);
    }

    void a_connection_that_cannot_be_made_fails_in_time_data() {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("name");
        QTest::newRow("says nothing") << QStringLiteral("127.0.0.1") << VLException::portTimeout;
        QTest::newRow("unknown host") << QStringLiteral("no-such-host.invalid.") << VLException::inaccessible;
        QTest::newRow("no host") << QString() << VLException::inaccessible;
        QTest::newRow("no such scope") << QStringLiteral("fe80::1%nosuchif0") << VLException::inaccessible;
    }
    void a_connection_that_cannot_be_made_fails_in_time() {
        QFETCH(QString, host);
        QFETCH(QString, name);
        TransportFixture fixture;
        fixture.limits.connect = 700ms;
        // Takes connections, since the system does, but never says a word.
        const auto silent = SocketConnector::listen(QStringLiteral("127.0.0.1"), 0);
        sockaddr_in address{};
        socklen_t length = sizeof address;
        ::getsockname(silent.get(), reinterpret_cast<sockaddr*>(&address), &length);
        const quint16 port = ntohs(address.sin_port);
        const auto attempt = [&](bool known) {
            if (known) fixture.pins->pin(fixture.options().client, fixture.agent.certificate);
            QElapsedTimer timer;
            timer.start();
            const VLException raised =
                raisedBy([&] { const ServingThread client(host, port, fixture.options()); });
            // A resolver without a network may take until the limit to say that there is no such host.
            const bool late =
                host.contains(QStringLiteral("invalid")) && raised.name() == VLException::portTimeout;
            return timer.elapsed() < 5'000 && (raised.name() == name || late);
        };
        QVERIFY(attempt(false));
        QVERIFY(attempt(true));
    }

    void nobody_listening_is_inaccessible() {
        const TransportFixture fixture;
        quint16 port = 0;
        { port = fixture.serve(echoingRoot())->port(); }
        QCOMPARE(raisedBy([&] { (void)fixture.connect(port); }).name(), VLException::inaccessible);
        QCOMPARE(raisedBy([&] { (void)fetchPeerCertificate(QStringLiteral("127.0.0.1"), port, 1s); }).name(),
                 VLException::inaccessible);
    }

    void hosts_are_found_by_name_and_address_data() {
        QTest::addColumn<QString>("listener");
        QTest::addColumn<QString>("host");
        QTest::newRow("IPv4") << QStringLiteral("0.0.0.0") << QStringLiteral("127.0.0.1");
        QTest::newRow("name") << QStringLiteral("127.0.0.1") << QStringLiteral("localhost");
        QTest::newRow("name with dot") << QStringLiteral("127.0.0.1") << QStringLiteral("localhost.");
        QTest::newRow("IPv6") << QStringLiteral("::1") << QStringLiteral("::1");
        QTest::newRow("IPv6 in brackets") << QStringLiteral("::1") << QStringLiteral("[::1]");
        QTest::newRow("IPv4 on the IPv6 wildcard") << QStringLiteral("::") << QStringLiteral("127.0.0.1");
    }
    void hosts_are_found_by_name_and_address() {
        QFETCH(QString, listener);
        QFETCH(QString, host);
        const TransportFixture fixture;
        auto options = fixture.serverOptions();
        options.address = listener;
        std::unique_ptr<VLServer> server;
        const VLException raised =
            raisedBy([&] { server = std::make_unique<VLServer>(echoingRoot(), options); });
        if (!server && listener.contains(u':')) QSKIP("this machine has no IPv6");
        QCOMPARE(raised.name(), QStringLiteral("none"));
        QVERIFY(works(ServingThread(host, server->port(), fixture.options())));
    }

    void a_server_that_cannot_start_says_so() {
        const TransportFixture fixture;
        const auto server = fixture.serve(echoingRoot());
        auto options = fixture.serverOptions();
        options.port = server->port();
        QCOMPARE(raisedBy([&] { const VLServer second(echoingRoot(), options); }).name(),
                 VLException::generic);
        options.port = 0;
        options.identity.privateKey = "nonsense";
        QCOMPARE(raisedBy([&] { const VLServer third(echoingRoot(), options); }).name(),
                 VLException::generic);
    }
};

ORLENDO_TEST_MAIN(TransportTlsTest)
#include "transport_tls_test.moc"
