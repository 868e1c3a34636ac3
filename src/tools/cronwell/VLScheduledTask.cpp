#include "tools/cronwell/VLScheduledTask.h"

#include "common/TaskSchedule.h"
#include "remote/Aggregation.h"
#include "tools/cronwell/ToolNames.h"

#include <algorithm>

namespace {

using namespace TaskKeys;

constexpr int mixed = -1;

bool isEnabled(const QVariantMap& instance) {
    return instance.value(enabledKey).toLongLong() != 0;
}

bool isFileName(const QVariant& value) {
    const QString name = value.toString();
    return !name.isEmpty() && name.size() <= 255 && !name.contains(u'/') && !name.contains(QChar());
}

/// Texts, empty for what is none.
QVariant interval(const QVariant& value) {
    const QVariantMap* const received = AgentAnswer::dictionaryIn(value);
    if (!received) return {};
    QVariantMap texts;
    for (const char* key : TaskSchedule::intervalKeys) {
        const QVariant part = received->value(QLatin1String(key));
        const QVariant number = AgentAnswer::number.mended(part);
        const QVariant text = number.isValid() || !AgentAnswer::text.isRight(part) ? number : part;
        texts.insert(QLatin1String(key), text.toString().left(8));
    }
    return texts;
}

QVariant nothing(const QVariant&) {
    return {};
}

constexpr AgentAnswer::Kind fileName{isFileName, nothing};
constexpr AgentAnswer::Kind intervalTexts{[](const QVariant&) { return false; }, interval};

constexpr AgentAnswer::Key keys[] = {{"enabled", AgentAnswer::flagOrZero},
                                     {"filename", fileName, true},
                                     {"frequencyDescription", AgentAnswer::textOrEmpty},
                                     {"interval", intervalTexts},
                                     {"intervalDirectory", AgentAnswer::text},
                                     {"intervalSeconds", AgentAnswer::number},
                                     {"root", AgentAnswer::flagOrZero},
                                     {"scheduleType", AgentAnswer::number},
                                     {"taskBundleID", AgentAnswer::lineOfText, true},
                                     {"taskDescription", AgentAnswer::filledText, true},
                                     {"taskID", AgentAnswer::filledText}};

}  // namespace

const QStringList& VLScheduledTask::columnNames() {
    static const QStringList names{
        taskDescriptionKey,          frequencyKey,           bundleKey, enabledKey, rootKey,
        QStringLiteral("computers"), QStringLiteral("state")};
    return names;
}

AgentAnswer::Entries VLScheduledTask::checked(const QVariant& answer) {
    return AgentAnswer::fromDictionary(answer, {keys, mostTasks}, "filename");
}

VLScheduledTask VLScheduledTask::scheduledTask(const QVariantMap& instance, const QString& hostName) {
    VLScheduledTask task;
    task.addChild(instance, hostName);
    return task;
}

QString VLScheduledTask::keyOf(const QVariantMap& instance) {
    return keyFor(instance.value(bundleKey).toString(), instance.value(taskDescriptionKey).toString());
}

void VLScheduledTask::addCopy(ClientCopy copy) {
    const QVariantMap& instance = append(std::move(copy)).values;
    if (isEnabled(instance)) ++m_enabledCount;
    if (copies().size() == 1) {
        takeFirst(instance);
    } else if (instance.value(frequencyKey).toString() != m_frequencyDescription) {
        m_frequencyDescription = QLatin1String(Aggregation::various);
        setState(SchedulesDiffer);
    }
    if (m_enabledCount > 0 && m_enabledCount != copies().size()) {
        setState(EnabledDiffers);
        m_enabled = mixed;
    }
}

void VLScheduledTask::takeFirst(const QVariantMap& instance) {
    m_enabled = isEnabled(instance) ? 1 : 0;
    m_frequencyDescription = instance.value(frequencyKey).toString();
    m_taskBundleID = instance.value(bundleKey).toString();
    m_taskDescription = instance.value(taskDescriptionKey).toString();
    m_root = instance.value(rootKey).toLongLong();
}

/// Where a client has the task several times there may be as many jobs as clients, and yet one lacks it: the
/// state does not say so then.
void VLScheduledTask::complete(const QList<AskedClient>& clients) {
    if (computersWith() >= clients.size()) return;
    const int stateSoFar = state();
    noteAbsent(clients, Missing,
               {{enabledKey, -1}, {frequencyKey, QString()}, {taskDescriptionKey, m_taskDescription}});
    if (copies().size() < clients.size()) return;
    const int found = difference();
    setState(stateSoFar);
    setDifference(found);
}

int VLScheduledTask::computersWithAllEnabled() const {
    const auto computers = copiesByComputer();
    return int(std::count_if(computers.cbegin(), computers.cend(), [](std::span<const ClientCopy> jobs) {
        return std::all_of(jobs.begin(), jobs.end(),
                           [](const ClientCopy& job) { return isEnabled(job.values); });
    }));
}

void VLScheduledTask::writeToAll(const QString& key, qlonglong value) {
    for (qsizetype copy = 0; copy < copies().size(); ++copy)
        setCopyValue(copy, key, value);
    if (key == enabledKey) m_enabled = static_cast<int>(value);
}

SortKey VLScheduledTask::sortKey(int column) const {
    switch (column) {
        case Schedule:
            return {.text = m_frequencyDescription.toCaseFolded()};
        case Tool:
            return {.text = toolName(m_taskBundleID).toCaseFolded()};
        case Enabled:
            return {.number = double(m_enabled)};
        case RunsAs:
            return {.number = double(m_root)};
        case Computers:
            return {.number = double(computersWith())};
        case Status:
            // Behind those that differ.
            return {.number = difference() == Alike && isAnywhereSeveralTimes() ? statusOrder() - 1
                                                                                : statusOrder()};
        default:
            return {.text = m_taskDescription.toCaseFolded()};
    }
}

QString VLScheduledTask::friendlyIntervalDescription(const QString& minute, const QString& hour,
                                                     const QString& day, const QString& weekday,
                                                     const QString& month) {
    return TaskSchedule::friendlyIntervalDescription(minute, hour, day, weekday, month);
}
