#include "agent/AgentRoot.h"
#include "agent/authorization/SystemAdministrators.h"
#include "remote/support/TransportFixture.h"
#include "support/Administrators.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Beside the sample's: "yes secret".
constexpr char moreAdministrators[] =
    "# administrators\n"
    "modern:$y$j9T$orlendotestsalt0$f1i3zyvuvY.2WQHJXq5ms1O3DTzMpIIAkY7Y8gV.iVD\n"
    "locked:!\nempty:\n";

const QString task = u"authExecuteTask:bundleID:options:username:password:"_s;
const QString taskWithCallback = task + u"callback:callbackName:"_s;
const QString install = u"installVelmoraSoftwareUpdate:settings:"_s;
const QString validate = u"validateUsername:password:"_s;

QByteArray encrypted(const QString& password) {
    return administratorCredentials(password).value(u"authPass"_s).toByteArray();
}

QVariant reference(const std::shared_ptr<CollectingTarget>& target) {
    return QVariant::fromValue<VLCallbackTargetPtr>(target);
}

/// An agent with its server, and what its tasks were told.
struct Agent {
    TransportFixture transport;
    std::shared_ptr<AgentContext> context;
    std::unique_ptr<VLServer> server;
    std::shared_ptr<CollectingTarget> console = std::make_shared<CollectingTarget>();
    std::atomic<int> runs{0}, installs{0};
    TlsIdentity other = TlsIdentity::create(u"console"_s);

    explicit Agent(std::chrono::milliseconds pause = 1ms) {
        AgentSettings settings;
        settings.root = transport.folder.path();
        settings.stateDirectory = transport.folder.path();
        settings.adminFile = transport.folder.filePath(u"admin-users"_s);
        writeFile(settings.adminFile, QByteArray(sampleAdministrators) + moreAdministrators);
        settings.complete();
        AdministratorGuard::Limits limits;
        limits.pause = pause;
        context = std::make_shared<AgentContext>(settings, limits);
        context->tasks.add(u"com.velmora.Encodemend"_s,
                           [this](quint64, const QString& name, const QVariantMap&) {
                               ++runs;
                               return u"ran "_s + name;
                           });
        context->installUpdate = [this](quint64, const QVariantMap&, const QVariant&) { ++installs; };
        VLServerOptions options = transport.serverOptions();
        options.authorizedCertificates = [all = QList{transport.console.certificate, other.certificate}] {
            return all;
        };
        server = std::make_unique<VLServer>(std::make_shared<AgentRoot>(context), options);
    }
    ~Agent() {
        context->administrators.stop();
        server.reset();
    }
    [[nodiscard]] std::unique_ptr<ServingThread> connect() {
        auto client = transport.connect(server->port());
        client->proxy().perform(u"setErrorCallback:"_s, {reference(console)});
        return client;
    }
    [[nodiscard]] QList<qlonglong> errorCodes() const {
        QList<qlonglong> codes;
        for (const auto& call : console->received())
            if (call.selector.startsWith(u"addErrorToQueue:"_s))
                codes.append(call.arguments.value(0).toMap().value(u"code"_s).toLongLong());
        return codes;
    }
};

}  // namespace

