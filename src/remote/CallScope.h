#pragma once

#include "system/VLException.h"

#include <functional>
#include <memory>

/// Calls of a client that somebody may stop waiting for. A thread makes a scope current (CallScope::Current)
/// while it works; whoever shares the scope may give it up, which ends the call that is waited for at once,
/// and every later one, with VLException::givenUp. The connection stays well: the agent is told that nobody
/// waits any more, and a late answer is dropped. Operations that nobody waits for are sent all the same, and
/// what is known without asking is answered.
///
/// Several threads may have one scope current, and a thread several scopes: each of them ends its calls.
class CallScope {
public:
    CallScope();
    ~CallScope();
    CallScope(const CallScope&) = delete;
    CallScope& operator=(const CallScope&) = delete;

    /// For good. Any thread; returns without waiting for anybody.
    void giveUp();
    [[nodiscard]] bool isGivenUp() const;

    /// Makes a scope the thread's, until its own end. Lives on that thread's stack.
    class Current {
    public:
        explicit Current(std::shared_ptr<CallScope> scope);
        ~Current();
        Current(const Current&) = delete;
        Current& operator=(const Current&) = delete;

    private:
        friend class CallScope;
        friend class Entry;
        const std::shared_ptr<CallScope> m_scope;
        Current* const m_outer;
    };

    /// For the transport: a wait of this thread in all its scopes. `end` is called at most once for each
    /// scope, at once when it is given up already; on any thread, possibly after the entry's own end.
    class Entry {
    public:
        explicit Entry(std::function<void()> end);
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

    private:
        std::shared_ptr<const std::function<void()>> m_end;  ///< null without a scope
        Current* const m_innermost;
    };
    [[nodiscard]] static VLException exception();

private:
    using End = std::shared_ptr<const std::function<void()>>;
    void enter(const End& end);
    void leave(const End& end);

    struct Private;
    const std::unique_ptr<Private> d;
};
