#pragma once

#include <QObject>

#include <functional>
#include <vector>

class QSocketNotifier;

/// Turns signals into calls on the main thread, so that a program ends in order. The second SIGINT or SIGTERM
/// ends it at once, should that hang. One at a time; main thread.
class SignalWatcher : public QObject {
    Q_OBJECT

public:
    using Handler = std::function<void(int signal)>;

    /// Throws VLException when there are no more file descriptors.
    SignalWatcher(std::vector<int> signals, Handler handler, QObject* parent = nullptr);
    /// Gives SIGINT and SIGTERM their usual meaning back; all others are ignored from then on.
    ~SignalWatcher() override;

    /// Whether one has come, be it that its call is still to be made.
    [[nodiscard]] bool hasNoted() const noexcept;

private:
    void readPipe();

    const std::vector<int> m_signals;
    const Handler m_handler;
    QSocketNotifier* m_notifier = nullptr;
    int m_readEnd = -1;
};
