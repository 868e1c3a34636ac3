#include "agent/authorization/AgentTasks.h"

#include "remote/VLCorvalinServerProtocol.h"
#include "system/VLException.h"

namespace {

[[noreturn]] void fail(CorvalinError::Code code, const QString& bundleID) {
    const QString application = bundleID.left(255);
    throw VLException(VLException::generic, CorvalinError::message(code, application),
                      {{QStringLiteral("domain"), QLatin1String(CorvalinError::domain)},
                       {QStringLiteral("code"), qlonglong(code)},
                       {QStringLiteral("info"), application}});
}

}  // namespace

QString AgentTasks::run(quint64 peer, const QString& task, const QString& bundleID,
                        const QVariantMap& options) const {
    const auto application = m_applications.constFind(bundleID);
    if (application == m_applications.constEnd()) fail(CorvalinError::ApplicationNotFound, bundleID);
    return (*application)(peer, task, options);
}

void AgentTasks::taskNotFound(const QString& bundleID) {
    fail(CorvalinError::TaskNotFound, bundleID);
}
