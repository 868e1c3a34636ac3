#pragma once

#include "remote/VLProxyObject.h"

#include <QImage>
#include <QString>

#include <chrono>

/// The picture of a client's machine: the stored one, or what its agent sends, which is stored then.
struct ServicePicture {
    QString name;      ///< of the client, for the log
    QString hostName;  ///< under which the picture is stored
    QString cacheDirectory;
    VLProxyObjectPtr proxy;           ///< null without a connection
    std::chrono::milliseconds limit;  ///< for the agent's answer

    /// Null where there is none that can be shown. Asks the agent, so it may block; never throws.
    [[nodiscard]] QImage fetch() const;
};
