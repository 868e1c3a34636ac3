#include "agent/authorization/AdministratorGuard.h"

#include "agent/AgentSettings.h"
#include "agent/authorization/AdministratorFile.h"
#include "agent/authorization/SystemAdministrators.h"
#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "remote/VLEncryption.h"
#include "system/VLException.h"

#include <algorithm>
#include <numeric>
#include <optional>

namespace {

constexpr qsizetype longestName = 256;
constexpr qsizetype longestPassword = 1024;
constexpr int mostWaiting = 16;  ///< attempts of one console
constexpr int mostDoublings = 20;
constexpr std::chrono::milliseconds lookAgain{1};

/// Without the spaces that filled up the last block.
Secret stripped(const Secret& padded) {
    QByteArrayView bytes = padded.view();
    while (bytes.endsWith(' '))
        bytes.chop(1);
    return Secret(bytes);
}

std::optional<Secret> decrypted(const QByteArray& password) {
    if (password.isEmpty() || password.size() > longestPassword) return std::nullopt;
    const auto padded = VLEncryption::AESDecryptData(password, VLEncryption::hostPassphrase());
    // A zero would end the password early in every library that it is handed to.
    if (!padded || padded->view().contains('\0')) return std::nullopt;
    return stripped(*padded);
}

VLException notChecked() {
    return {VLException::refused,
            QStringLiteral("Too many wrong administrator passwords were tried on this computer. This one was "
                           "not checked; try again in a minute.")};
}

}  // namespace

