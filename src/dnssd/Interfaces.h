#pragma once

#include <QStringList>

namespace dnssd {

/// The network interfaces that discovery keeps to; an empty list means whatever Avahi uses.
/// The environment variable CORVALIN_DISCOVERY_INTERFACES names them, separated by commas or spaces
/// ("lo" keeps everything on this machine).
[[nodiscard]] QStringList interfacesFromEnvironment();

/// Names of the loopback interfaces, normally just "lo".
[[nodiscard]] QStringList loopbackInterfaces();

/// Whether multicast DNS can work at all: some interface (of `allowed`, when given) is up, has an address,
/// and is loopback or multicast-capable.
[[nodiscard]] bool hasUsableInterface(const QStringList& allowed);

[[nodiscard]] bool isAllowedInterface(const QStringList& allowed, int interfaceIndex);

}  // namespace dnssd
