#pragma once

#include "clients/VLService.h"

#include <QList>
#include <QString>

/// What is wrong with a client, for people: what it means and what to try. A plain value; making one is for
/// any thread. All texts are plain ones, and may hold names that agents chose.
struct ConnectionProblem {
    enum Kind {
        None,
        Refused,
        Unreachable,
        NoAnswer,
        HostNotFound,
        BadAddress,
        NotAuthorized,
        ChangedKey,
        UnreadableKey,
        NotCorvalin,
        HungUp,
        Garbage,
        Silent,
        Lost,
        NotAnnounced,
        NotInstalled,
        AgentOutdated,
        SuiteOutdated,
        NoConfiguration,
        ConsoleOutdated,
        Disabled,
        Other,
    };
    /// One thing to try; a command to be typed stands by itself.
    struct Step {
        QString text;
        QString command;
        bool operator==(const Step&) const = default;
    };

    Kind kind = None;
    QString title;    ///< one line
    QString meaning;  ///< a few sentences
    QList<Step> steps;
    QString reason;  ///< the technical text; may be empty
    bool operator==(const ConnectionProblem&) const = default;

    /// Title, meaning, steps and reason, for the clipboard.
    [[nodiscard]] QString asText() const;

    /// The most pressing problem of a client; None when it works. Cheap enough for a thousand clients.
    [[nodiscard]] static Kind kindOf(const VLService& service);
    /// The title alone, for lists.
    [[nodiscard]] static QString titleOf(Kind kind);
    [[nodiscard]] static ConnectionProblem of(const VLService& service);
};
