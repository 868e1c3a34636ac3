// The main thread's half of AuthorizationController: the sheet, what was typed into it, and for how long it
// counts.
#include "desktop/VLAlert.h"
#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "remote/VLEncryption.h"
#include "remote/authorization/AuthorizationController.h"

#include <utility>

void AuthorizationController::setView(AuthorizationView* view) {
    m_view = view;
    if (!view && m_sheet) endSheet(Canceled);
}

/// None when there is nobody to ask: that counts as skipped. The sheet that is up when it is about another
/// client: only one is shown at a time.
AuthorizationController::SheetPtr AuthorizationController::showAuthForHostname(const RemoteClientPtr& service,
                                                                               const RunPtr& run) {
    const VLCallLock lock;
    m_authSkipped = false;
    if (!m_view) {
        VLLog::appendLog(QStringLiteral("There is no window to ask for a password in."));
        m_authSkipped = true;
        return nullptr;
    }
    m_environment.putProgressAway();
    if (m_sheet) return m_sheet;
    // Not before: what is typed into a sheet that is up is for its own client only.
    m_lastAuthService = service;
    m_processingSuspended = true;
    m_sheet = std::make_shared<Sheet>();
    m_sheet->service = service;
    if (run) m_sheet->clients = run->clients();
    VLLog::appendLog(QStringLiteral("Showing authorization dialog..."));
    const QString known = m_authorizationDict.shared()->value(service->hostName()).authName;
    AuthorizationView::Prompt prompt;
    prompt.service = service;
    prompt.text = tr("Please enter an administrator username and password:");
    const QString& typed = m_typedUserName.isEmpty() ? m_environment.loginName : m_typedUserName;
    prompt.userName = known.isEmpty() ? typed : known;
    if (run && !run->description().action.isEmpty()) {
        prompt.tool = run->description().tool;
        prompt.action = run->description().title();
        for (const RemoteClientPtr& client : run->clients())
            prompt.computers.append(client->name());
    }
    prompt.addToKeychain =
        VLUserDefaults::standardUserDefaults().integerForKey(QStringLiteral("authAddKeychain")) != 0;
    m_view->showSheet(prompt);
    lookForKeychain(m_sheet);
    return m_sheet;
}

/// On a worker: the desktop may take its time.
void AuthorizationController::lookForKeychain(const SheetPtr& sheet) {
    const auto outlivesProgram = m_environment.passwords.outlivesProgram;
    if (!outlivesProgram) return;
    VLThread::detach(QStringLiteral("lookForKeychain"),
                     [this, alive = std::weak_ptr(m_alive), sheet, outlivesProgram] {
                         const bool isKept = outlivesProgram();
                         onMainThread([this, alive, sheet, isKept] {
                             if (!alive.expired() && m_view && sheet == m_sheet)
                                 m_view->setPasswordsKept(isKept);
                         });
                     });
}

// ---- Buttons

void AuthorizationController::authorize(const QString& userName, Secret password, bool applyToAll,
                                        bool addToKeychain) {
    if (!m_sheet || m_isChecking) return;
    m_typedUserName = userName;
    auto entry = std::make_shared<Entry>();
    entry->credentials = {userName,
                          VLEncryption::AESEncryptData(password.view(), VLEncryption::hostPassphrase()),
                          m_sheet->service->identity()};
    entry->password = std::move(password);
    entry->applyToAll = applyToAll;
    entry->clients = m_sheet->clients.isEmpty() ? m_environment.selectedServices() : m_sheet->clients;
    entry->addToKeychain = addToKeychain;
    m_isChecking = true;
    m_view->setChecking(true);
    const bool isAsked = VLThread::detach(QStringLiteral("authorize"),
                                          [this, alive = std::weak_ptr(m_alive), entry, sheet = m_sheet] {
                                              const Verdict verdict = ask(entry->credentials, sheet->service);
                                              onMainThread([this, alive, sheet, verdict, entry] {
                                                  if (!alive.expired()) answered(sheet, verdict, entry);
                                              });
                                          });
    if (!isAsked) answered(m_sheet, Verdict::NoAnswer, entry);
}

void AuthorizationController::answered(const SheetPtr& sheet, Verdict verdict, const EntryPtr& entry) {
    if (sheet != m_sheet) return;  // skipped or cancelled meanwhile
    if (verdict == Verdict::Accepted) return endSheet(Authorized, entry);
    m_isChecking = false;
    m_view->setChecking(false);
    const QString name = m_lastAuthService->name();
    if (verdict == Verdict::NoAnswer)
        return m_view->showAlert(
            tr("Unable to check the password"),
            tr("%1 does not answer. Please try again, or skip this computer.").arg(name));
    m_view->showAlert(tr("Invalid username or password"),
                      vlFormat(tr("Please enter a valid admin username and password for %@."), name));
}

