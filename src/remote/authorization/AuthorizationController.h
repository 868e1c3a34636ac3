#pragma once

#include "foundation/Snapshot.h"
#include "remote/RemoteClient.h"
#include "remote/authorization/AuthorizationView.h"
#include "remote/authorization/HostCredentials.h"
#include "runs/Run.h"
#include "system/Secret.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

class RemoteRunner;

/// Where passwords are stored between sessions, by user and host. Called on workers.
struct PasswordStore {
    std::function<bool(const QString& user, const QString& host, const Secret& password)> add;
    std::function<std::optional<Secret>(const QString& user, const QString& host)> password;
    std::function<void(const QString& user, const QString& host)> remove;
    std::function<void()> removeAll;
    std::function<bool()> outlivesProgram;  ///< what is stored here; true where this is empty

    /// The console's items in VLKeychain.
    [[nodiscard]] static PasswordStore keychain();
};

/// Obtains the administrator credentials that authorised operations need: from what was entered in this
/// session, from the keychain, or from the user through the sheet; and checks them with the client.
///
/// What was typed for a host is given to the agent that it was typed for and to no other that comes under the
/// host's name: the settings note whose it is, under "authAgents", beside the user's name under "users".
/// A client that does not answer the check has refused nothing, and keeps its stored password.
///
/// Workers call credentialsFor() and may block in it. Everything that the sheet does is main thread.
class AuthorizationController : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::seconds authTimeoutInterval{1200};

    struct Environment {
        RemoteRunner* runner = nullptr;  ///< asks the clients; outlives this object
        PasswordStore passwords;
        std::function<QList<RemoteClientPtr>()> selectedServices;  ///< any thread
        /// False once a client was removed from the list. Any thread.
        std::function<bool(const RemoteClientPtr&)> isKnown;
        std::function<void(bool cancelled)> setProcessingCancelled;  ///< any thread
        std::function<void()> cancelAllProgress;                     ///< main thread
        /// Main thread: takes the progress sheet away if it shows, and brings back one that was taken away.
        std::function<void()> putProgressAway, bringProgressBack;
        QString loginName;  ///< of the person at the console
        /// Calls `fired` on the main thread after `delay`, and never what was given before. A QTimer when
        /// empty.
        std::function<void(std::chrono::seconds delay, std::function<void()> fired)> startTimer;
        std::chrono::milliseconds lookInterval{std::chrono::seconds(1)};  ///< of a worker that waits
        std::chrono::milliseconds probeLimit{std::chrono::seconds(10)};
    };
    explicit AuthorizationController(Environment environment, QObject* parent = nullptr);
    ~AuthorizationController() override;

    /// The sheet; null takes it away. Not owned. Without one nobody is asked, as if skipped.
    void setView(AuthorizationView* view);

    // Workers, on behalf of the run that their thread works for.
    /// Credentials to try: entered before, stored, or given by the user now. None when the user skipped or
    /// cancelled, when the client is gone, the run goes no further or the program quits.
    [[nodiscard]] std::optional<HostCredentials> prepareCredentials(const RemoteClientPtr& service);
    /// Credentials that the client has just accepted: those, or others where it refuses them. None as above,
    /// and when the client does not answer.
    [[nodiscard]] std::optional<HostCredentials> acceptedCredentials(const RemoteClientPtr& service,
                                                                     HostCredentials credentials);
    /// What the client says; one that does not know the question is taken to accept.
    [[nodiscard]] bool validateAuthorization(const QString& userName, const QByteArray& password,
                                             const RemoteClientPtr& service);
    /// Forgets the host's credentials, in the keychain too. Any thread but the main one.
    void removeStoredPasswordForHost(const QString& hostName);

    // The sheet's buttons.
    void authorize(const QString& userName, Secret password, bool applyToAll, bool addToKeychain);
    void skipAuth();
    void cancelAuth();

    /// Asks whether to forget every stored password, and does, those of this session as well.
    void securityRemovePasswords(QObject* parentWindow);
    /// The client has left the list: nobody is asked about it any more.
    void serviceRemoved(const RemoteClientPtr& service);

    void clearAuthSkipped() { m_authSkipped = false; }
    [[nodiscard]] bool authSkipped() const { return m_authSkipped; }
    [[nodiscard]] bool processingSuspended() const { return m_processingSuspended; }
    [[nodiscard]] const RemoteClientPtr& lastAuthService() const { return m_lastAuthService; }
    /// By host name. Any thread.
    [[nodiscard]] QHash<QString, HostCredentials> authorizationDict() const {
        return m_authorizationDict.get();
    }

