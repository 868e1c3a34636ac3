#pragma once

#include <QTimer>
#include <QWidget>

class ErrorLog;
class ServiceList;
class EmptyState;
class ErrorLogModel;
class QPushButton;
class QSortFilterProxyModel;
class QStackedWidget;
class QTreeView;

/// The errors of all clients, newest first unless sorted otherwise: copy them, send them, clear them. Follows
/// the queue while it is shown, a few times a second at most.
class ErrorLogWindow : public QWidget {
    Q_OBJECT
public:
    /// Both outlive the window.
    ErrorLogWindow(ErrorLog& log, ServiceList& services, QWidget* parent = nullptr);
    /// Selects the errors of one client and brings the first of them into view.
    void selectErrorsOf(const QString& hostName);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void buildTable();
    void reload();
    void reloadSoon();
    void copy();
    void showMenu(const QPoint& position);
    void showComputer(const QString& hostName);
    void upload();

    ErrorLog& m_log;
    ServiceList& m_services;
    ErrorLogModel* m_model;
    QSortFilterProxyModel* m_sorted;
    QTreeView* m_table;
    QStackedWidget* m_stack;
    EmptyState* m_empty;
    QPushButton* m_copy;
    QPushButton* m_upload;
    QPushButton* m_clear;
    QTimer m_pause;  ///< between two reloads
    bool m_hasChanged = false;
};
