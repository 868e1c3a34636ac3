#pragma once

#include <QWidget>

/// One line of text that gives way: what does not fit ends in "…" and stands whole in the tooltip.
class ElidedLabel : public QWidget {
    Q_OBJECT
public:
    enum class Tone { Normal, Secondary, Warning };
    explicit ElidedLabel(QWidget* parent = nullptr, Tone tone = Tone::Normal);

    void setText(const QString& text);
    [[nodiscard]] QString text() const { return m_text; }
    void setElideMode(Qt::TextElideMode mode) { m_mode = mode; }
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    QString m_text;
    Tone m_tone;
    Qt::TextElideMode m_mode = Qt::ElideRight;
};
