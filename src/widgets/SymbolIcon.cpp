#include "widgets/SymbolIcon.h"

#include "widgets/Theme.h"

#include <QFile>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

namespace {

QString symbolPath(const QString& name) {
    return QStringLiteral(":/icons/symbols/%1.svg").arg(name);
}

QByteArray drawing(const QString& path) {
    static QHash<QString, QByteArray> read;
    const auto known = read.constFind(path);
    if (known != read.constEnd()) return *known;
    QFile file(path);
    const QByteArray data = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    read.insert(path, data);
    return data;
}

/// Pixels of a drawing at a size in device pixels. An invalid colour keeps those of the drawing.
QPixmap rendered(const QString& path, const QColor& color, const QSize& pixels) {
    const QString key = QStringLiteral("%1|%2|%3x%4")
                            .arg(path, color.isValid() ? color.name(QColor::HexArgb) : QString())
                            .arg(pixels.width())
                            .arg(pixels.height());
    QPixmap pixmap;
    if (pixels.isEmpty() || QPixmapCache::find(key, &pixmap)) return pixmap;
    QByteArray data = drawing(path);
    if (data.isEmpty()) return {};
    if (color.isValid()) data.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    pixmap = QPixmap(pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    if (color.isValid()) painter.setOpacity(color.alphaF());
    QSvgRenderer renderer(data);
    renderer.setAspectRatioMode(Qt::KeepAspectRatio);
    renderer.render(&painter);
    painter.end();
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void paint(QPainter* painter, const QRectF& rect, const QString& path, const QColor& color) {
    const double ratio = painter->device()->devicePixelRatioF();
    QPixmap pixmap = rendered(path, color, (rect.size() * ratio).toSize());
    pixmap.setDevicePixelRatio(ratio);
    painter->drawPixmap(rect.topLeft(), pixmap);
}

/// Draws at the size asked for. Without a fixed colour, in that of the theme at the moment of painting.
class DrawingEngine : public QIconEngine {
public:
    enum class Tint { Theme, Fixed, None };
    DrawingEngine(QString path, Tint tint, QColor color = {})
        : m_path(std::move(path)), m_tint(tint), m_color(std::move(color)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        const int side = qMin(rect.width(), rect.height());
        QRect square(0, 0, side, side);
        square.moveCenter(rect.center());
        ::paint(painter, square, m_path, color(mode));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override {
        return rendered(m_path, color(mode), size);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, qreal) override {
        return pixmap(size, mode, state);
    }
    QIconEngine* clone() const override { return new DrawingEngine(*this); }
    QString key() const override { return QStringLiteral("drawing"); }
    bool isNull() override { return drawing(m_path).isEmpty(); }

private:
    [[nodiscard]] QColor color(QIcon::Mode mode) const {
        if (m_tint != Tint::Theme) return m_color;
        const ThemeColors& c = themeColors();
        if (mode == QIcon::Disabled) return blended(c.window, c.text, 0.36);
        return mode == QIcon::Normal ? blended(c.window, c.text, 0.82) : c.text;
    }
    QString m_path;
    Tint m_tint;
    QColor m_color;
};

}  // namespace

QIcon symbolIcon(const QString& name) {
    return QIcon(
        new DrawingEngine(symbolPath(name), DrawingEngine::Tint::Theme));  // the icon owns its engine
}

QIcon symbolIcon(const QString& name, const QColor& color) {
    return QIcon(new DrawingEngine(symbolPath(name), DrawingEngine::Tint::Fixed, color));
}

QIcon drawingIcon(const QString& path) {
    return QIcon(new DrawingEngine(path, DrawingEngine::Tint::None));
}

void paintSymbol(QPainter* painter, const QRectF& rect, const QString& name, const QColor& color) {
    paint(painter, rect, symbolPath(name), color);
}

QPixmap symbolPixmap(const QString& name, const QColor& color, int size, double devicePixelRatio) {
    const int pixels = qRound(size * devicePixelRatio);
    QPixmap pixmap = rendered(symbolPath(name), color, QSize(pixels, pixels));
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

void paintDrawing(QPainter* painter, const QRectF& rect, const QString& path) {
    paint(painter, rect, path, {});
}
