#include "clients/VLService.h"

#include "clients/MachineIcons.h"
#include "clients/ServiceArchive.h"
#include "clients/ServiceConfigurator.h"
#include "clients/ServiceConnection.h"
#include "clients/ServicePicture.h"
#include "clients/ServiceSession.h"
#include "clients/TitleOrder.h"
#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/ErrorQueue.h"
#include "remote/TlsIdentity.h"

#include <QImageReader>

namespace {

constexpr QSize iconSize(128, 128);
constexpr int largestIcon = 128;
constexpr qsizetype longestReason = 1000;  ///< a reason may be what an agent wrote, and is shown
constexpr int pictureMemoryLimit = 64;     ///< MiB that one picture of an agent may unpack to

Snapshot<VLServiceEnvironment>& environmentStore() {
    static Snapshot<VLServiceEnvironment> store;
    return store;
}

}  // namespace

void VLService::setEnvironment(VLServiceEnvironment environment) {
    QImageReader::setAllocationLimit(pictureMemoryLimit);
    environmentStore().set(std::move(environment));
}

std::shared_ptr<const VLServiceEnvironment> VLService::environment() {
    return environmentStore().shared();
}

VLService::VLService() : m_connection(std::make_unique<ServiceConnection>(*this)) {}

VLService::~VLService() = default;

VLServicePtr VLService::serviceWithName(const QString& name, const QString& hostName, const QString& ip,
                                        int port, const VLCallbackTargetPtr& errorCallback) {
    auto service = std::make_shared<VLService>();
    service->m_name.set(name);
    service->m_hostName.set(hostName);
    service->m_manualIP.set(ip);
    service->m_isManual = true;
    service->m_port = port;
    service->connectOnThread(errorCallback);
    return service;
}

VLServicePtr VLService::serviceWithNetService(const VLNetService& netService,
                                              const VLCallbackTargetPtr& errorCallback,
                                              const QString& hostName) {
    auto service = std::make_shared<VLService>();
    service->m_name.set(netService.name);
    service->m_hostName.set(hostName.isEmpty() ? netService.hostName : hostName);
    service->m_port = netService.port;
    service->m_netService.set(netService);
    VLLog::appendLog(QStringLiteral("Getting TXT record..."));
    const QString model = QString::fromUtf8(netService.txtRecord.value(QStringLiteral("model")));
    if (!model.isEmpty()) service->m_icon.set(iconForMacModel(model, iconSize));
    service->connectOnThread(errorCallback);
    return service;
}

QImage VLService::iconForMacModel(const QString& model, const QSize& size) {
    VLLog::appendLog(QStringLiteral("Getting icon for machine type %@..."), model);
    const QString fileName = MachineIcons::fileNameForModel(model);
    return fileName.isEmpty() ? QImage() : MachineIcons::image(fileName, size);
}

QString VLService::ipAddress() const {
    if (isManual()) return manualIP();
    const auto service = netService();
    return service && !service->addresses.isEmpty() ? service->addresses.constFirst().address.toString()
                                                    : QString();
}

int VLService::compareTitle(const VLService& other) const {
    return TitleOrder::compare(name(), other.name());
}

QString VLService::pinName() const {
    if (const auto service = netService())
        return QStringLiteral("%1 (%2)").arg(service->hostName, service->name);
    return QStringLiteral("%1:%2").arg(manualIP()).arg(port());
}

QString VLService::identity() const {
    const auto shared = environment();
    const auto pinned = shared && shared->pins ? shared->pins->find(pinName()) : std::nullopt;
    return pinned ? certificateFingerprint(*pinned) : QString();
}

void VLService::setNeedsMaintenance(bool needed) {
    if (m_needsMaintenance.exchange(needed) != needed) refreshServiceView();
}

void VLService::setIsProcessing(bool processing) {
    if (m_isProcessing.exchange(processing) != processing) refreshServiceView();
}

void VLService::setEnabled(bool enabled) {
    if (m_enabled.exchange(enabled) != enabled) refreshServiceView();
}

