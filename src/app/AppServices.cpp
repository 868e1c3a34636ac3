#include "app/AppServices.h"

#include "logs/VLLog.h"

AppServices AppServices::standard() {
    AppServices services;
    services.startFaultpost = [] { return false; };
    services.stopFaultpost = [] {};
    services.authStart = [] {
        // Whoever asked for the password wants the console locked; without a way to ask it stays locked.
        VLLog::appendLogAndPrint(QStringLiteral(
            "An administrator password is required, and this version has no means to ask for one."));
        return false;
    };
    services.checkForUpdatesToSelf = [] {
        VLLog::appendLog(QStringLiteral("This version does not look for newer ones of itself."));
    };
    services.removeStoredPasswordForHost = [](const QString& hostName) {
        VLLog::appendLog(QStringLiteral("No password is stored for %@."), hostName);
    };
    return services;
}
