#include "clients/ServicePasteboard.h"

#include "logs/VLLog.h"

namespace {

constexpr qint32 mostRecords = 100'000;

}  // namespace

QByteArray ServicePasteboard::encode(const QList<VLServicePtr>& services) {
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    stream.setVersion(VLService::archiveVersion);
    stream << static_cast<qint32>(services.size());
    for (const VLServicePtr& service : services)
        service->encode(stream, false);
    return data;
}

QList<VLServicePtr> ServicePasteboard::decode(const QByteArray& data) {
    QDataStream stream(data);
    stream.setVersion(VLService::archiveVersion);
    qint32 count = 0;
    stream >> count;
    if (stream.status() != QDataStream::Ok || count < 0 || count > mostRecords) {
        VLLog::appendLog(QStringLiteral("What was dropped on the client list is not readable."));
        return {};
    }
    QList<VLServicePtr> services;
    for (qint32 i = 0; i < count; ++i) {
        const VLServicePtr service = VLService::decode(stream);
        if (!service) return {};
        services << service;
    }
    return services;
}
