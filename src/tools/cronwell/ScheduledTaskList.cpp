#include "tools/cronwell/ScheduledTaskList.h"

#include "tools/AgentAnswer.h"
#include "tools/cronwell/TaskSchedule.h"

#include <optional>

namespace {

bool isFilledText(const QVariant& value) {
    return !AgentAnswer::text(value).toString().isEmpty();
}

QVariant filledText(const QVariant& value) {
    return isFilledText(value) ? value : QVariant();
}

bool isFileName(const QString& name) {
    return isFilledText(name) && name.size() <= 255 && !name.contains(u'/') && !name.contains(QChar());
}

/// Texts, empty for what is none.
QVariant interval(const QVariant& value) {
    if (value.typeId() != QMetaType::QVariantMap) return {};
    const QVariantMap received = value.toMap();
    QVariantMap texts;
    for (const char* key : TaskSchedule::intervalKeys) {
        const QVariant part = received.value(QLatin1String(key));
        const QVariant number = AgentAnswer::number(part);
        const QVariant text = number.isValid() ? number : AgentAnswer::text(part);
        texts.insert(QLatin1String(key), text.toString().left(8));
    }
    return texts;
}

constexpr AgentAnswer::Key optionalKeys[] = {{"frequencyDescription", AgentAnswer::text},
                                             {"taskID", filledText},
                                             {"intervalDirectory", AgentAnswer::text},
                                             {"enabled", AgentAnswer::flag},
                                             {"root", AgentAnswer::flag},
                                             {"scheduleType", AgentAnswer::number},
                                             {"intervalSeconds", AgentAnswer::number},
                                             {"interval", interval}};

/// Nothing for a task that cannot become part of a row.
std::optional<QVariantMap> cleanTask(const QString& fileName, const QVariant& value, int& wrongValues) {
    const QVariantMap received = value.toMap();
    const QVariant description = received.value(QStringLiteral("taskDescription"));
    const QVariant bundleID = received.value(QStringLiteral("taskBundleID"));
    if (!isFileName(fileName) || !isFilledText(description) || !isFilledText(bundleID)) return std::nullopt;
    QVariantMap task{
        {QStringLiteral("filename"), fileName},     {QStringLiteral("taskDescription"), description},
        {QStringLiteral("taskBundleID"), bundleID}, {QStringLiteral("frequencyDescription"), QString()},
        {QStringLiteral("enabled"), 0LL},           {QStringLiteral("root"), 0LL}};
    wrongValues += AgentAnswer::copyKeys(received, optionalKeys, task);
    return task;
}

QVariantList cleanOffers(const QVariant& value) {
    QVariantList offers;
    for (const QVariant& offer : value.toList().mid(0, OfferList::maximumOffers)) {
        const QVariantMap received = offer.toMap();
        const QVariant id = received.value(QStringLiteral("taskID"));
        const QVariant description = received.value(QStringLiteral("taskDescription"));
        if (isFilledText(id) && isFilledText(description))
            offers.append(QVariantMap{{QStringLiteral("taskID"), id},
                                      {QStringLiteral("taskDescription"), description}});
    }
    return offers;
}

}  // namespace

ScheduledTaskList ScheduledTaskList::fromAnswer(const QVariant& answer) {
    ScheduledTaskList list;
    if (!AgentAnswer::isDictionary(answer, list.complaint)) return list;
    const QVariantMap received = answer.toMap();
    int wrongValues = 0;
    for (auto entry = received.cbegin(); entry != received.cend() && list.tasks.size() < maximumTasks;
         ++entry)
        if (auto task = cleanTask(entry.key(), *entry, wrongValues)) list.tasks.append(*std::move(task));
    list.complaint = AgentAnswer::complaint(received.size(), list.tasks.size(), wrongValues);
    return list;
}

OfferList OfferList::fromAnswer(const QVariant& answer) {
    OfferList list;
    if (!AgentAnswer::isList(answer, list.complaint)) return list;
    const QVariantList received = answer.toList();
    for (const QVariant& value : received.mid(0, maximumOffers)) {
        const QVariantMap application = value.toMap();
        const QVariant bundleID = application.value(QStringLiteral("taskBundleID"));
        const QVariant name = application.value(QStringLiteral("name"));
        const QVariantList tasks = cleanOffers(application.value(QStringLiteral("tasks")));
        if (!isFilledText(bundleID) || !isFilledText(name) || tasks.isEmpty()) continue;
        list.applications.append({{QStringLiteral("taskBundleID"), bundleID},
                                  {QStringLiteral("name"), name},
                                  {QStringLiteral("tasks"), tasks}});
    }
    list.complaint = AgentAnswer::complaint(received.size(), list.applications.size(), 0);
    return list;
}
