#pragma once

#include "remote/ChangeTurn.h"
#include "remote/VLProxyObject.h"

#include <QList>
#include <QString>

#include <memory>

/// What the runners need of a client record (VLService). Any thread.
class RemoteClient {
public:
    virtual ~RemoteClient() = default;

    [[nodiscard]] virtual QString name() const = 0;
    [[nodiscard]] virtual QString hostName() const = 0;
    [[nodiscard]] virtual bool enabled() const = 0;
    /// Last connection or configuration error, 0 for none.
    [[nodiscard]] virtual int errorCode() const = 0;
    [[nodiscard]] virtual bool isConnected() const = 0;
    /// Why there is no connection, in plain words; may be empty.
    [[nodiscard]] virtual QString connectionError() const { return {}; }
    virtual void setIsConnected(bool connected) = 0;
    /// The agent's root object, or null.
    [[nodiscard]] virtual VLProxyObjectPtr proxyObject() const = 0;
    /// Starts connecting on the client's own thread and returns; `errorCallback` is handed to the agent.
    virtual void connectOnThread(VLCallbackTargetPtr errorCallback) = 0;
    virtual void setIsProcessing(bool processing) = 0;
    /// Names the key by which the agent behind this record is known; empty where it has none. A host name
    /// anybody may claim; a password is given only to the agent that it was typed for.
    [[nodiscard]] virtual QString identity() const { return {}; }
    /// Runs that change something on it wait for one another here.
    [[nodiscard]] ChangeTurn& changeTurn() { return m_changeTurn; }

private:
    ChangeTurn m_changeTurn;
};
using RemoteClientPtr = std::shared_ptr<RemoteClient>;
