#pragma once

#include "foundation/VLThread.h"
#include "remote/FakeRemote.h"
#include "remote/RemoteRunner.h"

inline constexpr std::chrono::seconds patience{30};  ///< never reached unless something is broken

inline QString latin(const char* text) {
    return QString::fromLatin1(text);
}

/// Runs `body` on a worker while the main thread serves hand-offs.
inline bool onWorker(std::function<void()> body) {
    const auto done = std::make_shared<std::atomic<bool>>(false);
    VLThread::detach(QStringLiteral("test"), [body = std::move(body), done] {
        body();
        *done = true;
    });
    return MainThread::waitUntil([done] { return done->load(); }, patience);
}

/// A runner over clients in memory, and what it reported.
struct Bench {
    FakeProgress progress;
    QList<FakeClientPtr> clients;
    int processors = 4;
    std::atomic<int> leftOut{0};
    std::mutex mutex;
    QStringList failures;
    RemoteRunner runner{environment()};

    RemoteRunner::Environment environment() {
        return {
            .progress = &progress,
            .selectedServices = [this] { return QList<RemoteClientPtr>(clients.cbegin(), clients.cend()); },
            .errorCallback = nullptr,
            .processorCount = [this] { return processors; },
            .clientsLeftOut = [this](int count) { leftOut = count; },
            .clientFailed =
                [this](const QString& hostName, const QString& reason) {
                    const std::lock_guard lock(mutex);
                    failures.append(hostName + QLatin1String(": ") + reason);
                }};
    }
    void addClients(int count, const FakeProxy::Answer& answer = {}) {
        for (int i = 0; i < count; ++i)
            clients.append(std::make_shared<FakeClient>(QStringLiteral("c%1").arg(i), answer));
    }
    /// What the many-client read of the plug-in lists gave.
    QVariant readAll(const QString& selector = QStringLiteral("addonryPluginList")) {
        QVariant result = QStringLiteral("not run");
        if (!onWorker([&] { result = runner.objectsFromRemoteMethod(selector); }))
            return QStringLiteral("stuck");
        return result;
    }
    [[nodiscard]] QList<int> sentCounts() const {
        QList<int> counts;
        for (const FakeClientPtr& client : clients)
            counts.append(static_cast<int>(client->proxy->sent().size()));
        return counts;
    }
};
