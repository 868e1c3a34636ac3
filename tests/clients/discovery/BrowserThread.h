#pragma once

#include "clients/discovery/ServiceBrowser.h"

#include <QStringList>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

/// Browses for agents on a thread of its own, the way the console does, and notes what is reported.
class BrowserThread {
public:
    BrowserThread()
        : browser_(ServiceBrowser::create(
              {.didFindService = [this](const VLNetService& service, bool) { note(found_, service); },
               .didRemoveService = [this](const VLNetService& service, bool) { note(removed_, service); }})),
          thread_([this] {
              browser_->searchForServices(QStringLiteral("_corvalin._tcp."), {});
              while (isBrowsing_)
                  browser_->runFor(std::chrono::seconds(4));
          }) {}

    ~BrowserThread() { stop(); }

    void stop() {
        isBrowsing_ = false;
        browser_->stop();
        if (thread_.joinable()) thread_.join();
    }

    [[nodiscard]] ServiceBrowser& browser() { return *browser_; }

    QStringList foundNames() { return names(found_); }
    QStringList removedNames() { return names(removed_); }

    bool waitForFound(const QString& name) { return waitFor(found_, name); }
    bool waitForRemoved(const QString& name) { return waitFor(removed_, name); }

    bool waitForBackend(ServiceBrowser::Backend backend) {
        for (int wait = 0; wait < 1500 && browser_->backend() != backend; ++wait)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return browser_->backend() == backend;
    }

private:
    using Services = QList<VLNetService>;

    void note(Services& services, const VLNetService& service) {
        const std::lock_guard lock(mutex_);
        services.append(service);
        changed_.notify_all();
    }

    static bool contains(const Services& services, const QString& name) {
        for (const VLNetService& service : services)
            if (service.name == name) return true;
        return false;
    }

    bool waitFor(const Services& services, const QString& name) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return contains(services, name); });
    }

    QStringList names(const Services& services) {
        const std::lock_guard lock(mutex_);
        QStringList list;
        for (const VLNetService& service : services)
            list += service.name;
        return list;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    Services found_, removed_;
    std::atomic<bool> isBrowsing_ = true;
    std::unique_ptr<ServiceBrowser> browser_;
    std::thread thread_;
};
