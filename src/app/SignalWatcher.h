#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

/// Turns SIGINT and SIGTERM into an ordinary end of the program. One at a time; main thread.
class SignalWatcher : public QObject {
    Q_OBJECT
public:
    explicit SignalWatcher(QObject* parent = nullptr);
    ~SignalWatcher() override;

Q_SIGNALS:
    void terminationRequested(int signal);

private:
    int m_eventFd = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};
