#include "remote/ServerWorker.h"

#include "logs/VLLog.h"
#include "remote/WireValue.h"

#include <algorithm>
#include <system_error>

ServerWorker::ServerWorker(std::shared_ptr<VLRootObject> root, const RemoteLimits& limits, quint64 peer,
                           std::shared_ptr<AnswerRoom> room, std::function<void()> ended)
    : m_root(std::move(root)),
      m_limits(limits),
      m_peer(peer),
      m_room(std::move(room)),
      m_ended(std::move(ended)) {}

bool ServerWorker::add(Job job) {
    const std::lock_guard lock(m_mutex);
    Line& line = m_lines.at(job.lane);
    const bool full = line.jobs.size() >= std::size_t(std::max(1, m_limits.pendingCallbacks)) ||
                      (!line.jobs.empty() && line.bytes + job.bytes > m_limits.messageBytes);
    if (m_closed || full) return false;
    if (!line.thread.joinable()) {
        try {
            line.thread = std::thread([self = shared_from_this(), &line] { self->run(line); });
        } catch (const std::system_error&) {
            return false;
        }
        ++m_running;
        m_isIdle = false;
    }
    job.after = job.lane == Control ? 0 : m_controlSent;
    if (job.lane == Control) ++m_controlSent;
    line.bytes += job.bytes;
    line.jobs.push_back(std::move(job));
    m_changed.notify_all();
    return true;
}

void ServerWorker::close(bool dropAll) {
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    for (Line& line : m_lines) {
        const auto isDropped = [dropAll](const Job& job) { return dropAll || job.done; };
        const auto count = std::erase_if(line.jobs, isDropped);
        if (&line == &m_lines[Control]) m_controlDone += count;
    }
    m_changed.notify_all();
}

bool ServerWorker::wasStarted() const {
    return std::any_of(m_lines.begin(), m_lines.end(),
                       [](const Line& line) { return line.thread.joinable(); });
}

bool ServerWorker::join(Clock::time_point deadline) {
    {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_until(lock, deadline, [this] { return m_isIdle; })) return false;
    }
    for (Line& line : m_lines)
        if (line.thread.joinable()) line.thread.join();
    return true;
}

void ServerWorker::abandon() {
    for (Line& line : m_lines)
        if (line.thread.joinable()) line.thread.detach();
}

bool ServerWorker::takeNext(Line& line, Job& job) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(
        lock, [&] { return line.jobs.empty() ? m_closed.load() : line.jobs.front().after <= m_controlDone; });
    if (line.jobs.empty()) return false;
    job = std::move(line.jobs.front());
    line.jobs.pop_front();
    line.bytes -= job.bytes;
    return true;
}

void ServerWorker::run(Line& line) {
    for (Job job; takeNext(line, job); job = {}) {
        perform(job);
        if (job.lane == Ordinary) continue;
        const std::lock_guard lock(m_mutex);
        ++m_controlDone;
        m_changed.notify_all();
    }
    {
        const std::lock_guard lock(m_mutex);
        if (--m_running > 0) return;
    }
    // No lane starts any more: this one ended because the worker is closed.
    endPeer();
}

void ServerWorker::endPeer() {
    try {
        m_root->peerClosed(m_peer);
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[VLRootObject peerClosed:]");
    }
    m_ended();
    const std::lock_guard lock(m_mutex);
    m_isIdle = true;
    m_changed.notify_all();
}

void ServerWorker::perform(const Job& job) {
    if (job.done) return performAndAnswer(job);
    try {
        (void)m_root->perform(job.selector, job.arguments, m_peer);
    } catch (const std::exception& exception) {
        if (m_log.take()) VLException::logException(exception, job.selector.left(100).toUtf8().constData());
    }
}

void ServerWorker::performAndAnswer(const Job& job) {
    Answer answer;
    if (job.answer)
        answer =
            std::make_shared<AnswerRoom::Answer>(m_room, *job.answer, [this] { return m_closed.load(); });
    if (answer && !*answer) return;  // nobody is there any more
    Outcome outcome = outcomeOf(job);
    if (answer) answer->setBytes(qint64(outcome->sizeInWords() * sizeof(capnp::word)));
    job.done(std::move(outcome), std::move(answer));
}

ServerWorker::Outcome ServerWorker::outcomeOf(const Job& job) const {
    const auto failure = [this](const VLException& exception) {
        auto message = std::make_shared<capnp::MallocMessageBuilder>();
        WireWriter(m_limits).write(message->initRoot<wire::Outcome>().initException(), exception);
        return message;
    };
    const auto failureSafely = [&](const VLException& exception) {
        try {
            return failure(exception);
        } catch (const VLException& unsendable) {
            return failure(VLException(exception.name(), unsendable.reason()));
        }
    };
    try {
        const QVariant result = m_root->perform(job.selector, job.arguments, m_peer);
        auto message = std::make_shared<capnp::MallocMessageBuilder>();
        WireWriter(m_limits).write(message->initRoot<wire::Outcome>().initValue(), result);
        return message;
    } catch (const VLException& exception) {
        return failureSafely(exception);
    } catch (const std::exception& exception) {
        return failureSafely(VLException(VLException::generic, QString::fromUtf8(exception.what())));
    }
}
