#pragma once

#include "clients/ServiceList.h"

#include <QObject>

class ClientOutline;
class QAction;
class QMenu;
class QWidget;

/// What can be done with the groups of the client list, and how the list is sorted.
class GroupActions : public QObject {
    Q_OBJECT
public:
    /// All of them outlive this object.
    GroupActions(ServiceList& services, ClientOutline& outline, QWidget* window);

    [[nodiscard]] QAction* newGroup() const { return m_newGroup; }
    /// "Move to Group", with the groups as they are when it opens.
    void addMoveMenu(QMenu* menu);
    /// For the selected group: the context menu, and what of it the menu bar has.
    void addTo(QMenu* menu);
    void addGroupItems(QMenu* menu);
    void addSortMenu(QMenu* menu);

private:
    [[nodiscard]] QAction* makeAction(const QString& text, const char* symbol, const QString& help,
                                      void (GroupActions::*run)());
    void update();
    void askForGroup();
    void renameGroup();
    void deleteGroup();
    void toggleGroup();
    void forgetAbsent();
    void fillMoveMenu();
    void fillSortMenu(QMenu* menu);
    void askWhetherToDelete(const VLServiceGroupPtr& group);

    ServiceList& m_services;
    ClientOutline& m_outline;
    QWidget* m_window;
    QMenu* m_moveMenu;
    QAction* m_newGroup;
    QAction* m_rename;
    QAction* m_delete;
    QAction* m_toggle;
    QAction* m_forgetAbsent;
};
