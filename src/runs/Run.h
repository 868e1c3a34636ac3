#pragma once

#include "remote/CallScope.h"
#include "remote/ChangeTurn.h"
#include "remote/RemoteClient.h"
#include "runs/RunRecord.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

class Run;
using RunPtr = std::shared_ptr<Run>;

/// One action of the user, or one reading, on some computers: what is under way for it, whether it was
/// cancelled, and how it ended on each computer. Any thread.
///
/// A worker says on whose behalf it works with a RunScope; everything that it asks of clients then belongs to
/// that run, also on the threads that InFlight starts for it.
class Run : public std::enable_shared_from_this<Run> {
    Q_DECLARE_TR_FUNCTIONS(Run)
public:
    /// How a change is kept so that it can be taken back. Called on the thread that makes the change, in the
    /// client's turn: nobody else's change comes between. May ask the client; what that gives is not part of
    /// the run's outcome. Nothing at all: it could not be learnt, so that the change can't be taken back.
    struct Keeping {
        /// Before the first change of a client: what it is like.
        std::function<std::optional<QVariantMap>(const RemoteClientPtr&)> before = {};
        /// After them: what takes back all so far (see HostOutcome::undo). Without this it is what `before`
        /// gave.
        std::function<std::optional<QVariantMap>(const RemoteClientPtr&, const QVariantMap& before)> after =
            {};
        [[nodiscard]] bool isAny() const { return before || after; }
    };
    struct Description {
        QString tool = {};        ///< identifier; empty for the console's own
        QString action = {};      ///< "Disable"; a run without one is not kept in Activity
        QString actionDone = {};  ///< "Disabled"
        QString subject = {};     ///< "Film Grain"; may be empty
        bool isChange = false;    ///< it changes something on the computers
        QString undoOf = {}, retryOf = {};
        Keeping keeping = {};

        /// "Disable Film Grain".
        [[nodiscard]] QString title() const { return subject.isEmpty() ? action : action + u' ' + subject; }
    };

    /// `clients`: whom it is for, in the order of the selection. `inFlight`: how many operations may be under
    /// way at once. `ended` is called once, on whichever thread works for it last.
    Run(int number, Description description, QList<RemoteClientPtr> clients, int inFlight,
        std::function<void(Run&)> ended);
    ~Run();
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /// The run that this thread works for; null when it works for none.
    [[nodiscard]] static RunPtr current();
    /// Whether this thread is to go no further: its run was cancelled, or its client was given up on.
    [[nodiscard]] static bool shallStop();

    [[nodiscard]] int number() const { return m_number; }
    [[nodiscard]] const QString& id() const { return m_id; }
    [[nodiscard]] const Description& description() const { return m_description; }
    [[nodiscard]] const QList<RemoteClientPtr>& clients() const { return m_clients; }
    /// How many operations may be under way at once.
    [[nodiscard]] int mostInFlight() const { return m_inFlight; }

    /// Whether the computer is one of those that it is for; every one is while it names none.
    [[nodiscard]] bool isFor(const QString& key) const;

    /// Nothing more is started for it; what is under way goes on to its end.
    void cancel();
    [[nodiscard]] bool isCancelled() const { return m_isCancelled; }
    /// Gives up on the computers that have kept it waiting for longer than that, for the rest of the run.
    /// Everything else goes on.
    void stopWaiting(std::chrono::milliseconds longerThan = {});
    /// The names of the computers that have kept it waiting for longer than that.
    [[nodiscard]] QStringList awaited(std::chrono::milliseconds longerThan) const;
    [[nodiscard]] bool isUnderWayOn(const QString& hostName) const;
    /// Whether it is making a change there at this moment.
    [[nodiscard]] bool hasTurnOn(const QString& hostName) const;
    /// On how many computers it has ended, of how many.
    [[nodiscard]] std::pair<qsizetype, qsizetype> progress() const;

    /// Under which outcomes of a client are kept: its host name, or its name while it has none.
    [[nodiscard]] static QString keyOf(const RemoteClient& client);
    /// How an operation ended on this client; the worst one counts. What is asked of a client that the run is
    /// not for, the source of what the others get, is no outcome.
    void note(const RemoteClient& client, const Outcome& outcome);
    void note(const QString& key, const Outcome& outcome);
    /// A client that it is not for, and that is to be named all the same.
    void noteLeftAlone(const RemoteClient& client, const QString& reason);
    /// What takes back the change on this computer. Replaces what was kept before.
    void keepUndo(const QString& key, const QVariantMap& undo);
    [[nodiscard]] QVariantMap undo(const QString& key) const;
    /// Around one operation of this thread's run that changes something on the client, in that one's turn:
    /// sees to what is kept to take it back. Without a run, or one that keeps something, it does nothing.
    class Change {
    public:
        explicit Change(RemoteClientPtr client);
        /// An operation that failed may have changed something all the same.
        ~Change();
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;
        /// It came to its end. False when the agent has refused it.
        bool done();

