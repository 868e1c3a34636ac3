#pragma once

#include "remote/RemoteClient.h"

#include <QString>

/// What the authorization controller asks of the sheet. Main thread.
class AuthorizationView {
public:
    virtual ~AuthorizationView() = default;

    struct Prompt {
        RemoteClientPtr service;  ///< whose icon and name are shown
        QString text;
        QString userName;
        bool addToKeychain = true;  ///< how that box stands at first
    };
    /// Begins the sheet over the main window, with the focus in the user name field.
    virtual void showSheet(const Prompt& prompt) = 0;
    /// While what was typed is being checked nothing else can be typed; skipping and cancelling stay
    /// possible.
    virtual void setChecking(bool checking) = 0;
    /// An alert over the sheet, which stays.
    virtual void showAlert(const QString& messageText, const QString& informativeText) = 0;
    /// Ends the sheet and empties both text fields.
    virtual void orderOut() = 0;
};
