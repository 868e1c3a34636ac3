#pragma once

#include "runs/Outcome.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>

#include <array>

/// How many computers ended how.
class OutcomeCounts {
    Q_DECLARE_TR_FUNCTIONS(OutcomeCounts)
public:
    void add(Outcome::Kind kind, int number = 1) { m_counts.at(static_cast<std::size_t>(kind)) += number; }
    [[nodiscard]] int of(Outcome::Kind kind) const { return m_counts.at(static_cast<std::size_t>(kind)); }
    [[nodiscard]] int total() const;
    [[nodiscard]] int successes() const { return of(Outcome::Answered) + of(Outcome::Done); }
    /// Those that it had anything to do with.
    [[nodiscard]] int concerned() const { return total() - of(Outcome::LeftAlone); }
    [[nodiscard]] Outcome::Kind worst() const;  ///< Answered when there is none
    /// "Disabled on 46 of 50 computers, 3 failed, 1 skipped".
    [[nodiscard]] QString sentence(const QString& actionDone) const;

    bool operator==(const OutcomeCounts&) const = default;

private:
    std::array<int, Outcome::Failed + 1> m_counts{};
};

/// What became of a run on one computer.
struct HostOutcome {
    QString hostName;
    QString name;  ///< under which the console showed the computer
    Outcome outcome;
    /// What the tool needs to take the change back on this computer; empty where it can't be taken back, or
    /// nothing was changed. Property-list values; no password and no contents of files.
    QVariantMap undo;

    bool operator==(const HostOutcome&) const = default;
};

/// One action of the user on any number of computers, when it has ended: what the status line sums up and
/// Activity keeps.
struct RunRecord {
    QString id;                   ///< a UUID without braces
    QDateTime started, ended;     ///< UTC
    QString user;                 ///< login name of the person at the console
    QString tool;                 ///< identifier of the tool, "addonry"; empty for the console's own
    QString action;               ///< "Disable"
    QString actionDone;           ///< "Disabled", for the sentence that sums it up
    QString subject;              ///< what it was about: "Film Grain", "18 plug-ins"; may be empty
    bool isChange = false;        ///< false: it only read
    QList<HostOutcome> outcomes;  ///< in the order of the selection
    QString undoOf, retryOf;      ///< id of the run that this one takes back or repeats

    [[nodiscard]] OutcomeCounts counts() const;
    [[nodiscard]] int count(Outcome::Kind kind) const { return counts().of(kind); }
    [[nodiscard]] int successCount() const { return counts().successes(); }
    /// Whether anything of it can be taken back.
    [[nodiscard]] bool isUndoable() const;
    [[nodiscard]] QString summary() const;  ///< the sentence of its counts

    bool operator==(const RunRecord&) const = default;
};
Q_DECLARE_METATYPE(RunRecord)
