#include "agent/dispatch/OperationTable.h"

#include "system/VLException.h"

namespace {

using namespace VLCorvalinServerProtocol;

[[noreturn]] void refuse(const QString& reason) {
    throw VLException(VLException::invalidArgument, reason);
}

}  // namespace

void OperationTable::add(const QString& selector, Handler handler) {
    const auto* declared = VLCorvalinServerProtocol::operation(Side::Agent, selector);
    if (declared == nullptr) refuse(QStringLiteral("The protocol has no operation %1").arg(selector));
    if (contains(selector)) refuse(QStringLiteral("There are two handlers for %1").arg(selector));
    m_handlers.insert(selector, {declared, std::move(handler)});
}

QVariant OperationTable::perform(const QString& selector, const OperationCall& call) const {
    const auto found = m_handlers.constFind(selector);
    if (found == m_handlers.constEnd())
        refuse(QStringLiteral("This agent does not respond to the selector %1").arg(selector.left(100)));
    if (const QString error = argumentError(*found->operation, call.arguments); !error.isEmpty())
        refuse(QStringLiteral("%1: %2").arg(selector, error));
    QVariant result = found->handler(call);
    return found->operation->mode == Mode::Oneway ? QVariant() : result;
}
