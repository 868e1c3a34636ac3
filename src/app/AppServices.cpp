#include "app/AppServices.h"

#include "desktop/VLAuthorization.h"
#include "logs/VLLog.h"

AppServices AppServices::standard() {
    AppServices services;
    services.startFaultpost = [] { return false; };
    services.stopFaultpost = [] {};
    services.authStart = [] { return VLAuthorization::sharedController().authStart(); };
    services.canAuthenticate = VLAuthorization::isAvailable();
    services.checkForUpdatesToSelf = [] {
        VLLog::appendLog(QStringLiteral("This version does not look for newer ones of itself."));
        return false;
    };
    return services;
}
