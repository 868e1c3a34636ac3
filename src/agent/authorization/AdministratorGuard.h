#pragma once

#include "system/Secret.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariant>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

struct AgentSettings;

/// Checks the administrator's name and password that a console sends, and stands before everything that needs
/// the rights: an operation calls requireAdministrator() before it does anything. Any thread.
///
/// After a few wrong passwords every further check of that connection waits first. A connection that is
/// opened anew takes over the count of one that was closed.
class AdministratorGuard {
public:
    /// Whether the password is that administrator's; may block.
    using Check = std::function<bool(const QString& user, const Secret& password)>;
    struct Limits {
        int quickAttempts = 3;
        std::chrono::milliseconds pause{std::chrono::seconds(2)};
        std::chrono::milliseconds memory{std::chrono::minutes(10)};  ///< of failures on closed connections
    };
    AdministratorGuard(Check check, Limits limits) : m_check(std::move(check)), m_limits(limits) {}
    /// The administrator file where the settings name one, else PAM and the groups of the machine.
    [[nodiscard]] static Check checkFor(const AgentSettings& settings);

    /// `password` as it travels (VLEncryption). False when it is wrong, damaged or missing.
    [[nodiscard]] bool validate(quint64 peer, const QString& user, const QByteArray& password);
    /// Throws the error 1006 of the suite's domain unless the credentials are right.
    void requireAdministrator(quint64 peer, const QString& user, const QByteArray& password);
    /// The same with "authUser" and "authPass", the first argument of an authorised operation.
    void requireAdministrator(quint64 peer, const QVariant& credentials);

    void peerClosed(quint64 peer);
    /// Ends the waiting; what waited is refused, and so is all that comes.
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    [[nodiscard]] bool waitForTurn(quint64 peer);
    void count(quint64 peer, bool accepted);

    const Check m_check;
    const Limits m_limits;
    std::mutex m_mutex;  ///< guards what follows
    std::condition_variable m_stopped;
    bool m_isStopped = false;
    QHash<quint64, int> m_failures;
    int m_closedFailures = 0;
    Clock::time_point m_closedAt;
};
