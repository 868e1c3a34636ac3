#pragma once

#include "tools/addonry/VLPluginItem.h"
#include "tools/merged/MergedOutlineModel.h"

#include <QList>

/// The merged plug-ins as an outline.
class AddonryModel : public MergedOutlineModel {
    Q_OBJECT
public:
    enum Column { Name, Version, Type, Enabled, Access, Computers, Status, ColumnCount };

    explicit AddonryModel(std::function<QString(const QString& hostName)> friendlyName,
                          QObject* parent = nullptr);

    void setRows(QList<VLPluginItem> rows);
    [[nodiscard]] const QList<VLPluginItem>& rows() const { return m_rows; }

    [[nodiscard]] QString rowKey(int row) const override { return m_rows.at(row).name(); }
    [[nodiscard]] int rowTotal() const override { return int(m_rows.size()); }

protected:
    [[nodiscard]] bool differs(int row) const override {
        return m_rows.at(row).state() != VLPluginItem::Alike;
    }
    [[nodiscard]] const QVariantList& presentOn(int row) const override { return m_rows.at(row).children(); }
    [[nodiscard]] const QVariantList& missingOn(int row) const override {
        return m_rows.at(row).missingHosts();
    }
    [[nodiscard]] QString copyKey(const QVariantMap& client) const override;
    [[nodiscard]] QVariant rowData(int row, int column, int role) const override;
    [[nodiscard]] QVariant clientData(const QVariantMap& client, bool isMissing, int column,
                                      int role) const override;
    [[nodiscard]] bool matches(int row, const QString& text) const override;
    [[nodiscard]] SortKey sortKey(int row, int column) const override;
    [[nodiscard]] bool isCheckable(int column) const override { return column == Enabled; }
    [[nodiscard]] QString statusText(int row) const override;
    [[nodiscard]] QStringList differences(int row) const override;

private:
    QList<VLPluginItem> m_rows;
};
