#pragma once

#include "runs/RunRecord.h"

#include <QList>
#include <QString>

#include <optional>
#include <vector>

/// Names the runs of the activity file in the order of their start.
using ActivityKeys = std::vector<qint64>;

/// What the list of runs is narrowed down to. Empty members narrow nothing.
struct ActivityFilter {
    /// Words; each has to occur in the action, the subject, the tool, the user or the name of a computer.
    QString text;
    QString computer;             ///< host name, or the name under which the console showed it
    std::optional<QString> tool;  ///< identifier; an empty text: the console's own
    /// A computer has ended in one of these ways; where `computer` is given, that one.
    QList<Outcome::Kind> outcomes;
    bool changesOnly = false;

    [[nodiscard]] bool isEmpty() const { return *this == ActivityFilter(); }
    bool operator==(const ActivityFilter&) const = default;
};

/// A run without its computers, as a list shows it.
struct RunSummary {
    qint64 key = 0;
    RunRecord run;  ///< its outcomes are left out
    OutcomeCounts counts;
    bool isUndoable = false;   ///< something is kept that takes it back
    bool isTakenBack = false;  ///< another run is the undo of this one

    [[nodiscard]] QString sentence() const {
        return counts.sentence(run.actionDone.isEmpty() ? run.action : run.actionDone);
    }
};

/// What the filters offer.
struct ActivityFacets {
    struct Computer {
        QString value;  ///< for ActivityFilter::computer
        QString name;   ///< the one it was last shown under
        bool operator==(const Computer&) const = default;
    };
    QList<Computer> computers;  ///< by name
    QStringList tools;          ///< identifiers
    bool operator==(const ActivityFacets&) const = default;
};

/// How much is kept; the oldest runs go first.
struct ActivityLimits {
    int days = 365;
    qint64 bytes = 200LL << 20;
};
