#pragma once

#include <QObject>
#include <QTimer>

#include <functional>

/// Repeats the refresh operation of the visible tool pane. Main thread.
class AutoRefresh : public QObject {
    Q_OBJECT
public:
    struct Environment {
        std::function<bool()> isProcessing;
        std::function<bool()> isInstallingUpdate;
        std::function<bool()> isApplicationActive;
        /// Runs the operation on a new worker thread.
        std::function<void(std::function<void()>)> startOnThread;
    };
    explicit AutoRefresh(Environment environment, QObject* parent = nullptr);

    /// The operation of the visible pane (none when empty), repeated every `interval` seconds when above 0.
    void setupAutoRefresh(std::function<void()> operation, int interval);
    /// Timer (`byTimer`) or toolbar: starts the operation unless something runs already.
    void autoRefreshData(bool byTimer);
    void autoRefreshData() { autoRefreshData(true); }

    /// True when autoRefreshData(false) would start something.
    [[nodiscard]] bool canRefreshNow() const;
    [[nodiscard]] bool hasOperation() const { return static_cast<bool>(m_operation); }
    [[nodiscard]] bool hasTimer() const { return m_timer.isActive(); }
    /// Seconds between two runs; 0 without a timer.
    [[nodiscard]] int interval() const { return hasTimer() ? m_timer.interval() / 1000 : 0; }
    [[nodiscard]] bool refreshEnabled() const { return m_refreshEnabled; }
    void toolbarRefreshEnable() { setRefreshEnabled(true); }
    void toolbarRefreshDisable() { setRefreshEnabled(false); }

Q_SIGNALS:
    void refreshEnabledChanged(bool enabled);

private:
    void setRefreshEnabled(bool enabled);
    Environment m_environment;
    QTimer m_timer;
    std::function<void()> m_operation;
    bool m_refreshEnabled = false;
};
