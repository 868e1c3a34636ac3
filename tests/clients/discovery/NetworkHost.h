#pragma once

#include <QString>
#include <QStringList>

#include <functional>

/// A thread with a network of its own, as if it were another machine. Threads and processes that `body`
/// starts belong to that machine too.
class NetworkHost {
public:
    /// Runs `body` on a new thread in a new network, where no interface is up yet, and waits for its end.
    /// The reason why that can't be done here, or nothing.
    static QString run(const QString& hostName, const std::function<void()>& body);

    /// For the thread of a NetworkHost.
    static void bringLoopbackUp();
    [[nodiscard]] static int threadId();
    /// Runs one command ("ip link ..."); false when it failed.
    static bool command(const QStringList& words);
};
