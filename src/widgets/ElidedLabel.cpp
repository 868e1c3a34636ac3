#include "widgets/ElidedLabel.h"

#include "widgets/PlainText.h"
#include "widgets/Theme.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

ElidedLabel::ElidedLabel(QWidget* parent, Tone tone) : QWidget(parent), m_tone(tone) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void ElidedLabel::setText(const QString& text) {
    if (m_text == text) return;
    m_text = text;
    setAccessibleName(text);
    updateGeometry();
    update();
}

QSize ElidedLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(m_text) + 2, fontMetrics().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {qMin(sizeHint().width(), fontMetrics().averageCharWidth() * 4), fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(m_tone == Tone::Normal      ? palette().color(foregroundRole())
                   : m_tone == Tone::Secondary ? themeColors().secondaryText
                                               : themeColors().warning);
    painter.drawText(rect(), Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                     fontMetrics().elidedText(m_text, m_mode, width()));
}

bool ElidedLabel::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip && toolTip().isEmpty()) {
        const bool cut = fontMetrics().horizontalAdvance(m_text) > width();
        const auto* help = static_cast<QHelpEvent*>(event);
        if (cut)
            QToolTip::showText(help->globalPos(), literalText(m_text), this);
        else
            QToolTip::hideText();
        return true;
    }
    return QWidget::event(event);
}
