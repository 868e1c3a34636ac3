#include "agent/identity/MaintenanceRequest.h"

#include <QDir>
#include <QFile>

namespace {

QString requestPath(const QString& stateDirectory) {
    return stateDirectory + QStringLiteral("/maintenance-requested");
}

}  // namespace

bool MaintenanceRequest::isRequested(const QString& stateDirectory) {
    return QFile::exists(requestPath(stateDirectory));
}

bool MaintenanceRequest::request(const QString& stateDirectory) {
    QFile file(requestPath(stateDirectory));
    return QDir().mkpath(stateDirectory) && file.open(QIODevice::WriteOnly);
}

bool MaintenanceRequest::cancel(const QString& stateDirectory) {
    return !isRequested(stateDirectory) || QFile::remove(requestPath(stateDirectory));
}
