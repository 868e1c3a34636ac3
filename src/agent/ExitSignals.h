#pragma once

#include <QObject>

#include <functional>

class QSocketNotifier;

/// Turns SIGINT, SIGTERM and SIGHUP into a call on the main thread. One at a time; main thread.
class ExitSignals : public QObject {
    Q_OBJECT

public:
    explicit ExitSignals(std::function<void(int signal)> handler, QObject* parent = nullptr);
    /// Gives the first two their usual meaning back; there is nothing to reload any more for the third.
    ~ExitSignals() override;

private:
    void readPipe();

    std::function<void(int)> m_handler;
    QSocketNotifier* m_notifier = nullptr;
    int m_readEnd = -1;
};
