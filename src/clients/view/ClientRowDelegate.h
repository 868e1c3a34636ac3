#pragma once

#include "clients/VLServiceGroup.h"

#include <QStyledItemDelegate>

#include <functional>

/// Paints the rows of the client list: picture with a mark of the connection, name, state, badges, spinner;
/// groups with the triangle that opens them and the count of their machines. Edits the names of groups.
class ClientRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    enum Badge { NoBadge, Updates, Errors, Maintenance };
    /// What is wrong with a new name of a group; empty when nothing is.
    using NameProblem = std::function<QString(const QString& name, const VLServiceGroupPtr& group)>;

    explicit ClientRowDelegate(NameProblem nameProblem, QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

    /// Where a badge is in a row at `row`; empty when the row has none.
    [[nodiscard]] static QRect badgeRect(const QRect& row, const QModelIndex& index, Badge badge);
    [[nodiscard]] static Badge badgeAt(const QRect& row, const QModelIndex& index, const QPoint& position);
    /// "updates", "errors", "maintenance".
    [[nodiscard]] static QString badgeName(Badge badge);
    [[nodiscard]] static QString badgeToolTip(const QModelIndex& index, Badge badge);
    /// Where a click opens or closes a group.
    [[nodiscard]] static QRect triangleArea(const QRect& row);

    [[nodiscard]] QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                        const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

protected:
    /// Return leaves the editor open while the name is not possible.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    NameProblem m_nameProblem;
};
