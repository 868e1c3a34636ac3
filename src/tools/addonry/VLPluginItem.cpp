#include "tools/addonry/VLPluginItem.h"

#include "remote/Aggregation.h"
#include "tools/addonry/PluginKeys.h"

namespace {

using namespace PluginKeys;

constexpr int mixed = -1;

bool isDisabled(const QVariantMap& instance) {
    return instance.value(disabledKey).toLongLong() != 0;
}

}  // namespace

VLPluginItem VLPluginItem::pluginItem(const QVariantMap& instance, const QString& hostName) {
    VLPluginItem item;
    item.addChild(instance, hostName);
    return item;
}

void VLPluginItem::addChild(QVariantMap instance, const QString& hostName) {
    instance.insert(hostNameKey, hostName);
    m_children.append(instance);
    if (isDisabled(instance)) ++m_disabledCount;
    if (m_children.size() == 1)
        takeFirst(instance);
    else
        compare(instance);

    if (m_disabledCount > 0 && m_disabledCount != m_children.size()) {
        noteDifference(EnabledDiffers);
        m_disabled = mixed;
    }
    if (m_fileName.isEmpty()) m_fileName = instance.value(pathKey).toString();
}

void VLPluginItem::takeFirst(const QVariantMap& instance) {
    m_disabled = isDisabled(instance) ? 1 : 0;
    m_version = instance.value(versionKey).toString();
    m_type = instance.value(typeKey).toString();
    if (instance.contains(accessTypeKey)) m_accessType = instance.value(accessTypeKey).toLongLong();
    if (m_name.isEmpty()) m_name = instance.value(nameKey).toString();
}

void VLPluginItem::compare(const QVariantMap& instance) {
    if (instance.contains(versionKey) && instance.value(versionKey).toString() != m_version) {
        // A copy that differs in version is not asked for its access type as well.
        m_version = QLatin1String(Aggregation::various);
        noteDifference(VersionsDiffer);
    } else if (instance.contains(accessTypeKey) &&
               m_accessType != instance.value(accessTypeKey).toLongLong()) {
        m_accessType = mixed;
        noteDifference(AccessTypeDiffers);
    }
}

void VLPluginItem::noteDifference(State state) {
    if (m_state == Alike) m_state = state;
}
