#pragma once

#include "clients/ServiceList.h"
#include "clients/view/ClientRowDelegate.h"

#include <QAbstractItemModel>
#include <QSet>
#include <QTimer>
#include <QWidget>

class ClientOutlineModel;
class ClientTreeView;
class EmptyState;
class QStackedWidget;
class QTreeView;
class SearchField;

/// The client list of the window: search field, "All Computers", the groups, the machines. Its selection and
/// that of the ServiceList follow each other; a filter hides rows without changing what is selected. What is
/// collapsed and how the machines are sorted is kept in the user defaults.
class ClientOutline : public QWidget {
    Q_OBJECT
public:
    /// `services` outlives the widget.
    explicit ClientOutline(ServiceList& services, QWidget* parent = nullptr);

    void setErrorCounts(const QHash<QString, int>& counts);
    /// The machine of the one selected row; null when several rows, a group or "All Computers" is selected.
    [[nodiscard]] VLServicePtr singleSelectedService() const;
    /// The group of the one selected row; null likewise.
    [[nodiscard]] VLServiceGroupPtr singleSelectedGroup() const;
    [[nodiscard]] QTreeView* view() const;
    [[nodiscard]] ClientOutlineModel* model() const { return m_model; }
    [[nodiscard]] SearchField* searchField() const { return m_search; }
    void selectAllComputers();
    /// The group becomes the selection and its row is brought into view.
    void selectGroup(const VLServiceGroupPtr& group);
    /// Opens the editor for the group's name in its row.
    void editGroupName(const VLServiceGroupPtr& group);
    void setExpanded(const VLServiceGroupPtr& group, bool expanded);
    /// By one of ClientOutlineModel::sortColumnNames().
    void setSorting(const QString& column, Qt::SortOrder order);
    /// Names and addresses of the selected machines as text.
    [[nodiscard]] QString selectionAsText() const;

Q_SIGNALS:
    void contextMenuRequested(const QPoint& globalPosition);
    void addComputerRequested();
    void newGroupRequested();
    void serviceActivated(const VLServicePtr& service);  ///< double click or Return

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void buildSearchRow();
    void buildView();
    void watchRows();
    void watchUser();
    void pushSelection();
    void pullSelection();
    [[nodiscard]] QModelIndexList wantedRows() const;
    void updateEmptyState();
    void updateSpinners();
    void applyFilter(const QString& text);
    void applyExpansion();
    void rememberExpansion();
    void postBadgeClick(const QModelIndex& index, ClientRowDelegate::Badge badge);

    ServiceList& m_services;
    ClientOutlineModel* m_model;
    SearchField* m_search;
    QStackedWidget* m_stack;
    ClientTreeView* m_view;
    EmptyState* m_empty;
    QTimer m_spinnerTimer;
    QStringList m_collapsed;  ///< titles of the groups that the user has closed
    QSet<const VLService*> m_chosenInGroup,
        m_chosenBelowAll;      ///< by which of its rows; the user's last choice
    int m_rowsChanging = 0;    ///< the view alters its selection by itself while rows go
    bool m_following = false;  ///< one side of the two selections is being set from the other
    bool m_expanding = false;  ///< the program opens or closes groups, not the user
};
