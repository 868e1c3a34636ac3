#include "app/window/StatusPanel.h"

#include "app/RunStatus.h"
#include "app/TaskThreads.h"
#include "widgets/ElidedLabel.h"
#include "widgets/ProgressLine.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>

namespace {

constexpr int leastHeight = 28;  ///< more where the font needs it

}  // namespace

StatusPanel::StatusPanel(TaskThreads& taskThreads, RunStatus& runs, RunActions actions, QWidget* parent)
    : QWidget(parent),
      m_taskThreads(taskThreads),
      m_runs(runs),
      m_actions(std::move(actions)),
      m_text(new ElidedLabel(this)),
      m_remark(new ElidedLabel(this, ElidedLabel::Tone::Secondary)),
      m_progress(new ProgressLine(this)),
      m_cancel(new QPushButton(tr("Cancel"), this)),
      m_stopWaiting(addAction("stopWaitingBtn", tr("Stop Waiting"),
                              tr("Give up on the computers that have not answered yet"))),
      m_details(addAction("runDetailsBtn", tr("Details"), tr("Show what became of it on each computer"))),
      m_retry(addAction("runRetryBtn", tr("Retry Failed"),
                        tr("Do it again on the computers where it was not done"))),
      m_undo(addAction("runUndoBtn", tr("Undo"), tr("Take it back on the computers where it was done"))),
      m_errors(new QToolButton(this)) {
    m_text->setObjectName(QStringLiteral("statusText"));
    m_remark->setObjectName(QStringLiteral("statusRemark"));
    m_progress->setObjectName(QStringLiteral("statusProgressBar"));
    m_cancel->setObjectName(QStringLiteral("statusCancelBtn"));
    m_errors->setObjectName(QStringLiteral("statusErrorBtn"));
    m_progress->setFixedWidth(180);
    m_progress->setAccessibleName(tr("Progress"));
    m_errors->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_errors->setAutoRaise(true);
    m_errors->setFocusPolicy(Qt::TabFocus);
    m_errors->setToolTip(tr("Open the error log"));
    m_errors->hide();
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(Metrics::unit * 2, 1, Metrics::unit, 0);
    layout->setSpacing(Metrics::unit * 1.5);
    layout->addWidget(m_text);
    layout->addWidget(m_remark, 1);
    for (QToolButton* const action : {m_stopWaiting, m_details, m_retry, m_undo})
        layout->addWidget(action);
    layout->addWidget(m_progress);
    layout->addWidget(m_cancel);
    layout->addWidget(m_errors);
    m_cancel->setFixedHeight(qMax(22, fontMetrics().height() + 4));
    m_errors->setFixedHeight(m_cancel->height());
    setFixedHeight(qMax(leastHeight, m_cancel->height() + 6));

    connect(m_cancel, &QPushButton::clicked, this, [this] {
        m_taskThreads.cancelStatusProgress();
        m_runs.renew();
    });
    connect(m_errors, &QToolButton::clicked, this, &StatusPanel::errorsClicked);
    connect(m_stopWaiting, &QToolButton::clicked, this, [this] { m_runs.stopWaiting(); });
    const auto onClick = [this](QToolButton* button, const std::function<void(const RunRecord&)>& action) {
        connect(button, &QToolButton::clicked, this, [this, action] {
            if (const std::optional<RunRecord> record = m_runs.last()) action(*record);
        });
    };
    onClick(m_details, m_actions.showDetails);
    onClick(m_retry, m_actions.retry);
    onClick(m_undo, m_actions.undo);
    connect(&taskThreads, &TaskThreads::statusChanged, this, &StatusPanel::renew);
    connect(&runs, &RunStatus::changed, this, &StatusPanel::renewRuns);
    renew();
    renewRuns();
}

QToolButton* StatusPanel::addAction(const char* objectName, const QString& title, const QString& toolTip) {
    auto* const button = new QToolButton(this);
    button->setObjectName(QLatin1String(objectName));
    button->setText(title);
    button->setToolTip(toolTip);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    button->hide();
    return button;
}

/// A bar that comes and goes must not move what stands beside it; what became of a run needs its room.
void StatusPanel::keepRoomForBar(bool keeps) {
    for (QWidget* widget : {static_cast<QWidget*>(m_progress), static_cast<QWidget*>(m_cancel)}) {
        QSizePolicy policy = widget->sizePolicy();
        if (policy.retainSizeWhenHidden() == keeps) continue;
        policy.setRetainSizeWhenHidden(keeps);
        widget->setSizePolicy(policy);
    }
}

void StatusPanel::renew() {
    const StatusProgress& status = m_taskThreads.status();
    m_text->setText(status.text);
    m_progress->showProgress(status.indeterminate, status.value, status.maximum);
    m_progress->setVisible(status.running);
    m_cancel->setVisible(status.cancelVisible);
}

void StatusPanel::renewRuns() {
    const std::optional<RunRecord>& last = m_runs.last();
    const QString underWay = m_runs.underWay();
    const bool showsLast = underWay.isEmpty() && last;
    const QString remark = showsLast ? m_runs.lastText() : underWay;
    m_remark->setText(remark.isEmpty() ? QString() : QStringLiteral("· %1").arg(remark));
    m_stopWaiting->setVisible(!m_runs.awaited().isEmpty());
    m_details->setVisible(showsLast);
    keepRoomForBar(!showsLast);
    const bool isMerelyRest =
        showsLast && last->successCount() + last->count(Outcome::LeftOut) == last->outcomes.size();
    m_retry->setText(isMerelyRest ? tr("Run on the Rest") : tr("Retry Failed"));
    m_retry->setVisible(showsLast && m_actions.canRetry(*last));
    m_undo->setVisible(showsLast && m_actions.canUndo(*last));
}

void StatusPanel::setErrorLabel(const QString& label) {
    m_errors->setText(label);
    m_errors->setAccessibleName(label);
    m_errors->setIcon(symbolIcon(QStringLiteral("error-log"), themeColors().bad));
    m_errors->setVisible(!label.isEmpty());
}

void StatusPanel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::PaletteChange) setErrorLabel(m_errors->text());
    QWidget::changeEvent(event);
}

void StatusPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), themeColors().window);
    painter.fillRect(QRect(0, 0, width(), 1), themeColors().border);
}
