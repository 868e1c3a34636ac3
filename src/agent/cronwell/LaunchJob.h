#pragma once

#include "common/TaskSchedule.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <optional>

/// A task that an application of the suite offers for scheduling.
struct OfferedTask {
    QString bundleID;     ///< of the application
    QString id;           ///< its name in the application
    QString description;  ///< as people know it

    friend bool operator==(const OfferedTask&, const OfferedTask&) = default;
};

/// A job of the launch service that runs a task of the suite: the property list of one file, with whatever
/// else stands in it. Somebody else's file until it is proved to be one: values of wrong types count as
/// missing. A plain value.
class LaunchJob {
public:
    static constexpr qint64 largestFile = 64 * 1024;
    static constexpr qsizetype longestText = 255;

    /// A text that may be shown: without control characters, shortened; empty for anything but a text.
    [[nodiscard]] static QString shownText(const QVariant& value);

    /// Nothing for a file that is no property list, or a job that is not the suite's.
    [[nodiscard]] static std::optional<LaunchJob> fromData(const QByteArray& data);
    /// A job of that label, enabled, with no schedule yet.
    [[nodiscard]] static LaunchJob make(const QString& label, const OfferedTask& task);

    [[nodiscard]] OfferedTask task() const;
    /// Unknown where the job has none, or more than a schedule can say.
    [[nodiscard]] TaskSchedule schedule() const;
    [[nodiscard]] bool isEnabled() const;
    /// What consoles are told. `isRoot`: it runs as the administrator.
    [[nodiscard]] QVariantMap description(bool isRoot) const;

    void setTask(const OfferedTask& task);
    void setSchedule(const TaskSchedule& schedule);
    void setEnabled(bool enabled);

    /// In the format in which it was read.
    [[nodiscard]] QByteArray toData() const;
    friend bool operator==(const LaunchJob&, const LaunchJob&) = default;

private:
    QVariantMap m_content;
    bool m_isBinary = false;
};
