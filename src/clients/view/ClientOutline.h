#pragma once

#include "clients/ServiceList.h"

#include <QTimer>
#include <QWidget>

class ClientFilterModel;
class ClientOutlineModel;
class EmptyState;
class QStackedWidget;
class QTreeView;
class SearchField;

/// The client list of the window: search field, "All Computers", the machines. Its selection and that of the
/// ServiceList follow each other; a filter hides rows without changing what is selected.
class ClientOutline : public QWidget {
    Q_OBJECT
public:
    /// `services` outlives the widget.
    explicit ClientOutline(ServiceList& services, QWidget* parent = nullptr);

    void setErrorCounts(const QHash<QString, int>& counts);
    /// The one selected machine; null when none, several, or "All Computers" is selected.
    [[nodiscard]] VLServicePtr singleSelectedService() const;
    [[nodiscard]] QTreeView* view() const { return m_view; }
    [[nodiscard]] ClientOutlineModel* model() const { return m_model; }
    [[nodiscard]] SearchField* searchField() const { return m_search; }
    void selectAllComputers();
    /// Names and addresses of the selected machines as text.
    [[nodiscard]] QString selectionAsText() const;

Q_SIGNALS:
    void contextMenuRequested(const QPoint& globalPosition);
    void addComputerRequested();
    void serviceActivated(const VLServicePtr& service);  ///< double click or Return

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void buildView();
    void pushSelection();
    void pullSelection();
    void updateEmptyState();
    void updateSpinners();
    void applyFilter(const QString& text);

    ServiceList& m_services;
    ClientOutlineModel* m_model;
    ClientFilterModel* m_filter;
    SearchField* m_search;
    QStackedWidget* m_stack;
    QTreeView* m_view;
    EmptyState* m_empty;
    QTimer m_spinnerTimer;
    int m_rowsChanging = 0;    ///< the view alters its selection by itself while rows go
    bool m_following = false;  ///< one side of the two selections is being set from the other
};
