#pragma once

#include "remote/RemoteClient.h"

#include <QString>
#include <QStringList>

/// What the authorization controller asks of the sheet. Main thread.
class AuthorizationView {
public:
    virtual ~AuthorizationView() = default;

    struct Prompt {
        RemoteClientPtr service;  ///< whose icon and name are shown
        QString text;
        QString userName;
        bool addToKeychain = true;  ///< how that box stands at first
        // What the administrator is asked for: a run with a name, or nothing.
        QString tool = {};           ///< its identifier; empty for the console's own
        QString action = {};         ///< "Remove 3 tasks"
        QStringList computers = {};  ///< the names of all that it is for
    };
    /// Begins the sheet over the main window, with the focus in the user name field.
    virtual void showSheet(const Prompt& prompt) = 0;
    /// Whether stored passwords outlive the program here; said a moment after the sheet was shown.
    virtual void setPasswordsKept(bool kept) = 0;
    /// While what was typed is being checked nothing else can be typed; skipping and cancelling stay
    /// possible.
    virtual void setChecking(bool checking) = 0;
    /// An alert over the sheet, which stays.
    virtual void showAlert(const QString& messageText, const QString& informativeText) = 0;
    /// Ends the sheet and empties both text fields.
    virtual void orderOut() = 0;
};
