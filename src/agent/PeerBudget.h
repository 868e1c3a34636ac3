#pragma once

#include "logs/VLLog.h"
#include "remote/LogBudget.h"

#include <QHash>

#include <mutex>

/// Keeps a console from filling what others read: each may cause so many entries a minute, and all of them
/// together no more than ten times that, however often they connect anew. Any thread.
class PeerBudget {
public:
    [[nodiscard]] bool take(quint64 peer) {
        const std::lock_guard lock(m_mutex);
        return m_peers[peer].take() && m_all.take();
    }
    void forget(quint64 peer) {
        const std::lock_guard lock(m_mutex);
        m_peers.remove(peer);
    }

private:
    std::mutex m_mutex;
    QHash<quint64, LogBudget> m_peers;
    LogBudget m_all{10 * LogBudget::linesPerMinute};
};

/// The log lines that consoles cause.
class PeerLog : public PeerBudget {
public:
    template <typename... Values>
    void append(quint64 peer, const QString& format, const Values&... values) {
        if (take(peer)) VLLog::appendLog(format, values...);
    }
};
