#include "remote/ConnectionFailure.h"
#include "remote/SocketConnector.h"
#include "remote/TlsSettings.h"
#include "remote/support/HostileAgent.h"
#include "remote/support/TransportFixture.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"

#include <QElapsedTimer>

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cstdlib>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

TlsIdentity identityOfAnotherHost() {
    const QTemporaryDir folder;
    const QString certificate = folder.filePath(u"c"_s), key = folder.filePath(u"k"_s);
    const QString command =
        u"openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj /CN=other "
        "-addext subjectAltName=DNS:www.example.com -keyout '%1' -out '%2' 2>/dev/null"_s;
    if (std::system(qPrintable(command.arg(key, certificate))) != 0) return {};
    return {contentsOf(certificate), contentsOf(key)};
}

QString nameRaisedByConnecting(const TransportFixture& fixture, quint16 port) {
    return raisedBy([&] { (void)fixture.connect(port); }).name();
}

}  // namespace

class TransportTlsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void an_identity_is_made_once_and_kept_to_its_owner() {
        const QTemporaryDir folder;
        const QString directory = folder.filePath(u"deep/keys"_s);
        const auto load = [&] { return TlsIdentity::loadOrCreate(directory, u"console"_s, u"Bay 1"_s); };
        const TlsIdentity made = load();
        QFile key(directory + u"/console.key"_s);
        const auto owner = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        QCOMPARE(QFile::permissions(directory), owner | QFile::ExeOwner | QFile::ExeUser);
        QCOMPARE(key.permissions(), owner);
        QVERIFY(TlsSettings::isAgentCertificate(made.certificate));

        key.setPermissions(owner | QFile::ReadOther);
        const TlsIdentity loaded = load();
        QCOMPARE(loaded.certificate, made.certificate);
        QCOMPARE(loaded.privateKey, made.privateKey);
        QCOMPARE(QFile::permissions(key.fileName()), owner);

        // A damaged one is an error, and never replaced.
        QVERIFY(writeFile(key.fileName(), TlsIdentity::create(u"b"_s).privateKey));
        QCOMPARE(raisedBy(load).name(), VLException::generic);
        key.remove();
        QCOMPARE(raisedBy(load).name(), VLException::generic);
        QVERIFY(!key.exists());

