#pragma once

#include <QWidget>

class ElidedLabel;
class ProgressLine;
class QPushButton;
class QToolButton;
class TaskThreads;

/// The bar at the bottom of the window: what is going on, how far it is, Cancel, and the count of errors.
class StatusPanel : public QWidget {
    Q_OBJECT
public:
    /// `taskThreads` outlives the panel.
    explicit StatusPanel(TaskThreads& taskThreads, QWidget* parent = nullptr);

    /// Height of the bar; more where the font needs it.
    void setContentBorderThickness(int points);
    /// Hidden when empty.
    void setErrorLabel(const QString& label);

Q_SIGNALS:
    void errorsClicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void renew();

    TaskThreads& m_taskThreads;
    ElidedLabel* m_text;
    ElidedLabel* m_remark;
    ProgressLine* m_progress;
    QPushButton* m_cancel;
    QToolButton* m_errors;
};
