#pragma once

#include "widgets/CellDelegate.h"

#include <QAbstractItemModel>
#include <QVersionNumber>

#include <functional>
#include <tuple>
#include <vector>

/// Things that several clients have, merged: one row per thing, below it one per client that has it and one
/// per client that lacks it. Filters and sorts by itself: a proxy would compare a hundred thousand rows one
/// pair of indexes at a time. Main thread.
///
/// A subclass keeps the rows and says what they show; rows are counted as it has them, before filtering and
/// sorting. The first column is the name, the last one the status. What a client has: see ClientCopies.
class MergedOutlineModel : public QAbstractItemModel {
    Q_OBJECT
public:
    enum Role {
        KeyRole = Qt::UserRole,  ///< names a row among its siblings, also after a refresh
    };
    struct Column {
        const char* name;       ///< in the stored sort settings
        const char* title;      ///< in the header
        bool hasValue = false;  ///< one that a client without the thing cannot have
    };
    /// What an index stands for.
    struct Place {
        int row = -1;    ///< among the rows as the subclass has them
        int child = -1;  ///< among the row's clients; -1: the row itself
        bool isMissing = false;
        friend bool operator==(const Place&, const Place&) = default;
    };
    /// What a row is sorted by in one column: usually one of the three.
    struct SortKey {
        QString text = {};
        double number = 0;
        QVersionNumber version = {};
        friend bool operator<(const SortKey& a, const SortKey& b) {
            return std::tie(a.version, a.number, a.text) < std::tie(b.version, b.number, b.text);
        }
    };

    /// `friendlyName` turns a host name into the name shown for its client.
    MergedOutlineModel(std::vector<Column> columns,
                       std::function<QString(const QString& hostName)> friendlyName, QObject* parent);

    [[nodiscard]] QStringList columnNames() const;
    [[nodiscard]] virtual int rowTotal() const = 0;
    [[nodiscard]] virtual QString rowKey(int row) const = 0;  ///< what KeyRole says of it
    /// How many rows the clients disagree about or some lack.
    [[nodiscard]] int differingTotal() const { return m_differing; }
    /// What the client in that place has, or the placeholder of one that lacks it.
    [[nodiscard]] QVariantMap client(const Place& place) const;
    [[nodiscard]] Place place(const QModelIndex& index) const;
    /// Where a row is shown; invalid while the filter hides it.
    [[nodiscard]] QModelIndex indexOf(int row) const;

    /// Shows the rows that match the text, or of them only those that differ.
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
    [[nodiscard]] virtual const QVariantList& presentOn(int row) const = 0;
    [[nodiscard]] virtual const QVariantList& missingOn(int row) const = 0;
    [[nodiscard]] virtual bool differs(int row) const = 0;
    /// Tells apart what one client has more than once of the same row.
    [[nodiscard]] virtual QString copyKey(const QVariantMap& client) const = 0;
    [[nodiscard]] virtual QVariant rowData(int row, int column, int role) const = 0;
    /// KeyRole and the first column (the client's name) are answered already.
    [[nodiscard]] virtual QVariant clientData(const QVariantMap& client, bool isMissing, int column,
                                              int role) const = 0;
    [[nodiscard]] virtual bool matches(int row, const QString& text) const = 0;
    [[nodiscard]] virtual SortKey sortKey(int row, int column) const = 0;
    [[nodiscard]] virtual bool isCheckable(int column) const = 0;
    /// For the status column: in a few words, and every difference in lines of its own (none: all alike).
    [[nodiscard]] virtual QString statusText(int row) const = 0;
    [[nodiscard]] virtual QStringList differences(int row) const = 0;

    /// Replaces the rows; filter and sorting stay as they are.
    void replaceRows(const std::function<void()>& replace);

    // For the cells of a subclass.
    [[nodiscard]] QVariant statusData(int row, int role) const;
    /// The status cell of a client's own row: where what it has lies.
    [[nodiscard]] static QVariant placeData(const QString& place, int role);
    /// The cells of a client that lacks it: `text` in the status column, a dash in those with values.
    [[nodiscard]] QVariant missingData(int column, int role, const QString& text) const;
    /// How many clients have it, be it more than once. The copies of a client follow one another.
    [[nodiscard]] int computersWith(int row) const;
    /// "2 of 3": how many of the clients have it.
    [[nodiscard]] QVariant countData(int row, int role) const;
    /// "Missing on Edit Bay" or "Missing on 2: Edit Bay, Sound"; of many the first ones.
    [[nodiscard]] QString missingText(int row) const;
    /// A title and what each client has, a line each.
    [[nodiscard]] QStringList listOfClients(int row, const QString& title,
                                            const std::function<QString(const QVariantMap&)>& value) const;

private:
    [[nodiscard]] int clientCount(int row) const;
    [[nodiscard]] QString friendlyHost(const QVariantMap& client) const;
    [[nodiscard]] QString clientKey(const Place& place, const QVariantMap& client) const;
    [[nodiscard]] bool isShown(int row) const;
    [[nodiscard]] QVariant clientName(const QVariantMap& client, bool isMissing, int role) const;
    void arrange();
    void sortShown();

    const std::vector<Column> m_columns;
    std::function<QString(const QString&)> m_friendlyName;
    std::vector<SortKey> m_firstKeys;  ///< by row: of the first column
    std::vector<int> m_shown;          ///< the rows that pass the filter, in order
    std::vector<int> m_position;       ///< by row: its place in m_shown, or -1
    QString m_filterText;
    bool m_differencesOnly = false;
    int m_differing = 0;
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
};
