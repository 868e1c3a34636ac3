#pragma once

#include <QString>

class VLService;

/// How a client stands, as its row in the client list shows it.
struct ClientState {
    enum Kind { Connected, Connecting, Working, NotConnected, Attention };
    Kind kind = NotConnected;
    QString text;  ///< one line: the address, "Connecting…", "Not connected — reason"
    bool operator==(const ClientState&) const = default;
};

/// Any thread.
[[nodiscard]] ClientState clientState(const VLService& service);