void AuthorizationController::skipAuth() {
    if (!m_sheet) return;
    m_authSkipped = true;
    m_processingSuspended = false;
    endSheet(Skipped);
    // The other clients' work goes on.
    m_environment.bringProgressBack();
}

void AuthorizationController::cancelAuth() {
    if (!m_sheet) return;
    m_environment.setProcessingCancelled(true);
    m_processingSuspended = false;
    endAuth();
}

void AuthorizationController::serviceRemoved(const RemoteClientPtr& service) {
    if (!m_sheet || service != m_sheet->service) return;
    VLLog::appendLog(QStringLiteral("%@ is gone; its password is not needed any more."), service->name());
    skipAuth();
}

// ---- End

void AuthorizationController::endAuth() {
    const VLCallLock lock;
    VLLog::appendLog(QStringLiteral("Ending authorization..."));
    m_processingSuspended = false;
    endSheet(Canceled);
    setAuthorizationDict([](Credentials& all) { all.clear(); });
}

void AuthorizationController::endSheet(ReturnCode code, const EntryPtr& entry) {
    const SheetPtr sheet = std::exchange(m_sheet, nullptr);
    m_isChecking = false;
    if (m_view) {
        m_view->setChecking(false);
        m_view->orderOut();
    }
    authSheetDidEnd(code, entry);
    sheet->code = code;  // last: it lets the workers go on
}

void AuthorizationController::authSheetDidEnd(ReturnCode code, const EntryPtr& entry) {
    switch (code) {
        case Canceled:
            VLLog::appendLog(QStringLiteral("Authorization canceled."));
            m_processingSuspended = false;
            m_environment.setProcessingCancelled(true);
            m_environment.cancelAllProgress();
            break;
        case Authorized:
            VLLog::appendLog(QStringLiteral("Authorizing..."));
            take(entry);
            m_processingSuspended = false;
            m_environment.setProcessingCancelled(false);
            m_environment.bringProgressBack();
            break;
        case Skipped:
        case Unanswered:
            break;
    }
}

/// The credentials count for the client that was asked for, and for all selected ones when so ticked.
void AuthorizationController::take(const EntryPtr& entry) {
    QList<RemoteClientPtr> clients{m_lastAuthService};
    if (entry->applyToAll) clients += entry->clients;
    VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    const QString usersKey = QStringLiteral("users"), agentsKey = QStringLiteral("authAgents");
    QVariantMap users = defaults.dictionaryForKey(usersKey), agents = defaults.dictionaryForKey(agentsKey);
    Credentials all = m_authorizationDict.get();
    QStringList hosts;
    for (const RemoteClientPtr& client : std::as_const(clients)) {
        const QString host = client->hostName();
        if (hosts.contains(host)) continue;
        HostCredentials credentials = entry->credentials;
        if (!hosts.isEmpty()) credentials.identity = client->identity();
        hosts.append(host);
        users.insert(host, credentials.authName);
        agents.insert(host, credentials.identity);
        const bool hasOwn = hosts.size() > 1 && !entered(*client).authName.isEmpty();
        if (!hasOwn) all.insert(host, credentials);
    }
    if (entry->addToKeychain && !entry->password.isEmpty()) {
        onKeychainLater([add = m_environment.passwords.add, hosts, entry] {
            // Whoever would not unlock the keychain is not asked again for each of the others.
            for (const QString& host : hosts)
                if (!add(entry->credentials.authName, host, entry->password)) return;
        });
    }
    defaults.setObject(users, usersKey);
    defaults.setObject(agents, agentsKey);
    defaults.synchronize();
    restartTimer();
    setAuthorizationDict([&](Credentials& installed) { installed = all; });
}

void AuthorizationController::restartTimer() {
    if (m_environment.startTimer)
        return m_environment.startTimer(authTimeoutInterval, [this] { authTimeout(); });
    m_authTimeoutTimer.start(authTimeoutInterval);
}

void AuthorizationController::authTimeout() {
    setAuthorizationDict([](Credentials& all) { all.clear(); });
}

// ---- Forgetting everything

void AuthorizationController::securityRemovePasswords(QObject* parentWindow) {
    const QString selector = QStringLiteral("removePasswordsAlertDidEnd:returnCode:contextInfo:");
    const auto ended = [this, alive = std::weak_ptr(m_alive)](int returnCode) {
        if (returnCode != VLAlert::DefaultReturn || alive.expired()) return;
        authTimeout();
        onKeychainLater(m_environment.passwords.removeAll);
    };
    VLAlert::alertSheetWithMessageText(
        tr("Are you sure you wish to remove all stored passwords?"), tr("Remove"), tr("Cancel"), {},
        tr("You will be required to re-enter them next time you perform an authorized action."), parentWindow,
        std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{{selector, ended}}),
        selector, false);
}
