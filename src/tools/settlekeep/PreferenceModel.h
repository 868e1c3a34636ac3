#pragma once

#include "tools/settlekeep/VLPrefItem.h"

#include <QAbstractItemModel>
#include <QHash>

/// The preference tree as an outline with check boxes: applications, below them their groups. Main thread.
class PreferenceModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Column { Name, Lock, Files, ColumnCount };
    using QAbstractItemModel::QAbstractItemModel;

    /// Only the ticks are drawn anew when the rows are the same as before.
    void setTree(const QList<VLPrefItem>& tree);

    /// By the key of a group: the names of the computers where a part of it is locked.
    void setLocks(const QHash<QString, QStringList>& locks);

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& child) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    /// Takes the click on a box and says so; the rows change when their owner changes them.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

Q_SIGNALS:
    /// `child` is -1 for the application itself.
    void ticked(int application, int child, int selected);

private:
    [[nodiscard]] const VLPrefItem& item(const QModelIndex& index) const;
    [[nodiscard]] QVariant lockData(const VLPrefItem& item, int role) const;
    void redraw();
    [[nodiscard]] bool hasSameRows(const QList<VLPrefItem>& tree) const;
    QList<VLPrefItem> m_tree;
    QHash<QString, QStringList> m_locks;
};
