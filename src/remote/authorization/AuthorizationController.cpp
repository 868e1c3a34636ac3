// The workers' half: where credentials come from, and whether the client accepts them.
#include "remote/authorization/AuthorizationController.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "remote/VLEncryption.h"
#include "remote/authorization/VLKeychain.h"
#include "runs/RemoteRunner.h"
#include "runs/Run.h"

namespace {

const QString serviceName = QStringLiteral("Corvalin Orlendo");
const QString itemKind = QStringLiteral("Host password");

/// Of the host under `key` ("users", "authAgents").
QString storedText(const char* key, const QString& hostName) {
    return VLUserDefaults::standardUserDefaults()
        .dictionaryForKey(QLatin1String(key))
        .value(hostName)
        .toString();
}

/// Whether what is stored under the client's host name was typed for its agent.
bool isStoredFor(const RemoteClient& service) {
    return storedText("authAgents", service.hostName()) == service.identity();
}

}  // namespace

PasswordStore PasswordStore::keychain() {
    PasswordStore store;
    store.add = [](const QString& user, const QString& host, const Secret& password) {
        return VLKeychain::addKeychainItem(serviceName, itemKind, user, password, host);
    };
    store.password = [](const QString& user, const QString& host) {
        return VLKeychain::getPasswordFromKeychainItem(serviceName, itemKind, user, host);
    };
    store.remove = [](const QString& user, const QString& host) {
        VLKeychain::deleteKeychainItem(serviceName, itemKind, user, host);
    };
    store.outlivesProgram = [] { return VLKeychain::outlivesProgram(); };
    store.removeAll = [] { VLKeychain::deleteAllKeychainItems(serviceName, itemKind); };
    return store;
}

AuthorizationController::AuthorizationController(Environment environment, QObject* parent)
    : QObject(parent), m_environment(std::move(environment)) {
    m_authTimeoutTimer.setSingleShot(true);
    connect(&m_authTimeoutTimer, &QTimer::timeout, this, &AuthorizationController::authTimeout);
}

AuthorizationController::~AuthorizationController() = default;

// ---- Credentials

std::optional<HostCredentials> AuthorizationController::prepareCredentials(const RemoteClientPtr& service) {
    while (entered(*service).authName.isEmpty() && !takeFromKeychain(*service)) {
        if (shallStop(service)) return std::nullopt;
        const SheetPtr sheet = showAuthDialogAndLoop(service);
        const bool isOwn = !sheet || sheet->service == service;
        if (!sheet || (isOwn && sheet->code == Skipped)) {
            VLLog::appendLog(QStringLiteral("User skipped authorization dialog."));
            m_authSkipped = false;
            return std::nullopt;
        }
        if (sheet->code == Canceled || shallStop(service)) return std::nullopt;
        // A sheet about another client may have been answered for this one as well, or not.
        if (isOwn) break;
    }
    HostCredentials credentials = entered(*service);
    if (credentials.authName.isEmpty() || shallStop(service)) return std::nullopt;
    return credentials;
}

std::optional<HostCredentials> AuthorizationController::acceptedCredentials(const RemoteClientPtr& service,
                                                                            HostCredentials credentials) {
    for (;;) {
        switch (ask(credentials, service)) {
            case Verdict::Accepted:
                return credentials;
            case Verdict::NoAnswer:
                VLLog::appendLog(QStringLiteral("%@ did not say whether it accepts the password."),
                                 service->name());
                return std::nullopt;
            case Verdict::Refused:
                forgetRefused(*service);
                break;
        }
        std::optional<HostCredentials> others = prepareCredentials(service);
        if (!others) return std::nullopt;
        credentials = std::move(*others);
    }
}

HostCredentials AuthorizationController::entered(const RemoteClient& service) const {
    HostCredentials credentials = m_authorizationDict.shared()->value(service.hostName());
    return credentials.identity == service.identity() ? credentials : HostCredentials();
}

bool AuthorizationController::shallStop(const RemoteClientPtr& service) const {
    return Run::shallStop() || VLThread::isCancelled() || MainThread::isQuitting() ||
           !m_environment.isKnown(service);
}

bool AuthorizationController::validateAuthorization(const QString& userName, const QByteArray& password,
                                                    const RemoteClientPtr& service) {
    return ask({userName, password, {}}, service) == Verdict::Accepted;
}

