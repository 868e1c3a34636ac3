#include "widgets/ThemeStyle.h"

#include "widgets/StyleParts.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QAbstractItemView>
#include <QAbstractScrollArea>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QStyleFactory>
#include <QStyleOption>
#include <QToolButton>

using namespace StyleParts;

ThemeStyle::ThemeStyle() : QProxyStyle(QStyleFactory::create(QStringLiteral("Fusion"))) {}

void ThemeStyle::polish(QWidget* widget) {
    QProxyStyle::polish(widget);
    if (qobject_cast<QPushButton*>(widget) || qobject_cast<QToolButton*>(widget) ||
        qobject_cast<QScrollBar*>(widget)) {
        widget->setAttribute(Qt::WA_Hover);
    }
}

int ThemeStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    switch (metric) {
        case PM_SmallIconSize:
        case PM_ButtonIconSize:
            return 16;
        case PM_ToolBarIconSize:
            return Metrics::symbolSize;
        case PM_ToolBarItemSpacing:
            return Metrics::unit / 2;
        case PM_ToolBarItemMargin:
            return Metrics::unit / 2;
        case PM_ToolBarFrameWidth:
            return 0;
        case PM_LayoutHorizontalSpacing:
        case PM_LayoutVerticalSpacing:
            return Metrics::unit;
        case PM_LayoutLeftMargin:
        case PM_LayoutTopMargin:
        case PM_LayoutRightMargin:
        case PM_LayoutBottomMargin:
            return Metrics::unit * 2;
        case PM_ScrollBarExtent:
            return 12;
        case PM_ScrollBarSliderMin:
            return 32;
        case PM_SplitterWidth:
            return 1;
        case PM_IndicatorWidth:
        case PM_IndicatorHeight:
            return 16;
        case PM_CheckBoxLabelSpacing:
            return Metrics::unit;
        case PM_MenuVMargin:
            return 5;
        case PM_MenuHMargin:
            return 0;
        case PM_MenuBarHMargin:
            return 6;
        case PM_MenuBarVMargin:
            return 2;
        case PM_MenuPanelWidth:
            return 1;
        case PM_MenuBarPanelWidth:
            return 0;
        case PM_HeaderMarkSize:
            return 12;
        case PM_HeaderMargin:
            return Metrics::unit / 2;
        case PM_FocusFrameHMargin:
            return 3;
        case PM_ButtonShiftHorizontal:
        case PM_ButtonShiftVertical:
            return 0;
        case PM_ScrollView_ScrollBarSpacing:
            return 0;
        default:
            return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int ThemeStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                          QStyleHintReturn* data) const {
    switch (hint) {
        case SH_ItemView_ShowDecorationSelected:
            return 1;
        case SH_ItemView_ActivateItemOnSingleClick:
            return 0;
        case SH_EtchDisabledText:
        case SH_DitherDisabledText:
            return 0;
        case SH_ScrollBar_LeftClickAbsolutePosition:
            return 1;
        case SH_DialogButtonBox_ButtonsHaveIcons:
            return 0;
        case SH_ToolButtonStyle:
            return Qt::ToolButtonTextBesideIcon;
        default:
            return QProxyStyle::styleHint(hint, option, widget, data);
    }
}

QSize ThemeStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                                   const QWidget* widget) const {
    QSize result = QProxyStyle::sizeFromContents(type, option, size, widget);
    switch (type) {
        case CT_PushButton:
            result.setHeight(qMax(result.height(), 30));
            result.rwidth() += Metrics::unit * 2;
            break;
        case CT_LineEdit:
            result.setHeight(qMax(result.height(), 30));
            break;
        case CT_ToolButton:
            result = toolButtonSize(qstyleoption_cast<const QStyleOptionToolButton*>(option), result);
            break;
        case CT_MenuBarItem:
            result += QSize(4, 4);
            break;
        case CT_MenuItem: {
            const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
            if (item && item->menuItemType == QStyleOptionMenuItem::Separator)
                result.setHeight(9);
            else
                result += QSize(12, 4);
            break;
        }
        case CT_HeaderSection:
            result.setHeight(qMax(result.height(), 30));
            break;
        default:
            break;
    }
    return result;
}

