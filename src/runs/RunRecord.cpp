#include "runs/RunRecord.h"

#include <algorithm>
#include <numeric>

int OutcomeCounts::total() const {
    return std::accumulate(m_counts.begin(), m_counts.end(), 0);
}

Outcome::Kind OutcomeCounts::worst() const {
    for (int kind = Outcome::Failed; kind > Outcome::LeftAlone; --kind)
        if (of(static_cast<Outcome::Kind>(kind)) > 0) return static_cast<Outcome::Kind>(kind);
    return total() > 0 ? Outcome::LeftAlone : Outcome::Answered;
}

QString OutcomeCounts::sentence(const QString& actionDone) const {
    QString text;
    if (successes() != concerned())
        text = (concerned() == 1 ? tr("%1 on %2 of %3 computer") : tr("%1 on %2 of %3 computers"))
                   .arg(actionDone)
                   .arg(successes())
                   .arg(concerned());
    else
        text = (concerned() == 1 ? tr("%1 on %2 computer") : tr("%1 on %2 computers"))
                   .arg(actionDone)
                   .arg(successes());
    for (int place = Outcome::Failed; place >= Outcome::LeftAlone; --place) {
        const auto kind = static_cast<Outcome::Kind>(place);
        const bool isSuccess = kind == Outcome::Answered || kind == Outcome::Done;
        if (of(kind) > 0 && !isSuccess)
            text += QStringLiteral(", %1 %2").arg(of(kind)).arg(Outcome::shownWord(kind));
    }
    return text;
}

OutcomeCounts RunRecord::counts() const {
    OutcomeCounts counts;
    for (const HostOutcome& host : outcomes)
        counts.add(host.outcome.kind);
    return counts;
}

bool RunRecord::isUndoable() const {
    return std::any_of(outcomes.begin(), outcomes.end(),
                       [](const HostOutcome& host) { return !host.undo.isEmpty(); });
}

QString RunRecord::summary() const {
    return counts().sentence(actionDone.isEmpty() ? action : actionDone);
}
