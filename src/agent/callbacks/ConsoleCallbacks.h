#pragma once

#include "foundation/Snapshot.h"
#include "remote/VLProxyObject.h"
#include "system/VLException.h"

#include <QHash>
#include <QString>
#include <QVariant>

#include <chrono>
#include <mutex>
#include <optional>

/// The consoles that are connected, and the callback objects that they have handed over, one per connection.
///
/// A console takes only what names this machine as it knows it. So whatever host name a callback is posted
/// with, it goes out with the one that was valid when that console last fetched the configuration: after this
/// machine got another name, "updateConfig:" has to arrive under the former one. Any thread.
class ConsoleCallbacks {
public:
    /// `hostName` is the machine's present one, and outlives this object.
    explicit ConsoleCallbacks(const Snapshot<QString>& hostName) : m_hostName(hostName) {}

    /// `console` names the one behind the connection.
    void opened(quint64 peer, const QString& console);
    /// A later object of the same connection takes the place of the earlier one.
    void set(quint64 peer, VLRemoteCallbackPtr callback);
    void fetchedConfiguration(quint64 peer);
    void remove(quint64 peer);

    /// How many have handed over a callback object.
    [[nodiscard]] int count() const;
    /// Who is behind that connection, the same when it connects anew.
    [[nodiscard]] QString consoleOf(quint64 peer) const;
    /// The host name by which that console knows this machine.
    [[nodiscard]] QString hostNameFor(quint64 peer) const;

    /// For what concerns every console: maintenance, configuration, good-bye.
    void postToAll(const QString& selector, const QVariantList& arguments = {});
    /// To the console behind `peer`; to nobody when that one has handed over no object.
    void postToCaller(quint64 peer, const QString& selector, const QVariantList& arguments = {});
    /// Waits, at most `limit` for all together, until every console has received what was posted to it.
    void waitUntilReceived(std::chrono::milliseconds limit);
    /// A failure for the error queue of the console behind `peer`: as an error when it has a code, else as an
    /// exception.
    void postFailure(quint64 peer, const VLException& error, const QString& hostName);
    /// Why an operation was not done, for the error queue: an error when it has a code, else a text. What
    /// goes with it has "refused" = 1 and the operation's selector under "operation".
    void postRefusal(quint64 peer, const VLException& error, const QString& selector);

    /// After a silence of that length a callback is preceded by "ping", which shows what is dead.
    void setLongSilence(std::chrono::milliseconds silence);

private:
    using Clock = std::chrono::steady_clock;
    struct Console {
        QString name;
        QString knownHostName;  ///< empty before it has fetched the configuration
        VLRemoteCallbackPtr callback;
        std::optional<Clock::time_point> lastPost;
    };
    [[nodiscard]] QString nameFor(const Console& console) const;

    const Snapshot<QString>& m_hostName;
    mutable std::mutex m_mutex;
    QHash<quint64, Console> m_consoles;
    std::chrono::milliseconds m_longSilence = std::chrono::minutes(5);
};
