#include "agent/authorization/AdministratorGuard.h"

#include "agent/AgentSettings.h"
#include "agent/authorization/AdministratorFile.h"
#include "agent/authorization/SystemAdministrators.h"
#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "remote/VLEncryption.h"
#include "system/VLException.h"

#include <algorithm>
#include <optional>

namespace {

constexpr qsizetype longestName = 256;
constexpr qsizetype longestPassword = 1024;

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

}  // namespace

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
    if (!waitForTurn(peer)) return false;
    const bool accepted = m_check(user, *secret);
    count(peer, accepted);
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

bool AdministratorGuard::waitForTurn(quint64 peer) {
    std::unique_lock lock(m_mutex);
    if (!m_failures.contains(peer)) {
        const bool isRemembered = Clock::now() - m_closedAt < m_limits.memory;
        m_failures.insert(peer, isRemembered ? m_closedFailures : 0);
    }
    if (m_failures.value(peer) >= m_limits.quickAttempts)
        m_stopped.wait_for(lock, m_limits.pause, [this] { return m_isStopped; });
    return !m_isStopped;
}

void AdministratorGuard::count(quint64 peer, bool accepted) {
    const std::lock_guard lock(m_mutex);
    m_failures[peer] = accepted ? 0 : std::min(m_failures.value(peer) + 1, m_limits.quickAttempts);
    if (accepted) m_closedFailures = 0;
}

void AdministratorGuard::peerClosed(quint64 peer) {
    const std::lock_guard lock(m_mutex);
    const int failures = m_failures.take(peer);
    if (failures == 0) return;
    m_closedFailures = std::max(failures, m_closedFailures);
    m_closedAt = Clock::now();
}

void AdministratorGuard::stop() {
    const std::lock_guard lock(m_mutex);
    m_isStopped = true;
    m_stopped.notify_all();
}
