#include "widgets/Badge.h"

#include "widgets/Theme.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>

namespace {
QFont badgeFont() {
    return themeFont(0.85, QFont::DemiBold);
}
}  // namespace

int badgeWidth(const QString& text) {
    const QFontMetrics metrics(badgeFont());
    return qMax(metrics.horizontalAdvance(text) + 12, metrics.height() + 4);
}

int paintBadge(QPainter* painter, const QRect& rect, const QString& text, const QColor& fill,
               const QColor& color) {
    const QFontMetrics metrics(badgeFont());
    const int width = badgeWidth(text);
    const int height = metrics.height() + 4;
    const QRectF patch(rect.right() + 1 - width, rect.top() + (rect.height() - height) / 2.0, width, height);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(fill);
    painter->drawRoundedRect(patch, height / 2.0, height / 2.0);
    painter->setPen(color);
    painter->setFont(badgeFont());
    painter->drawText(patch, Qt::AlignCenter, text);
    painter->restore();
    return width;
}

EndBadge::EndBadge(QWidget* target) : QWidget(target) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    target->installEventFilter(this);
    hide();
}

void EndBadge::setCount(int count) {
    m_count = count;
    setVisible(count > 0);
    const QSize hint = parentWidget()->sizeHint();
    parentWidget()->setMinimumWidth(count > 0 ? hint.width() + badgeWidth(QString::number(count)) : 0);
    place();
    update();
}

void EndBadge::place() {
    const QString text = QString::number(m_count);
    const int height = QFontMetrics(badgeFont()).height() + 4;
    resize(badgeWidth(text), height);
    move(parentWidget()->width() - width() - Metrics::unit / 2, (parentWidget()->height() - height) / 2);
}

void EndBadge::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBadge(&painter, rect(), QString::number(m_count), themeColors().accent, themeColors().accentText);
}

bool EndBadge::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize) place();
    return QWidget::eventFilter(watched, event);
}
