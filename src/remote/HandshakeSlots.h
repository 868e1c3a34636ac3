#pragma once

#include <QCache>
#include <QString>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>

/// Decides which of the connections that have not shown a certificate yet go on when there are more than may
/// be. Whoever comes often from one address only gets in his own way: who has most, loses one; of those the
/// one that has said nothing before the one that has begun to speak, and then the oldest. An address from
/// which somebody was let in before has a few for itself that nobody takes away.
class HandshakeSlots {
public:
    explicit HandshakeSlots(std::size_t most);

    /// `address` as getnameinfo() writes it. Ids grow with time.
    void add(quint64 id, const QString& address);
    void remove(quint64 id) { m_sources.erase(id); }
    /// Somebody from there has shown a certificate that counts.
    void letIn(const QString& address);
    /// Who has to go; nobody while there are no more than may be.
    [[nodiscard]] std::optional<quint64> crowdedOut(const std::function<bool(quint64 id)>& hasSpoken) const;

private:
    const std::size_t m_most;
    std::map<quint64, QString> m_sources;  ///< oldest first
    QCache<QString, bool> m_known;
};
