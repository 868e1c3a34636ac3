#include "app/RunStatus.h"

namespace {

constexpr std::chrono::milliseconds lookInterval{500};
constexpr std::chrono::seconds patience{2};  ///< before a computer is named that keeps the others waiting
constexpr qsizetype mostNames = 2;

QString titleOf(const Run& run) {
    const auto [ended, all] = run.progress();
    QString title = run.description().title();
    if (run.isCancelled()) title = RunStatus::tr("Canceling… %1").arg(title);
    return RunStatus::tr("%1 (%2 of %3)").arg(title, QString::number(ended), QString::number(all));
}

bool isWhole(const RunRecord& record) {
    return record.successCount() == record.counts().concerned();
}

}  // namespace

RunStatus::RunStatus(RunList& runs, QObject* parent) : QObject(parent), m_runs(runs) {
    m_look.setInterval(lookInterval);
    connect(&m_look, &QTimer::timeout, this, &RunStatus::renew);
    connect(&runs, &RunList::changed, this, &RunStatus::renew);
    connect(&runs, &RunList::ended, this, &RunStatus::ended);
}

void RunStatus::renew() {
    QStringList titles, awaited;
    bool isCancelingOther = false;
    for (const RunPtr& run : m_runs.active()) {
        const bool isNamed = !run->description().action.isEmpty();
        isCancelingOther = isCancelingOther || (!isNamed && run->isCancelled());
        if (!isNamed) continue;
        titles.append(titleOf(*run));
        awaited += run->awaited(patience);
    }
    if (titles.isEmpty() && isCancelingOther) titles.append(tr("Canceling…"));
    awaited.removeDuplicates();
    QString underWay = titles.join(QStringLiteral(" · "));
    if (!awaited.isEmpty()) underWay += tr(" · waiting for %1").arg(shortList(awaited));
    if (titles.isEmpty())
        m_look.stop();
    else if (!m_look.isActive())
        m_look.start();
    if (underWay == m_underWay && awaited == m_awaited) return;
    m_underWay = underWay;
    m_awaited = awaited;
    Q_EMIT changed();
}

QString RunStatus::shortList(const QStringList& names) {
    if (names.size() <= mostNames) return names.join(tr(" and "));
    return tr("%1 and %2 more")
        .arg(QStringList(names.first(mostNames)).join(QStringLiteral(", ")))
        .arg(names.size() - mostNames);
}

QString RunStatus::lastText() const {
    if (!m_last) return {};
    const QString summary = m_last->summary();
    if (m_last->count(Outcome::Cancelled) == 0) return summary;
    const QString what = m_last->subject.isEmpty() ? m_last->action : m_last->action + u' ' + m_last->subject;
    return tr("Canceled “%1”: %2").arg(what, summary);
}

void RunStatus::stopWaiting() {
    for (const RunPtr& run : m_runs.active())
        run->stopWaiting(patience);
}

/// A change is followed by a reading of what it has changed, which must not hide what became of it.
void RunStatus::ended(const RunRecord& record) {
    const bool isReadingShown = m_last && !m_last->isChange;
    if (record.isChange || (!isWhole(record) && (!m_last || isReadingShown)))
        m_last = record;
    else if (isReadingShown && m_last->tool == record.tool)
        m_last.reset();
    Q_EMIT changed();
}
