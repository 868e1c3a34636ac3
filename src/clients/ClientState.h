#pragma once

#include <QCoreApplication>
#include <QString>

class VLService;

/// How a client stands, as its row in the client list shows it.
struct ClientState {
    enum Kind { Connected, Connecting, Working, NotConnected, Attention, Disabled };
    Kind kind = NotConnected;
    QString text;  ///< one line: the address, "Connecting…", "Not connected — reason"
    bool operator==(const ClientState&) const = default;
    Q_DECLARE_TR_FUNCTIONS(ClientState)
};

/// Any thread.
[[nodiscard]] ClientState clientState(const VLService& service);

/// The machine's model ("MacPro4,1"), as it is advertised or else configured; empty when unknown. Any thread.
[[nodiscard]] QString clientModel(const VLService& service);
