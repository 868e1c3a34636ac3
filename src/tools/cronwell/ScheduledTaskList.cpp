#include "tools/cronwell/ScheduledTaskList.h"

#include "foundation/VLFormat.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <optional>

namespace {

using VLCorvalinServerProtocol::accepts;
using VLCorvalinServerProtocol::integerValue;
using VLCorvalinServerProtocol::Type;

bool isUsableText(const QVariant& value) {
    return value.typeId() == QMetaType::QString &&
           value.toString().size() <= ScheduledTaskList::maximumTextLength;
}

bool isFilledText(const QVariant& value) {
    return isUsableText(value) && !value.toString().isEmpty();
}

bool isFileName(const QString& name) {
    return isFilledText(name) && name.size() <= 255 && !name.contains(u'/') && !name.contains(QChar());
}

QVariant cleanInterval(const QVariant& value) {
    if (value.typeId() != QMetaType::QVariantMap) return {};
    const QVariantMap received = value.toMap();
    QVariantMap interval;
    for (const char* key : {"Minute", "Hour", "Day", "Weekday", "Month"}) {
        const QVariant part = received.value(QLatin1String(key));
        if (accepts(Type::Number, part))
            interval.insert(QLatin1String(key), QString::number(integerValue(part)));
        else
            interval.insert(QLatin1String(key), isUsableText(part) ? part.toString().left(8) : QString());
    }
    return interval;
}

/// What may be kept of the value; invalid for one of a wrong kind.
using Clean = QVariant (*)(const QVariant&);
struct OptionalKey {
    const char* name;
    Clean clean;
};
const OptionalKey optionalKeys[] = {
    {"frequencyDescription", [](const QVariant& value) { return isUsableText(value) ? value : QVariant(); }},
    {"taskID", [](const QVariant& value) { return isFilledText(value) ? value : QVariant(); }},
    {"intervalDirectory", [](const QVariant& value) { return isUsableText(value) ? value : QVariant(); }},
    {"enabled",
     [](const QVariant& value) {
         return accepts(Type::Number, value) ? QVariant(qlonglong(integerValue(value) != 0)) : QVariant();
     }},
    {"root",
     [](const QVariant& value) {
         return accepts(Type::Number, value) ? QVariant(qlonglong(integerValue(value) != 0)) : QVariant();
     }},
    {"scheduleType",
     [](const QVariant& value) {
         return accepts(Type::Number, value) ? QVariant(integerValue(value)) : QVariant();
     }},
    {"intervalSeconds",
     [](const QVariant& value) {
         return accepts(Type::Number, value) ? QVariant(integerValue(value)) : QVariant();
     }},
    {"interval", cleanInterval},
};

/// Nothing for a task that cannot become part of a row.
std::optional<QVariantMap> cleanTask(const QString& fileName, const QVariant& value, int* wrongValues) {
    const QVariantMap received = value.toMap();
    const QVariant description = received.value(QStringLiteral("taskDescription"));
    const QVariant bundleID = received.value(QStringLiteral("taskBundleID"));
    if (!isFileName(fileName) || !isFilledText(description) || !isFilledText(bundleID)) return std::nullopt;
    QVariantMap task{
        {QStringLiteral("filename"), fileName},     {QStringLiteral("taskDescription"), description},
        {QStringLiteral("taskBundleID"), bundleID}, {QStringLiteral("frequencyDescription"), QString()},
        {QStringLiteral("enabled"), 0LL},           {QStringLiteral("root"), 0LL}};
    for (const OptionalKey& key : optionalKeys) {
        const auto found = received.constFind(QLatin1String(key.name));
        if (found == received.constEnd()) continue;
        const QVariant kept = key.clean(*found);
        if (kept.isValid())
            task.insert(QLatin1String(key.name), kept);
        else
            ++*wrongValues;
    }
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

/// Whether the answer is of that kind; the complaint when it isn't. No answer is none of a wrong kind.
bool isOfType(const QVariant& answer, QMetaType::Type type, const char* kind, QString& complaint) {
    if (answer.isValid() && answer.typeId() != type)
        complaint =
            vlFormat(QStringLiteral("not %@ but %@"), QLatin1String(kind), QLatin1String(answer.typeName()));
    return answer.typeId() == type;
}

}  // namespace

ScheduledTaskList ScheduledTaskList::fromAnswer(const QVariant& answer) {
    ScheduledTaskList list;
    if (!isOfType(answer, QMetaType::QVariantMap, "a dictionary", list.complaint)) return list;
    const QVariantMap received = answer.toMap();
    int wrongValues = 0;
    for (auto entry = received.cbegin(); entry != received.cend() && list.tasks.size() < maximumTasks;
         ++entry)
        if (auto task = cleanTask(entry.key(), *entry, &wrongValues)) list.tasks.append(*std::move(task));

    const auto leftOut = int(received.size() - list.tasks.size());
    if (leftOut > 0 || wrongValues > 0)
        list.complaint =
            vlFormat(QStringLiteral("%i of %i tasks left out, %i values of a wrong kind ignored"), leftOut,
                     int(received.size()), wrongValues);
    return list;
}

OfferList OfferList::fromAnswer(const QVariant& answer) {
    OfferList list;
    if (!isOfType(answer, QMetaType::QVariantList, "an array", list.complaint)) return list;
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
    const auto leftOut = int(received.size() - list.applications.size());
    if (leftOut > 0)
        list.complaint =
            vlFormat(QStringLiteral("%i of %i applications left out"), leftOut, int(received.size()));
    return list;
}
