#pragma once

#include "runs/RunList.h"

#include <QObject>
#include <QTimer>

#include <optional>

/// What the status line says about runs: what is under way and whom it waits for, and how the last one ended
/// that is worth a word. Main thread.
class RunStatus : public QObject {
    Q_OBJECT
public:
    /// `runs` outlives this object.
    explicit RunStatus(RunList& runs, QObject* parent = nullptr);

    /// "Disable Film Grain (12 of 50) · waiting for Bay 9", with "Canceling…" before what was cancelled;
    /// empty when nothing with a name is under way.
    [[nodiscard]] const QString& underWay() const { return m_underWay; }
    /// The computers that are waited for, by name.
    [[nodiscard]] const QStringList& awaited() const { return m_awaited; }
    /// Gives up on those that are waited for.
    void stopWaiting();
    /// The last change; or a reading that some computer did not answer, while there is no change to tell of.
    [[nodiscard]] const std::optional<RunRecord>& last() const { return m_last; }
    /// How that ended; and what it was, where it was cancelled.
    [[nodiscard]] QString lastText() const;
    /// Looks at the runs under way now.
    void renew();

    /// "Bay 1, Bay 2 and 3 more".
    [[nodiscard]] static QString shortList(const QStringList& names);

Q_SIGNALS:
    void changed();

private:
    void ended(const RunRecord& record);

    RunList& m_runs;
    QTimer m_look;
    QString m_underWay;
    QStringList m_awaited;
    std::optional<RunRecord> m_last;
};
