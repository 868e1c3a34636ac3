#pragma once

#include <QColor>
#include <QString>
#include <QWidget>

class QPainter;
class QRect;

/// A count in a rounded patch, right-aligned in `rect` and centred in its height. Returns its width.
int paintBadge(QPainter* painter, const QRect& rect, const QString& text, const QColor& fill,
               const QColor& color);
[[nodiscard]] int badgeWidth(const QString& text);

/// A count at the right end of a button, which makes room for it; hidden while the count is 0.
class EndBadge : public QWidget {
    Q_OBJECT
public:
    explicit EndBadge(QWidget* target);
    void setCount(int count);
    [[nodiscard]] int count() const { return m_count; }

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();
    int m_count = 0;
};
