#pragma once

#include "runs/ActivityDatabase.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>

/// What a reading gave; `error` is empty unless it failed.
template <typename Value>
struct ActivityAnswer {
    Value value{};
    QString error;
};

/// Keeps what the console has done, in a file of the user that a second console may use at the same time. One
/// thread writes and prunes, another reads; both are workers of VLThread and end with close(). The writer is
/// there from the beginning, so that what is added while the program ends is kept as well; the reader is
/// started at first use. Nobody waits for the disk. While the file cannot be written, runs wait in a bounded
/// queue and the attempt is repeated.
class ActivityStore : public QObject {
    Q_OBJECT
public:
    /// `limits` is asked on the writing thread. Main thread.
    explicit ActivityStore(const QString& path = defaultPath(),
                           std::function<ActivityLimits()> limits = &storedLimits, QObject* parent = nullptr);
    ~ActivityStore() override;
    /// Below the user's (for root: the machine's) state folder.
    [[nodiscard]] static QString defaultPath();
    static constexpr int mostDays = 36'500, mostMegabytes = 1'000'000;
    /// The settings "activityDays" and "activityMegabytes", from 1 to these. Any thread.
    [[nodiscard]] static ActivityLimits storedLimits();
    [[nodiscard]] const QString& path() const;

    /// Hands over a run that has ended. Returns at once. Any thread.
    void add(RunRecord record);
    /// Waits until what was handed over is on disk. False when that failed or took longer. Any thread.
    bool flush(std::chrono::milliseconds limit);
    /// Lets the threads end, once what was handed over is written or could not be; VLThread::joinAll() waits
    /// for them. What is added later is lost, with a log line. Any thread.
    void close();

    /// Why nothing can be kept at the moment; empty while all is well. Any thread.
    [[nodiscard]] QString problem() const;

    /// Runs `query(ActivityDatabase&)` on the reading thread; `then(ActivityAnswer<…>)` gets what it returns,
    /// on the main thread, unless `context` is gone by then. Main thread.
    template <typename Query, typename Then>
    void read(QObject* context, Query query, Then then);

    /// As long as somebody watches, runs of other consoles are noticed within about a second. Main thread.
    void startWatching();
    void stopWatching();

Q_SIGNALS:
    void changed();  ///< the file holds other runs than before
    void problemChanged();

private:
    struct State;
    struct Reading {
        std::function<void(ActivityDatabase&)> query;      ///< on the reading thread; perhaps repeated
        std::function<void(const QString& error)> finish;  ///< on the main thread
    };
    void startWriting();
    void startReading(Reading reading);
    void changeReading(const std::function<void(State&)>& change);
    std::shared_ptr<State> m_state;
};

template <typename Query, typename Then>
void ActivityStore::read(QObject* context, Query query, Then then) {
    using Value = std::decay_t<decltype(query(std::declval<ActivityDatabase&>()))>;
    auto answer = std::make_shared<ActivityAnswer<Value>>();
    startReading(
        {[answer, query = std::move(query)](ActivityDatabase& database) { answer->value = query(database); },
         [answer, receiver = QPointer(context), then = std::move(then)](const QString& error) {
             answer->error = error;
             if (receiver) then(std::move(*answer));
         }});
}
