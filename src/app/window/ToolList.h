#pragma once

#include "tools/Tool.h"

#include <QAbstractListModel>
#include <QListView>
#include <QStyledItemDelegate>

/// The tools in the order of the registry.
class ToolListModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role { IdentifierRole = Qt::UserRole, IconPathRole, IsBuiltRole };
    explicit ToolListModel(QList<Tool> tools, QObject* parent = nullptr);

    [[nodiscard]] const Tool& tool(int row) const { return m_tools.at(row); }
    /// -1 when there is none of that identifier.
    [[nodiscard]] int rowOf(const QString& identifier) const;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

private:
    QList<Tool> m_tools;
};

/// Paints a tool: its coloured icon and its title.
class ToolRowDelegate : public QStyledItemDelegate {
    Q_OBJECT
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

/// The list of tools, under its heading. Exactly one is always selected.
class ToolList : public QWidget {
    Q_OBJECT
public:
    explicit ToolList(QList<Tool> tools, QWidget* parent = nullptr);

    void select(const QString& identifier);
    [[nodiscard]] QString selectedIdentifier() const;
    [[nodiscard]] QListView* view() const { return m_view; }
    [[nodiscard]] ToolListModel* model() const { return m_model; }

Q_SIGNALS:
    void toolSelected(const QString& identifier);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    ToolListModel* m_model;
    QListView* m_view;
};
