#pragma once

#include <QWidget>

#include <functional>

class ElidedLabel;
class ProgressLine;
class QPushButton;
class QToolButton;
class RunStatus;
class TaskThreads;
struct RunRecord;

/// The bar at the bottom of the window: what is going on, how far it is, Cancel, and the count of errors; and
/// how the last run ended, with what can be done about it.
class StatusPanel : public QWidget {
    Q_OBJECT
public:
    /// What may be done about a run that has ended.
    struct RunActions {
        std::function<bool(const RunRecord&)> canRetry, canUndo;
        std::function<void(const RunRecord&)> retry, undo, showDetails;
    };
    /// All that is given outlives the panel.
    StatusPanel(TaskThreads& taskThreads, RunStatus& runs, RunActions actions, QWidget* parent = nullptr);

    /// Hidden when empty.
    void setErrorLabel(const QString& label);

Q_SIGNALS:
    void errorsClicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    [[nodiscard]] QToolButton* addAction(const char* objectName, const QString& title,
                                         const QString& toolTip);
    void renew();
    void renewRuns();
    void keepRoomForBar(bool keeps);

    TaskThreads& m_taskThreads;
    RunStatus& m_runs;
    const RunActions m_actions;
    ElidedLabel* m_text;
    ElidedLabel* m_remark;
    ProgressLine* m_progress;
    QPushButton* m_cancel;
    QToolButton* m_stopWaiting;
    QToolButton* m_details;
    QToolButton* m_retry;
    QToolButton* m_undo;
    QToolButton* m_errors;
};
