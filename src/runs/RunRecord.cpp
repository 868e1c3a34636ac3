#include "runs/RunRecord.h"

#include <algorithm>

int RunRecord::count(Outcome::Kind kind) const {
    return static_cast<int>(std::count_if(outcomes.begin(), outcomes.end(), [&](const HostOutcome& host) {
        return host.outcome.kind == kind;
    }));
}

int RunRecord::successCount() const {
    return static_cast<int>(std::count_if(outcomes.begin(), outcomes.end(),
                                          [](const HostOutcome& host) { return host.outcome.isSuccess(); }));
}

bool RunRecord::isUndoable() const {
    return std::any_of(outcomes.begin(), outcomes.end(),
                       [](const HostOutcome& host) { return !host.undo.isEmpty(); });
}

QString RunRecord::summary() const {
    const int succeeded = successCount();
    const bool isWhole = succeeded == outcomes.size();
    QString text = QStringLiteral("%1 on %2").arg(actionDone.isEmpty() ? action : actionDone).arg(succeeded);
    if (!isWhole) text += QStringLiteral(" of %1").arg(outcomes.size());
    text += outcomes.size() == 1 ? QStringLiteral(" computer") : QStringLiteral(" computers");
    for (int kind = Outcome::Failed; kind >= Outcome::LeftOut; --kind)
        if (const int number = count(static_cast<Outcome::Kind>(kind)); number > 0)
            text +=
                QStringLiteral(", %1 %2").arg(number).arg(Outcome::word(static_cast<Outcome::Kind>(kind)));
    return text;
}
