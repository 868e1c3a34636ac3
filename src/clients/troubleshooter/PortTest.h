#pragma once

#include "clients/VLService.h"

#include <QList>
#include <QObject>
#include <QString>

#include <chrono>
#include <memory>

/// Tries whether a client's port takes connections: one TCP connection to each of its addresses, all at the
/// same time, on workers. Says nothing to what answers. Main thread.
class PortTest : public QObject {
    Q_OBJECT
public:
    struct Target {
        QString host;  ///< address, or a name to be looked up
        int port = 0;
    };
    struct Outcome {
        Target target;
        bool open = false;
        QString text;  ///< one sentence in plain words
    };

    using QObject::QObject;
    ~PortTest() override { cancel(); }

    /// Where the console looks for this client.
    [[nodiscard]] static QList<Target> targetsOf(const VLService& service);

    /// Begins anew; finished() comes after the last outcome, also when there is no target.
    void start(const QList<Target>& targets, std::chrono::milliseconds limit = std::chrono::seconds(5));
    /// No outcome and no finished() comes after this.
    void cancel();
    [[nodiscard]] bool isRunning() const { return m_run != nullptr; }

Q_SIGNALS:
    void outcomeReady(const PortTest::Outcome& outcome);  ///< in the order in which they become known
    void finished();

private:
    struct Run;
    void take(const Outcome& outcome);

    std::shared_ptr<Run> m_run;
};
