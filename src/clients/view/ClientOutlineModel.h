#pragma once

#include "clients/ClientState.h"
#include "clients/ServiceList.h"

#include <QAbstractItemModel>
#include <QHash>
#include <QImage>
#include <QTimer>

#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

/// The client list as an outline: "All Computers" and the groups at the top, their machines below. A machine
/// of a group has two rows. Sorts and filters by itself: groups always stay, machines whose name, host name,
/// address or model doesn't contain the filter's text are left out.
///
/// Rows hold what is shown, read once per change, so that painting never waits for a lock; changes that come
/// in quick succession are gathered. However many rows change at once, few signals say so. Main thread.
class ClientOutlineModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Role {
        ServiceRole = Qt::UserRole,  ///< VLServicePtr; null for a group
        IsGroupRole,
        GroupRole,      ///< VLServiceGroupPtr; null for a machine and for "All Computers"
        CountRole,      ///< machines of a group, filtered out or not
        StateKindRole,  ///< ClientState::Kind
        StateTextRole,
        SpinningRole,
        MaintenanceRole,
        ErrorCountRole,
        UpdateCountRole,
        PictureRole,  ///< QImage
    };
    enum SortColumn { ByName, ByState, ByAddress };
    /// Names of the sort columns in the stored sort settings, in their order.
    [[nodiscard]] static QStringList sortColumnNames();

    /// `services` outlives the model.
    explicit ClientOutlineModel(ServiceList& services, QObject* parent = nullptr);
    ~ClientOutlineModel() override;

    /// Errors in the queue by host name, for the error badge.
    void setErrorCounts(const QHash<QString, int>& counts);
    /// Where to ask for the software updates that wait for a host, for the update badge; refresh() asks anew.
    void setUpdateCount(std::function<qlonglong(const QString& hostName)> updateCount);
    void setSorting(SortColumn column, Qt::SortOrder order);
    [[nodiscard]] SortColumn sortColumn() const { return m_sortColumn; }
    [[nodiscard]] Qt::SortOrder sortOrder() const { return m_sortOrder; }
    void setFilterText(const QString& text);
    [[nodiscard]] const QString& filterText() const { return m_filterText; }
    /// Of the whole list, filtered out or not.
    [[nodiscard]] int machineCount() const { return int(m_rows.size()); }
    [[nodiscard]] int spinningCount() const { return m_spinningCount; }

    [[nodiscard]] QModelIndex allComputersIndex() const { return index(0, 0); }
    /// The machine's row below "All Computers"; invalid when it is filtered out.
    [[nodiscard]] QModelIndex indexOf(const VLServicePtr& service) const;
    [[nodiscard]] QModelIndex indexInGroup(const VLServicePtr& service) const;
    [[nodiscard]] QModelIndex indexOf(const VLServiceGroupPtr& group) const;
    [[nodiscard]] VLServicePtr serviceAt(const QModelIndex& index) const;
    [[nodiscard]] VLServiceGroupPtr groupAt(const QModelIndex& index) const;
    /// The group row that something dropped at `index` goes to; invalid when nothing can be dropped there.
    [[nodiscard]] QModelIndex dropTarget(const QModelIndex& index) const;

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& child) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    /// Renames a group; false, and nothing happens, when the name is not possible.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

    [[nodiscard]] QStringList mimeTypes() const override;
    [[nodiscard]] QMimeData* mimeData(const QModelIndexList& indexes) const override;
    [[nodiscard]] Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    [[nodiscard]] bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                       const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

    /// Brings the rows up to date with the list at once.
    void refresh();
    /// The same a moment later, together with what else changes until then.
    void refreshSoon();

private:
    struct Row;
    struct Section;
    using Rows = std::vector<Row*>;

    // What the rows show.
    [[nodiscard]] Row makeRow(const VLServicePtr& service) const;
    bool readRow(Row& row);
    [[nodiscard]] QVariant sectionData(const Section& section, int role) const;
    [[nodiscard]] QString sectionToolTip(const Section& section) const;
    [[nodiscard]] static QStringList badgeTexts(const Row& row);
    [[nodiscard]] static QString toolTip(const Row& row);
    void emitChangedRows();

    // Which rows there are (ClientOutlineSync.cpp).
    void followSoon();
    void follow();
    [[nodiscard]] Rows rowsOfList();
    void sortRows(Rows& rows) const;
    void syncSections();
    void removeRows(Section& section);
    void arrange(Section& section, const Rows& wanted);
    void insertRun(Section& section, size_t place, Rows::const_iterator begin, Rows::const_iterator end);
    void removeRun(Section& section, size_t begin, size_t end);
    void reorder(Section& section, Rows order);
    static void renumber(Section& section);
    void updateSectionCounts();
    void forgetRows();
    [[nodiscard]] bool belongs(const Row& row, const Section& section) const;
    [[nodiscard]] QModelIndex indexOf(const Section& section) const;
    [[nodiscard]] Section* sectionAt(const QModelIndex& index) const;
    [[nodiscard]] const Row* rowAt(const QModelIndex& index) const;

    ServiceList& m_services;
    std::unordered_map<const VLService*, std::unique_ptr<Row>> m_rows;
    std::vector<std::unique_ptr<Section>> m_sections;  ///< the first is "All Computers"
    QHash<quintptr, Section*> m_sectionOfId;
    quintptr m_lastId = 0;
    quint64 m_generation = 0;  ///< of the list: tells which rows are still in it
    int m_spinningCount = 0;
    SortColumn m_sortColumn = ByName;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
    QString m_filterText;
    QHash<QString, int> m_errorCounts;
    std::function<qlonglong(const QString& hostName)> m_updateCount;
    QTimer m_refreshTimer;
};
