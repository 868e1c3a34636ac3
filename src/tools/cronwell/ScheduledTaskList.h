#pragma once

#include <QList>
#include <QString>
#include <QVariant>

/// An agent's answer to cronwellTaskDictionary, made safe to work with. Every task has a "filename",
/// "taskDescription" and "taskBundleID", texts that are not empty, "frequencyDescription" (a text), and 0 or
/// 1 as "enabled" and "root". Where they are there and of the right kind it has "taskID" and
/// "intervalDirectory" (texts), "scheduleType" and "intervalSeconds" (integers) and "interval" (five texts).
/// Nothing else is kept.
struct ScheduledTaskList {
    QList<QVariantMap> tasks;
    QString complaint;  ///< what was wrong with the answer, in plain words; empty when nothing was

    static constexpr qsizetype maximumTasks = 5'000;

    /// No answer (invalid) is an empty list without a complaint.
    [[nodiscard]] static ScheduledTaskList fromAnswer(const QVariant& answer);
};

/// An agent's answer to vlAppTasks, made safe: applications that offer tasks, with "taskBundleID" and "name",
/// and "tasks", dictionaries of "taskID" and "taskDescription"; all of them texts that are not empty.
struct OfferList {
    QList<QVariantMap> applications;
    QString complaint;  ///< as above

    static constexpr qsizetype maximumOffers = 100;  ///< applications, and tasks of each

    [[nodiscard]] static OfferList fromAnswer(const QVariant& answer);
};