/// An attempt that has its turn, until the end of the check.
class AdministratorGuard::Turn {
public:
    Turn(AdministratorGuard& guard, quint64 peer, const QString& name) : user(name), m_guard(guard) {
        m_isTaken = guard.takeTurn(peer, *this);
    }
    ~Turn() {
        if (m_isTaken) m_guard.endTurn(*this);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    explicit operator bool() const { return m_isTaken; }

    const QString user;
    QByteArray console;
    bool hadToWait = false, accepted = false;

private:
    AdministratorGuard& m_guard;
    bool m_isTaken = false;
};

int AdministratorGuard::Console::failures() const {
    return std::accumulate(names.cbegin(), names.cend(), 0,
                           [](int sum, const Failures& name) { return sum + name.count; });
}

AdministratorGuard::Check AdministratorGuard::checkFor(const AgentSettings& settings) {
    if (!settings.adminFile.isEmpty()) {
        return [file = settings.adminFile](const QString& user, const Secret& password) {
            return AdministratorFile::accepts(file, user, password);
        };
    }
    const SystemAdministrators::Rules rules{settings.adminGroups, settings.pamFolder};
    return [rules](const QString& user, const Secret& password) {
        return SystemAdministrators::accepts(rules, user, password);
    };
}

bool AdministratorGuard::validate(quint64 peer, const QString& user, const QByteArray& password) {
    const std::optional<Secret> secret = decrypted(password);
    if (user.isEmpty() || user.size() > longestName || user.contains(QChar()) || !secret || secret->isEmpty())
        return false;
    Turn turn(*this, peer, user);
    if (!turn) return false;
    const bool accepted = turn.accepted = m_check(user, *secret);
    // Not the name: some type their password into that field.
    if (!accepted) VLLog::appendLog(QStringLiteral("An administrator's name or password was wrong."));
    return accepted;
}

void AdministratorGuard::requireAdministrator(quint64 peer, const QString& user, const QByteArray& password) {
    if (validate(peer, user, password)) return;
    throw VLException(VLException::generic, CorvalinError::message(CorvalinError::BadCredentials),
                      {{QStringLiteral("domain"), QLatin1String(CorvalinError::domain)},
                       {QStringLiteral("code"), qlonglong(CorvalinError::BadCredentials)}});
}

void AdministratorGuard::requireAdministrator(quint64 peer, const QVariant& credentials) {
    const QVariantMap values = credentials.toMap();
    const QVariant password = values.value(QStringLiteral("authPass"));
    // A password of another type would be converted silently.
    requireAdministrator(peer, VLCorvalinServerProtocol::textValue(values.value(QStringLiteral("authUser"))),
                         password.typeId() == QMetaType::QByteArray ? password.toByteArray() : QByteArray());
}

/// When a console that has used up its quick attempts may have the next one.
AdministratorGuard::Clock::time_point AdministratorGuard::dueTime(const Console& console,
                                                                  const QString& user) const {
    const auto after = [this](int count, Clock::time_point last) {
        const int doublings = std::clamp(count - m_limits.quickAttempts, 0, mostDoublings);
        return last + std::min(m_limits.longestPause, m_limits.pause * (1 << doublings));
    };
    Clock::time_point last;
    for (const Failures& failures : console.names)
        last = std::max(last, failures.last);
    const Failures name = m_names.value(user);
    return std::max(after(name.count, name.last), after(console.failures(), last));
}

/// Names are what consoles make them: those that were not tried lately go.
void AdministratorGuard::forgetOld() {
    const auto oldest = Clock::now() - m_limits.memory;
    const auto isOld = [oldest](const auto& entry) { return entry->last < oldest; };
    m_names.removeIf(isOld);
    m_consoles.removeIf([&](const auto& console) {
        console->names.removeIf(isOld);
        return console->names.isEmpty() && console->underWay == 0 && console->waiting == 0;
    });
}

bool AdministratorGuard::takeTurn(quint64 peer, Turn& turn) {
    std::unique_lock lock(m_mutex);
    forgetOld();
    turn.console = m_certificates.value(peer, QByteArray::number(peer));
    const auto begin = Clock::now();
    bool isTold = false;
    while (!m_isStopped) {
        Console& console = m_consoles[turn.console];
        const int failures = console.failures();
        if (failures + console.underWay < m_limits.quickAttempts) break;
        // Those under way may turn out right; then there is no need for a pause.
        const bool isBraked = failures >= m_limits.quickAttempts;
        const auto now = Clock::now();
        const auto due = isBraked ? std::max(now, dueTime(console, turn.user)) : now;
        if (due - begin > m_limits.longestWait) throw notChecked();
        turn.hadToWait = isBraked && due == now && !m_isChecking;
        if (turn.hadToWait) break;
        if (isBraked && !std::exchange(isTold, true)) {
            lock.unlock();
            m_braked(peer);
            lock.lock();
            continue;
        }
        // Each of them holds a thread, also when its connection is gone.
        if (console.waiting >= mostWaiting) throw notChecked();
        ++console.waiting;
        m_changed.wait_until(lock, due > now ? due : begin + m_limits.longestWait + lookAgain);
        --m_consoles[turn.console].waiting;
    }
    if (m_isStopped) return false;
    ++m_consoles[turn.console].underWay;
    if (turn.hadToWait) m_isChecking = true;
    return true;
}

void AdministratorGuard::endTurn(const Turn& turn) {
    const std::lock_guard lock(m_mutex);
    Console& console = m_consoles[turn.console];
    --console.underWay;
    if (turn.hadToWait) m_isChecking = false;
    if (turn.accepted) {
        console.names.remove(turn.user);
        m_names.remove(turn.user);
    } else {
        for (Failures* failures : {&console.names[turn.user], &m_names[turn.user]})
            *failures = {failures->count + 1, Clock::now()};
    }
    m_changed.notify_all();
}

void AdministratorGuard::peerOpened(quint64 peer, const QByteArray& certificate) {
    const std::lock_guard lock(m_mutex);
    if (!certificate.isEmpty()) m_certificates.insert(peer, certificate);
}

void AdministratorGuard::peerClosed(quint64 peer) {
    const std::lock_guard lock(m_mutex);
    m_certificates.remove(peer);
}

void AdministratorGuard::stop() {
    const std::lock_guard lock(m_mutex);
    m_isStopped = true;
    m_changed.notify_all();
}
