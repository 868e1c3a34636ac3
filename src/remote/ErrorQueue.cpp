#include "remote/ErrorQueue.h"

#include "remote/VLCorvalinServerProtocol.h"

#include <algorithm>

namespace {

/// Records looked at, and age from which on an equal record is queued again.
constexpr std::ptrdiff_t deduplicatedRecords = 2;
constexpr qint64 deduplicatedMilliseconds = 120'000;

}  // namespace

QVariantMap ErrorRecord::dictionary() const {
    QVariantMap dictionary{
        {ErrorKey::description, description}, {ErrorKey::date, date}, {ErrorKey::hostName, hostName}};
    if (errorCode) {
        dictionary.insert(ErrorKey::errorCode, *errorCode);
        dictionary.insert(ErrorKey::actionType, qlonglong{actionType});
    }
    if (!appName.isEmpty()) dictionary.insert(ErrorKey::appName, appName);
    return dictionary;
}

ErrorRecord ErrorRecord::fromDictionary(const QVariantMap& dictionary) {
    using VLCorvalinServerProtocol::textValue;
    ErrorRecord record{textValue(dictionary.value(ErrorKey::description)),
                       textValue(dictionary.value(ErrorKey::hostName)),
                       textValue(dictionary.value(ErrorKey::appName)),
                       dictionary.value(ErrorKey::date).toDateTime(),
                       {}};
    const QVariant code = dictionary.value(ErrorKey::errorCode);
    if (!code.isValid()) return record;
    record.errorCode = VLCorvalinServerProtocol::integerValue(code);
    record.actionType = CorvalinError::actionType(*record.errorCode);
    return record;
}

bool ErrorRecord::repeats(const ErrorRecord& earlier) const {
    if (hostName != earlier.hostName) return false;
    return errorCode ? errorCode == earlier.errorCode : description == earlier.description;
}

void ErrorQueue::Contents::count(const QString& hostName, int change) {
    const auto entry = counts.try_emplace(hostName, 0).first;
    entry->second += change;
    if (entry->second == 0) counts.erase(entry);
}

void ErrorQueue::Contents::removeOldestOf(const QString& hostName) {
    const auto oldest = std::find_if(records.rbegin(), records.rend(),
                                     [&](const RecordPtr& record) { return record->hostName == hostName; });
    if (oldest == records.rend()) return;
    records.erase(std::prev(oldest.base()));
    count(hostName, -1);
}

void ErrorQueue::Contents::removeOldest() {
    count(records.back()->hostName, -1);
    records.pop_back();
}

bool ErrorQueue::add(ErrorRecord record) {
    record.description.truncate(maximumTextLength);
    record.appName.truncate(maximumTextLength);
    record.action.truncate(maximumTextLength);

    const auto known = m_contents.shared();
    const auto newestEnd =
        known->records.cbegin() + std::min(deduplicatedRecords, std::ssize(known->records));
    const bool isRepeated = std::any_of(known->records.cbegin(), newestEnd, [&](const RecordPtr& earlier) {
        return record.repeats(*earlier) && earlier->date.msecsTo(record.date) < deduplicatedMilliseconds;
    });
    if (isRepeated) return false;

    const QString hostName = record.hostName;
    Contents contents = *known;
    contents.records.insert(contents.records.begin(), std::make_shared<const ErrorRecord>(std::move(record)));
    contents.count(hostName, 1);
    if (contents.counts.at(hostName) > maximumRecordsOfHost) contents.removeOldestOf(hostName);
    if (std::ssize(contents.records) > maximumRecords) contents.removeOldest();
    m_contents.set(std::move(contents));
    return true;
}

void ErrorQueue::set(Records records) {
    Contents contents{std::move(records), {}};
    for (const RecordPtr& record : contents.records)
        contents.count(record->hostName, 1);
    m_contents.set(std::move(contents));
}

void ErrorQueue::removeHost(const QString& hostName) {
    Contents contents = m_contents.get();
    std::erase_if(contents.records, [&](const RecordPtr& record) { return record->hostName == hostName; });
    contents.counts.erase(hostName);
    m_contents.set(std::move(contents));
}

std::shared_ptr<const ErrorQueue::Records> ErrorQueue::records() const {
    const auto contents = m_contents.shared();
    return {contents, &contents->records};
}
