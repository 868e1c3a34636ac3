#pragma once

#include "widgets/Sheet.h"

class ElidedLabel;
class ProgressLine;
class TaskThreads;

/// Shows TaskThreads::sheet(): text, bar, Cancel. Comes and goes with it, over the window that the work was
/// started for, else over `parent`.
class ProgressSheet : public Sheet {
    Q_OBJECT
public:
    /// `taskThreads` outlives the sheet.
    ProgressSheet(TaskThreads& taskThreads, QWidget* parent);

    void reject() override;

private:
    void renew();

    TaskThreads& m_taskThreads;
    QWidget* m_home;
    ElidedLabel* m_text;
    ProgressLine* m_progress;
    QPushButton* m_cancel;
};
