#pragma once

#include "runs/ActivityExport.h"
#include "runs/ActivityStore.h"
#include "tools/Tool.h"

#include <QTimer>
#include <QWidget>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class ActivityDetailsModel;
class ActivityFilterBar;
class ActivityModel;
class ElidedLabel;
class EmptyState;
class QAbstractItemModel;
class QAction;
class QLabel;
class QPushButton;
class QSplitter;
class QStackedWidget;
class QTreeView;

/// What can be done about a run that is over. Empty functions mean that nothing can.
struct ActivityActions {
    std::function<bool(const RunRecord&)> canRetry, canUndo;
    std::function<void(const RunRecord&)> retry, undo;
};

/// Everything the console has done, newest first, and below it what became of the chosen run on each
/// computer. Follows the file while it is shown.
class ActivityWindow : public QWidget {
    Q_OBJECT
public:
    /// `store` outlives the window; `tools` give the titles.
    ActivityWindow(ActivityStore& store, const QList<::Tool>& tools, ActivityActions actions,
                   QWidget* parent = nullptr);
    ~ActivityWindow() override;

    /// Chooses that run, whatever the filter was. One that has only just ended is waited for; the status says
    /// so when it does not come.
    void showRun(const QString& runId);
    /// Asks `actions` anew: something else can be done now.
    void updateActions();
    /// What the list shows, into a file, on a worker; the window says how that went.
    void exportTo(const QString& path, ActivityExport::Format format);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void buildList();
    QWidget* buildDetails();
    QWidget* buildWarning();
    QWidget* buildButtons();
    void connectParts();
    void readFacets();
    void rowsLoaded();
    void updateStatus();
    void updateWarning();
    void findWantedRun();
    void wantedRunFound(qint64 key);
    void wantedRunMissing();
    void currentChanged();
    void readRecord();
    void readRecordIfTakenBack();
    /// Nothing of a row that is not loaded.
    [[nodiscard]] std::optional<bool> isTakenBack(qint64 key) const;
    void showRecord(const RunRecord* record);
    [[nodiscard]] qint64 currentKey() const;  ///< 0 for none
    [[nodiscard]] qsizetype selectedCount() const;
    void select(qint64 key);
    void say(const QString& text);
    void copy();
    [[nodiscard]] ActivityKeys keysToCopy() const;
    void copyRuns();
    void chooseExport(ActivityExport::Format format);
    void exportEnded(const ActivityExport::Result& result, const QString& path);
    void act(const std::function<void(const RunRecord&)>& action);

    ActivityStore& m_store;
    const ActivityActions m_actions;
    ActivityModel* m_model;
    ActivityDetailsModel* m_detailsModel;
    ActivityFilterBar* m_filters;
    QTreeView* m_list;
    QTreeView* m_details;
    QStackedWidget* m_stack;
    EmptyState* m_empty;
    ElidedLabel* m_title;
    ElidedLabel* m_subtitle;
    QLabel* m_warningSymbol;
    ElidedLabel* m_warning;
    ElidedLabel* m_status;
    QPushButton *m_copy, *m_export, *m_stopExport, *m_retry, *m_undo;
    QTimer m_facetsTimer, m_wantedTimer;
    std::optional<RunRecord> m_record;  ///< the one whose computers are shown
    qint64 m_recordKey = 0;
    qint64 m_chosenKey = 0;  ///< the row where the user is; m_recordKey comes after it
    QString m_wantedRun;     ///< its id, while it is looked for on the disk
    qint64 m_wantedKey = 0;  ///< a run that is to be chosen as soon as it is listed
    bool m_isReadingRecord = false;
    bool m_isShownTakenBack = false;
    std::shared_ptr<std::atomic<bool>> m_exportStops;  ///< null while none is under way
    QString m_news;  ///< what the status says instead of the number of runs, until another one is chosen
};
