#pragma once

#include "clients/discovery/ServiceBrowser.h"
#include "clients/discovery/VLNetService.h"
#include "foundation/Snapshot.h"
#include "remote/ConnectionFailure.h"
#include "remote/RemoteClient.h"
#include "remote/TlsIdentity.h"
#include "remote/VLConnection.h"

#include <QDataStream>
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class ServiceConfigurator;
class ServiceConnection;
class VLBundle;
class VLService;
class VLServiceGroup;
using VLServicePtr = std::shared_ptr<VLService>;
Q_DECLARE_METATYPE(VLServicePtr)

/// Who is told of a client's connection (the application controller). The comments name the calling thread.
class VLServiceDelegate {
public:
    virtual ~VLServiceDelegate() = default;
    virtual void serviceConnected(const VLServicePtr& service) = 0;  ///< a new worker thread
    /// Main thread: `count` updates wait on the client / the count must be fetched afresh.
    virtual void setSoftwareUpdateCount(qlonglong count, const QString& hostName) {
        Q_UNUSED(count)
        Q_UNUSED(hostName)
    }
    virtual void updateSoftwareUpdateCountForItem(const VLServicePtr& service) { Q_UNUSED(service) }
    /// Any thread: another record than `service` is filed under that host name.
    [[nodiscard]] virtual bool isHostNameOfAnother(const VLServicePtr& service, const QString& hostName) {
        Q_UNUSED(service)
        Q_UNUSED(hostName)
        return false;
    }
    /// Main thread: the agent itself crashed; `log` names its crash log.
    virtual void displayCrashDialogForClient(const VLServicePtr& service, const QString& log) {
        Q_UNUSED(service)
        Q_UNUSED(log)
    }
};

