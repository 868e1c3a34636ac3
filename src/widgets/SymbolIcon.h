#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>
#include <QString>

class QPainter;
class QRectF;

/// Drawings of ":/icons/symbols", which are lines of one colour: shown in the theme's colour for text.

/// An icon that is drawn in the colour of its surroundings: dimmed when disabled, and right after a change
/// of theme. An unknown name gives an empty icon.
[[nodiscard]] QIcon symbolIcon(const QString& name);
/// Always in `color`, also disabled or selected.
[[nodiscard]] QIcon symbolIcon(const QString& name, const QColor& color);
/// A drawing in its own colours, also disabled or selected.
[[nodiscard]] QIcon drawingIcon(const QString& path);

/// The same drawing in one fixed colour.
void paintSymbol(QPainter* painter, const QRectF& rect, const QString& name, const QColor& color);
[[nodiscard]] QPixmap symbolPixmap(const QString& name, const QColor& color, int size,
                                   double devicePixelRatio);

/// A drawing in its own colours (":/icons/tools/addonry.svg"), sharp at every size.
void paintDrawing(QPainter* painter, const QRectF& rect, const QString& path);
