#pragma once

#include "foundation/Snapshot.h"
#include "remote/ByteBudget.h"
#include "remote/RemoteClient.h"
#include "remote/TaskProgress.h"
#include "runs/Run.h"

#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class Wave;

/// Runs one operation of the agents' protocol on one client or on all selected clients.
///
/// Called from worker threads only: on the main thread the single-client primitives do nothing, with a log
/// line, and the fan-outs do not wait (as TaskProgress says). Nothing here throws: failures are logged, the
/// client concerned is marked not connected, and the others go on.
///
/// Everything belongs to the run that the calling thread works for (RunScope): it hears how each operation
/// ended, it bounds how many are under way at once, and where it names clients, "all selected clients" are
/// those. A fan-out of a thread that works for no run is one of its own. A fan-out returns when its own work
/// is done or its run is cancelled, whatever else runs.
class RemoteRunner {
    Q_DECLARE_TR_FUNCTIONS(RemoteRunner)
public:
    struct Environment {
        TaskProgress* progress = nullptr;                          ///< outlives the runner
        std::function<QList<RemoteClientPtr>()> selectedServices;  ///< any thread
        VLCallbackTargetPtr errorCallback;                         ///< handed to agents on connecting
        /// Number of processors that the fan-out splits over; QThread::idealThreadCount() when empty.
        std::function<int()> processorCount;
        /// Whether the clients that the split over processors leaves out are worked after the others. They
        /// are when this is empty.
        std::function<bool()> followsUp;
        /// A client's failure, for the error queue: `reason` in plain words. Any thread. May be empty.
        std::function<void(const QString& hostName, const QString& reason)> clientFailed;
        /// The same for an error of the agent's own, with "domain", "code" and "info".
        std::function<void(const QString& hostName, const QVariantMap& error)> clientReportedError;
        // How long an agent that is alive may take to answer; a missed limit counts as a failure. What is
        // executed, tasks among it, may take as long as it needs.
        std::chrono::milliseconds replyLimit{std::chrono::seconds(60)};       ///< of a read
        std::chrono::milliseconds dataReplyLimit{std::chrono::seconds(300)};  ///< of one that fetches data
        std::chrono::milliseconds probeLimit{std::chrono::seconds(10)};       ///< whether it knows a selector
        /// How much may be on its way to all clients at once: a message holds a copy of what it carries.
        std::shared_ptr<ByteBudget> outgoing = std::make_shared<ByteBudget>(256LL << 20);
    };
    explicit RemoteRunner(Environment environment);

    // One client.
    /// Whether executeRemoteMethod() sends it to this client: not to one that is disabled, and to one in
    /// error only few operations.
    [[nodiscard]] static bool mayExecute(const QString& selector, const RemoteClient& service);
    /// True when the agent has done it.
    bool executeRemoteMethod(const QString& selector, const QVariant& obj1, const QVariant& obj2,
                             const RemoteClientPtr& service);
    /// The agent's answer, or invalid.
    [[nodiscard]] QVariant objectFromRemoteMethod(const QString& selector, const QVariant& obj1,
                                                  const QVariant& obj2, const RemoteClientPtr& service);
    [[nodiscard]] QVariant objectFromRemoteTask(const QString& task, const QString& bundleID,
                                                const QVariantMap& options, const RemoteClientPtr& service);
    void executeRemoteTask(const QString& task, const QString& bundleID, const QVariantMap& options,
                           const RemoteClientPtr& service);

    // All selected clients.
    /// Answers by host name; null (no value) when no client is selected.
    [[nodiscard]] QVariant objectsFromRemoteMethod(const QString& selector, const QVariant& obj1 = {},
                                                   const QVariant& obj2 = {});
    void executeRemoteMethods(const QString& selector, const QVariant& obj1 = {}, const QVariant& obj2 = {});
    /// Returns at once; completion is observed through the task count.
    void executeRemoteTasks(const QString& task, const QString& bundleID, const QVariantMap& options);

    /// The selected clients in groups, one per thread.
    [[nodiscard]] QList<QList<RemoteClientPtr>> selectedServicesForCores() const;
    /// The names of those that a fan-out over these clients would not work: none where it follows up on them.
    /// Any thread.
    [[nodiscard]] QStringList leftOutNames(const QList<RemoteClientPtr>& clients) const;

    // For the runs that AuthorizedRunner makes.
    /// Starts connecting where needed; null while there is no connection.
    [[nodiscard]] VLProxyObjectPtr connectedProxy(const RemoteClientPtr& service) const;
    /// Waits until there is room for what is to be sent besides what is on its way to others. Null, and the
    /// run of this thread has heard of it, where nobody waits for the operation any more.
    [[nodiscard]] std::unique_ptr<ByteBudget::Part> roomFor(const QVariantList& sent,
                                                            const RemoteClient& service) const;
    /// Tells the run of this thread that the client was not asked.
    static void noteSkipped(const RemoteClient& service);
    /// Logs and reports what ended an operation, and marks the client not connected if it may be the cause.
    /// The run of this thread hears of it.
    void operationFailed(const std::exception& exception, const char* method, const QString& selector,
                         const RemoteClientPtr& service) const;

    /// The answers of the last many-client read, by host name.
    [[nodiscard]] QVariantMap threadedObjectDict() const { return m_threadedObjectDict.get(); }

private:
    class Read;
    using ReadPtr = std::shared_ptr<Read>;
    struct Split;
    using ClientWork = std::function<void(const RemoteClientPtr&)>;

    [[nodiscard]] QList<RemoteClientPtr> clientsOfRun() const;
    [[nodiscard]] Split split(const QList<RemoteClientPtr>& services) const;
    [[nodiscard]] RunPtr runHere() const;
    [[nodiscard]] bool followsUp() const { return !m_environment.followsUp || m_environment.followsUp(); }
    /// Works all groups and then those that the split left out. Waits where `seconds` are given.
    void runOnAll(const QString& threadName, const ClientWork& work, double seconds) const;
    [[nodiscard]] std::shared_ptr<Wave> startGroups(const QList<QList<RemoteClientPtr>>& groups,
                                                    const QString& threadName, const RunPtr& run,
                                                    const ClientWork& work) const;
    void workGroup(const QList<RemoteClientPtr>& services, const QString& threadName, const RunPtr& run,
                   const ClientWork& work) const;
    void noteLeftOut(const Split& split, const RunPtr& run) const;

    std::optional<QVariant> sendMethod(const QString& selector, const QVariant& obj1, const QVariant& obj2,
                                       const RemoteClientPtr& service, std::chrono::milliseconds limit,
                                       bool isExecution) const;
    [[nodiscard]] std::chrono::milliseconds replyLimitOf(const QString& selector) const;
    [[nodiscard]] QVariant checkedAnswer(const QString& selector, const QVariant& answer,
                                         const RemoteClientPtr& service) const;
    QVariant guarded(const char* method, const QString& selector, const RemoteClientPtr& service,
                     const std::function<QVariant()>& body) const;
    void reportFailure(const RemoteClientPtr& service, const QString& reason) const;

    // On the main thread, waiting until done.
    void setThreadedObjectDict(const QVariantMap& dictionary);
    void resetThreadedObjectDict(const ReadPtr& read);
    void threadedObjectDictSetObject(const QVariant& object, const QString& key, const ReadPtr& read);
    void install(const ReadPtr& read);

    Environment m_environment;
    Snapshot<QVariantMap> m_threadedObjectDict;
    ReadPtr m_currentRead;  ///< main thread only
};