    private:
        const RunPtr m_run;
        const RemoteClientPtr m_client;
        QString m_key;
        int m_refusalsBefore = 0;
        bool m_isRefused = false;
    };
    /// Around all that this thread's run changes on one client: it has the client's turn from beginning to
    /// end, and what takes the changes back is learnt once.
    class Changes {
    public:
        explicit Changes(RemoteClientPtr client);
        ~Changes();
        Changes(const Changes&) = delete;
        Changes& operator=(const Changes&) = delete;
        /// False when the turn has not come: nothing is to be changed then.
        explicit operator bool() const { return !m_turn || bool(*m_turn); }
        /// Whether this thread is within such changes of the client.
        [[nodiscard]] static bool areHere(const RemoteClient& client);

    private:
        friend class Change;
        const RunPtr m_run;
        const RemoteClientPtr m_client;
        std::unique_ptr<ChangeTurn::Taken> m_turn;
        bool m_hasChanged = false;
    };
    /// The client's turn for this thread's run; null where it needs none, because it changes nothing or has
    /// it already. One that did not come is noted.
    [[nodiscard]] static std::unique_ptr<ChangeTurn::Taken> turnOf(RemoteClient& client);
    /// As noted so far; nothing for a computer of which nothing is known yet.
    [[nodiscard]] std::optional<Outcome> outcome(const QString& key) const;
    /// What became of it, complete once it has ended.
    [[nodiscard]] RunRecord record() const;

    /// While one exists, something works for the run; with the last of them it ends.
    class Hold {
    public:
        explicit Hold(RunPtr run);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        const RunPtr m_run;
    };
    [[nodiscard]] bool hasEnded() const;

    /// One operation under way on a client: a place among those that may be.
    class Place {
    public:
        Place(RunPtr run, RemoteClientPtr client);
        ~Place();
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;

        [[nodiscard]] const RunPtr& run() const { return m_run; }
        [[nodiscard]] const RemoteClientPtr& client() const { return m_client; }

    private:
        friend class Run;
        friend class RunScope;
        const RunPtr m_run;
        const RemoteClientPtr m_client;
        const std::chrono::steady_clock::time_point m_started = std::chrono::steady_clock::now();
        const std::shared_ptr<CallScope> m_calls;
    };
    using PlacePtr = std::shared_ptr<Place>;
    /// Whoever has drawn a number waits for a place in the order of the numbers; all of them have to.
    [[nodiscard]] int drawNumber();
    /// Waits for a place. None when the run was cancelled.
    [[nodiscard]] PlacePtr takePlace(const RemoteClientPtr& client, int number);
    /// Whether somebody who came now would not have to wait for a place.
    [[nodiscard]] bool hasFreePlace() const;

private:
    friend class RunScope;
    struct Notes {
        QString name;
        std::optional<Outcome> outcome;
        int refusals = 0;
        bool isFormerKnown = false;  ///< or at least was asked for
        std::optional<QVariantMap> former;
        QVariantMap undo;
        bool isUndoLost = false;
    };
    [[nodiscard]] Outcome endOn(const Notes& notes) const;
    [[nodiscard]] QString keyFor(const RemoteClient& client) const;
    [[nodiscard]] Notes& notesOf(const QString& key);
    void keepFormer(const RemoteClientPtr& client);
    void keepUndoAfter(const RemoteClientPtr& client);
    [[nodiscard]] PlacePtr place(const RemoteClientPtr& client);
    void leave(Place& place);
    void release();

    const int m_number;
    const QString m_id;
    const Description m_description;
    const QList<RemoteClientPtr> m_clients;
    QHash<const RemoteClient*, QString> m_keyOfClient;  ///< a host name may become known on the way
    QSet<QString> m_keysOfClients;
    const int m_inFlight;
    const std::function<void(Run&)> m_ended;
    const QDateTime m_started;

    std::atomic<bool> m_isCancelled{false};
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;       ///< a place was left or taken, or the run was cancelled
    int m_lastNumber = 0, m_lastServed = 0;  ///< of those that wait for a place
    QList<Place*> m_places;                  ///< that are taken, in the order in which they were
    QStringList m_keys;                      ///< of those that it is for, and of others that it came to
    QHash<QString, Notes> m_notes;
    QSet<QString> m_givenUp;  ///< keys
    int m_holds = 0;
    QDateTime m_endedAt;  ///< invalid while it has not ended
};

/// While it exists, this thread works for the run, at `place` if one is given, and keeps the run from ending.
/// Scopes may lie within one another; a null run means none.
class RunScope {
public:
    explicit RunScope(RunPtr run, Run::PlacePtr place = {});
    ~RunScope();
    RunScope(const RunScope&) = delete;
    RunScope& operator=(const RunScope&) = delete;

private:
    std::optional<Run::Hold> m_hold;
    std::optional<CallScope::Current> m_calls;
    RunPtr m_outerRun;
    Run::PlacePtr m_outerPlace;
    Run::Changes* m_outerChanges;
};
