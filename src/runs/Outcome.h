#pragma once

#include <QString>

/// How a run ended on one computer.
struct Outcome {
    /// From the best to the worst; where several operations of a run went to one computer, the worst counts.
    enum Kind {
        LeftAlone,     ///< nothing was to be done there, or nothing may be: it had given no answer before
        Answered,      ///< told what it was asked
        Done,          ///< did what it was told
        LeftOut,       ///< selected, but the split over the processors left it out
        Skipped,       ///< not asked: disabled, in error, or the user skipped the password
        Cancelled,     ///< the user cancelled before its turn, or in the middle of it
        NotConnected,  ///< no connection when its turn came
        NoAnswer,      ///< asked, and given up on: too slow, or the user stopped waiting
        Refused,       ///< would not: locked, missing, not allowed
        Failed,        ///< tried, and could not
    };
    Kind kind = Answered;
    QString reason;  ///< in plain words; may be empty

    [[nodiscard]] bool isSuccess() const { return kind == Answered || kind == Done; }
    /// Whether it makes sense to try again.
    [[nodiscard]] bool isRetryable() const { return !isSuccess() && kind != LeftAlone; }
    /// "done", "not connected" and so on: a stable word for files and filters.
    [[nodiscard]] static QString word(Kind kind);
    /// The same for people.
    [[nodiscard]] static QString shownWord(Kind kind);
    /// What `word` names; Failed for one that names nothing.
    [[nodiscard]] static Kind fromWord(const QString& word);
    /// "Done", "Not connected", and the reason behind a colon where there is one.
    [[nodiscard]] QString text() const;

    bool operator==(const Outcome&) const = default;
};
