#pragma once

#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "remote/RemoteClient.h"
#include "remote/RemoteRunner.h"
#include "remote/TaskProgress.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>

/// An agent in memory: answers with a function, keeps what was sent.
class FakeProxy : public VLProxyObject {
public:
    using Answer = std::function<QVariant(const QString& selector, const QVariantList& arguments)>;
    explicit FakeProxy(Answer answer = {}) : m_answer(std::move(answer)) {}

    bool respondsToSelector(const QString& selector, std::chrono::milliseconds limit) override {
        probeLimit = limit;
        return selector != unknownSelector;
    }
    QVariant perform(const QString& selector, const QVariantList& arguments,
                     std::chrono::milliseconds limit) override {
        performLimit = limit;
        {
            const std::lock_guard lock(m_mutex);
            m_sent.append(qMakePair(selector, arguments));
        }
        return m_answer ? m_answer(selector, arguments) : QVariant();
    }
    [[nodiscard]] QList<QPair<QString, QVariantList>> sent() const {
        const std::lock_guard lock(m_mutex);
        return {m_sent.begin(), m_sent.end()};  // shares nothing with what calls still come into
    }

    QString unknownSelector;  ///< set before use
    std::atomic<std::chrono::milliseconds> probeLimit{noTimeLimit}, performLimit{noTimeLimit};

private:
    mutable std::mutex m_mutex;
    QList<QPair<QString, QVariantList>> m_sent;
    Answer m_answer;
};

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

/// Counts like the console does: processing ends when the count falls below 1.
class FakeProgress : public TaskProgress {
public:
    int incrementTaskThreadCount() override {
        const std::lock_guard lock(m_mutex);
        ++m_count;
        ++open;
        if (++counted == cancelWhenCounted) markCancelled();
        return m_counting;
    }
    void decrementTaskThreadCount() override {
        const std::lock_guard lock(m_mutex);
        countOut();
    }
    void decrementTaskThreadCount(int counting) override {
        const std::lock_guard lock(m_mutex);
        if (counting == m_counting)
            countOut();
        else
            --open;
    }
    void waitOnProcessingWithTimeout(double seconds) override {
        waitedSeconds = seconds;
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_isProcessing || cancelled; });
    }
    bool processingCancelled() const override { return cancelled; }
    void setProcessingCancelled(bool value) override {
        const std::lock_guard lock(m_mutex);
        if (value) return markCancelled();
        cancelled = false;
    }
    int beginRun() override { return ++m_run; }
    int currentRun() const override { return m_run; }
    bool isCancelled(int run) const override { return run <= m_lastCancelledRun; }
    void startStatusProgress() override {
        onMainThreadAndWait([this] {
            const std::lock_guard lock(m_mutex);
            m_isProcessing = true;
            cancelled = false;
            ++m_run;
            ++starts;
        });
    }
    void incrementStatusProgress() override { ++statusSteps; }
    void endStatusProgress() override {}
    void startProgress() override {}
    void endProgress() override {}
    void updateProgressStatus(const QString&) override {}
    void progressBarSetMaxValue(double) override {}
    void incrementProgress() override {}

    void cancel() {
        const std::lock_guard lock(m_mutex);
        markCancelled();
        end();
    }

    [[nodiscard]] bool isProcessing() const {
        const std::lock_guard lock(m_mutex);
        return m_isProcessing;
    }

    std::atomic<bool> cancelled{false};
    std::atomic<int> starts{0}, statusSteps{0}, cancelWhenCounted{0};
    std::atomic<int> counted{0}, open{0};  ///< units that were counted in, and of these those not yet out
    std::atomic<double> waitedSeconds{-1};

private:
    void markCancelled() {
        cancelled = true;
        m_lastCancelledRun = m_run.load();
    }
    void countOut() {
        --open;
        if (--m_count < 1) end();
    }
    void end() {
        m_count = 0;
        ++m_counting;
        m_isProcessing = false;
        m_changed.notify_all();
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0, m_counting = 0;
    std::atomic<int> m_run{0}, m_lastCancelledRun{-1};
    bool m_isProcessing = false;
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
                },
            .clientReportedError = {}};
    }
    void addClients(int count, const FakeProxy::Answer& answer = {}) {
        for (int i = 0; i < count; ++i)
            clients.append(std::make_shared<FakeClient>(QStringLiteral("c%1").arg(clients.size()), answer));
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
