#pragma once

#include "app/AppController.h"
#include "app/CommandLine.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <functional>

/// A run that nobody sits at: waits for the clients, refreshes one tool, prints its report, has the picture
/// taken, and says with which exit code to leave. Main thread.
class BatchRun : public QObject {
    Q_OBJECT
public:
    struct Output {
        std::function<void(const QString&)> report;   ///< the table
        std::function<void(const QString&)> message;  ///< what happened: one line each
        /// Saves the picture; false when that failed. Not called without a file to save to.
        std::function<bool(const QString& file)> takePicture;
    };
    BatchRun(AppController& controller, CommandLine commandLine, Output output, QObject* parent = nullptr);

    void start();

Q_SIGNALS:
    void finished(int exitCode);

private:
    void lookForClients();
    [[nodiscard]] bool areClientsComplete();
    void describeClients();
    void waitForIdle();
    void refreshTool();
    void deliver();
    void nameUnanswered(const ToolController& tool);
    void takePicture();
    [[nodiscard]] QList<VLServicePtr> connectedClients() const;
    [[nodiscard]] QString toolInWork() const;
    void callLater(std::chrono::milliseconds delay, void (BatchRun::*step)());

    AppController& m_controller;
    const CommandLine m_commandLine;
    const Output m_output;
    QElapsedTimer m_waiting;
    QElapsedTimer m_sinceLastChange;
    qsizetype m_lastCount = 0;
    int m_exitCode = 0;
};