void VLService::setErrorCode(int code) {
    const bool changed = m_errorCode.exchange(code) != code;
    if (changed) refreshServiceView();
    if (code == 0) return;
    VLNotificationCenter::defaultCenter().postNotification(
        QStringLiteral("vlCorvalinPostLocalError"), {},
        {{ErrorKey::errorCode, code}, {ErrorKey::hostName, hostName()}});
}

void VLService::setConnectionError(const QString& reason, ConnectionFailure failure,
                                   const QByteArray& changedCertificate) {
    m_connectionError.set(reason.left(longestReason));
    m_connectionFailure = failure;
    m_changedCertificate.set(changedCertificate);
}

void VLService::startProgressSpinner() {
    setSpinning(true);
}

void VLService::stopProgressSpinner() {
    setSpinning(false);
}

void VLService::setSpinning(bool spinning) {
    // The last word counts, not the last to arrive: a stop on the main thread overtakes a start on its way.
    m_shallSpin = spinning;
    const auto change = [weak = weak_from_this()] {
        const VLServicePtr self = weak.lock();
        if (!self) return;
        const bool spins = self->m_shallSpin;
        if (self->m_spinning.exchange(spins) != spins) self->refreshServiceView();
    };
    if (MainThread::isCurrent())
        change();
    else
        onMainThread(change);
}

void VLService::refreshServiceView() {
    // A client that connects changes many times within a moment; one redraw shows them all.
    if (m_refreshPending.exchange(true)) return;
    onMainThread([weak = weak_from_this()] {
        const VLServicePtr self = weak.lock();
        if (!self) return;
        self->m_refreshPending = false;
        VLNotificationCenter::defaultCenter().postNotification(QStringLiteral("vlCorvalinServiceRefresh"),
                                                               QVariant::fromValue(self));
    });
}

void VLService::postConnectionFailedMessage() {
    VLNotificationCenter::defaultCenter().postNotification(
        QStringLiteral("vlCorvalinServiceConnectFailed"), {},
        {{QStringLiteral("service"), QVariant::fromValue(shared_from_this())}});
}

void VLService::postInvalidatedMessage() {
    VLNotificationCenter::defaultCenter().postNotification(
        QStringLiteral("VLCorvalinServiceInvalidated"), {},
        {{QStringLiteral("service"), QVariant::fromValue(shared_from_this())}});
}

// MARK: Connection

VLProxyObjectPtr VLService::proxyObject() const {
    const auto session = m_connection->session();
    return session ? session->proxy() : nullptr;
}

bool VLService::runLoopRunning() const {
    const auto session = m_connection->session();
    return session && session->runLoopRunning();
}

void VLService::setIsConnected(bool connected) {
    if (m_isConnected.exchange(connected) == connected) return;
    // The flag keeps the serve loop going; the loop shall see at once that it was cleared.
    if (const auto session = connected ? nullptr : m_connection->session()) session->wake();
    refreshServiceView();
}

void VLService::connectOnThread(VLCallbackTargetPtr errorCallback) {
    if (isConnected()) disconnect();
    m_connection->start(errorCallback, false);
}

void VLService::connect(const VLCallbackTargetPtr& errorCallback) {
    m_connection->run(errorCallback);
}

void VLService::setupReconnectTimer(const VLCallbackTargetPtr& errorCallback) {
    m_connection->armReconnect(nullptr, errorCallback);
}

void VLService::reconnect(const VLCallbackTargetPtr& errorCallback) {
    connectOnThread(errorCallback);
}

bool VLService::acceptChangedCertificate(const QByteArray& certificateShown,
                                         const VLCallbackTargetPtr& errorCallback) {
    if (certificateShown.isEmpty() || certificateShown != changedCertificate()) {
        VLLog::appendLog(QStringLiteral("The new key of %@ is not the one that was shown; it is refused."),
                         name());
        return false;
    }
    const auto pins = environment()->pins;
    if (!pins || !pins->pin(pinName(), certificateShown)) {
        VLLog::appendLog(QStringLiteral("The new key of %@ could not be stored."), name());
        return false;
    }
    VLLog::appendLog(QStringLiteral("The new key of %@ was accepted: %@"), name(),
                     certificateFingerprint(certificateShown));
    setConnectionError({}, ConnectionFailure::None);
    m_connection->start(errorCallback, true);
    return true;
}

