#pragma once

#include "runs/RunRecord.h"

#include <QAbstractTableModel>

/// What became of one run, computer by computer.
class ActivityDetailsModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { Computer, Result, Reason, ColumnCount };
    enum Role { SortRole = Qt::UserRole, KindRole, HostNameRole };

    using QAbstractTableModel::QAbstractTableModel;
    void setRecord(const RunRecord& record);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    QList<HostOutcome> m_outcomes;
};
