#include "agent/callbacks/ConsoleCallbacks.h"

#include "remote/VLCorvalinServerProtocol.h"

#include <algorithm>
#include <utility>

namespace {

/// The arguments of a callback, with `hostName` wherever they name the machine.
QVariantList withHostName(const QString& selector, QVariantList arguments, const QString& hostName) {
    using namespace VLCorvalinServerProtocol;
    const Operation* declared = operation(Side::Console, selector);
    if (!declared) return arguments;
    const auto count = std::min<qsizetype>(std::ssize(declared->arguments), arguments.size());
    for (qsizetype i = 0; i < count; ++i) {
        const QLatin1StringView name(declared->arguments[static_cast<std::size_t>(i)].name);
        if (name == hostNameKey) {
            arguments[i] = hostName;
        } else if (name == QLatin1StringView("userInfo")) {
            QVariantMap userInfo = arguments.at(i).toMap();
            userInfo.insert(hostNameKey, hostName);
            arguments[i] = userInfo;
        }
    }
    return arguments;
}

}  // namespace

void ConsoleCallbacks::opened(quint64 peer, const QString& console) {
    const std::lock_guard lock(m_mutex);
    m_consoles[peer].name = console;
}

void ConsoleCallbacks::set(quint64 peer, VLRemoteCallbackPtr callback) {
    if (!callback) return;
    const std::lock_guard lock(m_mutex);
    std::swap(m_consoles[peer].callback, callback);  // the earlier one is let go of after the lock
}

void ConsoleCallbacks::fetchedConfiguration(quint64 peer) {
    const QString hostName = m_hostName.get();
    const std::lock_guard lock(m_mutex);
    m_consoles[peer].knownHostName = hostName;
}

void ConsoleCallbacks::remove(quint64 peer) {
    Console released;  // let go of after the lock
    const std::lock_guard lock(m_mutex);
    released = m_consoles.take(peer);
}

int ConsoleCallbacks::count() const {
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(std::count_if(m_consoles.cbegin(), m_consoles.cend(), [](const Console& console) {
        return console.callback != nullptr;
    }));
}

QString ConsoleCallbacks::consoleOf(quint64 peer) const {
    const std::lock_guard lock(m_mutex);
    return m_consoles.value(peer).name;
}

QString ConsoleCallbacks::nameFor(const Console& console) const {
    return console.knownHostName.isEmpty() ? m_hostName.get() : console.knownHostName;
}

QString ConsoleCallbacks::hostNameFor(quint64 peer) const {
    const std::lock_guard lock(m_mutex);
    return nameFor(m_consoles.value(peer));
}

void ConsoleCallbacks::setLongSilence(std::chrono::milliseconds silence) {
    const std::lock_guard lock(m_mutex);
    m_longSilence = silence;
}

void ConsoleCallbacks::postToAll(const QString& selector, const QVariantList& arguments) {
    QList<quint64> peers;
    {
        const std::lock_guard lock(m_mutex);
        peers = m_consoles.keys();
    }
    for (const quint64 peer : std::as_const(peers))
        postToCaller(peer, selector, arguments);
}

void ConsoleCallbacks::postToCaller(quint64 peer, const QString& selector, const QVariantList& arguments) {
    VLRemoteCallbackPtr callback;
    QString hostName;
    bool wasSilent = false;
    {
        const std::lock_guard lock(m_mutex);
        const auto console = m_consoles.find(peer);
        if (console == m_consoles.end() || !console->callback) return;
        const auto now = Clock::now();
        wasSilent = console->lastPost && now - *console->lastPost >= m_longSilence;
        console->lastPost = now;
        callback = console->callback;
        hostName = nameFor(*console);
    }
    if (wasSilent) callback->post(QStringLiteral("ping"));
    callback->post(selector, withHostName(selector, arguments, hostName));
}

/// "cancelProcessing" does nothing but is answered, in its turn.
void ConsoleCallbacks::waitUntilReceived(std::chrono::milliseconds limit) {
    QList<VLRemoteCallbackPtr> callbacks;
    {
        const std::lock_guard lock(m_mutex);
        for (const Console& console : std::as_const(m_consoles))
            if (console.callback) callbacks.append(console.callback);
    }
    const auto end = Clock::now() + limit;
    for (const VLRemoteCallbackPtr& callback : std::as_const(callbacks)) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (rest <= std::chrono::milliseconds::zero()) return;
        try {
            callback->perform(QStringLiteral("cancelProcessing"), {}, rest);
        } catch (const VLException&) {
            // It is gone already, or too slow: nobody is waited for any longer than that.
        }
    }
}

void ConsoleCallbacks::postFailure(quint64 peer, const VLException& error, const QString& hostName) {
    if (error.userInfo().contains(QStringLiteral("code")))
        return postToCaller(peer, QStringLiteral("addErrorToQueue:hostname:"), {error.userInfo(), hostName});
    postToCaller(
        peer, QStringLiteral("addExceptionToQueue:hostname:"),
        {QVariantMap{{QStringLiteral("name"), error.name()}, {QStringLiteral("reason"), error.reason()}},
         hostName});
}

void ConsoleCallbacks::postRefusal(quint64 peer, const VLException& error, const QString& selector) {
    const QVariantMap userInfo{{QStringLiteral("refused"), 1LL}, {QStringLiteral("operation"), selector}};
    if (error.userInfo().contains(QStringLiteral("code")))
        return postToCaller(peer, QStringLiteral("addErrorToQueue:userInfo:"), {error.userInfo(), userInfo});
    postToCaller(peer, QStringLiteral("addStringToQueue:userInfo:"), {error.reason(), userInfo});
}
