#pragma once

#include "remote/VLProxyObject.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QVariant>

#include <mutex>

/// The callback objects that the consoles have handed over, one per connection. Any thread.
class ConsoleCallbacks {
public:
    /// A later object of the same connection takes the place of the earlier one.
    void set(quint64 peer, VLRemoteCallbackPtr callback);
    void remove(quint64 peer);
    [[nodiscard]] int count() const;

    void postToAll(const QString& selector, const QVariantList& arguments = {}) const;
    /// To the console behind `peer`; to all when that one has handed over no object, because then it is one
    /// of the agent's own helpers that reports to whoever watches.
    void postToCaller(quint64 peer, const QString& selector, const QVariantList& arguments = {}) const;

private:
    [[nodiscard]] QList<VLRemoteCallbackPtr> callbacksFor(quint64 peer) const;

    mutable std::mutex m_mutex;
    QHash<quint64, VLRemoteCallbackPtr> m_callbacks;
};
