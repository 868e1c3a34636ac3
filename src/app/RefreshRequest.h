#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>

/// Refreshes the visible pane after something it shows has changed: a client connected, another selection.
/// Many such changes in a row give one refresh; while something is processing, it waits for its turn; while
/// clients are still connecting, it waits a little for them, so that they come into the pane together.
/// Main thread.
class RefreshRequest : public QObject {
    Q_OBJECT
public:
    struct Environment {
        std::function<bool()> isBlocked;  ///< something runs: try again later
        std::function<bool()> isSettled;  ///< no selected client is about to connect
        std::function<void()> refresh;
    };
    struct Times {
        std::chrono::milliseconds quiet{300};      ///< without a further request, before the refresh
        std::chrono::milliseconds patience{2000};  ///< longest wait for connecting clients
    };
    explicit RefreshRequest(Environment environment, QObject* parent = nullptr)
        : RefreshRequest(std::move(environment), Times(), parent) {}
    RefreshRequest(Environment environment, Times times, QObject* parent = nullptr);

    void request();
    void cancel();

private:
    void attempt();

    Environment m_environment;
    Times m_times;
    QTimer m_timer;
    QElapsedTimer m_sinceFirst;
};
