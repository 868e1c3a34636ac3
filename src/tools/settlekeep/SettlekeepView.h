#pragma once

#include "tools/settlekeep/SettlekeepController.h"

#include <QList>
#include <QWidget>

class BackupSheet;
class PaneBar;
class PreferenceModel;
class QAction;
class QTreeView;

/// Above the preferences to act on, with what can be done to them; below the backups.
class SettlekeepView : public QWidget {
    Q_OBJECT
public:
    SettlekeepView(SettlekeepController& controller, QWidget* parent);

private:
    [[nodiscard]] QWidget* makePreferences();
    [[nodiscard]] QWidget* makeBackups();
    void addAction(const char* name, const char* symbol, const QString& text, const QString& toolTip,
                   void (SettlekeepController::*action)());
    void updateActions();
    void showLocks();
    void tickAll(int selected);
    void showPreferenceMenu(const QPoint& position);

    SettlekeepController& m_controller;
    PreferenceModel* m_preferences;
    QTreeView* m_preferenceView;
    PaneBar* m_bar;
    BackupSheet* m_sheet = nullptr;
    QList<QAction*> m_actions;  ///< what is done on the selected clients with what is ticked
};
