#pragma once

#include "clients/ManualConnections.h"
#include "clients/ServiceList.h"
#include "clients/discovery/ServiceBrowser.h"

#include <QObject>

#include <functional>
#include <memory>

/// Finds clients: browses on a thread of its own, resolves each find on another, and turns the results, and
/// the entries made by hand, into records of the client list. Main thread unless said otherwise.
class Discovery : public QObject {
    Q_OBJECT
public:
    struct Environment {
        ServiceList* services = nullptr;    ///< outlives this object
        VLCallbackTargetPtr errorCallback;  ///< handed to every record
        std::function<void()> updateSelectedComputerStatus;
        /// A record left the list: drop its update counts, errors and menu item.
        std::function<void(const VLServicePtr&)> serviceRemoved;
        std::function<void(const VLServicePtr&)> serviceAdded;
        /// Counts the removed client's task out when the progress window is up, and closes its windows.
        std::function<void(const VLServicePtr&)> endTasksOf;
    };
    explicit Discovery(Environment environment, QObject* parent = nullptr);
    ~Discovery() override;

    void findServicesOnThread();
    /// Ends browsing; returns when its thread has ended (serving the hand-off queue meanwhile).
    void stop();
    [[nodiscard]] ServiceBrowser::Backend backend() const noexcept;  ///< any thread
    /// Tests browse with a browser of their own. Before findServicesOnThread().
    using BrowserFactory = std::function<std::unique_ptr<ServiceBrowser>(ServiceBrowser::Delegate)>;
    using Resolver =
        std::function<ServiceResolution(const VLNetService&, const std::function<bool()>& isCancelled)>;
    void setBrowser(BrowserFactory makeBrowser, Resolver resolve);

    void processManualConnections();
    /// The record of this address and port: the one in the list, else a new one.
    VLServicePtr addManualConnection(const QString& name, const QString& ip, int port);
    /// The submitted form: false when a manual client with this address and port exists already.
    bool submitManualConnection(const ManualConnections::Entry& entry);
    /// The manual client with this address and port; null when there is none.
    [[nodiscard]] VLServicePtr manualRecord(const QString& ip, int port) const;
    /// The same in place of a manual client that is there, which is given up.
    bool replaceManualConnection(const VLServicePtr& former, const ManualConnections::Entry& entry);

    void serviceResolved(const VLNetService& service);
    void removeNetService(const VLNetService& service);
    /// The agent took its leave. Should it be back before its advertisement has gone, nothing reports it, so
    /// it is looked for again a few times, as long as it is advertised.
    void removeLeavingService(const VLNetService& service);
    /// Removes one record, discovered or manual (whose stored entry goes too).
    void removeService(const VLServicePtr& service);

private:
    struct Browsing;

    [[nodiscard]] QList<VLServicePtr> recordsOf(const VLNetService& service) const;
    [[nodiscard]] bool hasRecordFor(const VLNetService& service) const;
    [[nodiscard]] QString freeHostName(const VLNetService& service) const;
    void addRecord(const VLServicePtr& service);
    void removeRecordsOf(const VLNetService& service);
    void endRecord(const VLServicePtr& service);
    void lookAgain(const VLNetService& service);

    Environment m_environment;
    QStringList m_replacing;  ///< the services whose records make room for a new one at this moment
    const std::shared_ptr<Browsing> m_browsing;  ///< shared with the threads, which may outlive this object
};
