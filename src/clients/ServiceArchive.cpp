#include "clients/ServiceArchive.h"

#include "logs/VLLog.h"

void ServiceArchive::write(QDataStream& stream) const {
    stream << name << hostName << picture;
    stream << QStringLiteral("port") << static_cast<qint32>(port);
    stream << QStringLiteral("isConnected") << isConnected;
    stream << QStringLiteral("needsMaintenance") << needsMaintenance;
}

std::optional<ServiceArchive> ServiceArchive::read(QDataStream& stream) {
    ServiceArchive archive;
    QString portKey, connectedKey, maintenanceKey;
    qint32 port = 0;
    stream >> archive.name >> archive.hostName >> archive.picture >> portKey >> port >> connectedKey >>
        archive.isConnected >> maintenanceKey >> archive.needsMaintenance;
    const bool known = portKey == u"port" && connectedKey == u"isConnected" &&
                       maintenanceKey == u"needsMaintenance" && port >= 0 && port <= 65535;
    if (stream.status() != QDataStream::Ok || !known) {
        VLLog::appendLog(QStringLiteral("A stored client could not be read."));
        return std::nullopt;
    }
    archive.port = port;
    return archive;
}