/// The agent's checks, over a real connection.
class AgentAuthorizationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanupTestCase() {
        const QString log = logLines().join(u'\n');
        QVERIFY(log.contains(u"An administrator's name or password was wrong."_s));
        QVERIFY(!log.contains(u"corvalin-sample"_s) && !log.contains(u"secret"_s) &&
                !log.contains(u"guess"_s));
    }

    void passwords_data() {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QVariant>("password");
        QTest::addColumn<bool>("accepted");
        const auto row = [](const char* name, const char* user, const QVariant& password,
                            bool accepted = false) {
            QTest::newRow(name) << QString::fromLatin1(user) << password << accepted;
        };
        const QByteArray right = encrypted(u"corvalin-sample"_s);
        row("right", "admin", right, true);
        row("newer hash", "modern", encrypted(u"yes secret"_s), true);
        row("wrong", "admin", encrypted(u"guess"_s));
        row("beginning of it", "admin", encrypted(u"corvalin"_s));
        row("zero inside", "admin", encrypted(u"corvalin-sample"_s + QChar()));
        row("in clear", "admin", "corvalin-sample "_ba);
        row("no whole block", "admin", right + 'x');
        row("missing", "admin", {});
        row("unknown user", "nobody", right);
        row("no user", "", right);
        row("comment", "# administrators", right);
        row("locked", "locked", right);
        row("no hash", "empty", encrypted({}));
        row("much too long", "admin", QByteArray(1 << 20, 'x'));
    }
    void passwords() {
        QFETCH(QString, user);
        QFETCH(QVariant, password);
        QFETCH(bool, accepted);
        Agent agent;
        const auto client = agent.connect();
        QCOMPARE(client->proxy().perform(validate, {user, password}).toBool(), accepted);

        // Every operation that needs the rights asks for itself.
        const QVariantList call{u"1"_s, u"com.velmora.Encodemend"_s, QVariant(), user, password};
        const auto callback = std::make_shared<CollectingTarget>();
        const VLException raised = raisedBy([&] { client->proxy().perform(task, call); });
        client->proxy().perform(taskWithCallback, call + QVariantList{reference(callback), u"name"_s});
        client->proxy().perform(
            install, {QVariantMap{{u"authUser"_s, user}, {u"authPass"_s, password}}, QVariantMap()});
        QTRY_COMPARE(callback->count(), 1U);
        const QVariantMap answer = callback->received()[0].arguments[0].toMap();
        if (accepted) {
            QCOMPARE(answer, (QVariantMap{{u"output"_s, u"ran 1"_s}}));
            QTRY_COMPARE(agent.runs + agent.installs, 3);
            QVERIFY(agent.errorCodes().isEmpty());
            return;
        }
        QCOMPARE(raised.userInfo().value(u"code"_s), QVariant(1006LL));
        QCOMPARE(raised.userInfo().value(u"domain"_s), QVariant("corvalinDomain"));
        QVERIFY(answer.value(u"output"_s).toString().startsWith(u"Unable to authorize"_s));
        QTRY_COMPARE(agent.errorCodes(), (QList<qlonglong>{1006, 1006}));  // of those that nobody waits for
        QCOMPARE(agent.runs + agent.installs, 0);
    }

    void unknownTask() {
        Agent agent;
        const auto client = agent.connect();
        const auto callback = std::make_shared<CollectingTarget>();
        const QVariantList call{u"1"_s, u"com.velmora.Unknown"_s, QVariant(), u"admin"_s,
                                encrypted(u"corvalin-sample"_s)};
        client->proxy().perform(taskWithCallback, call + QVariantList{reference(callback), u"name"_s});
        QTRY_COMPARE(agent.errorCodes(), QList<qlonglong>{1000});
        QTRY_COMPARE(callback->count(), 1U);  // a console is never left waiting
        QCOMPARE(raisedBy([&] { client->proxy().perform(task, call); }).userInfo().value(u"code"_s),
                 QVariant(1000LL));
    }

    /// After three wrong passwords a console waits on all its connections and hears why; others do not.
    void guessing() {
        Agent agent(16s);
        const QVariantList right{u"admin"_s, encrypted(u"corvalin-sample"_s)};
        for (int i = 0; i < 3; ++i)
            QVERIFY(
                !agent.connect()->proxy().perform(validate, {u"admin"_s, encrypted(u"guess"_s)}).toBool());
        const auto guessing = agent.connect();
        QCOMPARE(raisedBy([&] { guessing->proxy().perform(validate, right, 200ms); }).name(),
                 VLException::portTimeout);
        QTRY_VERIFY(agent.console->count() > 0);
        const auto told = agent.console->received().back();
        QCOMPARE(told.selector, u"addStringToQueue:hostname:"_s);
        QVERIFY(told.arguments.first().toString().startsWith(u"Too many wrong administrator passwords"_s));
        QVERIFY(!logLines().filter(told.arguments.first().toString()).isEmpty());

        agent.transport.console = agent.other;
        QVERIFY(agent.connect()->proxy().perform(validate, right).toBool());
        agent.context->administrators.stop();
    }

    /// How often the attempts of a script have to wait, and for how many pauses at least. "g": a guess, "r":
    /// the right password, "o": the right one for another user, "R": the right one from another console; a
    /// digit makes the attempts that follow those of another user.
    void brake_data() {
        const TestTable<QString, int, int> row("script", "waits", "pauses");
        row("mistyped twice", u"ggr"_s, 0, 0);
        row("right ones in between", u"ggrggr"_s, 0, 0);
        row("doubles up to the limit", u"ggggggr"_s, 4, 1 + 2 + 4 + 4);
        row("whoever else guesses", u"ggggR"_s, 1, 1);
        row("another user's right one", u"ggoggg"_s, 2, 1 + 2);
        row("other users' names", u"g1g2g3g"_s, 1, 1);
    }
    void brake() {
        QFETCH(QString, script);
        constexpr auto pause = 100ms;
        AdministratorGuard guard(
            [](const QString&, const Secret& password) { return password.view() == QByteArrayView("right"); },
            {.pause = pause, .longestPause = 4 * pause});
        int waits = 0;
        guard.setBraked([&](quint64) { ++waits; });
        quint64 peer = 1;
        guard.peerOpened(1'000, "other");
        QString user = u"admin"_s;
        const auto begin = std::chrono::steady_clock::now();
        for (const QChar step : std::as_const(script)) {
            if (step.isDigit()) {
                user = u"user "_s + step;
                continue;
            }
            guard.peerOpened(++peer, "guesser");
            const bool isRight = step != u'g';
            const QString name = step == u'o' ? u"else"_s : user;
            QCOMPARE(guard.validate(step == u'R' ? 1'000 : peer, name,
                                    encrypted(isRight ? u"right"_s : u"guess"_s)),
                     isRight);
            guard.peerClosed(peer);
        }
        // A busy machine may have waited already.
        QVERIFY(waits <= *static_cast<int*>(QTest::qData("waits", QMetaType::Int)));
        QFETCH(int, pauses);
        QVERIFY(std::chrono::steady_clock::now() - begin >= pauses * pause);
    }

    /// However many ask at once: few are checked, and the rest is told that it was not.
    void manyGuessesAtOnce() {
        std::atomic<int> checks{0}, notChecked{0};
        AdministratorGuard guard(
            [&](const QString&, const Secret&) {
                ++checks;
                std::this_thread::sleep_for(20ms);
                return false;
            },
            {.pause = 100ms, .longestPause = 100ms, .longestWait = 250ms});
        std::vector<std::thread> guesses;
        const auto begin = std::chrono::steady_clock::now();
        for (quint64 peer = 1; peer <= 60; ++peer) {
            guard.peerOpened(peer, "guesser");
            guesses.emplace_back([&guard, &notChecked, peer] {
                const VLException raised =
                    raisedBy([&] { (void)guard.validate(peer, u"admin"_s, encrypted(u"guess"_s)); });
                if (raised.name() == VLException::refused) ++notChecked;
            });
        }
        for (std::thread& guess : guesses)
            guess.join();
        const auto taken = std::chrono::steady_clock::now() - begin;
        QVERIFY(checks >= 1 && checks <= 4 + taken / 100ms);
        QCOMPARE(notChecked + checks, 60);
    }

    /// A real PAM stack with a module that asks a script.
    void pam() {
        const QTemporaryDir folder;
        const QString script = folder.filePath(u"check"_s);
        QVERIFY(writeFile(script, "#!/bin/sh\n[ \"$(cat)\" = 'pam secret' ]\n"));
        QVERIFY(QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QVERIFY(writeFile(folder.filePath(u"corvalin-agent"_s),
                          "auth required pam_exec.so quiet expose_authtok " + script.toUtf8() +
                              "\naccount required pam_permit.so\n"));
        const auto accepts = [&](const QString& user, const QString& password, const QStringList& groups) {
            return SystemAdministrators::accepts({groups, folder.path()}, user, Secret::fromText(password));
        };
        const QString right = u"pam secret"_s;
        QVERIFY(accepts(u"daemon"_s, right, {u"no-such-group"_s, u"daemon"_s}));
        QVERIFY(!accepts(u"daemon"_s, u"guess"_s, {u"daemon"_s}));
        QVERIFY(!accepts(u"daemon"_s, right, {u"sudo"_s}));
        QVERIFY(!accepts(u"no-such-user"_s, right, {u"daemon"_s}));
        QVERIFY(accepts(u"root"_s, right, {}));
    }
};

ORLENDO_TEST_MAIN(AgentAuthorizationTest)
#include "agent_authorization_test.moc"
