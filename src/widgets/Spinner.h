#pragma once

#include <QTimer>
#include <QWidget>

class QPainter;
class QRectF;

/// The mark of work of unknown length. `phase` is 0 to 1, once round.
void paintSpinner(QPainter* painter, const QRectF& rect, double phase, const QColor& color);
/// The phase at this moment: everything that spins does so in step.
[[nodiscard]] double spinnerPhase();
inline constexpr int spinnerInterval = 40;  ///< milliseconds between two pictures

/// A small spinner. Takes no processor time while hidden or stopped.
class Spinner : public QWidget {
    Q_OBJECT
public:
    explicit Spinner(QWidget* parent = nullptr, int size = 16);

    void setSpinning(bool spinning);
    [[nodiscard]] QSize sizeHint() const override { return {m_size, m_size}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void updateTimer();
    QTimer m_timer;
    int m_size;
    bool m_spinning = false;
};
