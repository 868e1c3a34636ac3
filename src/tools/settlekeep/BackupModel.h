#pragma once

#include <QAbstractTableModel>
#include <QList>
#include <QVariantMap>

#include <functional>

/// The backups of the selected clients, one row each. Filters and sorts by itself. Main thread.
class BackupModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { Name, Computer, Type, Date, Size, Contents, ColumnCount };
    enum Role {
        KeyRole = Qt::UserRole,  ///< names a row, also after a refresh
    };
    /// `friendlyName` turns a host name into the name shown for its client.
    explicit BackupModel(std::function<QString(const QString& hostName)> friendlyName,
                         QObject* parent = nullptr);

    /// Replaces the rows; filter and sorting stay as they are.
    void setBackups(const QList<QVariantMap>& backups);
    void setFilter(const QString& text);
    [[nodiscard]] QVariantMap backup(const QModelIndex& index) const;
    [[nodiscard]] int rowTotal() const { return int(m_backups.size()); }  ///< without the filter
    [[nodiscard]] int computerCount() const;                              ///< that have any

    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    [[nodiscard]] QString text(const QVariantMap& backup, int column) const;
    void arrange();

    std::function<QString(const QString&)> m_friendlyName;
    QList<QVariantMap> m_backups;
    QList<QVariantMap> m_shown;
    QString m_filterText;
    int m_sortColumn = Name;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};
