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
/// A console has a few attempts, over whatever connections, until one of them is right; so whoever mistyped a
/// password is not kept waiting, whatever others guess. From then on its attempts are checked one at a time,
/// each after a pause that doubles with every wrong one for that name, or from that console, up to a limit.
/// Where more of them wait than can have their turn in time, the rest is refused without a check.
class AdministratorGuard {
public:
    /// Whether the password is that administrator's; may block.
    using Check = std::function<bool(const QString& user, const Secret& password)>;
    struct Limits {
        int quickAttempts = 3;
        std::chrono::milliseconds pause{std::chrono::seconds(1)};  ///< the first one
        std::chrono::milliseconds longestPause{std::chrono::seconds(16)};
        std::chrono::milliseconds longestWait{std::chrono::seconds(30)};  ///< for the turn
        std::chrono::milliseconds memory{std::chrono::minutes(10)};       ///< since the last failure
    };
    AdministratorGuard(Check check, Limits limits) : m_check(std::move(check)), m_limits(limits) {}

    /// Called when an attempt has to wait. Any thread. Set before use.
    void setBraked(std::function<void(quint64 peer)> braked) { m_braked = std::move(braked); }
    /// The administrator file where the settings name one, else PAM and the groups of the machine.
    [[nodiscard]] static Check checkFor(const AgentSettings& settings);

    /// `password` as it travels (VLEncryption). False when it is wrong, damaged or missing. Throws
    /// VLException::refused when it was not checked.
    [[nodiscard]] bool validate(quint64 peer, const QString& user, const QByteArray& password);
    /// Throws the error 1006 of the suite's domain unless the credentials are right.
    void requireAdministrator(quint64 peer, const QString& user, const QByteArray& password);
    /// The same with "authUser" and "authPass", the first argument of an authorised operation.
    void requireAdministrator(quint64 peer, const QVariant& credentials);

    /// Whose certificate a connection came with. Without it a connection is a console of its own.
    void peerOpened(quint64 peer, const QByteArray& certificate);
    void peerClosed(quint64 peer);
    /// Ends the waiting; what waited is refused, and so is all that comes.
    void stop();

private:
    using Clock = std::chrono::steady_clock;
    struct Failures {
        int count = 0;
        Clock::time_point last;
    };
    struct Console {
        QHash<QString, Failures> names;
        int underWay = 0;
        int waiting = 0;
        [[nodiscard]] int failures() const;
    };
    class Turn;

    /// Waits for it.
    [[nodiscard]] bool takeTurn(quint64 peer, Turn& turn);
    void endTurn(const Turn& turn);
    [[nodiscard]] Clock::time_point dueTime(const Console& console, const QString& user) const;
    void forgetOld();

    const Check m_check;
    const Limits m_limits;
    std::function<void(quint64 peer)> m_braked = [](quint64) {};
    std::mutex m_mutex;  ///< guards what follows
    std::condition_variable m_changed;
    bool m_isStopped = false;
    bool m_isChecking = false;  ///< an attempt that had to wait
    QHash<quint64, QByteArray> m_certificates;
    QHash<QString, Failures> m_names;
    QHash<QByteArray, Console> m_consoles;
};
