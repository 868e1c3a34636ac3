#pragma once

#include <QColor>

class QPainter;
class QStyleOptionViewItem;

/// Background of a row of the lists at the left of the window: a rounded patch when selected or under the
/// pointer, a ring when it also has the keyboard focus. Leaves the painter antialiased. Returns the colour
/// that the row now stands on.
QColor paintRowPatch(QPainter* painter, const QStyleOptionViewItem& option);
