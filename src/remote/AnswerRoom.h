#pragma once

#include "remote/ByteBudget.h"
#include "remote/RemoteLimits.h"

#include <QtGlobal>

#include <atomic>
#include <functional>
#include <memory>

/// Room for the answers to one console, from before they are made until it has read them: bounded for each
/// console's connection, and for all of them together. So a console that calls and does not read gets no
/// further answers made, and none of them can use up the memory of the others. Any thread.
class AnswerRoom {
public:
    /// `madeRoom` is called when an answer that had to wait for this console itself does not any more.
    AnswerRoom(const RemoteLimits& limits, std::shared_ptr<ByteBudget> all, std::function<void()> madeRoom);

    enum class Size { Small, Large };
    /// The room for one answer until it was handed over for sending.
    class Answer {
    public:
        /// Waits until there is room for an answer of about that size. A large one also waits for the answers
        /// to other consoles; a small one does so only where this console leaves much unread. `shallStop` is
        /// looked at meanwhile; where it says so there is no room.
        Answer(std::shared_ptr<AnswerRoom> room, Size expected, const std::function<bool()>& shallStop);
        explicit operator bool() const { return m_own && m_all && *m_own && *m_all; }
        /// How large it has become.
        void setBytes(qint64 bytes);

    private:
        const std::shared_ptr<AnswerRoom> m_room;
        std::unique_ptr<ByteBudget::Part> m_own, m_all;
    };

    /// What was handed over and is not sent. One thread.
    void setUnsent(qint64 bytes);
    /// Whether an answer waits for this console to read others.
    [[nodiscard]] bool isWaitedFor() const { return m_isWaitedFor; }

private:
    const qint64 m_limit, m_small;
    const std::function<void()> m_madeRoom;
    const std::shared_ptr<ByteBudget> m_all;
    ByteBudget m_own;
    ByteBudget::Part m_unsentOfOwn, m_unsentOfAll;
    std::atomic_bool m_isWaitedFor = false;
};
