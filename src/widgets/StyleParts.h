#pragma once

#include "widgets/Theme.h"

#include <QBrush>
#include <QPen>

class QPainter;
class QRectF;
class QStyle;
class QStyleOption;
class QStyleOptionMenuItem;
class QStyleOptionToolButton;
class QWidget;

/// How ThemeStyle draws the controls that are its own.
namespace StyleParts {

void fillRounded(QPainter* painter, const QRectF& rect, const QBrush& fill, const QPen& pen = Qt::NoPen,
                 double radius = Metrics::radius);
/// A border of `width` that lies wholly inside `rect`.
QRectF insideBorder(const QRect& rect, double width);
void drawFocusRing(QPainter* painter, const QRect& rect, double radius = Metrics::radius);
void drawFieldFrame(const QStyleOption* option, QPainter* painter);
void drawPushButton(const QStyleOption* option, QPainter* painter);
void drawToolButton(const QStyleOption* option, QPainter* painter);
bool isLabelled(const QStyleOptionToolButton* button);
QSize toolButtonSize(const QStyleOptionToolButton* button, const QSize& plain);
/// Icon and text with air on both sides and between them.
void drawToolButtonLabel(const QStyleOptionToolButton* button, QPainter* painter, const QStyle* style);
void drawCheckBox(const QStyleOption* option, QPainter* painter);
QColor selectionColor(const QStyleOption* option, const QWidget* widget);
/// Background of one cell, square so that the cells of a row join.
void drawCellBackground(const QStyleOption* option, QPainter* painter, const QWidget* widget);
void drawRowBackground(const QStyleOption* option, QPainter* painter, const QWidget* widget);
void drawBranch(const QStyleOption* option, QPainter* painter);
void drawHeaderSection(const QStyleOption* option, QPainter* painter);
void drawMenuItem(const QStyle* base, const QStyleOptionMenuItem* item, QPainter* painter,
                  const QWidget* widget);
void drawMenuBarItem(const QStyleOptionMenuItem* item, QPainter* painter, const QStyle* style);
/// The colour of what the scroll bar stands beside.
QColor scrollBarGround(const QWidget* widget);

}  // namespace StyleParts
