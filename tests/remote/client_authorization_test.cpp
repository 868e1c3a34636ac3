#include "remote/FakeRemote.h"
#include "remote/VLCallback.h"
#include "remote/VLEncryption.h"
#include "remote/authorization/AuthorizationController.h"
#include "remote/authorization/AuthorizedRunner.h"
#include "remote/authorization/VLKeychain.h"
#include "support/AlertAnswers.h"
#include "support/TestEnvironment.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString purgewright = u"purgewrightRemoveApps:settings:"_s;
const QString rightPassword = u"right horse"_s;
const QString wrongPassword = u"wrong horse"_s;

/// The sheet: notes what it was told, and answers as the test has planned.
class FakeView : public AuthorizationView {
public:
    void showSheet(const Prompt& prompt) override {
        isShown = true;
        shownFor.append(prompt.service->name());
        userName = prompt.userName;
        onMainThread([this] { answer(); });
    }
    void setPasswordsKept(bool) override {}
    void setChecking(bool) override {}
    void showAlert(const QString& messageText, const QString& informativeText) override {
        alerts.append(messageText + u": "_s + informativeText);
        onMainThread([this] { answer(); });
    }
    void orderOut() override { isShown = false; }

    void answer() {
        if (!answers.isEmpty()) answers.takeFirst()();
    }
    QList<std::function<void()>> answers;
    QStringList shownFor, alerts;
    QString userName;
    bool isShown = false;
};

/// As an agent does: the administrator of every client is "boss".
QVariant agentAnswer(const QString& selector, const QVariantList& arguments) {
    if (selector != "validateUsername:password:"_L1) return {};
    const auto password =
        VLEncryption::AESDecryptData(arguments[1].toByteArray(), VLEncryption::hostPassphrase());
    return arguments[0] == u"boss"_s && password &&
           QString::fromUtf8(password->view()).trimmed() == rightPassword;
}

struct Console {
    Bench bench;
    FakeView view;
    int progressCancels = 0, away = 0, back = 0;
    std::atomic<bool> knowsClients{true};
    std::function<void()> timerFired;
    std::chrono::seconds timerDelay{0};
    AuthorizationController controller{environment()};
    AuthorizedRunner runner{
        {.progress = &bench.progress,
         .selectedServices = bench.environment().selectedServices,
         .runner = &bench.runner,
         .clearAuthSkipped = [this] { controller.clearAuthSkipped(); },
         .prepareCredentials = [this](const auto& c) { return controller.prepareCredentials(c); },
         .acceptedCredentials =
             [this](const auto& c, const auto& tried) { return controller.acceptedCredentials(c, tried); }}};

    explicit Console(int clients) {
        bench.addClients(clients, agentAnswer);
        controller.setView(&view);
    }
    /// A worker may still be on its way out after a run was cancelled.
    ~Console() {
        VLThread::cancelAll();
        if (!VLThread::joinAll(10s)) qFatal("a worker hangs");
        VLThread::reset();
    }
    AuthorizationController::Environment environment() {
        return {
            .runner = &bench.runner,
            .passwords = PasswordStore::keychain(),
            .selectedServices = bench.environment().selectedServices,
            .isKnown = [this](const RemoteClientPtr&) { return knowsClients.load(); },
            .setProcessingCancelled = [this](bool value) { bench.progress.setProcessingCancelled(value); },
            .cancelAllProgress = [this] { ++progressCancels, bench.progress.cancel(); },
            .putProgressAway = [this] { ++away; },
            .bringProgressBack = [this] { ++back; },
            .loginName = u"me"_s,
            .startTimer =
                [this](std::chrono::seconds delay, std::function<void()> fired) {
                    timerDelay = delay;
                    timerFired = std::move(fired);
                },
            .lookInterval = 5ms};
    }
    std::function<void()> type(const QString& password, bool toAll = false, bool keep = false) {
        return [=, this] { controller.authorize(u"boss"_s, Secret::fromText(password), toAll, keep); };
    }
    bool runAll() {
        return onWorker([this] { runner.authExecuteRemoteMethods(purgewright, 7); });
    }
    void runOn(int client, const QString& selector = purgewright) const {
        runner.authExecuteRemoteMethod(selector, {}, {}, bench.clients[client]);
    }
    /// How often each client got the operation.
    [[nodiscard]] QList<int> worked() const {
        QList<int> counts;
        for (const FakeClientPtr& client : bench.clients) {
            const auto sent = client->proxy->sent();
            counts.append(static_cast<int>(std::count_if(
                sent.begin(), sent.end(), [](const auto& call) { return call.first == purgewright; })));
        }
        return counts;
    }
    /// What an earlier session has left for the first client.
    void store(const QString& password) {
        const QString host = bench.clients[0]->hostName();
        auto& defaults = VLUserDefaults::standardUserDefaults();
        defaults.setObject(QVariantMap{{host, u"boss"_s}}, u"users"_s);
        defaults.setObject(QVariantMap{{host, bench.clients[0]->key}}, u"authAgents"_s);
        onWorker([&] {
            VLKeychain::addKeychainItem(u"Corvalin Orlendo"_s, u"Host password"_s, u"boss"_s,
                                        Secret::fromText(password), host);
        });
    }
    /// For how many clients the keychain has a password.
    int storedPasswords() {
        int count = 0;
        onWorker([&] {
            for (const FakeClientPtr& client : bench.clients)
                count += VLKeychain::checkForExistenceOfKeychainItem(
                    u"Corvalin Orlendo"_s, u"Host password"_s, u"boss"_s, client->hostName());
        });
        return count;
    }
};

}  // namespace

class ClientAuthorizationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// Without a keychain on this machine: passwords are kept in memory.
    void initTestCase() { qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"); }
    void cleanup() {
        MainThread::resume();
        onWorker([] { VLKeychain::deleteAllKeychainItems(u"Corvalin Orlendo"_s, u"Host password"_s); });
        for (const QString& key : {u"users"_s, u"authAgents"_s})
            VLUserDefaults::standardUserDefaults().removeObjectForKey(key);
    }
    void cleanupTestCase() {
        const QString log = logLines().join(u'\n');
        QVERIFY(log.contains(u"Launching auth task..."_s));
        QVERIFY(!log.contains(rightPassword) && !log.contains(wrongPassword) && !log.contains(u"horse"_s));
    }

    // Made with: printf '%s' "$PADDED" | openssl enc -aes-256-ecb -nopad -K "$KEY" | xxd -p -c99
    // where PADDED is the text filled up with spaces and KEY the 32 bytes of the key in hexadecimal.
    void encryption() {
        const QByteArray ours = VLEncryption::hostPassphrase();
        for (const auto& [text, passphrase, expected] :
             {std::tuple{u"hello"_s, ours, "a02fdb792f3e56dc301361e3a27dabd2"_ba},
              {u"sixteen-letters!"_s, ours, "884679daa67a5fe79a6ebdeeda2eaa8c"_ba},
              {u"seventeen-letters"_s, ours,
               "51d7989416a5622a9e8bb69b36c9cc0cb03ec6488a038e3b8fee619237558247"_ba},
              {u"pässwörd"_s, ours, "f4c1514b6cbfab0978ef39a7e37df9ce"_ba},
              {u"hello"_s, "short"_ba, "0f31d0c33ca6294d6af056b8e9179a74"_ba},
              {QString(), ours, QByteArray()}}) {
            const QByteArray encrypted = VLEncryption::AESEncryptData(text.toUtf8(), passphrase);
            QCOMPARE(encrypted.toHex(), expected);
            const auto decrypted = VLEncryption::AESDecryptData(encrypted, passphrase);
            QCOMPARE(QString::fromUtf8(decrypted->view()).trimmed(), text);
            QVERIFY(!VLEncryption::AESDecryptData(encrypted + 'x', passphrase));
        }
    }

    void oneSheetForAll() {
        Console console(3);
        console.view.answers = {console.type(wrongPassword), console.type(rightPassword, true, true)};
        QVERIFY(console.runAll());
        QCOMPARE(console.view.shownFor, QStringList{"c0"});
        QCOMPARE(console.view.userName, u"me"_s);
        QCOMPARE(console.view.alerts, QStringList{"Invalid username or password: Please enter a valid admin "
                                                  "username and password for c0."});
        QCOMPARE(console.worked(), (QList{1, 1, 1}));
        const QByteArray password =
            VLEncryption::AESEncryptData(rightPassword.toUtf8(), VLEncryption::hostPassphrase());
        QCOMPARE(console.bench.clients[2]->proxy->sent().last().second,
                 (QVariantList{QVariantMap{{u"authUser"_s, u"boss"_s}, {u"authPass"_s, password}},
                               QVariantMap{{u"obj1"_s, 7}}}));
        QTRY_COMPARE(console.storedPasswords(), 3);
        QCOMPARE(VLUserDefaults::standardUserDefaults().dictionaryForKey(u"users"_s).size(), 3);
        QCOMPARE(console.bench.progress.statusSteps.load(), 3);
        QCOMPARE(console.bench.progress.taskThreadCount(), 0);
        QCOMPARE((std::tuple{console.away, console.back}), (std::tuple{1, 1}));

        // After the time-out the keychain has them still.
        QCOMPARE(console.timerDelay, 1200s);
        console.timerFired();
        QVERIFY(console.controller.authorizationDict().isEmpty());
        QVERIFY(console.runAll());
        QCOMPARE(console.worked(), (QList{2, 2, 2}));
        QCOMPARE(logLines().count(u"Taking stored password from keychain."_s), 3);
        QCOMPARE(console.view.shownFor.size(), 1);

        // An agent's error 1006.
        QVERIFY(onWorker([&] { console.controller.removeStoredPasswordForHost(u"c1.local."_s); }));
        QCOMPARE(console.storedPasswords(), 2);
        QVERIFY(!console.controller.authorizationDict().contains(u"c1.local."_s));

        const AlertAnswers alerts;
        console.controller.securityRemovePasswords(nullptr);
        QCOMPARE(alerts.asked, QStringList{u"Are you sure you wish to remove all stored passwords?"_s});
        QTRY_COMPARE(console.storedPasswords(), 0);
        QVERIFY(console.controller.authorizationDict().isEmpty());
    }

    void storedPassword_data() {
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("key");  // that the agent shows now
        QTest::addColumn<bool>("answers");
        QTest::addColumn<QString>("outcome");  // sheets, stored passwords, runs
        QTest::newRow("right") << rightPassword << u"key"_s << true << u"0 1 1"_s;
        QTest::newRow("refused") << wrongPassword << u"key"_s << true << u"1 0 1"_s;
        // Silence is no refusal.
        QTest::newRow("no answer") << rightPassword << u"key"_s << false << u"0 1 0"_s;
        // Somebody under that host's name is not given its password, and can't have it forgotten.
        QTest::newRow("another agent") << wrongPassword << u"thief"_s << true << u"1 1 1"_s;
    }
    void storedPassword() {
        QFETCH(QString, password);
        QFETCH(QString, key);
        QFETCH(bool, answers);
        Console console(1);
        FakeClient& client = *console.bench.clients[0];
        client.key = u"key"_s;
        console.store(password);
        client.key = key;
        if (!answers)
            client.proxy = std::make_shared<FakeProxy>([](const auto&, const auto&) -> QVariant {
                throw VLException(VLException::portTimeout, u"no answer"_s);
            });
        console.view.answers = {console.type(rightPassword)};
        QVERIFY(console.runAll());
        QTEST(u"%1 %2 %3"_s.arg(console.view.shownFor.size())
                  .arg(console.storedPasswords())
                  .arg(console.worked().first()),
              "outcome");
        if (console.worked().first() == 0) return;
        // Nor what was typed in this session, by whoever takes the agent's place.
        client.key = u"late thief"_s;
        const qsizetype before = client.proxy->sent().size();
        console.view.answers = {[&] { console.controller.skipAuth(); }};
        QVERIFY(console.runAll());
        QCOMPARE(client.proxy->sent().size(), before);
    }

    void skippingAndCancelling() {
        Console console(4);
        console.view.answers = {[&] { console.controller.skipAuth(); }, console.type(rightPassword),
                                [&] {
                                    QTRY_COMPARE(console.worked().at(1),
                                                 1);  // it is not held back by the sheet
                                    console.controller.cancelAuth();
                                }};
        QVERIFY(console.runAll());
        QCOMPARE(console.view.shownFor, (QStringList{"c0", "c1", "c2"}));
        QCOMPARE(console.worked(), (QList{0, 1, 0, 0}));
        QVERIFY(logLines().contains(u"User skipped authorization dialog."_s));
        QVERIFY(!console.view.isShown && console.controller.authorizationDict().isEmpty());
        QCOMPARE(console.progressCancels, 1);
        QVERIFY(console.bench.progress.processingCancelled());
    }

    /// A password is typed for one client; a worker that waits for the same sheet gets one of its own.
    void twoWorkersAndOneSheet() {
        Console console(2);
        console.view.answers = {[&] {
                                    VLThread::detach(u"second"_s, [&] { console.runOn(1); });
                                    QTRY_COMPARE(console.away, 2);
                                    console.type(rightPassword)();
                                },
                                console.type(rightPassword)};
        QVERIFY(onWorker([&] { console.runOn(0); }));
        QTRY_COMPARE(console.worked(), (QList{1, 1}));
        QCOMPARE(console.view.shownFor, (QStringList{"c0", "c1"}));
        QCOMPARE(console.bench.clients[1]->proxy->sent().size(),
                 3);  // asked by the sheet, by the worker; done
    }

    void endsWhileTheSheetIsUp_data() {
        QTest::addColumn<int>("reason");
        QTest::newRow("the program quits") << 0;
        QTest::newRow("the client is removed") << 1;
        QTest::newRow("the run was cancelled, and another one begun") << 2;
    }
    void endsWhileTheSheetIsUp() {
        QFETCH(int, reason);
        Console console(1);
        std::atomic<bool> ended{false};
        VLThread::detach(u"worker"_s, [&] {
            console.runOn(0);
            ended = true;
        });
        QTRY_VERIFY(console.view.isShown);
        if (reason == 0) {
            VLThread::cancelAll();
            MainThread::beginQuitting();
        } else if (reason == 1) {
            console.knowsClients = false;
            console.controller.serviceRemoved(console.bench.clients[0]);
            QVERIFY(!console.view.isShown);
        } else {
            console.bench.progress.setProcessingCancelled(true);
            console.bench.progress.startStatusProgress();
        }
        QVERIFY(MainThread::waitUntil([&] { return ended.load(); }, patience));
        QCOMPARE(console.worked(), QList{0});
    }

    void clientsThatAreLeftAlone() {
        Console console(1);
        console.store(rightPassword);
        FakeClient& client = *console.bench.clients[0];
        const auto sends = [&](const QString& selector) {
            const qsizetype before = client.proxy->sent().size();
            return onWorker([&] { console.runOn(0, selector); }) && client.proxy->sent().size() > before;
        };
        const QString update = u"installVelmoraSoftwareUpdate:settings:"_s;
        client.error = 2006;
        QVERIFY(!sends(purgewright));
        // The question about the password is asked of a client in error, too.
        QVERIFY(sends(update) && client.proxy->sent().last().first == update);
        client.isEnabled = false;
        QVERIFY(!sends(update));
        client.isEnabled = true;
        client.error = 0;
        client.proxy->unknownSelector = purgewright;
        QVERIFY(!sends(purgewright));
    }

    /// What is large waits while others are sent to, and says so where nobody waits for it any more.
    void sendsWhenThereIsRoom_data() {
        QTest::addColumn<bool>("isAuthorized");
        QTest::addColumn<bool>("givesUp");
        for (int bits = 0; bits < 4; ++bits)
            QTest::addRow("%d", bits) << bool(bits & 1) << bool(bits & 2);
    }
    void sendsWhenThereIsRoom() {
        QFETCH(bool, isAuthorized);
        QFETCH(bool, givesUp);
        Console console(1);
        console.store(rightPassword);
        std::optional<ByteBudget::Part> others(std::in_place, *console.bench.outgoing);
        others->resize(1LL << 40);
        const QVariantMap archive{{u"data"_s, QByteArray(1'000, 'x')}};
        bool hasWaited = false;
        const RunRecord record = console.bench.runFor({.isChange = true}, [&] {
            VLThread::detach(u"others"_s, [&, run = Run::current()] {
                MainThread::waitUntil([&] { return run->awaited(200ms).size() == 1; }, patience);
                hasWaited = console.worked() == QList{0};
                if (givesUp)
                    run->stopWaiting();
                else
                    others.reset();
            });
            if (isAuthorized)
                console.runner.authExecuteRemoteMethods(purgewright, archive);
            else
                console.bench.runner.executeRemoteMethods(purgewright, archive);
        });
        QVERIFY(hasWaited);
        QCOMPARE(console.worked(), QList{givesUp ? 0 : 1});
        const Outcome& outcome = record.outcomes.first().outcome;
        QCOMPARE(outcome.kind, givesUp ? Outcome::NoAnswer : Outcome::Done);
        QCOMPARE(outcome.reason, givesUp ? u"other computers were sent to first"_s : QString());
    }

    void taskWithCallback() {
        Console console(1);
        console.store(rightPassword);
        const auto callback = VLCallback::callbackWithName(u"vlEncodemendScanFinished"_s, {}, u"c0.local."_s);
        QVERIFY(onWorker([&] {
            console.runner.authExecuteRemoteTask(u"1"_s, u"com.velmora.Encodemend"_s, {},
                                                 console.bench.clients[0], callback);
        }));
        const auto [selector, arguments] = console.bench.clients[0]->proxy->sent().last();
        QCOMPARE(selector, u"authExecuteTask:bundleID:options:username:password:callback:callbackName:"_s);
        QCOMPARE(arguments.size(), 7);
        QCOMPARE(arguments[3], QVariant(u"boss"_s));
        QCOMPARE(arguments[5].value<VLCallbackTargetPtr>(), VLCallbackTargetPtr(callback));
        QCOMPARE(arguments[6], QVariant(callback->name()));
    }
};

ORLENDO_TEST_MAIN(ClientAuthorizationTest)
#include "client_authorization_test.moc"
