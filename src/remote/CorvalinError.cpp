#include "base/VLFormat.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <QCoreApplication>

#include <array>

namespace CorvalinError {
namespace {

constexpr char unknown[] =
    QT_TRANSLATE_NOOP("CorvalinError", "Unknown error. Please check error logs on the local machine.");

struct Message {
    Code code;
    bool install;  ///< fixed by installing or updating software on the client
    const char* text;
};

constexpr std::array messages{
    Message{None, false, ""},
    Message{ApplicationNotFound, true, QT_TRANSLATE_NOOP("CorvalinError", "Application %@ not found.")},
    Message{
        InfoPlistNotFound, true,
        QT_TRANSLATE_NOOP("CorvalinError", "Could not find Info.plist file for application %@ not found.")},
    Message{
        ApplicationOutdated, true,
        QT_TRANSLATE_NOOP("CorvalinError", "Application %@ is outdated. Please update this application.")},
    Message{TaskNotFound, true,
            QT_TRANSLATE_NOOP("CorvalinError",
                              "Task not found for application %@. Please update this application.")},
    Message{
        DestinationBusy, false,
        QT_TRANSLATE_NOOP(
            "CorvalinError",
            "The task was canceled because the destination computer was too busy. Switch off this setting in "
            "the application's preferences in order to prevent this in the future.")},
    Message{BadCredentials, false, QT_TRANSLATE_NOOP("CorvalinError", "Incorrect username or password.")},
    Message{
        NotInstalled, true,
        QT_TRANSLATE_NOOP(
            "CorvalinError",
            "Corvalin is not installed properly or the version you are using is outdated. Please install a "
            "recent version of Corvalin on this computer.")},
    Message{
        ClientOutdated, true,
        QT_TRANSLATE_NOOP(
            "CorvalinError",
            "Corvalin Network Client is outdated on this machine. Please install a more recent version.")},
    Message{SuiteOutdated, true,
            QT_TRANSLATE_NOOP("CorvalinError",
                              "Corvalin is outdated on this machine. Please install a more recent version.")},
    Message{ConnectionTimedOut, false,
            QT_TRANSLATE_NOOP("CorvalinError",
                              "Connection timed out. Please make sure that you have the latest version of "
                              "the client software.")},
};

const Message* find(qlonglong code) {
    for (const Message& message : messages)
        if (message.code == code) return &message;
    return nullptr;
}

}  // namespace

QString message(qlonglong code, const QString& info) {
    const Message* found = find(code);
    if (!found) return QCoreApplication::translate("CorvalinError", unknown);
    const QString text = QCoreApplication::translate("CorvalinError", found->text);
    // Only texts with a place for the name go through formatting: a name is anybody's text.
    if (!text.contains(QLatin1String("%@"))) return text;
    return vlFormat(text, info.isEmpty() ? QStringLiteral("(unknown)") : info);
}

int actionType(qlonglong code) {
    const Message* found = find(code);
    return found && found->install ? 1 : 0;
}

}  // namespace CorvalinError
