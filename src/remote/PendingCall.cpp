#include "remote/PendingCall.h"

#include "remote/WireValue.h"

PendingCall::PendingCall(Kind kind, const QString& selector, const QVariantList& arguments,
                         const RemoteLimits& limits)
    : m_kind(kind), m_selector(selector) {
    m_message.emplace(kj::arrayPtr(m_room.data(), m_room.size()));
    auto params = m_message->initRoot<wire::Root::PerformParams>();
    WireWriter writer(limits);
    const QByteArray name = writer.text(selector);
    params.setSelector({name.constData(), std::size_t(name.size())});
    auto list = params.initArguments(static_cast<unsigned int>(arguments.size()));
    unsigned int index = 0;
    for (const QVariant& argument : arguments) {
        if (argument.typeId() == qMetaTypeId<VLCallbackTargetPtr>() && argument.value<VLCallbackTargetPtr>())
            m_references.append({index, argument.value<VLCallbackTargetPtr>()});
        else if (argument.typeId() != qMetaTypeId<VLCallbackTargetPtr>())
            writer.write(list[index].initValue(), argument);
        ++index;
    }
}

wire::Root::PerformParams::Reader PendingCall::params() {
    return m_message->getRoot<wire::Root::PerformParams>().asReader();
}

std::size_t PendingCall::bytes() {
    return m_message ? m_message->sizeInWords() * sizeof(capnp::word) : 0;
}

void PendingCall::releaseParams() {
    m_message.reset();
    m_references.clear();
}

void PendingCall::finish(QVariant result) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_done) return;
        m_result = std::move(result);
        m_done = true;
    }
    m_ended.notify_all();  // after the lock, so that the woken thread doesn't run into it
}

void PendingCall::fail(VLException error) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_done) return;
        m_error.emplace(std::move(error));
        m_done = true;
    }
    m_ended.notify_all();
}

bool PendingCall::waitFor(std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    const auto ended = [this] { return m_done; };
    if (limit > noTimeLimit) return m_ended.wait_for(lock, limit, ended);
    m_ended.wait(lock, ended);
    return true;
}

bool PendingCall::isDone() const {
    const std::lock_guard lock(m_mutex);
    return m_done;
}

QVariant PendingCall::takeResult() {
    const std::lock_guard lock(m_mutex);
    if (m_error) throw *std::exchange(m_error, std::nullopt);
    return std::move(m_result);
}
