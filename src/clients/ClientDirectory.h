#pragma once

#include "clients/VLService.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

/// The known clients by name, and which of them a host name leads to.
///
/// One thread (the main one) changes it in place, entry by entry. Any thread reads: a list is copied whole
/// when somebody asks for it after a change, so a reader's list is complete and stays as it is, and many
/// changes in a row cost no copies.
class ClientDirectory {
public:
    ClientDirectory();
    ~ClientDirectory();

    // The thread that changes it.
    /// False when the client is in it already.
    bool insert(const VLServicePtr& service);
    /// False when it was not in it.
    bool remove(const VLServicePtr& service);
    /// Reads all names anew. True when the order has changed with them.
    bool refresh();
    [[nodiscard]] qsizetype size() const { return qsizetype(m_order.size()); }

    // Any thread.
    /// By name; clients of one name in an order that does not depend on who came first.
    [[nodiscard]] QList<VLServicePtr> services() const;
    /// The first client whose host name, or one of its other names, is that one. A host name counts before
    /// another client's other names: agents choose these themselves, so they must not hide the client that
    /// has the name for real.
    [[nodiscard]] VLServicePtr withHostName(const QString& hostName) const;

private:
    struct Entry;
    struct Index {
        QHash<QString, VLServicePtr> byHostName;
        QHash<QString, VLServicePtr> byOtherName;
    };
    [[nodiscard]] static bool comesBefore(const Entry* a, const Entry* b);
    static void enter(Index& index, const Entry& entry);
    void rebuildIndex();

    // The changing thread reads them without the lock: nobody else changes them.
    mutable std::mutex m_mutex;
    std::vector<const Entry*> m_order;
    mutable std::shared_ptr<const QList<VLServicePtr>> m_copy;  ///< null after a change
    Index m_index;                                              ///< edited in place, never shared

    std::unordered_map<const VLService*, std::unique_ptr<Entry>> m_entries;  ///< the changing thread's
};
