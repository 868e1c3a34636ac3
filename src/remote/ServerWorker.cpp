#include "remote/ServerWorker.h"

#include "logs/VLLog.h"
#include "remote/WireValue.h"

#include <algorithm>
#include <system_error>

ServerWorker::ServerWorker(std::shared_ptr<VLRootObject> root, const RemoteLimits& limits, quint64 peer,
                           std::function<void()> ended)
    : m_root(std::move(root)), m_limits(limits), m_peer(peer), m_ended(std::move(ended)) {}

bool ServerWorker::add(Job job) {
    const std::lock_guard lock(m_mutex);
    const bool full = m_jobs.size() >= std::size_t(std::max(1, m_limits.pendingCallbacks)) ||
                      (!m_jobs.empty() && m_bytes + job.bytes > m_limits.messageBytes);
    if (m_closed || full) return false;
    if (!m_thread.joinable()) {
        try {
            m_thread = std::thread([this] { run(); });
        } catch (const std::system_error&) {
            return false;
        }
    }
    m_bytes += job.bytes;
    m_jobs.push_back(std::move(job));
    m_changed.notify_one();
    return true;
}

void ServerWorker::close(bool dropAll) {
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    std::erase_if(m_jobs, [dropAll](const Job& job) { return dropAll || job.done; });
    m_changed.notify_one();
}

void ServerWorker::join() {
    if (m_thread.joinable()) m_thread.join();
}

bool ServerWorker::takeNext(Job& job) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_closed || !m_jobs.empty(); });
    if (m_jobs.empty()) return false;
    job = std::move(m_jobs.front());
    m_jobs.pop_front();
    m_bytes -= job.bytes;
    return true;
}

void ServerWorker::run() {
    for (Job job; takeNext(job); job = {})
        perform(job);
    try {
        m_root->peerClosed(m_peer);
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[VLRootObject peerClosed:]");
    }
    m_ended();
}

void ServerWorker::perform(const Job& job) {
    if (job.done) return job.done(outcomeOf(job));
    try {
        (void)m_root->perform(job.selector, job.arguments, m_peer);
    } catch (const std::exception& exception) {
        VLException::logException(exception, job.selector.toUtf8().constData());
    }
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
