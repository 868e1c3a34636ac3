#include "agent/callbacks/ConsoleCallbacks.h"

#include <utility>

void ConsoleCallbacks::set(quint64 peer, VLRemoteCallbackPtr callback) {
    if (!callback) return;
    const std::lock_guard lock(m_mutex);
    std::swap(m_callbacks[peer], callback);
}

void ConsoleCallbacks::remove(quint64 peer) {
    VLRemoteCallbackPtr released;  // let go of after the lock
    const std::lock_guard lock(m_mutex);
    released = m_callbacks.take(peer);
}

int ConsoleCallbacks::count() const {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_callbacks.size());
}

void ConsoleCallbacks::postToAll(const QString& selector, const QVariantList& arguments) const {
    QList<VLRemoteCallbackPtr> callbacks;
    {
        const std::lock_guard lock(m_mutex);
        callbacks = m_callbacks.values();
    }
    for (const auto& callback : std::as_const(callbacks))
        callback->post(selector, arguments);
}

void ConsoleCallbacks::postToCaller(quint64 peer, const QString& selector,
                                    const QVariantList& arguments) const {
    const auto callbacks = callbacksFor(peer);
    for (const auto& callback : callbacks)
        callback->post(selector, arguments);
}

QList<VLRemoteCallbackPtr> ConsoleCallbacks::callbacksFor(quint64 peer) const {
    const std::lock_guard lock(m_mutex);
    if (const auto own = m_callbacks.constFind(peer); own != m_callbacks.constEnd()) return {*own};
    return m_callbacks.values();
}