QRect ThemeStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                                 const QWidget* widget) const {
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || !slider) return QProxyStyle::subControlRect(control, option, part, widget);

    // Without arrow buttons: the whole length is groove.
    const bool horizontal = slider->orientation == Qt::Horizontal;
    const QRect& r = option->rect;
    const int length = horizontal ? r.width() : r.height();
    const qint64 range = qint64(slider->maximum) - slider->minimum;
    int handle = length;
    if (range > 0) {
        const qint64 wanted = qint64(slider->pageStep) * length / (range + slider->pageStep);
        handle = int(qBound(qint64(qMin(32, length)), wanted, qint64(length)));
    }
    const int start = sliderPositionFromValue(slider->minimum, slider->maximum, slider->sliderPosition,
                                              length - handle, slider->upsideDown);
    const auto piece = [&](int from, int to) {
        return horizontal ? QRect(r.left() + from, r.top(), to - from, r.height())
                          : QRect(r.left(), r.top() + from, r.width(), to - from);
    };
    QRect result;
    switch (part) {
        case SC_ScrollBarGroove:
            result = r;
            break;
        case SC_ScrollBarSlider:
            result = piece(start, start + handle);
            break;
        case SC_ScrollBarSubPage:
            result = piece(0, start);
            break;
        case SC_ScrollBarAddPage:
            result = piece(start + handle, length);
            break;
        default:
            break;
    }
    return visualRect(slider->direction, r, result);
}

QRect ThemeStyle::subElementRect(SubElement element, const QStyleOption* option,
                                 const QWidget* widget) const {
    const QRect rect = QProxyStyle::subElementRect(element, option, widget);
    // A field with a symbol in front keeps its distance by that.
    const bool plainField = element == SE_LineEditContents && widget && widget->actions().isEmpty();
    return plainField ? rect.adjusted(Metrics::unit - 2, 0, 2 - Metrics::unit, 0) : rect;
}

void ThemeStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                               const QWidget* widget) const {
    const ThemeColors& c = themeColors();
    switch (element) {
        case PE_PanelButtonCommand:
            drawPushButton(option, painter);
            return;
        case PE_PanelButtonTool:
            drawToolButton(option, painter);
            return;
        case PE_PanelMenu:
            painter->fillRect(option->rect, c.window);
            return;
        case PE_PanelScrollAreaCorner:
            painter->fillRect(option->rect, scrollBarGround(widget));
            return;
        case PE_FrameFocusRect:
            // Buttons draw their own; item views show the current row by its selection.
            if (option->state & State_KeyboardFocusChange && !qobject_cast<const QPushButton*>(widget) &&
                !qobject_cast<const QAbstractItemView*>(widget)) {
                drawFocusRing(painter, option->rect, 5);
            }
            return;
        case PE_PanelLineEdit: {
            const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(option);
            if (!frame || frame->lineWidth > 0) drawFieldFrame(option, painter);
            return;
        }
        case PE_FrameLineEdit:
            return;
        case PE_IndicatorCheckBox:
            drawCheckBox(option, painter);
            return;
        case PE_IndicatorBranch:
            drawBranch(option, painter);
            return;
        case PE_PanelItemViewItem:
            drawCellBackground(option, painter, widget);
            return;
        case PE_PanelItemViewRow:
            drawRowBackground(option, painter, widget);
            return;
        case PE_IndicatorHeaderArrow: {
            const auto* header = qstyleoption_cast<const QStyleOptionHeader*>(option);
            if (!header || header->sortIndicator == QStyleOptionHeader::None) return;
            const bool up = header->sortIndicator == QStyleOptionHeader::SortDown;
            QRectF square(0, 0, 12, 12);
            square.moveCenter(QRectF(option->rect).center());
            paintSymbol(painter, square, up ? QStringLiteral("previous") : QStringLiteral("next"),
                        c.secondaryText);
            return;
        }
        case PE_FrameMenu:
            painter->setPen(c.strongBorder);
            painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
            return;
        case PE_PanelTipLabel:
            painter->fillRect(option->rect, option->palette.brush(QPalette::ToolTipBase));
            painter->setPen(c.strongBorder);
            painter->drawRect(option->rect.adjusted(0, 0, -1, -1));
            return;
        case PE_Frame: {
            const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(option);
            if (frame && frame->lineWidth > 0) {
                fillRounded(painter, insideBorder(option->rect, 1), Qt::NoBrush, QPen(c.border, 1), 0);
            }
            return;
        }
        case PE_PanelStatusBar:
        case PE_PanelMenuBar:
            return;
        default:
            QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void ThemeStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                             const QWidget* widget) const {
    const ThemeColors& c = themeColors();
    switch (element) {
        case CE_ToolBar:
            painter->fillRect(option->rect, c.window);
            painter->fillRect(QRect(option->rect.left(), option->rect.bottom(), option->rect.width(), 1),
                              c.border);
            return;
        case CE_Splitter:
            painter->fillRect(option->rect, c.border);
            return;
        case CE_HeaderSection:
            drawHeaderSection(option, painter);
            return;
        case CE_HeaderEmptyArea:
            painter->fillRect(option->rect, c.alternate);
            painter->fillRect(QRect(option->rect.left(), option->rect.bottom(), option->rect.width(), 1),
                              c.border);
            return;
        case CE_MenuItem:
            if (const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option)) {
                drawMenuItem(baseStyle(), item, painter, widget);
            }
            return;
        case CE_MenuBarItem:
            if (const auto* item = qstyleoption_cast<const QStyleOptionMenuItem*>(option)) {
                drawMenuBarItem(item, painter, this);
            }
            return;
        case CE_HeaderLabel:
            if (const auto* header = qstyleoption_cast<const QStyleOptionHeader*>(option)) {
                QStyleOptionHeader copy = *header;
                // The first column begins at the edge of the window.
                if (header->section == 0) copy.rect.adjust(Metrics::unit, 0, 0, 0);
                QProxyStyle::drawControl(element, &copy, painter, widget);
            }
            return;
        case CE_ToolButtonLabel: {
            const auto* button = qstyleoption_cast<const QStyleOptionToolButton*>(option);
            if (button && isLabelled(button))
                drawToolButtonLabel(button, painter, this);
            else
                QProxyStyle::drawControl(element, option, painter, widget);
            return;
        }
        case CE_MenuBarEmptyArea:
            painter->fillRect(option->rect, c.window);
            return;
        case CE_PushButtonLabel:
            if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option)) {
                QStyleOptionButton copy = *button;
                const bool primary =
                    copy.features & QStyleOptionButton::DefaultButton && copy.state & State_Enabled;
                if (primary) copy.palette.setColor(QPalette::ButtonText, c.accentText);
                QProxyStyle::drawControl(element, &copy, painter, widget);
            }
            return;
        default:
            QProxyStyle::drawControl(element, option, painter, widget);
    }
}

void ThemeStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                    QPainter* painter, const QWidget* widget) const {
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || !slider) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    painter->fillRect(option->rect, scrollBarGround(widget));
    if (slider->maximum <= slider->minimum) return;
    const bool busy = option->state & State_MouseOver || option->state & State_Sunken;
    QRectF handle = subControlRect(control, option, SC_ScrollBarSlider, widget);
    handle =
        slider->orientation == Qt::Horizontal ? handle.adjusted(2, 3, -2, -3) : handle.adjusted(3, 2, -3, -2);
    QColor color = themeColors().text;
    color.setAlphaF(busy ? 0.45F : 0.25F);
    fillRounded(painter, handle, color, Qt::NoPen, 3);
}

QIcon ThemeStyle::standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const {
    switch (icon) {
        case SP_LineEditClearButton:
            return symbolIcon(QStringLiteral("close"));
        default:
            return QProxyStyle::standardIcon(icon, option, widget);
    }
}
