#pragma once

#include "system/Secret.h"

#include <QString>
#include <QStringList>

/// The administrators of the machine that the agent runs on. Any thread; blocks as long as PAM does.
namespace SystemAdministrators {

struct Rules {
    QStringList groups;     ///< membership of one of them makes an administrator; root always is one
    QString serviceFolder;  ///< where PAM finds the service "corvalin-agent"; empty: the system's folder
};

/// The account is an administrator's, may be used, and has this password.
[[nodiscard]] bool accepts(const Rules& rules, const QString& user, const Secret& password);

}  // namespace SystemAdministrators
