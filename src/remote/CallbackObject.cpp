#include "remote/CallbackObject.h"

#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "remote/WireValue.h"

#include <kj/debug.h>

#include <algorithm>

namespace {

/// A second's worth of tokens, as a multiple of the calls that may be pending.
constexpr double refillsPerSecond = 4;
constexpr auto pace = 25 * kj::MILLISECONDS;
constexpr qsizetype longestSelectorShown = 120;

double seconds(kj::Duration duration) {
    return double(duration / kj::MICROSECONDS) / 1e6;
}

}  // namespace

CallbackGate::CallbackGate(kj::Timer& timer, const RemoteLimits& limits)
    : m_timer(timer),
      m_limit(std::size_t(std::max(1, limits.pendingCallbacks))),
      m_bytesLimit(limits.messageBytes),
      m_bytesPerSecond(double(limits.callbackBytesPerSecond)),
      m_tokens(double(m_limit)),
      m_byteTokens(m_bytesPerSecond),
      m_refilled(timer.now()) {}

void CallbackGate::refill() {
    const auto now = m_timer.now();
    const double elapsed = seconds(now - m_refilled);
    m_tokens = std::min(double(m_limit), m_tokens + elapsed * double(m_limit) * refillsPerSecond);
    m_byteTokens = std::min(m_bytesPerSecond, m_byteTokens + elapsed * m_bytesPerSecond);
    m_refilled = now;
}

/// A call larger than a second's worth must pass too: it is let in on credit, and the next ones wait for it.
bool CallbackGate::take(std::size_t bytes) {
    if (m_tokens < 1 || m_byteTokens <= 0) return false;
    m_tokens -= 1;
    m_byteTokens -= double(bytes);
    return true;
}

kj::Promise<void> CallbackGate::enter(std::size_t bytes) {
    refill();
    if (m_waiting.empty() && take(bytes)) return kj::READY_NOW;
    if (m_waiting.size() >= m_limit || m_waitingBytes + bytes > m_bytesLimit)
        return KJ_EXCEPTION(OVERLOADED, "Too many calls are waiting.");

    auto pair = kj::newPromiseAndFulfiller<void>();
    m_waiting.push_back({kj::mv(pair.fulfiller), bytes});
    m_waitingBytes += bytes;
    if (!m_running) {
        m_running = true;
        m_task = letIn().eagerlyEvaluate([](kj::Exception&&) {});
    }
    return kj::mv(pair.promise);
}

kj::Promise<void> CallbackGate::letIn() {
    return m_timer.afterDelay(pace).then([this]() -> kj::Promise<void> {
        refill();
        while (!m_waiting.empty() && take(m_waiting.front().bytes)) {
            m_waitingBytes -= m_waiting.front().bytes;
            m_waiting.front().fulfiller->fulfill();
            m_waiting.pop_front();
        }
        m_running = !m_waiting.empty();
        if (!m_running) return kj::READY_NOW;
        return letIn();
    });
}

kj::Promise<void> CallbackObject::perform(PerformContext context) {
    const auto bytes = context.getParams().totalSize().wordCount * sizeof(capnp::word);
    return m_context->gate.enter(bytes).then([this, context]() mutable { receive(context); });
}

QVariantList CallbackObject::readArguments(capnp::List<wire::Argument>::Reader source) const {
    WireReader reader(m_context->limits);
    QVariantList arguments;
    for (const auto argument : source) {
        if (!argument.isValue())
            throw VLException(VLException::invalidArgument,
                              QStringLiteral("A callback takes no references to objects."));
        arguments.append(reader.read(argument.getValue()));
    }
    return arguments;
}

void CallbackObject::receive(PerformContext& context) {
    bool oneway = false;
    QString selector;
    try {
        const auto params = context.getParams();
        selector = WireReader(m_context->limits).text(params.getSelector());
        const auto* operation =
            VLCorvalinServerProtocol::operation(VLCorvalinServerProtocol::Side::Console, selector);
        oneway = operation && operation->mode == VLCorvalinServerProtocol::Mode::Oneway;

        const QVariantList arguments = readArguments(params.getArguments());
        context.releaseParams();

        m_context->receiving = true;
        KJ_DEFER(m_context->receiving = false);
        const QVariant result = m_target->receive(selector, arguments, m_context->label->get());
        if (oneway) return;
        WireWriter(m_context->limits).write(context.getResults().initOutcome().initValue(), result);
    } catch (const kj::Exception& exception) {
        if (m_context->log.take())
            VLLog::appendLog(QStringLiteral("A malformed callback of %@ is ignored: %@"),
                             m_context->label->get(), fromKj(exception.getDescription()));
        throw;
    } catch (const std::exception& exception) {
        const auto* named = dynamic_cast<const VLException*>(&exception);
        const VLException error =
            named ? *named : VLException(VLException::generic, QString::fromUtf8(exception.what()));
        if (m_context->log.take())
            VLLog::appendLog(QStringLiteral("The callback %@ of %@ failed: %@ - %@"),
                             selector.left(longestSelectorShown), m_context->label->get(), error.name(),
                             error.reason());
        if (oneway) return;
        WireWriter(m_context->limits).write(context.getResults().initOutcome().initException(), error);
    }
}
