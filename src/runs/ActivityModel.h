#pragma once

#include "runs/ActivityStore.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QTimer>

#include <functional>

/// The kept runs that pass a filter, newest first. All rows are there at once; what they show is read from
/// the file where somebody looks. Follows the file while it is active. Main thread.
class ActivityModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { Time, Tool, Action, Subject, Summary, User, ColumnCount };
    enum Role {
        KeyRole = Qt::UserRole,
        IsLoadedRole,  ///< false: what the row shows is still being read
        KindRole,      ///< Outcome::Kind as int: the worst one
        ToolRole,      ///< identifier
    };

    /// `toolTitle` makes a title of an identifier. `store` outlives the model.
    ActivityModel(ActivityStore& store, std::function<QString(const QString& tool)> toolTitle,
                  QObject* parent = nullptr);
    ~ActivityModel() override;

    /// Whether the list follows what happens; begins with a look at the file.
    void setActive(bool active);
    void setFilter(const ActivityFilter& filter);
    [[nodiscard]] const ActivityFilter& filter() const { return m_filter; }
    /// Of all rows, in their order.
    [[nodiscard]] const ActivityKeys& keys() const { return m_keys; }
    [[nodiscard]] int rowOf(qint64 key) const;  ///< -1 for none
    /// True until the rows belong to the present filter.
    [[nodiscard]] bool isLoading() const { return m_isLoading; }
    /// Why the file could not be read; empty when it could.
    [[nodiscard]] const QString& error() const { return m_error; }
    [[nodiscard]] QString toolTitle(const QString& tool) const { return m_toolTitle(tool); }
    /// Gives the cells of a run as they are shown, on any thread.
    [[nodiscard]] std::function<QStringList(const RunSummary&)> formatter() const;
    /// Null while it is still being read; one that may be out of date is read again.
    [[nodiscard]] const RunSummary* summaryAt(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    void loaded();  ///< the rows are those of the filter and the file, or error() says why not

private:
    struct Rows {
        ActivityKeys keys;
        QList<RunSummary> first;  ///< what comes into view first
        int version = 0;
    };
    struct Kept {
        RunSummary summary;
        int version = 0;
    };
    void readSoon();
    void readKeys();
    void install(ActivityAnswer<Rows> answer, bool isOtherFilter);
    void replaceKeys(ActivityKeys keys);
    void want(int row) const;
    void readWanted();
    void keep(const QList<RunSummary>& summaries, int version);
    [[nodiscard]] bool isUpToDate(qint64 key) const;

    ActivityStore& m_store;
    const std::function<QString(const QString&)> m_toolTitle;
    ActivityFilter m_filter;
    ActivityKeys m_keys;
    mutable QCache<qint64, Kept> m_summaries;
    int m_version = 0;                 ///< of the file: what was read before may have been taken back since
    mutable QList<int> m_wantedPages;  ///< the one asked for last is the last
    mutable QTimer m_wantTimer;
    QTimer m_pause;  ///< between two readings of the keys
    QString m_error;
    bool m_isActive = false, m_isLoading = true, m_hasChanged = false;
    bool m_isReadingKeys = false, m_isReadingPage = false, m_hasOtherFilter = false;
};
