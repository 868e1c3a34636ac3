#include "clients/ServicePasteboard.h"

#include "logs/VLLog.h"

namespace {

constexpr qint32 mostRecords = 100'000;
constexpr qsizetype mostBytes = 64 * 1024 * 1024;
constexpr int mostPictures = 64;
constexpr qsizetype largestPicture = 64 * 1024;

}  // namespace

QByteArray ServicePasteboard::encode(const QList<VLServicePtr>& services) {
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    stream.setVersion(VLService::archiveVersion);
    stream << static_cast<qint32>(services.size());
    for (const VLServicePtr& service : services)
        service->encode(stream);
    return data;
}

QList<VLServicePtr> ServicePasteboard::decode(const QByteArray& data,
                                              const std::function<bool(const QString&)>& isKnown) {
    QDataStream stream(data);
    stream.setVersion(VLService::archiveVersion);
    qint32 count = 0;
    stream >> count;
    if (stream.status() != QDataStream::Ok || count < 0 || count > mostRecords || data.size() > mostBytes) {
        VLLog::appendLog(QStringLiteral("What was dropped on the client list is not readable."));
        return {};
    }
    int pictures = 0;
    const auto takesPicture = [&](const QString& hostName, qsizetype size) {
        return size <= largestPicture && !(isKnown && isKnown(hostName)) && ++pictures <= mostPictures;
    };
    QList<VLServicePtr> services;
    for (qint32 i = 0; i < count; ++i) {
        const VLServicePtr service = VLService::decode(stream, takesPicture);
        if (!service) return {};
        services << service;
    }
    return services;
}
