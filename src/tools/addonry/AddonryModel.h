#pragma once

#include "tools/addonry/VLPluginItem.h"

#include <QAbstractItemModel>
#include <QSortFilterProxyModel>

#include <functional>

/// The merged plug-ins as an outline: one row per plug-in, below it one per client that has it and one per
/// client that lacks it. Main thread.
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

    void setRows(QList<VLPluginItem> rows);
    [[nodiscard]] const QList<VLPluginItem>& rows() const { return m_rows; }
    [[nodiscard]] const VLPluginItem& plugin(int row) const { return m_rows.at(row); }
    /// Whether the clients disagree about this plug-in, or some lack it.
    [[nodiscard]] static bool differs(const VLPluginItem& plugin) {
        return plugin.state() != VLPluginItem::Alike;
    }
    /// Orders two rows below the same parent by a column; by name where they are alike in it.
    [[nodiscard]] bool isLess(const QModelIndex& left, const QModelIndex& right) const;

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

    std::function<QString(const QString&)> m_friendlyName;
    QList<VLPluginItem> m_rows;
};

/// Plug-ins whose name, type or version contains the text, or only those that differ; sorted by any column.
class AddonryFilterModel : public QSortFilterProxyModel {
    Q_OBJECT
public:
    explicit AddonryFilterModel(AddonryModel* model, QObject* parent = nullptr);
    void setFilterText(const QString& text);
    void setDifferencesOnly(bool only);

protected:
    [[nodiscard]] bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
    [[nodiscard]] bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    AddonryModel* m_model;
    QString m_text;
    bool m_differencesOnly = false;
};
