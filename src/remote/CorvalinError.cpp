#include "base/VLFormat.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <array>

namespace CorvalinError {
namespace {

constexpr char unknown[] = "Unknown error. Please check error logs on the local machine.";

struct Message {
    Code code;
    bool install;  ///< fixed by installing or updating software on the client
    const char* text;
};

constexpr std::array messages{
    Message{None, false, ""},
    Message{ApplicationNotFound, true, "Application %@ not found."},
    Message{InfoPlistNotFound, true, "Could not find Info.plist file for application %@ not found."},
    Message{ApplicationOutdated, true, "Application %@ is outdated. Please update this application."},
    Message{TaskNotFound, true, "Task not found for application %@. Please update this application."},
    Message{DestinationBusy, false,
            "The task was canceled because the destination computer was too busy. Switch off this setting in "
            "the application's preferences in order to prevent this in the future."},
    Message{BadCredentials, false, "Incorrect username or password."},
    Message{NotInstalled, true,
            "Corvalin is not installed properly or the version you are using is outdated. Please install a "
            "recent version of Corvalin on this computer."},
    Message{ClientOutdated, true,
            "Corvalin Network Client is outdated on this machine. Please install a more recent version."},
    Message{SuiteOutdated, true,
            "Corvalin is outdated on this machine. Please install a more recent version."},
    Message{
        ConnectionTimedOut, false,
        "Connection timed out. Please make sure that you have the latest version of the client software."},
};

const Message* find(qlonglong code) {
    for (const Message& message : messages)
        if (message.code == code) return &message;
    return nullptr;
}

}  // namespace

QString message(qlonglong code, const QString& info) {
    const Message* found = find(code);
    if (!found) return QString::fromLatin1(unknown);
    const QString text = QString::fromLatin1(found->text);
    // Only texts with a place for the name go through formatting: a name is anybody's text.
    if (!text.contains(QLatin1String("%@"))) return text;
    return vlFormat(text, info.isEmpty() ? QStringLiteral("(unknown)") : info);
}

int actionType(qlonglong code) {
    const Message* found = find(code);
    return found && found->install ? 1 : 0;
}

}  // namespace CorvalinError
