#include "tools/addonry/PluginList.h"

#include "tools/AgentAnswer.h"

#include <optional>

namespace {

const QString nameKey = QStringLiteral("name");

constexpr AgentAnswer::Key optionalKeys[] = {
    {"fullPath", AgentAnswer::text}, {"version", AgentAnswer::text},      {"type", AgentAnswer::text},
    {"disabled", AgentAnswer::flag}, {"accessType", AgentAnswer::number}, {"moddate", AgentAnswer::date}};

/// Nothing for an entry that cannot become a row.
std::optional<QVariantMap> clean(const QVariant& entry, int& wrongValues) {
    const QVariantMap received = entry.toMap();
    const QVariant name = AgentAnswer::text(received.value(nameKey));
    if (name.toString().isEmpty()) return std::nullopt;
    QVariantMap instance{{nameKey, name}};
    wrongValues += AgentAnswer::copyKeys(received, optionalKeys, instance);
    return instance;
}

}  // namespace

PluginList PluginList::fromAnswer(const QVariant& answer) {
    PluginList list;
    if (!AgentAnswer::isList(answer, list.complaint)) return list;
    const QVariantList entries = answer.toList();
    int wrongValues = 0;
    for (const QVariant& entry : entries.mid(0, maximumEntries))
        if (auto instance = clean(entry, wrongValues)) list.instances.append(*std::move(instance));
    list.complaint = AgentAnswer::complaint(entries.size(), list.instances.size(), wrongValues);
    return list;
}
