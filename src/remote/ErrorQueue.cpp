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

bool ErrorQueue::Contents::hasRepeated(const ErrorRecord& record) const {
    const auto newestEnd = records.cbegin() + std::min(deduplicatedRecords, std::ssize(records));
    return std::any_of(records.cbegin(), newestEnd, [&](const RecordPtr& earlier) {
        return record.repeats(*earlier) && earlier->date.msecsTo(record.date) < deduplicatedMilliseconds;
    });
}

void ErrorQueue::Contents::add(const RecordPtr& record) {
    records.insert(records.begin(), record);
    count(record->hostName, 1);
    if (counts.at(record->hostName) > maximumRecordsOfHost) removeOldestOf(record->hostName);
    if (std::ssize(records) > maximumRecords) removeOldest();
}

bool ErrorQueue::add(ErrorRecord record) {
    record.description.truncate(maximumTextLength);
    record.appName.truncate(maximumTextLength);
    record.action.truncate(maximumTextLength);
    const auto added = std::make_shared<const ErrorRecord>(std::move(record));
    for (;;) {
        const auto known = m_contents.shared();
        if (known->hasRepeated(*added)) return false;
        Contents contents = *known;
        contents.add(added);
        if (m_contents.replace(known, std::move(contents))) return true;
    }
}

void ErrorQueue::set(Records records) {
    Contents contents{std::move(records), {}};
    for (const RecordPtr& record : contents.records)
        contents.count(record->hostName, 1);
    m_contents.set(std::move(contents));
}

void ErrorQueue::removeHost(const QString& hostName) {
    for (;;) {
        const auto known = m_contents.shared();
        Contents contents = *known;
        std::erase_if(contents.records,
                      [&](const RecordPtr& record) { return record->hostName == hostName; });
        contents.counts.erase(hostName);
        if (m_contents.replace(known, std::move(contents))) return;
    }
}

std::shared_ptr<const ErrorQueue::Records> ErrorQueue::records() const {
    const auto contents = m_contents.shared();
    return {contents, &contents->records};
}
