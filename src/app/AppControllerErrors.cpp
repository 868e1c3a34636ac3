// The controller's part in sending the error log, and in what agents answer after authorised tasks.
#include "app/AppController.h"
#include "app/MakerSite.h"
#include "foundation/VLBundle.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/VLCallback.h"

void AppController::uploadErrorLog(QObject* window) {
    const QString log = m_errorCallback->stringRepresentation();
    if (log.isEmpty() || !m_appServices.uploadErrorLog) return;
    QVariantMap fields{{QStringLiteral("logData"), log}};
    const QVariant version =
        VLBundle::mainBundle().objectForInfoDictionaryKey(QStringLiteral("CFBundleShortVersionString"));
    if (version.isValid()) fields.insert(QStringLiteral("version"), version);
    m_appServices.uploadErrorLog(MakerSite::errorLogUpload(), fields, window);
}

void AppController::objectDidPostCallback(const std::shared_ptr<VLCallback>& callback) {
    VLLog::appendLog(QStringLiteral("Callback received"));
    const QVariant output = callback->info().value(QStringLiteral("output"));
    if (callback->name() != QLatin1String("vlEncodemendScanFinished")) return;
    if (output.typeId() != QMetaType::QString) return;
    constexpr qsizetype longestOutput = 1'000'000;
    const QString text = output.toString().left(longestOutput);
    const QString hostName = callback->hostname();
    Q_EMIT encodemendScanFinished(m_services->friendlyServiceName(hostName), text);

    const bool isRefused = text.contains(QLatin1String("Unable to authorize"), Qt::CaseInsensitive) ||
                           text.contains(QLatin1String("Cannot authorize"), Qt::CaseInsensitive);
    if (!isRefused || hostName.isEmpty()) return;
    // The keychain may be slow.
    VLThread::detach(QStringLiteral("removeStoredPasswordForHost:"),
                     [forget = toolContext({}).removeStoredPasswordForHost, hostName] { forget(hostName); });
}
