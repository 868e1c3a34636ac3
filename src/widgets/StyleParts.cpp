#include "widgets/StyleParts.h"

#include "widgets/SymbolIcon.h"

#include <QAbstractScrollArea>
#include <QPainter>
#include <QStyleOption>

namespace StyleParts {

void fillRounded(QPainter* painter, const QRectF& rect, const QBrush& fill, const QPen& pen, double radius) {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(pen);
    painter->setBrush(fill);
    painter->drawRoundedRect(rect, radius, radius);
    painter->restore();
}

/// A border of `width` that lies wholly inside `rect`.
QRectF insideBorder(const QRect& rect, double width) {
    const double half = width / 2;
    return QRectF(rect).adjusted(half, half, -half, -half);
}

void drawFocusRing(QPainter* painter, const QRect& rect, double radius) {
    fillRounded(painter, insideBorder(rect, 2), Qt::NoBrush, QPen(themeColors().accent, 2), radius);
}

void drawFieldFrame(const QStyleOption* option, QPainter* painter) {
    const ThemeColors& c = themeColors();
    const bool enabled = option->state & QStyle::State_Enabled;
    fillRounded(painter, insideBorder(option->rect, 1), enabled ? c.base : c.window, QPen(c.strongBorder, 1));
    if (option->state & QStyle::State_HasFocus) drawFocusRing(painter, option->rect);
}

void drawPushButton(const QStyleOption* option, QPainter* painter) {
    const ThemeColors& c = themeColors();
    const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
    const bool enabled = option->state & QStyle::State_Enabled;
    const bool primary = enabled && button && (button->features & QStyleOptionButton::DefaultButton);
    const bool flat = button && (button->features & QStyleOptionButton::Flat);
    const bool down = option->state & (QStyle::State_Sunken | QStyle::State_On);
    const bool over = enabled && (option->state & QStyle::State_MouseOver);

    QColor fill = primary ? c.accent : flat ? QColor(Qt::transparent) : enabled ? c.raised : c.window;
    if (primary && (down || over)) fill = blended(c.accent, c.text, down ? 0.22 : 0.1);
    const bool framed = !primary && !flat;
    fillRounded(painter, insideBorder(option->rect, 1), fill,
                framed ? QPen(enabled ? c.strongBorder : c.border, 1) : QPen(Qt::NoPen));
    if (!primary && (down || over))
        fillRounded(painter, insideBorder(option->rect, 1), down ? c.pressed : c.hover);
    if (option->state & QStyle::State_HasFocus && option->state & QStyle::State_KeyboardFocusChange) {
        const QPen ring(primary ? blended(c.accent, c.accentText, 0.7) : c.accent, 2);
        const QRectF inner = insideBorder(option->rect, 2);
        fillRounded(painter, primary ? inner.adjusted(2, 2, -2, -2) : inner, Qt::NoBrush, ring,
                    primary ? Metrics::radius - 2 : Metrics::radius);
    }
}

void drawToolButton(const QStyleOption* option, QPainter* painter) {
    const ThemeColors& c = themeColors();
    const bool enabled = option->state & QStyle::State_Enabled;
    if (option->state & QStyle::State_On) fillRounded(painter, option->rect, c.selection);
    if (enabled && option->state & QStyle::State_Sunken)
        fillRounded(painter, option->rect, c.pressed);
    else if (enabled && option->state & QStyle::State_MouseOver)
        fillRounded(painter, option->rect, c.hover);
}

bool isLabelled(const QStyleOptionToolButton* button) {
    return button->toolButtonStyle == Qt::ToolButtonTextBesideIcon && !button->text.isEmpty() &&
           !button->icon.isNull();
}

QSize toolButtonSize(const QStyleOptionToolButton* button, const QSize& plain) {
    if (!button || !isLabelled(button)) return {plain.width(), qMax(plain.height(), 28)};
    const int text = button->fontMetrics.size(Qt::TextShowMnemonic, button->text).width();
    return {Metrics::unit * 3 + button->iconSize.width() + text, qMax(plain.height(), 28)};
}

/// Icon and text with air on both sides and between them.
void drawToolButtonLabel(const QStyleOptionToolButton* button, QPainter* painter, const QStyle* style) {
    const bool enabled = button->state & QStyle::State_Enabled;
    QRect icon(QPoint(button->rect.left() + Metrics::unit, 0), button->iconSize);
    icon.moveTop(button->rect.center().y() - icon.height() / 2 + 1);
    button->icon.paint(painter, icon, Qt::AlignCenter, enabled ? QIcon::Normal : QIcon::Disabled);
    const QRect text = button->rect.adjusted(Metrics::unit * 2 + icon.width(), 0, 0, 0);
    style->drawItemText(painter, text, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextHideMnemonic,
                        button->palette, enabled, button->text, QPalette::ButtonText);
}

void drawCheckBox(const QStyleOption* option, QPainter* painter) {
    const ThemeColors& c = themeColors();
    const bool on = option->state & QStyle::State_On;
    const bool mixed = option->state & QStyle::State_NoChange;
    const bool enabled = option->state & QStyle::State_Enabled;
    const QColor fill = !enabled ? c.strongBorder : c.accent;
    if (on || mixed) {
        fillRounded(painter, option->rect, fill, Qt::NoPen, 4);
        paintSymbol(painter, QRectF(option->rect).adjusted(1.5, 1.5, -1.5, -1.5),
                    mixed ? QStringLiteral("minus") : QStringLiteral("check"), c.accentText);
    } else {
        fillRounded(painter, insideBorder(option->rect, 1), c.base, QPen(c.strongBorder, 1), 4);
    }
    if (option->state & QStyle::State_MouseOver && enabled)
        fillRounded(painter, option->rect, c.hover, Qt::NoPen, 4);
}

QColor selectionColor(const QStyleOption* option, const QWidget* widget) {
    const bool focused = widget && widget->window()->isActiveWindow() && option->state & QStyle::State_Active;
    return focused ? themeColors().selection : themeColors().idleSelection;
}

/// Background of one cell, square so that the cells of a row join.
void drawCellBackground(const QStyleOption* option, QPainter* painter, const QWidget* widget) {
    const auto* item = qstyleoption_cast<const QStyleOptionViewItem*>(option);
    if (item && item->backgroundBrush.style() != Qt::NoBrush)
        painter->fillRect(item->rect, item->backgroundBrush);
    if (option->state & QStyle::State_Selected)
        painter->fillRect(option->rect, selectionColor(option, widget));
}

void drawRowBackground(const QStyleOption* option, QPainter* painter, const QWidget* widget) {
    const auto* item = qstyleoption_cast<const QStyleOptionViewItem*>(option);
    if (item && item->features & QStyleOptionViewItem::Alternate) {
        painter->fillRect(option->rect, themeColors().alternate);
    }
    if (option->state & QStyle::State_Selected)
        painter->fillRect(option->rect, selectionColor(option, widget));
}

void drawBranch(const QStyleOption* option, QPainter* painter) {
    if (!(option->state & QStyle::State_Children)) return;
    const QString name =
        option->state & QStyle::State_Open ? QStringLiteral("next") : QStringLiteral("forward");
    QRectF square(0, 0, 14, 14);
    square.moveCenter(QRectF(option->rect).center());
    paintSymbol(painter, square, name, themeColors().secondaryText);
}

void drawHeaderSection(const QStyleOption* option, QPainter* painter) {
    const ThemeColors& c = themeColors();
    const auto* header = qstyleoption_cast<const QStyleOptionHeader*>(option);
    painter->fillRect(option->rect, c.alternate);
    if (option->state & QStyle::State_MouseOver && option->state & QStyle::State_Enabled) {
        painter->fillRect(option->rect, c.hover);
    }
    const QRect& r = option->rect;
    painter->fillRect(QRect(r.left(), r.bottom(), r.width(), 1), c.border);
    const bool last = header && (header->position == QStyleOptionHeader::End ||
                                 header->position == QStyleOptionHeader::OnlyOneSection);
    if (!last) painter->fillRect(QRect(r.right(), r.top() + 7, 1, r.height() - 14), c.border);
}

void drawMenuItem(const QStyle* base, const QStyleOptionMenuItem* item, QPainter* painter,
                  const QWidget* widget) {
    const ThemeColors& c = themeColors();
    QStyleOptionMenuItem plain = *item;
    painter->fillRect(item->rect, item->palette.brush(QPalette::Window));
    if (item->menuItemType == QStyleOptionMenuItem::Separator) {
        const int middle = item->rect.center().y();
        painter->fillRect(QRect(item->rect.left() + 10, middle, item->rect.width() - 20, 1), c.border);
        return;
    }
    if (item->state & QStyle::State_Selected && item->state & QStyle::State_Enabled) {
        fillRounded(painter, QRectF(item->rect).adjusted(4, 1, -4, -1), c.selection, Qt::NoPen, 5);
        plain.palette.setColor(QPalette::Window, c.selection);
    }
    plain.state &= ~QStyle::State_Selected;
    base->drawControl(QStyle::CE_MenuItem, &plain, painter, widget);
}

void drawMenuBarItem(const QStyleOptionMenuItem* item, QPainter* painter, const QStyle* style) {
    const ThemeColors& c = themeColors();
    painter->fillRect(item->rect, c.window);
    const bool selected = item->state & QStyle::State_Selected;
    const bool down = selected && item->state & QStyle::State_Sunken;
    if (selected) {
        fillRounded(painter, QRectF(item->rect).adjusted(1, 2, -1, -2), down ? c.selection : c.hover,
                    Qt::NoPen, 5);
    }
    int flags = Qt::AlignCenter | Qt::TextShowMnemonic | Qt::TextDontClip | Qt::TextSingleLine;
    if (!style->styleHint(QStyle::SH_UnderlineShortcut, item, nullptr)) flags |= Qt::TextHideMnemonic;
    style->drawItemText(painter, item->rect, flags, item->palette, item->state & QStyle::State_Enabled,
                        item->text, QPalette::WindowText);
}

/// The colour of what the scroll bar stands beside.
QColor scrollBarGround(const QWidget* widget) {
    for (const QWidget* w = widget; w; w = w->parentWidget()) {
        const auto* area = qobject_cast<const QAbstractScrollArea*>(w);
        if (!area) continue;
        const QWidget* viewport = area->viewport();
        // A list that lets the window show through stands on the side bar.
        return viewport->autoFillBackground() ? viewport->palette().color(viewport->backgroundRole())
                                              : themeColors().sidebar;
    }
    return themeColors().base;
}

}  // namespace StyleParts
