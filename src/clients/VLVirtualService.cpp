#include "clients/VLVirtualService.h"

#include "base/PropertyList.h"
#include "base/VLBundle.h"
#include "clients/MachineIcons.h"
#include "logs/VLLog.h"

#include <QRandomGenerator>

#include <array>

namespace {

constexpr int sampleCount = 5;

const QString pluginListSelector = QStringLiteral("addonryPluginList");
const QString systemInfoSelector = QStringLiteral("varispotSystemInfo");

int randomSample() {
    return static_cast<int>(QRandomGenerator::global()->generate() % sampleCount) + 1;
}

QString randomIcon() {
    constexpr std::array<const char*, sampleCount> files{
        "com.apple.macpro.icns", "com.apple.imac-aluminum-20.icns", "com.apple.macmini.icns",
        "com.apple.macbookpro-15.icns", "com.apple.imac-g4-15.icns"};
    return QLatin1String(files.at(static_cast<std::size_t>(randomSample() - 1)));
}

}  // namespace

VLVirtualProxy::VLVirtualProxy(const VLBundle* bundle)
    : m_bundle(bundle ? *bundle : VLBundle::mainBundle()) {}

bool VLVirtualProxy::respondsToSelector(const QString& selector, std::chrono::milliseconds) {
    return selector == pluginListSelector || selector == systemInfoSelector;
}

QVariant VLVirtualProxy::perform(const QString& selector, const QVariantList&, std::chrono::milliseconds) {
    if (selector == pluginListSelector) return addonryPluginList();
    if (selector == systemInfoSelector) return varispotSystemInfo();
    return {};
}

QVariant VLVirtualProxy::addonryPluginList() const {
    return varispotSystemInfo().value(QStringLiteral("Plugins"));
}

QVariantMap VLVirtualProxy::varispotSystemInfo() const {
    const QString name = vlFormat(QStringLiteral("Stats%i"), randomSample());
    QString error;
    const QVariant sample =
        PropertyList::readFile(m_bundle.pathForResource(name, QStringLiteral("plist")), &error);
    if (sample.typeId() != QMetaType::QVariantMap)
        VLLog::appendLog(QStringLiteral("The sample answer %@ could not be read: %@"), name, error);
    return sample.toMap();
}

VLServicePtr VLVirtualService::virtualServiceWithName(const QString& name) {
    auto service = std::make_shared<VLVirtualService>();
    service->m_name.set(name);
    service->m_hostName.set(name + QStringLiteral(".virtual."));
    service->m_isConnected = true;
    service->m_icon.set(MachineIcons::image(randomIcon()));
    return service;
}
