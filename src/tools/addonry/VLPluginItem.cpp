#include "tools/addonry/VLPluginItem.h"

#include "remote/Aggregation.h"

namespace {

using namespace PluginKeys;

constexpr int mixed = -1;

constexpr AgentAnswer::Key keys[] = {{"accessType", AgentAnswer::number},     {"disabled", AgentAnswer::flag},
                                     {"fullPath", AgentAnswer::text},         {"moddate", AgentAnswer::date},
                                     {"name", AgentAnswer::filledText, true}, {"type", AgentAnswer::text},
                                     {"version", AgentAnswer::text}};

bool isDisabled(const QVariantMap& instance) {
    return instance.value(disabledKey).toLongLong() != 0;
}

}  // namespace

const QStringList& VLPluginItem::columnNames() {
    static const QStringList names{QStringLiteral("name"),       QStringLiteral("version"),
                                   QStringLiteral("type"),       QStringLiteral("disabled"),
                                   QStringLiteral("accessType"), QStringLiteral("computers"),
                                   QStringLiteral("state")};
    return names;
}

AgentAnswer::Entries VLPluginItem::checked(const QVariant& answer) {
    return AgentAnswer::fromArray(answer, {keys, mostEntries});
}

VLPluginItem VLPluginItem::pluginItem(const QVariantMap& instance, const QString& hostName) {
    VLPluginItem item;
    item.addChild(instance, hostName);
    return item;
}

QString VLPluginItem::keyOf(const QVariantMap& instance) {
    return instance.value(nameKey).toString();
}

void VLPluginItem::addCopy(ClientCopy copy) {
    const QVariantMap& instance = append(std::move(copy)).values;
    const qsizetype count = copies().size();
    if (isDisabled(instance)) ++m_disabledCount;
    if (count == 1)
        takeFirst(instance);
    else
        compare(instance);

    if (m_disabledCount > 0 && m_disabledCount != count) {
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
    if (m_name.isEmpty()) m_name = keyOf(instance);
}

void VLPluginItem::compare(const QVariantMap& instance) {
    const auto version = instance.constFind(versionKey);
    if (version != instance.cend() && version->toString() != m_version) {
        // A copy that differs in version is not asked for its access type as well.
        m_version = QLatin1String(Aggregation::various);
        return noteDifference(VersionsDiffer);
    }
    const auto accessType = instance.constFind(accessTypeKey);
    if (accessType != instance.cend() && m_accessType != accessType->toLongLong()) {
        m_accessType = mixed;
        noteDifference(AccessTypeDiffers);
    }
}

void VLPluginItem::noteDifference(State state) {
    if (this->state() == Alike) setState(state);
}

void VLPluginItem::complete(const QList<AskedClient>& clients) {
    if (copies().size() == clients.size()) return;
    noteAbsent(clients, Missing,
               {{disabledKey, -1},
                {versionKey, QString()},
                {typeKey, m_type},
                {QStringLiteral("filename"), m_fileName},
                {nameKey, m_name}});
    // Nobody lacks any, and yet their number differs: a client has several.
    if (copies().size() > clients.size() - absent().size()) setDifference(Missing);
}

void VLPluginItem::writeToAll(const QString& key, qlonglong value) {
    for (qsizetype copy = 0; copy < copies().size(); ++copy)
        setCopyValue(copy, key, value);
    if (key == disabledKey) m_disabled = static_cast<int>(value);
    if (key == accessTypeKey) m_accessType = value;
}

SortKey VLPluginItem::sortKey(int column) const {
    switch (column) {
        case Version:
            return SortKey::ofVersion(m_version);
        case Type:
            return {.text = m_type};
        case Enabled:
            return {.number = double(m_disabled)};
        case Access:
            return {.number = double(accessType())};
        case Computers:
            return {.number = double(computersWith())};
        case Status:
            return {.number = statusOrder()};
        default:
            return {.text = m_name.toCaseFolded()};
    }
}
