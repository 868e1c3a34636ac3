#include "widgets/RowPatch.h"

#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QStyleOptionViewItem>

QColor paintRowPatch(QPainter* painter, const QStyleOptionViewItem& option) {
    const ThemeColors& c = themeColors();
    const bool selected = option.state & QStyle::State_Selected;
    const bool hovered = option.state & QStyle::State_MouseOver;
    const auto* view = qobject_cast<const QAbstractItemView*>(option.widget);
    const bool focused = view && view->hasFocus() && view->isActiveWindow();
    const qreal gap = qMax(1.0, interCellSpacing(view).height() / 2.0);
    const QRectF patch = QRectF(option.rect).adjusted(Metrics::unit, gap, -Metrics::unit, -gap);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);

    const QColor ground = !selected ? c.sidebar
                          : focused ? c.selection
                                    : blended(c.idleSelection, c.selection, 0.45);
    if (selected || hovered) {
        painter->setBrush(selected ? ground : c.hover);
        painter->drawRoundedRect(patch, Metrics::radius, Metrics::radius);
    }
    // The selection shows a click well enough; the keyboard also moves without selecting.
    const bool keyboard = option.state & QStyle::State_KeyboardFocusChange || !selected;
    if (focused && keyboard && option.state & QStyle::State_HasFocus) {
        painter->setBrush(Qt::NoBrush);
        painter->setPen(QPen(c.accent, 1.5));
        painter->drawRoundedRect(patch.adjusted(0.75, 0.75, -0.75, -0.75), Metrics::radius, Metrics::radius);
    }
    return ground;
}
