#include "clients/ServicePicture.h"

#include "clients/MachineIcons.h"
#include "clients/ServiceIconCache.h"
#include "logs/VLLog.h"
#include "system/VLException.h"

QImage ServicePicture::fetch() const {
    const QString selector = QStringLiteral("computerIcon");
    try {
        ServiceIconCache cache(cacheDirectory);
        if (const auto cached = cache.find(hostName)) {
            VLLog::appendLog(QStringLiteral("Getting cached icon for service %@..."), name);
            if (QImage picture = MachineIcons::decode(*cached); !picture.isNull()) return picture;
        }
        VLLog::appendLog(QStringLiteral("Getting remote icon for service %@..."), name);
        if (!proxy || !proxy->respondsToSelector(selector, limit)) return {};
        const QVariant answer = proxy->perform(selector, {}, limit);
        if (!answer.isValid()) return {};
        QString error = QStringLiteral("it is no data");
        QImage picture = answer.typeId() == QMetaType::QByteArray
                             ? MachineIcons::decode(answer.toByteArray(), &error)
                             : QImage();
        if (picture.isNull())
            VLLog::appendLog(QStringLiteral("The picture of %@ cannot be used: %@"), name, error);
        else
            cache.store(hostName, answer.toByteArray());
        return picture;
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[VLService fetchServiceIcon]");
        return {};
    }
}
