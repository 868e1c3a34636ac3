#include "remote/CallScope.h"

#include <mutex>
#include <unordered_set>
#include <utility>

namespace {

/// A scope belongs to the thread that works in it, like the stack that its guard lives on.
thread_local CallScope::Current* innermost = nullptr;

}  // namespace

struct CallScope::Private {
    mutable std::mutex mutex;
    bool isGivenUp = false;
    std::unordered_set<End> waits;
};

CallScope::CallScope() : d(std::make_unique<Private>()) {}

CallScope::~CallScope() = default;

void CallScope::giveUp() {
    std::unordered_set<End> waits;
    {
        const std::lock_guard lock(d->mutex);
        d->isGivenUp = true;
        waits.swap(d->waits);
    }
    for (const End& end : waits)
        (*end)();
}

bool CallScope::isGivenUp() const {
    const std::lock_guard lock(d->mutex);
    return d->isGivenUp;
}

void CallScope::enter(const End& end) {
    {
        const std::lock_guard lock(d->mutex);
        if (!d->isGivenUp) {
            d->waits.insert(end);
            return;
        }
    }
    (*end)();
}

void CallScope::leave(const End& end) {
    const std::lock_guard lock(d->mutex);
    d->waits.erase(end);
}

CallScope::Current::Current(std::shared_ptr<CallScope> scope)
    : m_scope(std::move(scope)), m_outer(std::exchange(innermost, this)) {}

CallScope::Current::~Current() {
    innermost = m_outer;
}

CallScope::Entry::Entry(std::function<void()> end) : m_innermost(innermost) {
    if (!m_innermost) return;
    m_end = std::make_shared<const std::function<void()>>(std::move(end));
    for (const Current* current = m_innermost; current; current = current->m_outer)
        current->m_scope->enter(m_end);
}

CallScope::Entry::~Entry() {
    for (const Current* current = m_innermost; current; current = current->m_outer)
        current->m_scope->leave(m_end);
}

VLException CallScope::exception() {
    return {VLException::givenUp, QStringLiteral("gave up waiting")};
}
