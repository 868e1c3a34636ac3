#pragma once

#include "clients/VLService.h"
#include "remote/TaskProgress.h"
#include "remote/authorization/AuthorizedRunner.h"
#include "runs/RemoteRunner.h"
#include "runs/RunList.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>
#include <type_traits>

class QWidget;

/// What a tool may use of the rest of the console.
struct ToolContext {
    QString tool;  ///< its identifier
    RemoteRunner* runner = nullptr;
    AuthorizedRunner* authorizedRunner = nullptr;  ///< for what needs an administrator of the client
    TaskProgress* progress = nullptr;
    std::function<QList<VLServicePtr>()> selectedServices;  ///< any thread
    std::function<VLServicePtr(const QString& hostName)> serviceWithHostName;
    std::function<QString(const QString& hostName)> friendlyServiceName;
    std::function<void(const QString& hostName)> removeStoredPasswordForHost;  ///< on workers
};

/// A plain text table: what `orlendo --report TOOL` prints, in the order in which the window has the rows.
struct ToolReport {
    QStringList header;
    QList<QStringList> rows;
};

/// A client of which nothing is known, though it was asked.
struct UnansweredClient {
    QString hostName;
    QString reason;  ///< in plain words; may be empty
};

/// The working half of a tool, without widgets: its workers, and its results as they stand.
/// Lives on the main thread; results are installed there, and changed() says so.
class ToolController : public QObject, public std::enable_shared_from_this<ToolController> {
    Q_OBJECT
public:
    explicit ToolController(ToolContext context, QObject* parent = nullptr)
        : QObject(parent), m_context(std::move(context)) {}

    /// The refresh operation of the pane: blocks, runs on a worker thread.
    virtual void refresh() = 0;
    /// The pane comes into view, and a refresh follows. Main thread.
    virtual void becomesVisible() {}
    /// Forgets the results.
    virtual void clearData() = 0;
    [[nodiscard]] virtual ToolReport report() const = 0;
    /// True while a worker of this tool runs for the first result (the pane's busy indicator).
    [[nodiscard]] bool isBusy() const { return m_busy; }
    /// True once a refresh has delivered, also an empty result.
    [[nodiscard]] bool hasResult() const { return m_hasResult; }
    /// The clients that gave no answer when the results were read. Main thread.
    [[nodiscard]] const QList<UnansweredClient>& unanswered() const { return m_unanswered; }
    void setUnanswered(const QList<UnansweredClient>& clients) { m_unanswered = clients; }
    /// The user cancelled: the busy indicator stops, though the worker may still be on its way out.
    void stopSpinner() { setBusy(false); }
    [[nodiscard]] const ToolContext& context() const { return m_context; }

    /// Reads again, on a worker.
    void readAgain() { startRefresh(QStringLiteral("readAgain")); }
    /// Takes a change back on those clients, as a run of its own, and reads again. Main thread.
    void startUndo(const RunRecord& record, const QList<RemoteClientPtr>& clients);
    /// Takes one client's change back: `undo` is what the run kept of it (Run::keepUndo). False, or an
    /// exception, is a failure; what the runners say of their operations counts as well. On a worker, for
    /// several clients at once.
    [[nodiscard]] virtual bool takeBack(const VLServicePtr& client, const QVariantMap& undo) {
        Q_UNUSED(client)
        Q_UNUSED(undo)
        return false;
    }

    /// What takeBack() keeps so that it can be taken back in its turn, unless it does so itself.
    [[nodiscard]] virtual Run::Keeping keepingOfUndo() { return {}; }

Q_SIGNALS:
    void changed();
    void busyChanged(bool busy);
    void selectionChanged();  ///< other clients are selected; the results are still those of the former ones

protected:
    void setBusy(bool busy) {  ///< main thread
        if (m_busy == busy) return;
        m_busy = busy;
        Q_EMIT busyChanged(busy);
    }
    /// Runs `work` on a thread of its own, which quitting cancels and waits for. What it throws is logged
    /// under `name`, the operation's. A controller that is not held by a shared pointer outlives it. Any
    /// thread.
    void startWorker(const QString& name, std::function<void()> work);
    /// The same as a run for the selected clients, which can be done again: `description` says what it is,
    /// the tool and its computers are filled in. Any thread.
    void startRun(const QString& name, const Run::Description& description, std::function<void()> work);
    /// The same for these clients. `alone`: those of the selected ones that it leaves alone, because they
    /// gave no answer when they were read.
    void startRunOn(const QString& name, Run::Description description, const QList<RemoteClientPtr>& clients,
                    const std::function<void()>& work, const QList<RemoteClientPtr>& alone = {});
    /// The selected clients that gave an answer when the results were read, and those that gave none. Main
    /// thread.
    struct Answered {
        QList<RemoteClientPtr> clients, alone;
    };
    [[nodiscard]] Answered answeredClients() const;
    /// Runs refresh() that way.
    void startRefresh(const QString& name) {
        startWorker(name, [this] { refresh(); });
    }

