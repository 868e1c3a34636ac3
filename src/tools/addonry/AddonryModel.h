#pragma once

#include "tools/addonry/VLPluginItem.h"

#include <QAbstractItemModel>

#include <functional>
#include <vector>

/// The merged plug-ins as an outline: one row per plug-in, below it one per client that has it and one per
/// client that lacks it. Filters and sorts by itself: a proxy would compare a hundred thousand rows one pair
/// of indexes at a time. Main thread.
class AddonryModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Column { Name, Version, Type, Enabled, Access, Computers, Status, ColumnCount };
    enum Role {
        KeyRole = Qt::UserRole,  ///< names a row among its siblings, also after a refresh
    };
    /// Names of the columns in the stored sort settings, in their order.
    [[nodiscard]] static QStringList columnNames();

    /// `friendlyName` turns a host name into the name shown for its client.
    explicit AddonryModel(std::function<QString(const QString& hostName)> friendlyName,
                          QObject* parent = nullptr);

    /// Replaces the rows; filter and sorting stay as they are.
    void setRows(QList<VLPluginItem> rows);
    [[nodiscard]] const QList<VLPluginItem>& rows() const { return m_rows; }
    /// Whether the clients disagree about this plug-in, or some lack it.
    [[nodiscard]] static bool differs(const VLPluginItem& plugin) {
        return plugin.state() != VLPluginItem::Alike;
    }

    /// Shows the plug-ins whose name, type or version contains the text, or only those that differ.
    void setFilter(const QString& text, bool differencesOnly);
    /// By name where plug-ins are alike in the column. The clients of a plug-in keep their order.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& child) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] bool hasChildren(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    [[nodiscard]] QVariant pluginData(const VLPluginItem& plugin, int column, int role) const;
    [[nodiscard]] QVariant statusData(const VLPluginItem& plugin, int role) const;
    [[nodiscard]] QVariant childData(const QVariantMap& child, bool missing, int column, int role) const;
    [[nodiscard]] QVariantMap child(const QModelIndex& index, bool* missing = nullptr) const;
    [[nodiscard]] QString friendlyHost(const QVariantMap& child) const;
    [[nodiscard]] QString statusText(const VLPluginItem& plugin) const;
    [[nodiscard]] QString statusToolTip(const VLPluginItem& plugin) const;

    [[nodiscard]] bool isShown(const VLPluginItem& plugin) const;
    void arrange();
    void sortShown();
    template <typename KeyOf>
    void sortShownBy(KeyOf keyOf);

    std::function<QString(const QString&)> m_friendlyName;
    QList<VLPluginItem> m_rows;
    std::vector<QString> m_foldedNames;  ///< by row
    std::vector<int> m_shown;            ///< the rows that pass the filter, in order
    std::vector<int> m_position;         ///< by row: its place in m_shown, or -1
    QString m_filterText;
    bool m_differencesOnly = false;
    int m_sortColumn = Name;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};
