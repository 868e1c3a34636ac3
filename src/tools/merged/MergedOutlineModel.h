#pragma once

#include "tools/merged/MergedRow.h"
#include "tools/merged/RowOrder.h"
#include "widgets/CellDelegate.h"

#include <QAbstractItemModel>

#include <functional>
#include <vector>

/// Things that several clients have, merged: one row per thing, below it one per client that has it and one
/// per client that lacks it. Filters and sorts by itself: a proxy would compare a hundred thousand rows one
/// pair of indexes at a time. Main thread.
///
/// A subclass keeps the rows and says what they show (see MergedRowsModel); rows are counted as it has them,
/// before filtering and sorting. The first column is the name; the last two say how many clients have it, and
/// what differs.
class MergedOutlineModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Role {
        KeyRole = Qt::UserRole,  ///< names a row among its siblings, also after a refresh
    };
    /// What an index stands for.
    struct Place {
        int row = -1;    ///< among the rows as the subclass has them
        int child = -1;  ///< among the row's clients; -1: the row itself
        bool isMissing = false;
        friend bool operator==(const Place&, const Place&) = default;
    };
    using FriendlyName = std::function<QString(const QString& hostName)>;

    [[nodiscard]] int rowTotal() const { return int(m_ranks.size()); }
    [[nodiscard]] virtual const MergedRow& row(int row) const = 0;
    [[nodiscard]] virtual QString rowKey(int row) const = 0;  ///< what KeyRole says of it
    /// Names of the columns in the stored sort settings.
    [[nodiscard]] virtual const QStringList& columnNames() const = 0;
    /// What names the row or the client's copy in that place; nobody, for a copy that has no host.
    [[nodiscard]] RowTarget target(const Place& place) const;
    /// How many rows the clients that answered disagree about, or some of them lack.
    [[nodiscard]] int differingTotal() const { return m_differing; }
    /// Of these the ones that the filter hides.
    [[nodiscard]] int differingHidden() const;
    /// How many rows some client has more than once, where that is not as it should be; and how many of these
    /// differ as well.
    [[nodiscard]] int duplicatedTotal() const { return m_duplicated; }
    [[nodiscard]] int duplicatedDiffering() const { return m_duplicatedDiffering; }
    /// What the client in that place has; null for one that lacks it.
    [[nodiscard]] const ClientCopy* copy(const Place& place) const;
    [[nodiscard]] Place place(const QModelIndex& index) const;
    /// Where a row is shown; invalid while the filter hides it.
    [[nodiscard]] QModelIndex indexOf(int row) const;

    /// Shows the rows that match the text, or of them only those that differ or are duplicated.
    void setFilter(const QString& text, bool differencesOnly);
    /// By the first column where rows are alike. The clients of a row keep their order.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& child) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] bool hasChildren(const QModelIndex& parent = {}) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    /// Takes the click on a check box and says so; the rows change when their owner changes them.
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

Q_SIGNALS:
    void checked(const MergedOutlineModel::Place& place, int column, bool on);

protected:
    /// What the columns before "Computers" and "Status" are called, to be translated in this class's context;
    /// `hasValue`: those that a client without the thing cannot have.
    struct Heading {
        const char* title;
        bool hasValue = false;
    };
    /// `absentText`: the status of a client without the thing. `friendlyName` turns a host name into the name
    /// shown for its client.
    MergedOutlineModel(std::vector<Heading> headings, const char* absentText, FriendlyName friendlyName);

    /// Tells apart what one client has more than once of the same row.
    [[nodiscard]] virtual const QString& copyKey() const = 0;
    [[nodiscard]] virtual QVariant rowData(int row, int column, int role) const = 0;
    /// KeyRole, the name and the status are answered already.
    [[nodiscard]] virtual QVariant copyData(const ClientCopy& copy, int column, int role) const = 0;
    [[nodiscard]] virtual bool matches(int row, const QString& text) const = 0;
    [[nodiscard]] virtual SortKey sortKey(int row, int column) const = 0;
    [[nodiscard]] virtual bool isCheckable(int column) const = 0;
    /// In a few words; and what of it each client has, in lines (none: all alike, or only missing).
    [[nodiscard]] virtual QString differenceText(int row) const = 0;
    [[nodiscard]] virtual QStringList differences(int row) const = 0;
    /// Whether a client is to have each thing once only.
    [[nodiscard]] virtual bool isOncePerClient() const { return false; }

    /// Replaces the rows; filter and sorting stay as they are.
    void replaceRows(const std::function<int()>& replace);
    /// A title and what each client has, a line each.
    [[nodiscard]] QStringList listOfClients(int row, const QString& title,
                                            const std::function<QString(const ClientCopy&)>& value) const;

private:
    [[nodiscard]] bool differs(int row) const { return this->row(row).difference() != MergedRow::Alike; }
    [[nodiscard]] bool isDuplicated(int row) const {
        return isOncePerClient() && this->row(row).isAnywhereSeveralTimes();
    }
    /// Whether its client has further copies.
    [[nodiscard]] bool isOneOfSeveral(const Place& place) const;
    [[nodiscard]] const QString& hostName(const Place& place) const;
    [[nodiscard]] QString friendlyHost(const QString& hostName) const;
    [[nodiscard]] QString clientKey(const Place& place) const;
    [[nodiscard]] bool isShown(int row) const;
    [[nodiscard]] QVariant clientName(const Place& place, int role) const;
    [[nodiscard]] QVariant absentData(const Place& place, int column, int role) const;
    [[nodiscard]] QVariant placeData(const QString& place, int role) const;
    [[nodiscard]] QVariant countData(int row, int role) const;
    [[nodiscard]] QVariant statusData(int row, int role) const;
    [[nodiscard]] QString statusText(int row) const;
    [[nodiscard]] QString duplicateText(int row) const;
    [[nodiscard]] static QString onComputers(const QString& onOne, const QString& onSeveral,
                                             QStringList names, qsizetype count);
    [[nodiscard]] QString statusToolTip(int row) const;
    void arrange();
    void sortShown();

    const std::vector<Heading> m_headings;
    const char* const m_absentText;
    const FriendlyName m_friendlyName;
    std::vector<int> m_ranks;     ///< by row: its place in the order of the first column
    std::vector<int> m_shown;     ///< the rows that pass the filter, in order
    std::vector<int> m_position;  ///< by row: its place in m_shown, or -1
    QString m_filterText;
    bool m_differencesOnly = false;
    int m_differing = 0, m_duplicated = 0, m_duplicatedDiffering = 0;
    int m_sortColumn = 0;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};

/// A cell that is a mark with a word: a symbol or a check box, and how strong both look.
struct CellMark {
    QString text;
    QString symbol = {};
    Cell::Tone tone = Cell::Tone::Plain;
    Cell::Tone symbolTone = Cell::Tone::Secondary;
    QVariant check = {};  ///< Qt::CheckState: a check box instead of a symbol

    /// Shown where there is no value.
    static inline const QString nothing = QStringLiteral("–");

    /// On, off, or mixed (below 0), with the word for each.
    [[nodiscard]] static CellMark checkBox(int state, const QString& on, const QString& off);
    [[nodiscard]] QVariant data(int role) const;
    /// A text as a cell, a dash for an empty one.
    [[nodiscard]] static QVariant valueOf(const QString& text, bool differs, int role);
};
