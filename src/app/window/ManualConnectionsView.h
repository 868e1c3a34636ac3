#pragma once

#include "clients/ManualConnections.h"

#include <QWidget>

class ClientCommands;
class ServiceList;
class QPushButton;
class QStandardItemModel;
class QStackedWidget;
class QTreeView;

/// The stored manual connections: what they are, whether they stand, and ways to change and to remove
/// them.
class ManualConnectionsView : public QWidget {
    Q_OBJECT
public:
    /// Both outlive the view.
    ManualConnectionsView(ServiceList& services, ClientCommands& commands, QWidget* parent);

Q_SIGNALS:
    void addRequested();
    void editRequested(const ManualConnections::Entry& entry);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void buildTable();
    void reload();
    void removeSelected();
    void editSelected();
    void showMenu(const QPoint& position);
    void updateButtons();
    [[nodiscard]] QString stateOf(const ManualConnections::Entry& entry) const;

    ServiceList& m_services;
    ClientCommands& m_commands;
    QStandardItemModel* m_model;
    QTreeView* m_table;
    QStackedWidget* m_stack;
    QPushButton *m_remove, *m_edit;
    QList<ManualConnections::Entry> m_entries;  ///< the rows of the table
    bool m_reloadPending = false;
};