/// A client that cannot be reached has not refused anything: that must not cost the stored password.
AuthorizationController::Verdict AuthorizationController::ask(const HostCredentials& credentials,
                                                              const RemoteClientPtr& service) {
    const QString selector = QStringLiteral("validateUsername:password:");
    try {
        const VLProxyObjectPtr proxy = service->proxyObject();
        if (proxy && !proxy->respondsToSelector(selector, m_environment.probeLimit)) return Verdict::Accepted;
    } catch (const std::exception&) {
        // The question itself runs into the same failure, and reports it.
    }
    const QVariant password = credentials.authPass.isEmpty() ? QVariant() : QVariant(credentials.authPass);
    const QVariant answer =
        m_environment.runner->objectFromRemoteMethod(selector, credentials.authName, password, service);
    if (!answer.isValid()) return Verdict::NoAnswer;
    return answer.toBool() ? Verdict::Accepted : Verdict::Refused;
}

bool AuthorizationController::takeFromKeychain(const RemoteClient& service) {
    VLLog::appendLog(QStringLiteral("Checking keychain..."));
    const QString hostName = service.hostName();
    const QString user = storedText("users", hostName);
    if (user.isEmpty()) return false;
    if (!isStoredFor(service)) {
        VLLog::appendLog(QStringLiteral("What is stored for %@ is for an agent with another key."), hostName);
        return false;
    }
    std::optional<Secret> password;
    onKeychain([&] { password = m_environment.passwords.password(user, hostName); });
    if (!password || password->isEmpty()) return false;
    VLLog::appendLog(QStringLiteral("Taking stored password from keychain."));
    const HostCredentials credentials(
        user, VLEncryption::AESEncryptData(password->view(), VLEncryption::hostPassphrase()),
        service.identity());
    setAuthorizationDict([&](Credentials& all) { all.insert(hostName, credentials); });
    return true;
}

/// An agent that came under another's name has not refused that one's password.
void AuthorizationController::forgetRefused(const RemoteClient& service) {
    forgetEntered(service.hostName());
    if (isStoredFor(service)) removeFromKeychain(service.hostName());
}

void AuthorizationController::removeStoredPasswordForHost(const QString& hostName) {
    forgetEntered(hostName);
    removeFromKeychain(hostName);
}

void AuthorizationController::forgetEntered(const QString& hostName) {
    setAuthorizationDict([&](Credentials& all) { all.remove(hostName); });
}

void AuthorizationController::removeFromKeychain(const QString& hostName) {
    const QString user = storedText("users", hostName);
    if (!user.isEmpty()) onKeychain([&] { m_environment.passwords.remove(user, hostName); });
}

/// The copy is made on the main thread too, so that no two changes lose one another.
void AuthorizationController::setAuthorizationDict(const std::function<void(Credentials&)>& change) {
    onMainThreadAndWait([&] {
        Credentials all = m_authorizationDict.get();
        change(all);
        m_authorizationDict.set(std::move(all));
    });
}

// ---- Waiting for the sheet

AuthorizationController::SheetPtr AuthorizationController::showAuthDialogAndLoop(
    const RemoteClientPtr& service) {
    const VLCallLock lock;
    VLLog::appendLog(QStringLiteral("Preparing to show authorization dialog..."));
    const RunPtr run = Run::current();
    SheetPtr sheet;
    onMainThreadAndWait([&] { sheet = showAuthForHostname(service, run); });
    while (sheet && sheet->code == Unanswered && !shallStop(service))
        VLThread::sleepFor(m_environment.lookInterval);
    return sheet;
}

// ---- The keychain's turns

/// What the main thread has asked for earlier comes first: it may be about the same item.
void AuthorizationController::onKeychain(const std::function<void()>& work) {
    const std::lock_guard turn(m_keychainTurn);
    for (;;) {
        std::function<void()> earlier;
        {
            const std::lock_guard lock(m_waitingMutex);
            if (m_waiting.empty()) break;
            earlier = std::move(m_waiting.front());
            m_waiting.pop_front();
        }
        earlier();
    }
    if (work) work();
}

void AuthorizationController::onKeychainLater(std::function<void()> work) {
    {
        const std::lock_guard lock(m_waitingMutex);
        m_waiting.push_back(std::move(work));
    }
    VLThread::detach(QStringLiteral("keychain"), [this] { onKeychain({}); });
}