void VLService::disconnect() {
    const VLCallLock lock;
    VLLog::appendLog(QStringLiteral("Disconnecting %@..."), name());
    m_connection->end();
    VLLog::appendLog(QStringLiteral("Disconnected"));
}

void VLService::invalidate() {
    const VLCallLock lock;
    invalidate(true);
}

void VLService::invalidate(bool postNotification) {
    const VLCallLock lock;
    m_connection->invalidateTimers();
    // An attempt that is under way has to end as well, or it would connect a record that is gone.
    if (isConnected() || m_connection->session()) disconnect();
    m_connection->invalidateTimers();  // the attempt may have armed the next one just before it was ended
    VLLog::appendLog(QStringLiteral("Invalidating %@..."), name());
    stopProgressSpinner();
    if (postNotification) postInvalidatedMessage();
}

void VLService::retire() {
    m_connection->retire();
}

void VLService::connectionTimedOut() {
    m_connection->disarmTimeout();
    VLLog::appendLog(QStringLiteral("Connection timed out for %@."), hostName());
    onMainThreadAndWait([this] { stopProgressSpinner(); });
    setErrorCode(2008);
    postConnectionFailedMessage();
}

void VLService::ping() {
    const QString selector = QStringLiteral("ping");
    try {
        const VLProxyObjectPtr proxy = proxyObject();
        if (proxy && proxy->respondsToSelector(selector)) proxy->perform(selector);
    } catch (const std::exception&) {
        // Whether the agent lives shows in the connection; the call itself has nothing to report.
    }
}

// MARK: What the agent tells of itself

void VLService::fetchInitialConfiguration(bool armTimeout) {
    ServiceConfigurator(*this).fetch(armTimeout);
}

void VLService::processConfiguration(const QVariantMap& configuration) {
    if (!MainThread::isCurrent()) {
        ServiceConfigurator(*this).process(configuration);
        return;
    }
    VLThread::detach(QStringLiteral("configuration"), [self = shared_from_this(), configuration] {
        ServiceConfigurator(*self).process(configuration);
    });
}

void VLService::fetchIconOnThread() {
    VLThread::detach(QStringLiteral("client picture"),
                     [self = shared_from_this()] { self->setServiceIcon(); });
}

void VLService::setServiceIcon() {
    if (m_fetchesIcon.exchange(true)) return;  // both the connection and the configuration start it
    if (const QImage picture = fetchServiceIcon(); !picture.isNull()) {
        setIcon(MachineIcons::scaledDown(picture, largestIcon));  // agents send them at any size
        refreshServiceView();
    }
    m_fetchesIcon = false;
}

QImage VLService::fetchServiceIcon() {
    const VLCallLock lock;
    const auto shared = environment();
    return ServicePicture{name(), hostName(), shared->cacheDirectory, proxyObject(),
                          shared->timing.configuration}
        .fetch();
}

// MARK: Archived form

void VLService::encode(QDataStream& stream) const {
    ServiceArchive{name(), hostName(),    MachineIcons::archiveData(icon()),
                   port(), isConnected(), needsMaintenance()}
        .write(stream);
}

VLServicePtr VLService::decode(QDataStream& stream, const PictureFilter& takesPicture) {
    const auto archive = ServiceArchive::read(stream);
    if (!archive) return nullptr;
    auto service = std::make_shared<VLService>();
    service->m_name.set(archive->name);
    service->m_hostName.set(archive->hostName);
    const QByteArray& picture = archive->picture;
    if (!picture.isEmpty() && (!takesPicture || takesPicture(archive->hostName, picture.size())))
        service->m_icon.set(MachineIcons::decode(picture));
    service->m_port = archive->port;
    service->m_isConnected = archive->isConnected;
    service->m_needsMaintenance = archive->needsMaintenance;
    return service;
}
