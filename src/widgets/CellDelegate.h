#pragma once

#include <QStyledItemDelegate>

/// What a cell of a table or outline adds to its text. A model answers the roles; the delegate turns them
/// into the colours and drawings of the theme, so that models know nothing of either.
namespace Cell {
enum class Tone { Plain, Secondary, Faint, Good, Warning, Bad };
enum Role {
    SymbolRole = Qt::UserRole + 100,  ///< QString: a symbol before the text
    SymbolToneRole,                   ///< Cell::Tone as int; Secondary when missing
    DrawingRole,                      ///< QString: path of a coloured drawing before the text
    ToneRole,                         ///< Cell::Tone as int: of the text
    ElideMiddleRole,                  ///< bool: a path, whose two ends matter
    PopUpRole,                        ///< bool: a click shows a menu of the values to choose from
};
}  // namespace Cell

/// Shows cells with the roles above, rows of an even and comfortable height, and a tooltip with the whole
/// text where it is cut off.
class CellDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};
