#include "widgets/ProgressLine.h"

#include "widgets/Spinner.h"
#include "widgets/Theme.h"

#include <QDateTime>
#include <QPainter>
#include <QPainterPath>

namespace {
constexpr int steps = 10000;  // a bar's own values are whole numbers; ours need not be
}

ProgressLine::ProgressLine(QWidget* parent) : QProgressBar(parent) {
    setTextVisible(false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_timer.setInterval(spinnerInterval);
    connect(&m_timer, &QTimer::timeout, this, qOverload<>(&QWidget::update));
}

void ProgressLine::showProgress(bool indeterminate, double value, double maximum) {
    const bool unknown = indeterminate || maximum <= 0;
    setRange(0, unknown ? 0 : steps);
    if (!unknown) setValue(qRound(qBound(0.0, value / maximum, 1.0) * steps));
    updateTimer();
    update();
}

void ProgressLine::updateTimer() {
    if (isVisible() && maximum() == 0)
        m_timer.start();
    else
        m_timer.stop();
}

void ProgressLine::paintEvent(QPaintEvent*) {
    const ThemeColors& c = themeColors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QRectF groove(0, (height() - 6) / 2.0, width(), 6);
    QPainterPath outline;
    outline.addRoundedRect(groove, 3, 3);
    painter.fillPath(outline, c.border);
    painter.setClipPath(outline);
    QRectF filled = groove;
    if (maximum() == 0) {
        constexpr qint64 period = 1400;
        const double phase = double(QDateTime::currentMSecsSinceEpoch() % period) / period;
        filled.setWidth(groove.width() * 0.35);
        filled.moveLeft((groove.width() + filled.width()) * phase - filled.width());
    } else {
        filled.setWidth(groove.width() * value() / maximum());
    }
    QPainterPath part;
    part.addRoundedRect(filled, 3, 3);
    painter.fillPath(part, c.accent);
}

void ProgressLine::showEvent(QShowEvent* event) {
    QProgressBar::showEvent(event);
    updateTimer();
}

void ProgressLine::hideEvent(QHideEvent* event) {
    QProgressBar::hideEvent(event);
    updateTimer();
}
