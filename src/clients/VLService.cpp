// The record of a client: identity, state, notifications, archived form.

#include "clients/VLService.h"

#include "clients/MachineIcons.h"
#include "clients/ServiceSession.h"
#include "clients/TitleOrder.h"
#include "foundation/MainThread.h"
#include "foundation/VLNotificationCenter.h"
#include "logs/VLLog.h"
#include "remote/TlsIdentity.h"

#include <QImageReader>

namespace {

constexpr QSize iconSize(128, 128);
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

VLService::VLService() : m_connection(std::make_unique<ConnectionState>()) {}

VLService::~VLService() {
    invalidateTimers();
}

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
        {{QStringLiteral("errorcode"), code}, {QStringLiteral("hostname"), hostName()}});
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

void VLService::encode(QDataStream& stream) const {
    stream << name() << hostName() << MachineIcons::archiveData(icon());
    stream << QStringLiteral("port") << static_cast<qint32>(port());
    stream << QStringLiteral("isConnected") << isConnected();
    stream << QStringLiteral("needsMaintenance") << needsMaintenance();
}

VLServicePtr VLService::decode(QDataStream& stream, const PictureFilter& takesPicture) {
    QString name, hostName, portKey, connectedKey, maintenanceKey;
    QByteArray icon;
    qint32 port = 0;
    bool isConnected = false, needsMaintenance = false;
    stream >> name >> hostName >> icon >> portKey >> port >> connectedKey >> isConnected >> maintenanceKey >>
        needsMaintenance;
    const bool known = portKey == u"port" && connectedKey == u"isConnected" &&
                       maintenanceKey == u"needsMaintenance" && port >= 0 && port <= 65535;
    if (stream.status() != QDataStream::Ok || !known) {
        VLLog::appendLog(QStringLiteral("A stored client could not be read."));
        return nullptr;
    }
    auto service = std::make_shared<VLService>();
    service->m_name.set(name);
    service->m_hostName.set(hostName);
    if (!icon.isEmpty() && (!takesPicture || takesPicture(hostName, icon.size())))
        service->m_icon.set(MachineIcons::decode(icon));
    service->m_port = port;
    service->m_isConnected = isConnected;
    service->m_needsMaintenance = needsMaintenance;
    return service;
}
