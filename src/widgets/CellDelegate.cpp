#include "widgets/CellDelegate.h"

#include "widgets/PlainText.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"
#include "widgets/ViewUtilities.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <QTreeView>

namespace {

QColor toneColor(int tone) {
    const ThemeColors& c = themeColors();
    switch (Cell::Tone(tone)) {
        case Cell::Tone::Secondary:
            return c.secondaryText;
        case Cell::Tone::Faint:
            return c.faintText;
        case Cell::Tone::Good:
            return c.good;
        case Cell::Tone::Warning:
            return c.warning;
        case Cell::Tone::Bad:
            return c.bad;
        case Cell::Tone::Plain:
            break;
    }
    return c.text;
}

constexpr int popUpWidth = 16;  // of the mark at the end of a cell

}  // namespace

void CellDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    const QString symbol = index.data(Cell::SymbolRole).toString();
    const QString drawing = index.data(Cell::DrawingRole).toString();
    if (!symbol.isEmpty()) {
        const QVariant tone = index.data(Cell::SymbolToneRole);
        const int shown = tone.isValid() ? tone.toInt() : int(Cell::Tone::Secondary);
        option->icon = symbolIcon(symbol, toneColor(shown));
    } else if (!drawing.isEmpty()) {
        option->icon = drawingIcon(drawing);
    }
    if (!option->icon.isNull()) {
        option->features |= QStyleOptionViewItem::HasDecoration;
        option->decorationSize = QSize(16, 16);
    }
    const QVariant tone = index.data(Cell::ToneRole);
    if (tone.isValid()) {
        option->palette.setColor(QPalette::Text, toneColor(tone.toInt()));
        option->palette.setColor(QPalette::HighlightedText, toneColor(tone.toInt()));
    }
    if (index.data(Cell::ElideMiddleRole).toBool()) option->textElideMode = Qt::ElideMiddle;
    // The selected row is mark enough; a frame around one of its cells would only be in the way.
    option->state &= ~QStyle::State_HasFocus;
}

void CellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                         const QModelIndex& index) const {
    const auto* tree = qobject_cast<const QTreeView*>(option.widget);
    QStyleOptionViewItem cell = option;
    // Without the room for the triangles the first column would stick to the edge.
    if (tree && !tree->rootIsDecorated() && index.column() == 0) cell.rect.adjust(Metrics::unit, 0, 0, 0);
    const bool isPopUp = index.data(Cell::PopUpRole).toBool();
    if (isPopUp) cell.rect.adjust(0, 0, -popUpWidth, 0);
    if (tree && cell.rect != option.rect)
        tree->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, tree);
    QStyledItemDelegate::paint(painter, cell, index);
    if (isPopUp) {
        const QRect mark(cell.rect.right() + 1, cell.rect.center().y() - 5, 11, 11);
        paintSymbol(painter, mark, QStringLiteral("expand"), themeColors().secondaryText);
    }

    const bool current =
        tree && tree->hasFocus() && tree->currentIndex().siblingAtColumn(0) == index.siblingAtColumn(0);
    if (!current || option.state & QStyle::State_Selected) return;
    const QRect& r = option.rect;
    painter->fillRect(QRect(r.left(), r.top(), r.width(), 1), themeColors().accent);
    painter->fillRect(QRect(r.left(), r.bottom(), r.width(), 1), themeColors().accent);
}

QSize CellDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    const QSize spacing = interCellSpacing(option.widget);
    return {size.width() + Metrics::unit + spacing.width(),
            qMax(option.fontMetrics.height() + 12, 30) + spacing.height()};
}

bool CellDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                             const QModelIndex& index) {
    const bool own = !index.data(Qt::ToolTipRole).toString().isEmpty();
    if (own || event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    const QString text = index.data(Qt::DisplayRole).toString();
    if (sizeHint(option, index).width() > option.rect.width())
        QToolTip::showText(event->globalPos(), literalText(text), view);
    else
        QToolTip::hideText();
    return true;
}