    // For workers.
    /// The run that this thread works for; a new one, for the selected clients, where it works for none.
    [[nodiscard]] RunPtr runHere() const;
    /// Whether to go no further: the run was cancelled, this thread's client was given up on, or the program
    /// quits.
    [[nodiscard]] static bool isStopped();
    /// One reading of what the tool shows.
    struct Reading {
        int number;
        RunPtr run;
        QList<UnansweredClient> unanswered = {};
    };
    enum class Display { None, StatusBar };
    /// A refresh around `read`: log line, busy indicator where there is nothing to show yet, and what it
    /// throws logged under `name`.
    void runRefresh(const QString& name, const QString& logLine, Display display,
                    const std::function<bool()>& isEmpty, const std::function<void(Reading&)>& read);
    /// Asks the clients of the run, as many at once as it may, and hands on what they answer in their order,
    /// with a step of the status bar for each: an invalid answer is none, and noted. False when the run was
    /// stopped on the way: half a run says nothing about the clients that it did not come to.
    [[nodiscard]] bool askEach(
        const QString& selector, Reading& reading,
        const std::function<void(const RemoteClient& client, const QVariant& answer)>& take);
    /// What one client answers; stopping to wait for it is possible.
    [[nodiscard]] QVariant ask(const QString& selector, const QVariant& argument,
                               const RemoteClientPtr& client) const;
    /// Works those of the clients that the run is for in `body`, as many at once as it may, with a step of
    /// the status bar for each. `name`: of the threads.
    void forEachClient(const QString& name, const QList<RemoteClientPtr>& clients,
                       const std::function<void(const RemoteClientPtr& client)>& body) const;
    /// Works jobs (with a `hostName`) in `body`, those of one client in their order on one thread, with that
    /// client's turn over all of them where the run changes something. Clients that are gone are skipped.
    template <typename Job>
    void forEachJob(const QString& name, const QList<Job>& jobs,
                    const std::function<void(const RemoteClientPtr& client,
                                             const std::type_identity_t<Job>& job)>& body) const {
        QList<RemoteClientPtr> clients;
        QHash<const RemoteClient*, QList<Job>> jobsOf;
        for (const Job& job : jobs) {
            const RemoteClientPtr client = context().serviceWithHostName(job.hostName);
            if (!client) continue;
            QList<Job>& own = jobsOf[client.get()];
            if (own.isEmpty()) clients.append(client);
            own.append(job);
        }
        forEachClient(name, clients, [&](const RemoteClientPtr& client) {
            const Run::Changes changes(client);
            if (!changes) return;
            for (const Job& job : *jobsOf.constFind(client.get())) {
                if (isStopped()) return noteStopped(job.hostName);
                body(client, job);
            }
        });
    }
    /// The client gave no answer: why, as far as the run knows.
    static void noteUnanswered(const RemoteClient& client, Reading& reading);
    /// Tells the run that something remains to be done there.
    static void noteStopped(const QString& hostName);
    /// Tells the run that what all of its clients were to get could not be had.
    static void noteNothingToSend(const QString& reason);
    /// The clients of those host names that are known.
    [[nodiscard]] QList<RemoteClientPtr> clientsNamed(const QStringList& hostNames) const;
    /// Runs `install` on the main thread and waits, unless the run was cancelled or a later reading has been
    /// installed already.
    void install(const Reading& reading, const std::function<void()>& install);

    /// Forgets what was read. Main thread.
    void forgetResult() {
        m_hasResult = false;
        m_unanswered.clear();
        Q_EMIT changed();
    }

    bool m_hasResult = false;

private:
    ToolContext m_context;
    bool m_busy = false;
    QList<UnansweredClient> m_unanswered;
    std::atomic<int> m_lastReading{0};
    int m_installedReading = 0;  ///< main thread
};

/// One entry of the tool list: everything that the console knows of a tool. One without `makeController` is
/// listed but not built yet.
struct Tool {
    QString identifier;  ///< "addonry"; also the word for `--report`, and of the drawing
                         ///< ":/icons/tools/addonry.svg"
    QString title;
    QString subtitle;           ///< one line on what it does
    int refreshInterval = 0;    ///< seconds; 0: only when asked to
    int clearingPlace = 0;      ///< the order in which tools forget their results
    QVariantMap settings = {};  ///< that it registers, with the values they have until the user changes them
    std::function<std::unique_ptr<ToolController>(const ToolContext&)> makeController = {};
    std::function<QWidget*(ToolController&, QWidget* parent)> makePane = {};
};

template <typename Controller>
[[nodiscard]] auto controllerMaker() {
    return [](const ToolContext& context) -> std::unique_ptr<ToolController> {
        return std::make_unique<Controller>(context);
    };
}
template <typename Pane, typename Controller>
[[nodiscard]] auto paneMaker() {
    return [](ToolController& controller, QWidget* parent) -> QWidget* {
        return new Pane(static_cast<Controller&>(controller), parent);
    };
}
/// The two settings of a table's sorting.
[[nodiscard]] QVariantMap sortSettings(const QString& table, const QString& column, bool descending = false);

/// Every tool in the order of the tool list. A new tool is one line in ToolList.inc.
[[nodiscard]] const QList<Tool>& toolRegistry();
/// What users call the tool of that identifier; empty where there is none.
[[nodiscard]] QString toolTitle(const QString& identifier);