/// How long a client may take, and how often it is tried again.
struct VLServiceTiming {
    std::chrono::milliseconds reconnect{8'000};       ///< pause before the next attempt
    std::chrono::milliseconds configuration{15'000};  ///< answer to the configuration request
    std::chrono::milliseconds serveSlice{2'000};
    std::chrono::milliseconds loopExit{2'000};    ///< how long disconnect() waits for the serve loop
    std::chrono::milliseconds nameLookUp{1'000};  ///< look-up of the registered port
    std::chrono::milliseconds probe{10'000};      ///< "do you know this operation?" on a new connection
};

/// What every record needs to connect; one for the whole console, set before the first record is made.
struct VLServiceEnvironment {
    TlsIdentity identity;                      ///< the console's own key pair
    std::shared_ptr<PinnedCertificates> pins;  ///< agents' certificates, by host name
    RemoteLimits limits;
    VLServiceDelegate* delegate = nullptr;  ///< outlives every record
    QString cacheDirectory;                 ///< of "serviceicons.cache.plist"
    VLServiceTiming timing;
    /// Tests replace these; empty means lookUpRegisteredPort() and the program's own bundle.
    std::function<std::optional<RegisteredPort>(const QString& registeredName, const QString& hostName,
                                                std::chrono::milliseconds limit)>
        lookUpPort;
    const VLBundle* bundle = nullptr;
};

/// One client machine: its identity and the live connection to its agent.
///
/// Records are shared: the client list holds them, and its connection thread keeps one alive while it runs.
/// Plain accessors are for any thread (atomic, or replaced whole). The connection lives on its own thread;
/// workers call through proxyObject(). State changes post "vlCorvalinServiceRefresh", and a new host name
/// "vlCorvalinServiceRenamed", on the main thread before anybody comes under it.
class VLService : public RemoteClient, public std::enable_shared_from_this<VLService> {
public:
    static void setEnvironment(VLServiceEnvironment environment);
    [[nodiscard]] static std::shared_ptr<const VLServiceEnvironment> environment();

    /// A client entered by hand; starts connecting.
    [[nodiscard]] static VLServicePtr serviceWithName(const QString& name, const QString& hostName,
                                                      const QString& ip, int port,
                                                      const VLCallbackTargetPtr& errorCallback);
    /// A discovered, resolved client; starts connecting. Answers and errors are filed under the host name, so
    /// when the resolved one is taken by another client the caller gives a `hostName` of its own.
    [[nodiscard]] static VLServicePtr serviceWithNetService(const VLNetService& service,
                                                            const VLCallbackTargetPtr& errorCallback,
                                                            const QString& hostName = {});
    VLService();
    ~VLService() override;

    // Identity.
    [[nodiscard]] QString name() const override { return m_name.get(); }
    void setName(const QString& name) { m_name.set(name); }
    [[nodiscard]] QString hostName() const override { return m_hostName.get(); }
    void setHostName(const QString& hostName) { m_hostName.set(hostName); }
    /// A client entered by hand that has not yet said what it is called is filed under address and port.
    [[nodiscard]] bool isFiledUnderAddress() const { return isManual() && hostName() == pinName(); }
    [[nodiscard]] std::optional<VLNetService> netService() const { return m_netService.get(); }
    [[nodiscard]] QImage icon() const { return m_icon.get(); }
    void setIcon(const QImage& icon) { m_icon.set(icon); }
    [[nodiscard]] QString manualIP() const { return m_manualIP.get(); }
    [[nodiscard]] int port() const { return m_port; }
    [[nodiscard]] bool isManual() const { return m_isManual; }
    [[nodiscard]] QStringList availableHostNames() const { return m_availableHostNames.get(); }
    void setAvailableHostNames(const QStringList& names) { m_availableHostNames.set(names); }
    /// Text form of the client's address: the manual one, or the first resolved one; empty when unknown.
    [[nodiscard]] virtual QString ipAddress() const;
    /// Orders by name, for sorting: negative, 0 or positive.
    [[nodiscard]] virtual int compareTitle(const VLService& other) const;

    // State.
    [[nodiscard]] bool isConnected() const override { return m_isConnected; }
    void setIsConnected(bool connected) override;
    [[nodiscard]] bool needsMaintenance() const { return m_needsMaintenance; }
    void setNeedsMaintenance(bool needed);
    [[nodiscard]] bool isProcessing() const { return m_isProcessing; }
    void setIsProcessing(bool processing) override;
    /// The fingerprint of the pinned certificate.
    [[nodiscard]] QString identity() const override;
    [[nodiscard]] bool enabled() const override { return m_enabled; }
    void setEnabled(bool enabled);
    [[nodiscard]] int errorCode() const override { return m_errorCode; }
    /// Stores the code; one that is not 0 also posts "vlCorvalinPostLocalError".
    void setErrorCode(int code);
    /// Why the last connection attempt failed, in plain words; empty when it did not. `changedCertificate`
    /// is the agent's new certificate (PEM) when its key differs from the pinned one.
    [[nodiscard]] QString connectionError() const override { return m_connectionError.get(); }
    /// The kind of connectionError(); None when it is empty.
    [[nodiscard]] ConnectionFailure connectionFailure() const { return m_connectionFailure; }
    [[nodiscard]] QByteArray changedCertificate() const { return m_changedCertificate.get(); }
    /// Pins the refused certificate, which the user was shown, and connects again. False, and nothing
    /// happens, when the agent has shown another one since.
    bool acceptChangedCertificate(const QByteArray& certificateShown,
                                  const VLCallbackTargetPtr& errorCallback);
    [[nodiscard]] QVariantMap configDict() const { return m_configDict.get(); }
    [[nodiscard]] bool spinning() const { return m_spinning; }
    void startProgressSpinner();
    void stopProgressSpinner();
    /// The connection thread serves a connection.
    [[nodiscard]] bool runLoopRunning() const;
    /// Under which the agent's certificate is pinned: its address for a client entered by hand, its host and
    /// advertised name otherwise, so that agents that share a host keep apart.
    [[nodiscard]] QString pinName() const;

    // Connection.
    [[nodiscard]] VLProxyObjectPtr proxyObject() const override;
    /// Does nothing while an attempt is under way already.
    void connectOnThread(VLCallbackTargetPtr errorCallback) override;
    /// Ends the connection or the attempt and everything that is pending. Waits, at most 2 seconds, for the
    /// connection's thread; on the main thread the hand-off queue is served meanwhile.
    virtual void disconnect();
    virtual void invalidate();
    virtual void invalidate(bool postNotification);
    /// The record leaves the list: from here on nothing connects it again, whoever still holds it.
    void retire();
    /// Connects again after a while, unless a connection stands or is under way.
    void setupReconnectTimer(const VLCallbackTargetPtr& errorCallback);
    /// Asks the agent for its configuration; the answer goes to processConfiguration(). On a worker it blocks
    /// until the answer or the time limit; the connection thread asks and goes on serving.
    virtual void fetchInitialConfiguration(bool armTimeout);
    /// Applies the agent's answer: here, or on a thread of its own when called on the main thread.
    void processConfiguration(const QVariantMap& configuration);
    void connectionTimedOut();
    void ping();
    void postConnectionFailedMessage();
    virtual void refreshServiceView();

    // Picture.
    void setServiceIcon();
    [[nodiscard]] QImage fetchServiceIcon();
    /// Picture of a machine model from the icon folders; null for an unknown model.
    [[nodiscard]] static QImage iconForMacModel(const QString& model, const QSize& size);

    /// Main thread (the client list).
    [[nodiscard]] VLServiceGroup* parent() const { return m_parent; }
    void setParent(VLServiceGroup* group) { m_parent = group; }

    /// The archived form: name, host name, icon (a small one), "port", "isConnected", "needsMaintenance"; no
    /// connection. Streams are of `archiveVersion`. Reading many records, not every picture is worth its
    /// time: `takesPicture` decides, from the host name and the size of the data.
    static constexpr QDataStream::Version archiveVersion = QDataStream::Qt_6_0;
    virtual void encode(QDataStream& stream) const;
    using PictureFilter = std::function<bool(const QString& hostName, qsizetype size)>;
    [[nodiscard]] static VLServicePtr decode(QDataStream& stream, const PictureFilter& takesPicture = {});

protected:
    /// Body of the connection thread; connectOnThread() has made its session.
    virtual void connect(const VLCallbackTargetPtr& errorCallback);

    Snapshot<QString> m_name, m_hostName, m_manualIP, m_connectionError;
    Snapshot<std::optional<VLNetService>> m_netService;
    Snapshot<QImage> m_icon;
    Snapshot<QStringList> m_availableHostNames;
    Snapshot<QVariantMap> m_configDict;
    Snapshot<QByteArray> m_changedCertificate;
    std::atomic<int> m_port{0}, m_errorCode{0};
    std::atomic<ConnectionFailure> m_connectionFailure{ConnectionFailure::None};
    std::atomic<bool> m_isManual{false}, m_isConnected{false}, m_needsMaintenance{false},
        m_isProcessing{false}, m_enabled{true}, m_spinning{false}, m_shallSpin{false};
    VLServiceGroup* m_parent = nullptr;

private:
    // The parts that do the work of a record.
    friend class ServiceConnection;
    friend class ServiceConfigurator;

    void reconnect(const VLCallbackTargetPtr& errorCallback);
    void postInvalidatedMessage();
    void fetchIconOnThread();
    void setConnectionError(const QString& reason, ConnectionFailure failure,
                            const QByteArray& changedCertificate = {});
    void setSpinning(bool spinning);

    std::atomic<bool> m_refreshPending{false}, m_fetchesIcon{false};
    const std::unique_ptr<ServiceConnection> m_connection;
};
