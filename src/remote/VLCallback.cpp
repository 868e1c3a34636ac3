#include "remote/VLCallback.h"

#include "foundation/MainThread.h"
#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"

VLCallback::VLCallback(QString name, Delegate delegate, QString hostname)
    : m_name(std::move(name)), m_hostname(std::move(hostname)), m_delegate(std::move(delegate)) {}

std::shared_ptr<VLCallback> VLCallback::callbackWithName(const QString& name, Delegate delegate,
                                                         const QString& hostname) {
    return std::shared_ptr<VLCallback>(new VLCallback(name, std::move(delegate), hostname));
}

void VLCallback::postCallback(const QVariantMap& info) {
    if (m_posted.exchange(true)) {
        complainOnce(QStringLiteral("Callback %1 was answered again; ignoring it.").arg(m_name));
        return;
    }
    m_info.set(info);
    if (!m_delegate) return;
    onMainThread([self = shared_from_this()] { self->m_delegate(self); });
}

/// An agent that goes on and on gets one line in the log.
void VLCallback::complainOnce(const QString& line) {
    if (!m_hasComplained.exchange(true)) VLLog::appendLog(line);
}

QVariant VLCallback::receive(const QString& selector, const QVariantList& arguments, const QString& sender) {
    using namespace VLCorvalinServerProtocol;
    const Operation* declared = operation(Side::Console, selector);
    const bool isOurs = declared && selector == QLatin1String("postCallback:");
    const QString error = isOurs ? argumentError(*declared, arguments) : QStringLiteral("unknown selector");
    if (error.isEmpty())
        postCallback(arguments.first().toMap());
    else
        complainOnce(
            QStringLiteral("Ignoring an answer of %1 to callback %2: %3.").arg(sender, m_name, error));
    return {};
}
