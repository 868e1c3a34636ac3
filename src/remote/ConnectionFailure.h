#pragma once

#include "system/VLException.h"

#include <QString>
#include <QVariant>

#include <exception>

/// Why a client could not be reached, or was lost: what a connection's error texts come from.
enum class ConnectionFailure {
    None,
    Refused,        ///< nothing listens on the port
    Unreachable,    ///< no route to the address
    NoAnswer,       ///< nothing came back in time
    HostNotFound,   ///< the host name has no address
    BadAddress,     ///< the address or port is none
    NotAuthorized,  ///< the agent does not know this console's certificate
    ChangedKey,     ///< the agent shows another certificate than the pinned one
    UnreadableKey,  ///< the pinned certificate cannot be read
    NotCorvalin,    ///< something that is no agent answers
    HungUp,         ///< the other end closed before its first answer
    Garbage,        ///< what came cannot be read
    Silent,         ///< no sign of life for too long
    Lost,           ///< a standing connection was closed or broke
    NotAnnounced,   ///< neither entered by hand nor advertised any more
    AgentFault,     ///< the agent answers, but not what it was asked for
    Other,
};

/// An exception that carries its kind.
[[nodiscard]] VLException connectionException(const QString& name, ConnectionFailure failure,
                                              const QString& reason, QVariantMap userInfo = {});
/// The kind that an exception carries, else what its name says. Never None.
[[nodiscard]] ConnectionFailure connectionFailure(const std::exception& exception);
/// The kind for an error of the socket layer (errno).
[[nodiscard]] ConnectionFailure connectionFailure(int systemError);
