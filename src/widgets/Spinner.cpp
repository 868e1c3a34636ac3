#include "widgets/Spinner.h"

#include "widgets/Theme.h"

#include <QDateTime>
#include <QPainter>

#include <cmath>

void paintSpinner(QPainter* painter, const QRectF& rect, double phase, const QColor& color) {
    const double width = qMax(1.5, rect.width() / 8);
    const QRectF circle = rect.adjusted(width / 2, width / 2, -width / 2, -width / 2);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setBrush(Qt::NoBrush);
    QColor track = color;
    track.setAlphaF(0.2F);
    painter->setPen(QPen(track, width));
    painter->drawEllipse(circle);
    painter->setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap));
    painter->drawArc(circle, qRound((0.25 - phase) * 360 * 16), -100 * 16);
    painter->restore();
}

double spinnerPhase() {
    constexpr qint64 period = 1000;
    return double(QDateTime::currentMSecsSinceEpoch() % period) / period;
}

Spinner::Spinner(QWidget* parent, int size) : QWidget(parent), m_size(size) {
    setFixedSize(size, size);
    m_timer.setInterval(spinnerInterval);
    connect(&m_timer, &QTimer::timeout, this, qOverload<>(&QWidget::update));
}

void Spinner::setSpinning(bool spinning) {
    m_spinning = spinning;
    updateTimer();
    update();
}

void Spinner::updateTimer() {
    if (m_spinning && isVisible())
        m_timer.start();
    else
        m_timer.stop();
}

void Spinner::paintEvent(QPaintEvent*) {
    if (!m_spinning) return;
    QPainter painter(this);
    paintSpinner(&painter, QRectF(rect()).adjusted(1, 1, -1, -1), spinnerPhase(), themeColors().accent);
}

void Spinner::showEvent(QShowEvent*) {
    updateTimer();
}

void Spinner::hideEvent(QHideEvent*) {
    updateTimer();
}
