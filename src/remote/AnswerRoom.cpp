#include "remote/AnswerRoom.h"

#include <algorithm>

namespace {

/// More than most answers need.
constexpr qint64 smallAnswer = 1024 * 1024;

}  // namespace

AnswerRoom::AnswerRoom(const RemoteLimits& limits, std::shared_ptr<ByteBudget> all,
                       std::function<void()> madeRoom)
    : m_limit(qint64(limits.unsentBytes)),
      m_small(std::min(smallAnswer, m_limit / 4)),
      m_madeRoom(std::move(madeRoom)),
      m_all(std::move(all)),
      m_own(m_limit),
      m_unsentOfOwn(m_own),
      m_unsentOfAll(*m_all) {}

void AnswerRoom::setUnsent(qint64 bytes) {
    m_unsentOfOwn.resize(bytes);
    m_unsentOfAll.resize(bytes);
}

AnswerRoom::Answer::Answer(std::shared_ptr<AnswerRoom> room, Size expected,
                           const std::function<bool()>& shallStop)
    : m_room(std::move(room)) {
    const bool waitsForOthers = expected == Size::Large || m_room->m_own.used() > m_room->m_small;
    // How large a large one gets nobody knows before it is made: it takes all that one console may have.
    const qint64 bytes = expected == Size::Large ? m_room->m_limit : m_room->m_small;
    const auto noteWaiting = [&] {
        m_room->m_isWaitedFor = true;
        return shallStop();
    };
    m_own = std::make_unique<ByteBudget::Part>(m_room->m_own, bytes, noteWaiting);
    if (m_room->m_isWaitedFor.exchange(false)) m_room->m_madeRoom();
    if (!*m_own) return;
    if (waitsForOthers) {
        m_all = std::make_unique<ByteBudget::Part>(*m_room->m_all, bytes, shallStop);
    } else {
        m_all = std::make_unique<ByteBudget::Part>(*m_room->m_all);
        m_all->resize(bytes);
    }
}

void AnswerRoom::Answer::setBytes(qint64 bytes) {
    m_own->resize(bytes);
    m_all->resize(bytes);
}
