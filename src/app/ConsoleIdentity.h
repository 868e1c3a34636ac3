#pragma once

#include "remote/TlsIdentity.h"

#include <QString>

#include <memory>

/// The console's own key pair and the certificates of the agents that it has met, both in the user's
/// settings.
namespace ConsoleIdentity {

/// Made at the first call ever. Throws VLException when it can be neither read nor made.
[[nodiscard]] TlsIdentity load();
[[nodiscard]] std::shared_ptr<PinnedCertificates> pins();
/// Writes the certificate (PEM), by which an administrator authorises this console on agents. Throws
/// VLException.
void exportCertificate(const QString& path);

}  // namespace ConsoleIdentity
