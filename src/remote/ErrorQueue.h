#pragma once

#include "foundation/Snapshot.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <QDateTime>
#include <QString>
#include <QVariant>

#include <map>
#include <memory>
#include <optional>
#include <vector>

/// The keys of a record as a dictionary; the first three also those of what agents send.
namespace ErrorKey {
inline constexpr QLatin1StringView description{"description"},
    hostName{VLCorvalinServerProtocol::hostNameKey}, appName{"appName"}, date{"date"}, errorCode{"errorcode"},
    actionType{"actionType"};
}  // namespace ErrorKey

/// One error of a client, as the error log shows it.
struct ErrorRecord {
    QString description, hostName, appName;
    QDateTime date;
    std::optional<qlonglong> errorCode;
    int actionType = 0;
    // What was done when it came up, where that is known; not part of the dictionary.
    QString tool = {};    ///< identifier
    QString action = {};  ///< "Remove 3 tasks"

    /// Without those keys that the record has nothing for.
    [[nodiscard]] QVariantMap dictionary() const;
    [[nodiscard]] static ErrorRecord fromDictionary(const QVariantMap& dictionary);
    /// The same code, or the same text where there is none, of the same host.
    [[nodiscard]] bool repeats(const ErrorRecord& earlier) const;
};

/// The errors of all clients, newest first. Any thread.
///
/// The queue is replaced whole: a change copies it, changes the copy and installs that, unless another change
/// came first; then it begins anew with what is there by now. So nobody waits, and no record is lost. What a
/// copy costs is its pointers; the records are shared. Its size is bounded: texts are cut, and the oldest
/// records go, first those of a host that has too many, so that none can push out what the others said.
class ErrorQueue {
public:
    static constexpr qsizetype maximumRecords = 10'000;
    static constexpr int maximumRecordsOfHost = 200;
    static constexpr qsizetype maximumTextLength = 2'000;

    using RecordPtr = std::shared_ptr<const ErrorRecord>;
    /// Not a container of Qt: those share their contents when copied, and two threads that each change a copy
    /// of the same queue would not be ordered.
    using Records = std::vector<RecordPtr>;
    using Counts = std::map<QString, int>;

    /// Adds it as the newest. False when one of the two newest says the same and is less than 120 seconds
    /// old.
    bool add(ErrorRecord record);
    void set(Records records);
    void clear() { m_contents.set({}); }
    void removeHost(const QString& hostName);

    [[nodiscard]] std::shared_ptr<const Records> records() const;
    [[nodiscard]] qsizetype count() const { return std::ssize(m_contents.shared()->records); }
    [[nodiscard]] Counts countsByHost() const { return m_contents.shared()->counts; }

private:
    struct Contents {
        Records records;
        Counts counts;

        [[nodiscard]] bool hasRepeated(const ErrorRecord& record) const;
        void add(const RecordPtr& record);
        void count(const QString& hostName, int change);
        void removeOldestOf(const QString& hostName);
        void removeOldest();
    };
    Snapshot<Contents> m_contents;
};
