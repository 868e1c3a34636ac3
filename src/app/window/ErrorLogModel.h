#pragma once

#include "remote/ErrorQueue.h"

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>

#include <functional>

/// The records of the error queue as a table.
class ErrorLogModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { Date, Computer, Tool, Action, Description, ColumnCount };
    enum Role { SortRole = Qt::UserRole, HostNameRole };
    /// Names of the columns in the stored sort settings, in their order.
    [[nodiscard]] static QStringList columnNames();

    /// They turn host names and identifiers of tools into what is shown.
    ErrorLogModel(std::function<QString(const QString& hostName)> friendlyName,
                  std::function<QString(const QString& identifier)> toolTitle, QObject* parent = nullptr);

    /// `queue` is newest first. Records that are still there keep their rows.
    void setQueue(const ErrorQueue::Records& queue);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    void removeAllBut(const ErrorQueue::Records& queue);

    std::function<QString(const QString&)> m_friendlyName, m_toolTitle;
    ErrorQueue::Records m_records;
};
