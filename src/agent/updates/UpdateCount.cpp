#include "agent/updates/UpdateCount.h"

#include "agent/AgentContext.h"
#include "base/PropertyList.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <QFileInfo>

namespace {

const QString countKey = QStringLiteral("availableUpdateCount");
const QString dateKey = QStringLiteral("availableUpdateCountLastUpdate");

QString listPath(const AgentContext& agent) {
    return agent.settings.stateDirectory + QStringLiteral("/updates.plist");
}

QString countPath(const AgentContext& agent) {
    return agent.settings.stateDirectory + QStringLiteral("/update-count.plist");
}

std::optional<UpdateCount> countNow(const AgentContext& agent) {
    const QVariant updates = PropertyList::readFile(listPath(agent)).toMap().value(QStringLiteral("updates"));
    if (updates.typeId() != QMetaType::QVariantList) return std::nullopt;
    return UpdateCount{qlonglong(updates.toList().size()), QDateTime::currentDateTimeUtc()};
}

}  // namespace

std::optional<UpdateCount> UpdateCount::countAfresh(const AgentContext& agent) {
    const auto counted = countNow(agent);
    if (counted)
        PropertyList::writeFileAtomically(countPath(agent),
                                          QVariantMap{{countKey, counted->count}, {dateKey, counted->date}});
    return counted;
}

std::optional<UpdateCount> UpdateCount::lastCounted(const AgentContext& agent) {
    const QFileInfo list(listPath(agent));
    if (!list.exists()) return std::nullopt;
    const QVariantMap stored = PropertyList::readFile(countPath(agent)).toMap();
    const QDateTime date = stored.value(dateKey).toDateTime();
    // A second of doubt: dates in property lists have no fractions.
    if (!date.isValid() || list.lastModified() >= date.addSecs(-1)) return countNow(agent);
    return UpdateCount{VLCorvalinServerProtocol::integerValue(stored.value(countKey)), date};
}
