#pragma once

#include "clients/ServiceList.h"
#include "clients/view/ClientState.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QImage>
#include <QSortFilterProxyModel>
#include <QTimer>

#include <functional>
#include <vector>

/// The client list as an outline: groups at the top (for now one, "All Computers"), their machines below.
///
/// Rows hold what is shown, read once per change, so that painting never waits for a lock; changes that come
/// in quick succession are gathered. Main thread.
class ClientOutlineModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Role {
        ServiceRole = Qt::UserRole,  ///< VLServicePtr; null for a group
        IsGroupRole,
        CountRole,      ///< machines of a group
        StateKindRole,  ///< ClientState::Kind
        StateTextRole,
        SpinningRole,
        MaintenanceRole,
        ErrorCountRole,
        UpdateCountRole,
        PictureRole,  ///< QImage
        SearchTextRole,
    };

    /// `services` outlives the model.
    explicit ClientOutlineModel(ServiceList& services, QObject* parent = nullptr);

    /// Errors in the queue by host name, for the error badge.
    void setErrorCounts(const QHash<QString, int>& counts);
    /// Where to ask for the software updates that wait for a host, for the update badge; refresh() asks anew.
    void setUpdateCount(std::function<qlonglong(const QString& hostName)> updateCount);

    [[nodiscard]] QModelIndex allComputersIndex() const { return index(0, 0); }
    [[nodiscard]] QModelIndex indexOf(const VLServicePtr& service) const;
    [[nodiscard]] VLServicePtr serviceAt(const QModelIndex& index) const;

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& child) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    /// Brings the rows up to date with the list at once.
    void refresh();

private:
    struct Row {
        VLServicePtr service;
        QString name, hostName, address;
        ClientState state;
        bool spinning = false, maintenance = false;
        int errors = 0;
        qlonglong updates = 0;
        QImage picture;
        [[nodiscard]] bool looksLike(const Row& other) const;
    };
    [[nodiscard]] Row makeRow(const VLServicePtr& service) const;
    [[nodiscard]] QVariant groupData(int role) const;
    [[nodiscard]] QString toolTip(const Row& row) const;
    void syncRows();
    void follow();
    void syncOrder(const QList<VLServicePtr>& services);
    void reindex();

    ServiceList& m_services;
    std::vector<Row> m_rows;
    QHash<const VLService*, int> m_rowOf;
    QHash<QString, int> m_errorCounts;
    std::function<qlonglong(const QString& hostName)> m_updateCount;
    QTimer m_refreshTimer;
};

/// Machines whose name, host name or address contains the text; groups always stay.
class ClientFilterModel : public QSortFilterProxyModel {
    Q_OBJECT
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;
    void setFilterText(const QString& text);
    [[nodiscard]] const QString& filterText() const { return m_text; }

protected:
    [[nodiscard]] bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

private:
    QString m_text;
};