private:
    using Credentials = QHash<QString, HostCredentials>;
    enum class Verdict { Accepted, Refused, NoAnswer };
    enum ReturnCode { Unanswered = -1, Canceled = 0, Authorized = 1, Skipped = 2 };
    /// One showing of the sheet. Every worker that waits for it holds it, so that a later showing cannot
    /// change what this one was answered with.
    struct Sheet {
        RemoteClientPtr service;
        QList<RemoteClientPtr> clients;  ///< of the run that asks; empty outside of any
        std::atomic<ReturnCode> code{Unanswered};
    };
    using SheetPtr = std::shared_ptr<Sheet>;
    /// What was typed, while it is checked and after that.
    struct Entry {
        Secret password;
        HostCredentials credentials;
        bool applyToAll = false;
        QList<RemoteClientPtr> clients;  ///< all that it counts for then
        bool addToKeychain = false;
    };
    using EntryPtr = std::shared_ptr<const Entry>;

    [[nodiscard]] Verdict ask(const HostCredentials& credentials, const RemoteClientPtr& service);
    /// What the session has for this client; without a name when that is nothing.
    [[nodiscard]] HostCredentials entered(const RemoteClient& service) const;
    [[nodiscard]] bool takeFromKeychain(const RemoteClient& service);
    void forgetRefused(const RemoteClient& service);
    [[nodiscard]] bool shallStop(const RemoteClientPtr& service) const;

    [[nodiscard]] SheetPtr showAuthDialogAndLoop(const RemoteClientPtr& service);
    [[nodiscard]] SheetPtr showAuthForHostname(const RemoteClientPtr& service, const RunPtr& run);
    void lookForKeychain(const SheetPtr& sheet);
    void answered(const SheetPtr& sheet, Verdict verdict, const EntryPtr& entry);
    void endAuth();
    void endSheet(ReturnCode code, const EntryPtr& entry = {});
    void authSheetDidEnd(ReturnCode code, const EntryPtr& entry);
    void take(const EntryPtr& entry);
    void restartTimer();
    void authTimeout();

    // Main thread, waiting.
    void setAuthorizationDict(const std::function<void(Credentials&)>& change);
    void forgetEntered(const QString& hostName);
    void removeFromKeychain(const QString& hostName);

    void onKeychain(const std::function<void()>& work);
    void onKeychainLater(std::function<void()> work);

    Environment m_environment;
    AuthorizationView* m_view = nullptr;
    std::atomic<bool> m_authSkipped{false}, m_processingSuspended{false};
    Snapshot<Credentials> m_authorizationDict;
    QTimer m_authTimeoutTimer;

    // Main thread.
    RemoteClientPtr m_lastAuthService;  ///< the client that the sheet asks for, or asked for last
    SheetPtr m_sheet;                   ///< the one that is up
    bool m_isChecking = false;
    QString m_typedUserName;  ///< last

    std::mutex m_keychainTurn;  ///< held while the keychain is used
    std::mutex m_waitingMutex;
    std::deque<std::function<void()>> m_waiting;  ///< what the main thread has asked of the keychain
    std::shared_ptr<const bool> m_alive = std::make_shared<bool>(true);
};
