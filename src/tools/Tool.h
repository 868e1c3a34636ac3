#pragma once

#include "clients/VLService.h"
#include "remote/RemoteRunner.h"
#include "remote/TaskProgress.h"
#include "remote/authorization/AuthorizedRunner.h"
#include "runs/RunList.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <functional>
#include <memory>

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

/// A plain text table: what `orlendo --report TOOL` prints, by the first column.
struct ToolReport {
    QStringList header;
    QList<QStringList> rows;
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
    /// The user cancelled: the busy indicator stops, though the worker may still be on its way out.
    void stopSpinner() { setBusy(false); }
    [[nodiscard]] const ToolContext& context() const { return m_context; }

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
    /// Runs refresh() that way.
    void startRefresh(const QString& name) {
        startWorker(name, [this] { refresh(); });
    }

    // For workers.
    /// Whether a run of TaskProgress was cancelled, or the program quits.
    [[nodiscard]] bool isStopped(int run) const;
    /// One reading of what the tool shows, and the run of TaskProgress that it belongs to.
    struct Reading {
        int number, run;
    };
    enum class Display { None, StatusBar };
    /// A refresh around `read`: log line, busy indicator where there is nothing to show yet, and what it
    /// throws logged under `name`.
    void runRefresh(const QString& name, const QString& logLine, Display display,
                    const std::function<bool()>& isEmpty, const std::function<void(const Reading&)>& read);
    /// Asks the selected clients one after the other, with a step of the status bar for each, and hands on
    /// what they answer. False when the run was stopped on the way: half a run says nothing about the clients
    /// that it did not come to.
    [[nodiscard]] bool askEach(
        const QString& selector, const Reading& reading,
        const std::function<void(const VLService& client, const QVariant& answer)>& take);
    /// Runs `install` on the main thread and waits, unless the run was cancelled or a later reading has been
    /// installed already.
    void install(const Reading& reading, const std::function<void()>& install);

    bool m_hasResult = false;

private:
    void startRunOn(const QString& name, Run::Description description, const QList<RemoteClientPtr>& clients,
                    const std::function<void()>& work);

    ToolContext m_context;
    bool m_busy = false;
    std::atomic<int> m_lastReading{0};
    int m_installedReading = 0;  ///< main thread
};

/// One entry of the tool list. A tool without `makeController` is listed but not built yet.
struct Tool {
    QString identifier;  ///< "addonry"; also the word for `--report`
    QString title;
    QString subtitle;         ///< one line on what it does
    QString iconName;         ///< resource ":/icons/tools/<iconName>.svg"
    int refreshInterval = 0;  ///< seconds; 0: only when asked to
    std::function<std::unique_ptr<ToolController>(const ToolContext&)> makeController;
    std::function<QWidget*(ToolController&, QWidget* parent)> makePane;
};

/// Every tool in the order of the tool list. A new tool is one line in ToolRegistry.cpp.
[[nodiscard]] const QList<Tool>& toolRegistry();
