#include "app/window/ProgressSheet.h"

#include "app/TaskThreads.h"
#include "widgets/ElidedLabel.h"
#include "widgets/ProgressLine.h"

#include <QPushButton>
#include <QVBoxLayout>

ProgressSheet::ProgressSheet(TaskThreads& taskThreads, QWidget* parent)
    : Sheet(tr("Working"), {}, parent),
      m_taskThreads(taskThreads),
      m_home(parent),
      m_text(new ElidedLabel(this)),
      m_progress(new ProgressLine(this)),
      m_cancel(addCancelButton()) {
    setObjectName(QStringLiteral("windowProgress"));
    m_text->setObjectName(QStringLiteral("progressStatusText"));
    m_progress->setObjectName(QStringLiteral("progressBar"));
    m_cancel->setObjectName(QStringLiteral("progressCancelBtn"));
    setAttribute(Qt::WA_DeleteOnClose, false);
    body()->addWidget(m_text);
    body()->addWidget(m_progress);
    setFixedWidth(440);
    connect(&taskThreads, &TaskThreads::sheetChanged, this, &ProgressSheet::renew);
    renew();
}

void ProgressSheet::renew() {
    const SheetProgress& sheet = m_taskThreads.sheet();
    m_text->setText(sheet.text);
    m_progress->showProgress(sheet.indeterminate, sheet.value, sheet.maximum);
    m_cancel->setEnabled(sheet.cancelEnabled);
    if (sheet.visible == isVisible()) return;
    auto* over = qobject_cast<QWidget*>(m_taskThreads.progressParentWindow());
    QWidget* wanted = sheet.visible && over ? over : m_home;
    if (wanted != parentWidget()) setParent(wanted, windowFlags());
    if (sheet.visible)
        open();
    else
        hide();
}

/// Cancel, Escape and the close button ask the work to end; the sheet goes when it has.
void ProgressSheet::reject() {
    if (m_taskThreads.sheet().cancelEnabled) m_taskThreads.cancelProgress();
}
