#pragma once

#include "tools/cronwell/VLScheduledTask.h"
#include "tools/merged/MergedOutlineModel.h"

#include <QList>

/// The merged scheduled tasks as an outline.
class CronwellModel : public MergedOutlineModel {
    Q_OBJECT
public:
    enum Column { Task, Schedule, Tool, Enabled, RunsAs, Computers, Status, ColumnCount };

    explicit CronwellModel(std::function<QString(const QString& hostName)> friendlyName,
                           QObject* parent = nullptr);

    void setRows(QList<VLScheduledTask> rows);
    [[nodiscard]] const QList<VLScheduledTask>& rows() const { return m_rows; }

    [[nodiscard]] int rowTotal() const override { return int(m_rows.size()); }
    [[nodiscard]] bool differs(int row) const override {
        return m_rows.at(row).state() != VLScheduledTask::Alike;
    }

protected:
    [[nodiscard]] const QVariantList& presentOn(int row) const override { return m_rows.at(row).children(); }
    [[nodiscard]] const QVariantList& missingOn(int row) const override {
        return m_rows.at(row).missingHosts();
    }
    [[nodiscard]] QString rowKey(int row) const override;
    [[nodiscard]] QVariant rowData(int row, int column, int role) const override;
    [[nodiscard]] QVariant clientData(const QVariantMap& client, bool isMissing, int column,
                                      int role) const override;
    [[nodiscard]] bool matches(int row, const QString& text) const override;
    [[nodiscard]] SortKey sortKey(int row, int column) const override;
    [[nodiscard]] bool isCheckable(int column) const override { return column == Enabled; }

private:
    [[nodiscard]] QVariant statusData(int row, int role) const;
    [[nodiscard]] QString statusText(int row) const;
    [[nodiscard]] QString statusToolTip(int row) const;

    QList<VLScheduledTask> m_rows;
};
