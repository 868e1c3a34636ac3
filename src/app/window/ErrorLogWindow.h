#pragma once

#include <QWidget>

class AppController;
class EmptyState;
class ErrorLogModel;
class QPushButton;
class QSortFilterProxyModel;
class QStackedWidget;
class QTreeView;

/// The errors of all clients, newest first unless sorted otherwise: copy them, clear them.
class ErrorLogWindow : public QWidget {
    Q_OBJECT
public:
    /// `controller` outlives the window.
    explicit ErrorLogWindow(AppController& controller, QWidget* parent = nullptr);
    /// Selects the errors of one client and brings the first of them into view.
    void selectErrorsOf(const QString& hostName);

private:
    void buildTable();
    void reload();
    void copy();

    AppController& m_controller;
    ErrorLogModel* m_model;
    QSortFilterProxyModel* m_sorted;
    QTreeView* m_table;
    QStackedWidget* m_stack;
    EmptyState* m_empty;
    QPushButton* m_copy;
    QPushButton* m_clear;
};
