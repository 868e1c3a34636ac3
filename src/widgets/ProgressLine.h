#pragma once

#include <QProgressBar>
#include <QTimer>

/// A thin progress bar without text; a range of 0 to 0 shows work of unknown length.
class ProgressLine : public QProgressBar {
    Q_OBJECT
public:
    explicit ProgressLine(QWidget* parent = nullptr);
    /// Work of unknown length when `indeterminate`, else `value` of `maximum`. Fractions are kept.
    void showProgress(bool indeterminate, double value, double maximum);
    [[nodiscard]] QSize sizeHint() const override { return {160, 6}; }
    [[nodiscard]] QSize minimumSizeHint() const override { return {40, 6}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void updateTimer();
    QTimer m_timer;
};
