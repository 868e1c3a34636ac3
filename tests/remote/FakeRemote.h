#pragma once

#include "app/TaskThreads.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "remote/RemoteClient.h"
#include "runs/RemoteRunner.h"
#include "support/FakeProxy.h"

#include <atomic>
#include <functional>
#include <mutex>

class FakeClient : public RemoteClient {
public:
    explicit FakeClient(QString name, FakeProxy::Answer answer = {})
        : proxy(std::make_shared<FakeProxy>(std::move(answer))), m_name(std::move(name)) {}

    QString name() const override { return m_name; }
    QString hostName() const override { return m_name + QLatin1String(".local."); }
    bool enabled() const override { return isEnabled; }
    int errorCode() const override { return error; }
    bool isConnected() const override { return connected; }
    void setIsConnected(bool value) override { connected = value; }
    VLProxyObjectPtr proxyObject() const override { return hasProxy ? proxy : nullptr; }
    void connectOnThread(VLCallbackTargetPtr) override {
        ++connectAttempts;
        if (connectsAtOnce) connected = hasProxy = true;
    }
    void setIsProcessing(bool value) override { processing = value; }
    QString identity() const override { return key; }

    std::shared_ptr<FakeProxy> proxy;
    QString key;  ///< set before use
    std::atomic<bool> isEnabled{true}, connected{true}, hasProxy{true}, connectsAtOnce{false},
        processing{false};
    std::atomic<int> error{0}, connectAttempts{0};

private:
    QString m_name;
};
using FakeClientPtr = std::shared_ptr<FakeClient>;

/// The console's own counting, and how often it was asked for.
class CountingThreads : public TaskThreads {
public:
    using TaskThreads::TaskThreads;
    int incrementTaskThreadCount() override {
        ++counted;
        return TaskThreads::incrementTaskThreadCount();
    }
    void startStatusProgress() override {
        ++starts;
        TaskThreads::startStatusProgress();
    }
    void incrementStatusProgress() override {
        ++statusSteps;
        TaskThreads::incrementStatusProgress();
    }
    void cancel() { cancelProgress(); }

    std::atomic<int> counted{0}, starts{0}, statusSteps{0};
};

inline constexpr std::chrono::seconds patience{30};  ///< never reached unless something is broken

/// Runs `body` on a worker while the main thread serves hand-offs.
inline bool onWorker(std::function<void()> body) {
    const auto done = std::make_shared<std::atomic<bool>>(false);
    VLThread::detach(QStringLiteral("test"), [body = std::move(body), done] {
        body();
        *done = true;
    });
    return MainThread::waitUntil([done] { return done->load(); }, patience);
}

/// While it exists, runs begin with that many operations at once.
struct OperationsInFlight {
    explicit OperationsInFlight(int count) {
        VLUserDefaults::standardUserDefaults().setObject(count, QLatin1String(RunList::inFlightKey));
    }
    ~OperationsInFlight() {
        VLUserDefaults::standardUserDefaults().removeObjectForKey(QLatin1String(RunList::inFlightKey));
    }
};

/// A runner over clients in memory, and what it reported.
struct Bench {
    QList<FakeClientPtr> clients;
    CountingThreads progress{{[this] { return int(clients.size()); }, [] {}, [] {}}};
    int processors = 4;
    bool followsUp = true;
    std::shared_ptr<ByteBudget> outgoing = std::make_shared<ByteBudget>(256LL << 20);
    std::mutex mutex;
    QStringList failures;
    RemoteRunner runner{environment()};

    RemoteRunner::Environment environment() {
        return {
            .progress = &progress,
            .selectedServices = [this] { return QList<RemoteClientPtr>(clients.cbegin(), clients.cend()); },
            .errorCallback = nullptr,
            .processorCount = [this] { return processors; },
            .followsUp = [this] { return followsUp; },
            .clientFailed =
                [this](const QString& hostName, const QString& reason) {
                    const std::lock_guard lock(mutex);
                    failures.append(hostName + QLatin1String(": ") + reason);
                },
            .clientReportedError = {},
            .outgoing = outgoing};
    }
    void addClients(int count, const FakeProxy::Answer& answer = {}) {
        for (int i = 0; i < count; ++i)
            clients.append(std::make_shared<FakeClient>(QStringLiteral("c%1").arg(clients.size()), answer));
    }
    /// Works `body` on behalf of a run for all clients; how that ended.
    RunRecord runFor(Run::Description description, const std::function<void()>& body) {
        if (description.action.isEmpty()) description.action = QStringLiteral("Try");
        const RunPtr run =
            progress.runs().begin(description, QList<RemoteClientPtr>(clients.cbegin(), clients.cend()));
        const bool isDone = onWorker([&] {
            const RunScope scope(run);
            body();
        });
        if (isDone) MainThread::waitUntil([&] { return run->hasEnded(); }, patience);
        return run->record();
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
