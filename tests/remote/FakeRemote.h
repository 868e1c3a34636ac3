#pragma once

#include "foundation/MainThread.h"
#include "remote/RemoteClient.h"
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
        return m_sent;
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

    std::shared_ptr<FakeProxy> proxy;
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
    void incrementTaskThreadCount() override {
        const std::lock_guard lock(m_mutex);
        ++m_count;
        ++m_counted;
        if (m_counted == cancelWhenCounted) cancelled = true;
    }
    void decrementTaskThreadCount() override {
        const std::lock_guard lock(m_mutex);
        ++m_countedOut;
        if (--m_count < 1) end();
    }
    void waitOnProcessingWithTimeout(double seconds) override {
        waitedSeconds = seconds;
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_isProcessing || cancelled; });
    }
    bool processingCancelled() const override { return cancelled; }
    void setProcessingCancelled(bool value) override { cancelled = value; }
    void startStatusProgress() override {
        onMainThreadAndWait([this] {
            const std::lock_guard lock(m_mutex);
            m_isProcessing = true;
            cancelled = false;
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
        cancelled = true;
        end();
    }
    /// Units that were counted in and not out.
    [[nodiscard]] int open() const {
        const std::lock_guard lock(m_mutex);
        return m_counted - m_countedOut;
    }
    [[nodiscard]] int counted() const {
        const std::lock_guard lock(m_mutex);
        return m_counted;
    }

    std::atomic<bool> cancelled{false};
    std::atomic<int> starts{0}, statusSteps{0}, cancelWhenCounted{0};
    std::atomic<double> waitedSeconds{-1};

private:
    void end() {
        m_count = 0;
        m_isProcessing = false;
        m_changed.notify_all();
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0, m_counted = 0, m_countedOut = 0;
    bool m_isProcessing = false;
};
