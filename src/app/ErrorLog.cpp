#include "app/ErrorLog.h"

#include "app/MakerSite.h"
#include "base/VLBundle.h"
#include "base/VLFormat.h"
#include "remote/VLCorvalinServerProtocol.h"

ErrorLog::ErrorLog(std::shared_ptr<VLErrorCallback> errors, Upload upload)
    : m_errors(std::move(errors)), m_upload(std::move(upload)) {}

void ErrorLog::postError(const QVariantMap& userInfo) {
    const qlonglong code = userInfo.value(ErrorKey::errorCode).toLongLong();
    const QString hostName = userInfo.value(ErrorKey::hostName).toString();
    if (code < 1 || hostName.isEmpty()) return;
    m_errors->addErrorToQueue(QVariantMap{{QStringLiteral("domain"), QLatin1String(CorvalinError::domain)},
                                          {QStringLiteral("code"), code}},
                              hostName);
}

void ErrorLog::clearErrorLog() {
    m_errors->clearErrorQueue();
    Q_EMIT errorQueueChanged();
}

QString ErrorLog::errorLabel() const {
    const int count = static_cast<int>(m_errors->errorCount());
    if (count == 0) return {};
    return vlFormat(count == 1 ? tr("%i error") : tr("%i errors"), count);
}

void ErrorLog::uploadErrorLog(QObject* window) {
    const QString log = m_errors->stringRepresentation();
    if (log.isEmpty() || !m_upload) return;
    QVariantMap fields{{QStringLiteral("logData"), log}};
    const QVariant version =
        VLBundle::mainBundle().objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString"));
    if (version.isValid()) fields.insert(QStringLiteral("version"), version);
    m_upload(MakerSite::errorLogUpload(), fields, window);
}