        // It is the key that cannot be had again.
        QVERIFY(writeFile(key.fileName(), made.privateKey));
        QVERIFY(QFile::remove(directory + u"/console.crt"_s));
        const TlsIdentity mended = load();
        QCOMPARE(mended.privateKey, made.privateKey);
        QCOMPARE(contentsOf(key.fileName()), made.privateKey);
        QVERIFY(TlsSettings::isAgentCertificate(mended.certificate));
        QCOMPARE(load().certificate, mended.certificate);
    }

    void pins_are_found_again_under_any_name() {
        const TransportFixture fixture;
        PinnedCertificates& pins = *fixture.pins;
        for (const QString& client : {u"../../etc/passwd"_s, u".."_s, u"Schnittplatz „1“ / links"_s,
                                      QString(5'000, u'x'), u"a\0b"_s}) {
            QVERIFY(pins.pin(client, fixture.agent.certificate));
            QCOMPARE(pins.find(client), std::optional(fixture.agent.certificate));
            QVERIFY(!pins.find(client + u'x'));
            QCOMPARE(QDir(fixture.folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 0);
            QVERIFY(pins.remove(client));
            QVERIFY(!pins.find(client));
        }
        QVERIFY(!pins.pin(u"bay"_s, "nonsense"));
    }

    void the_first_contact_pins_and_a_changed_key_is_refused_until_accepted() {
        TransportFixture fixture;
        const QByteArray firstKey = fixture.agent.certificate;
        const QString client = fixture.options().client;
        {
            const auto server = fixture.serve();
            QVERIFY(works(*fixture.connect(server->port())));
            QCOMPARE(fixture.pins->find(client), std::optional(firstKey));
            QVERIFY(works(*fixture.connect(server->port())));
        }
        fixture.agent = TlsIdentity::create(u"agent"_s);
        const auto server = fixture.serve();
        const VLException raised = raisedBy([&] { (void)fixture.connect(server->port()); });
        QCOMPARE(raised.name(), VLException::changedKey);
        QCOMPARE(raised.userInfo(),
                 (QVariantMap{{u"pinned"_s, certificateFingerprint(firstKey)},
                              {u"presented"_s, certificateFingerprint(fixture.agent.certificate)},
                              {u"certificate"_s, fixture.agent.certificate}}));
        QCOMPARE(fixture.pins->find(client), std::optional(firstKey));
        QVERIFY(fixture.pins->pin(client, fixture.agent.certificate));
        QVERIFY(works(*fixture.connect(server->port())));

        // An unreadable pin is not replaced.
        const QDir folder(fixture.folder.filePath(u"pins"_s));
        QFile pin(folder.filePath(folder.entryList(QDir::Files).value(0)));
        QVERIFY(pin.resize(0));
        const auto connecting = [&] { static_cast<void>(fixture.connect(server->port())); };
        QCOMPARE(connectionFailure(raisedBy(connecting)), ConnectionFailure::UnreadableKey);
        QVERIFY(pin.remove());
        QCOMPARE(::mkfifo(QFile::encodeName(pin.fileName()).constData(), 0600), 0);
        QCOMPARE(connectionFailure(raisedBy(connecting)), ConnectionFailure::UnreadableKey);
        QVERIFY(!QFileInfo(pin.fileName()).isFile());
    }

    void an_unknown_console_is_told_so_until_it_is_authorized() {
        TransportFixture fixture;
        auto options = fixture.serverOptions();
        std::mutex mutex;
        const QList<QByteArray> others{"nonsense", TlsIdentity::create(u"console"_s).certificate};
        QList<QByteArray> authorized;
        options.authorizedCertificates = [&] {
            const std::lock_guard lock(mutex);
            return authorized;
        };
        const auto server = fixture.serve(options);
        const auto authorize = [&](const QList<QByteArray>& certificates) {
            const std::lock_guard lock(mutex);
            authorized = certificates;
        };
        authorize(others);
        for (int attempt = 0; attempt < 20; ++attempt)
            QCOMPARE(nameRaisedByConnecting(fixture, server->port()), VLException::refused);
        authorize(others + QList{fixture.console.certificate});  // the same common name as the other one's
        QVERIFY(works(*fixture.connect(server->port())));
        authorize({});
        QCOMPARE(nameRaisedByConnecting(fixture, server->port()), VLException::refused);
    }

    void a_server_that_is_no_agent_is_not_pinned() {
        // Valid TLS, but not for the agents' host name.
        HostileAgent::Options options;
        options.identity = identityOfAnotherHost();
        const HostileAgent agent(options);
        const TransportFixture fixture;
        QCOMPARE(nameRaisedByConnecting(fixture, agent.port()), VLException::inaccessible);
        QVERIFY(!fixture.pins->find(fixture.options().client));
        // Not even when somebody pins it by hand.
        QVERIFY(fixture.pins->pin(fixture.options().client, options.identity.certificate));
        QCOMPARE(nameRaisedByConnecting(fixture, agent.port()), VLException::inaccessible);
    }

    void a_connection_that_cannot_be_made_fails_in_time_data() {
        const TestTable<QString, QString> row("host", "name");
        row("says nothing", u"127.0.0.1"_s, VLException::portTimeout);
        row("unknown host", u"no-such-host.invalid."_s, VLException::inaccessible);
        row("no host", {}, VLException::inaccessible);
        row("no such scope", u"fe80::1%nosuchif0"_s, VLException::inaccessible);
    }
    void a_connection_that_cannot_be_made_fails_in_time() {
        QFETCH(QString, host);
        QFETCH(QString, name);
        TransportFixture fixture;
        fixture.limits.connect = 700ms;
        // Takes connections, since the system does, but never says a word.
        const auto silent = SocketConnector::listen(u"127.0.0.1"_s, 0);
        sockaddr_in address{};
        socklen_t length = sizeof address;
        ::getsockname(silent.get(), reinterpret_cast<sockaddr*>(&address), &length);
        for (const bool known : {false, true}) {
            if (known) fixture.pins->pin(fixture.options().client, fixture.agent.certificate);
            QElapsedTimer timer;
            timer.start();
            const VLException raised = raisedBy(
                [&] { const ServingThread client(host, ntohs(address.sin_port), fixture.options()); });
            QVERIFY(timer.elapsed() < 5'000);
            // A resolver without a network may take until the limit to say that there is no such host.
            if (!host.contains(u"invalid"_s) || raised.name() != VLException::portTimeout)
                QCOMPARE(raised.name(), name);
        }
    }

    void hosts_are_found_by_name_and_address() {
        const TransportFixture fixture;
        for (const auto& [listener, host] :
             {std::pair("127.0.0.1", "localhost."), {"::1", "::1"}, {"::1", "[::1]"}, {"::", "127.0.0.1"}}) {
            auto options = fixture.serverOptions();
            options.address = QLatin1String(listener);
            std::unique_ptr<VLServer> server;
            const VLException raised = raisedBy([&] { server = fixture.serve(options); });
            if (!server && options.address.contains(u':')) QSKIP("this machine has no IPv6");
            QCOMPARE(raised.name(), u"none"_s);
            QVERIFY(works(ServingThread(QLatin1String(host), server->port(), fixture.options())));
        }
    }

    void a_server_that_cannot_start_or_has_ended() {
        const TransportFixture fixture;
        auto server = fixture.serve();
        auto options = fixture.serverOptions();
        options.port = server->port();
        const auto serve = [&] { (void)fixture.serve(options); };
        QCOMPARE(raisedBy(serve).name(), VLException::generic);
        server.reset();
        QCOMPARE(nameRaisedByConnecting(fixture, options.port), VLException::inaccessible);
        QCOMPARE(raisedBy([&] { (void)fetchPeerCertificate(u"127.0.0.1"_s, options.port, 1s); }).name(),
                 VLException::inaccessible);
        options.port = 0;
        options.identity.privateKey = "nonsense";
        QCOMPARE(raisedBy(serve).name(), VLException::generic);
    }
};

ORLENDO_TEST_MAIN(TransportTlsTest)
#include "transport_tls_test.moc"
