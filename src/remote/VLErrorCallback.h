#pragma once

#include "foundation/Snapshot.h"
#include "remote/ErrorQueue.h"
#include "remote/VLProxyObject.h"

#include <QDateTime>
#include <QString>
#include <QVariant>

#include <atomic>
#include <functional>
#include <memory>

/// The one object of the console that agents call back, and the queue of errors of all clients.
///
/// receive() runs on connection threads: it hands work over and returns. Only agents of known clients are
/// heard: a client that was removed is not one any more, though its connection may still carry what its agent
/// said. What agents say is bounded: see ErrorQueue, and each may cause only a few log lines and
/// `noticesPerMinute` notices of each kind a minute.
class VLErrorCallback : public VLCallbackTarget {
public:
    static constexpr int noticesPerMinute = 240;

    struct Work {
        QString tool;    ///< identifier; empty for the console's own
        QString action;  ///< "Remove 3 tasks"; empty: nothing with a name
    };
    /// What the console does when agents call; each is called on the thread that its comment names. A host
    /// name is always the label of the connection that the call came through.
    struct Parent {
        /// Main thread, which a worker waits for: the agent of `hostName` wants maintenance or does not any
        /// more. Of requests that arrive meanwhile the last one counts.
        std::function<void(const QString& hostName, bool needed)> setNeedsMaintenance;
        /// A new worker thread: fetch the configuration of that client again (no time-out armed). Requests
        /// that arrive while one runs are done as one, after it.
        std::function<void(const QString& hostName)> fetchConfiguration;
        /// A new worker thread: the agent goes away; end its connection.
        std::function<void(const QString& hostName)> invalidate;
        /// True when a client of that host name is known. Any thread.
        std::function<bool(const QString& hostName)> knowsHost;
        /// True when the client of the connection `sender` is also known as `hostName`. Any thread. Without
        /// it an agent has the one name of its connection, with or without a dot at the end.
        std::function<bool(const QString& sender, const QString& hostName)> isNameOfClient;
        /// The thread of the connection, before any answer that the agent gives after it: the agent reports
        /// an error, in plain words; or that it would not do something though nothing is wrong with it.
        std::function<void(const QString& hostName, const QString& text, bool isRefusal)> errorReported;
        /// Any thread: what is being done with that client, which is what an error of it is about.
        std::function<Work(const QString& hostName)> workOn;
        /// Main thread.
        std::function<void(const QVariantList& logs, const QString& hostName)> faultscopeAddLogs;
        std::function<void(qlonglong count, const QString& hostName)> setSoftwareUpdateCount;
        /// A new worker thread: forget the credentials of that host.
        std::function<void(const QString& hostName)> removeStoredPasswordForHost;
    };
    using Clock = std::function<QDateTime()>;

    /// Every function of `parent` may be missing. `clock` is the time of records, the present when empty.
    explicit VLErrorCallback(Parent parent = {}, Clock clock = {});
    ~VLErrorCallback() override;

    [[nodiscard]] Parent parent() const { return m_parent.get(); }
    /// Work that was handed over before still goes to the earlier parent.
    void setParent(Parent parent) { m_parent.set(std::move(parent)); }

    QVariant receive(const QString& selector, const QVariantList& arguments, const QString& sender) override;

    // Any thread. `error` is a dictionary with "domain", "code" and, where given, "description", "info".
    // `userInfo` names the host under "hostname" and may name an application under "appName".
    void addErrorToQueue(const QVariantMap& error, const QString& hostName);
    void addErrorToQueue(const QVariantMap& error, const QVariantMap& userInfo);
    void addStringToQueue(const QString& text, const QString& hostName);
    void addStringToQueue(const QString& text, const QVariantMap& userInfo);
    void addExceptionToQueue(const QString& description, const QString& hostName);

    [[nodiscard]] QVariantList errorQueue() const;
    void setErrorQueue(const QVariantList& queue);
    /// The same as it is kept, and the numbers in it: for whoever looks often.
    [[nodiscard]] std::shared_ptr<const ErrorQueue::Records> errorRecords() const {
        return m_errorQueue.records();
    }
    [[nodiscard]] qsizetype errorCount() const { return m_errorQueue.count(); }
    [[nodiscard]] ErrorQueue::Counts errorCountsByHost() const { return m_errorQueue.countsByHost(); }
    void clearErrorQueue();
    void removeErrorsForService(const QString& hostName);
    /// One line per record, newest first: host name, date and description.
    [[nodiscard]] QString stringRepresentation() const;
    /// Posts "vlCorvalinErrorLabelRefresh", once for all the changes until the main thread comes to it.
    void refreshErrorButton() const;
    [[nodiscard]] static QString descriptionForError(const QVariantMap& error);

private:
    class HostWorkers;
    class Maintenance;
    class Budgets;
    using ParentPtr = std::shared_ptr<const Parent>;
    using Handler = void (VLErrorCallback::*)(const QString& selector, const QVariantList& arguments,
                                              const QString& sender);
    [[nodiscard]] static Handler handlerOf(const QString& selector);

    void ignore(const QString& selector, const QVariantList& arguments, const QString& sender);
    void receiveAboutHost(const QString& selector, const QVariantList& arguments, const QString& sender);
    void receiveAddLogs(const QString& selector, const QVariantList& arguments, const QString& sender);
    void receiveUpdateCount(const QString& selector, const QVariantList& arguments, const QString& sender);
    void receiveNotice(const QString& selector, const QVariantList& arguments, const QString& sender);
    void receiveError(const QString& selector, const QVariantList& arguments, const QString& sender);

    [[nodiscard]] bool knows(const QString& sender) const;
    [[nodiscard]] bool speaksForItself(const QString& hostName, const QString& sender) const;
    [[nodiscard]] bool refuses(const QString& selector, const QVariant& hostName, const QString& sender);
    void enqueue(ErrorRecord record);
    /// One line about a call of `sender`, who may cause only so many of them.
    template <typename... Values>
    void logCall(const QString& sender, const QString& format, const Values&... values) const;

    Snapshot<Parent> m_parent;
    Clock m_clock;
    ErrorQueue m_errorQueue;
    const std::shared_ptr<std::atomic<bool>> m_refreshPending;
    std::shared_ptr<HostWorkers> m_workers;
    const std::shared_ptr<Maintenance> m_maintenance;
    const std::shared_ptr<Budgets> m_logBudgets, m_noticeBudgets;
};
