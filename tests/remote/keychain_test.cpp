#include "remote/FakeRemote.h"
#include "remote/authorization/VLKeychain.h"
#include "support/TestEnvironment.h"

using namespace Qt::StringLiterals;

/// Run twice: with a keychain (tests/support/with-keyring.sh) and without one.
class KeychainTest : public QObject {
    Q_OBJECT

    static constexpr auto service = "Corvalin Orlendo Test";
    static constexpr auto kind = "Host password";
    const bool m_hasKeyring = qEnvironmentVariableIsSet("ORLENDO_KEYRING");

    static QString password(const QString& user, const QString& host) {
        const auto found = VLKeychain::getPasswordFromKeychainItem(service, kind, user, host);
        return found ? QString::fromUtf8(found->view()) : u"none"_s;
    }
    static void add(const QString& user, const QString& secret, const QString& host) {
        VLKeychain::addKeychainItem(service, kind, user, Secret::fromText(secret), host);
    }
    static bool exists(const QString& user, const QString& host) {
        return VLKeychain::checkForExistenceOfKeychainItem(service, kind, user, host);
    }

private Q_SLOTS:
    void items() {
        QVERIFY(onWorker([] {
            QVERIFY(!exists(u"boss"_s, u"a.local."_s));
            QCOMPARE(password(u"boss"_s, u"a.local."_s), u"none"_s);
            add(u"boss"_s, u"pässwörd one"_s, u"a.local."_s);
            add(u"boss"_s, u"two"_s, u"b.local."_s);
            add(u"other"_s, u"three"_s, u"a.local."_s);
            QVERIFY(exists(u"boss"_s, u"a.local."_s));
            QCOMPARE(password(u"boss"_s, u"a.local."_s), u"pässwörd one"_s);
            QCOMPARE(password(u"other"_s, u"a.local."_s), u"three"_s);

            const auto modify = [](const QString& user, const QString& secret) {
                VLKeychain::modifyKeychainItem(service, kind, user, u"a.local."_s, Secret::fromText(secret));
            };
            modify(u"boss"_s, u"changed"_s);
            modify(u"nobody"_s, u"new"_s);
            QCOMPARE(password(u"boss"_s, u"a.local."_s), u"changed"_s);
            QVERIFY(!exists(u"nobody"_s, u"a.local."_s));
            add(u"boss"_s, u"changed again"_s, u"a.local."_s);
            QCOMPARE(password(u"boss"_s, u"a.local."_s), u"changed again"_s);

            VLKeychain::deleteKeychainItem(service, kind, u"boss"_s, u"a.local."_s);
            VLKeychain::deleteKeychainItem(service, kind, u"boss"_s, u"a.local."_s);
            QVERIFY(!exists(u"boss"_s, u"a.local."_s));
            QCOMPARE(password(u"boss"_s, u"b.local."_s), u"two"_s);

            VLKeychain::addKeychainItem(service, u"Another kind"_s, u"boss"_s, Secret::fromText(u"four"_s),
                                        u"b.local."_s);
            VLKeychain::deleteAllKeychainItems(service, kind);
            QVERIFY(!exists(u"boss"_s, u"b.local."_s) && !exists(u"other"_s, u"a.local."_s));
            QVERIFY(VLKeychain::checkForExistenceOfKeychainItem(service, u"Another kind"_s, u"boss"_s,
                                                                u"b.local."_s));
            VLKeychain::deleteAllKeychainItems(service, u"Another kind"_s);
        }));
        const QStringList lines = logLines();
        QCOMPARE(lines.filter(u"There is no keychain here"_s).size(), m_hasKeyring ? 0 : 1);
        QVERIFY2(lines.filter(u"item: "_s).isEmpty() && lines.filter(u"status "_s).isEmpty(),
                 qPrintable(lines.join(u'\n')));
        QVERIFY(lines.filter(u"pässwörd"_s).isEmpty());
    }

    void mainThreadIsNeverBlocked() {
        QVERIFY(!exists(u"boss"_s, u"a.local."_s));
        QVERIFY(logLines().contains(u"Error: trying to use the keychain on main thread. Aborting..."_s));
    }
};

ORLENDO_TEST_MAIN(KeychainTest)
#include "keychain_test.moc"
