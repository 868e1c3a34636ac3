#pragma once

#include "agent/advertise/ServicePublisher.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

/// An agent's advertisement on the loopback interface.
class PublishedAgent {
public:
    explicit PublishedAgent(ServicePublisher::Settings settings)
        : publisher_(std::move(settings), [this](const ServicePublisher::State& state) {
              const std::lock_guard lock(mutex_);
              state_ = state;
              changed_.notify_all();
          }) {
        publisher_.start();
    }

    PublishedAgent(const QString& name, const QString& hostName, quint16 port)
        : PublishedAgent(onLoopback(name, hostName, port)) {}

    static ServicePublisher::Settings onLoopback(const QString& name, const QString& hostName, quint16 port) {
        return {.name = name,
                .registeredName = QStringLiteral("Port of ") + name,
                .model = QStringLiteral("MacPro3,1"),
                .port = port,
                .loopbackOnly = true,
                .hostName = hostName,
                .hostAddresses = {QStringLiteral("127.0.0.1")}};
    }

    bool waitUntilPublished() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [this] { return state_.isPublished; });
    }

    ServicePublisher::State state() {
        const std::lock_guard lock(mutex_);
        return state_;
    }

    void stop() { publisher_.stop(); }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    ServicePublisher::State state_;
    ServicePublisher publisher_;
};
