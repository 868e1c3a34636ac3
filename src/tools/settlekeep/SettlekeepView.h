#pragma once

#include "tools/settlekeep/SettlekeepController.h"

#include <QList>
#include <QWidget>

class BackupModel;
class BackupSheet;
class ElidedLabel;
class EmptyState;
class PreferenceModel;
class QAction;
class QHBoxLayout;
class QStackedWidget;
class QTreeView;
class SearchField;

/// Above the preferences to act on, with what can be done to them; below the backups, with Restore.
class SettlekeepView : public QWidget {
    Q_OBJECT
public:
    SettlekeepView(SettlekeepController& controller, QWidget* parent);

private:
    QWidget* buildPreferences();
    QWidget* buildBackups();
    QTreeView* makeView(const char* name, const QString& title);
    QAction* addAction(const char* name, const char* symbol, const QString& text, const QString& toolTip,
                       void (SettlekeepController::*action)());
    void addButton(QHBoxLayout* bar, QAction* action);
    void reloadPreferences();
    void reloadBackups(const std::function<void()>& change);
    void updateState();
    [[nodiscard]] QVariantMap selectedBackup() const;
    void tickAll(int selected);
    void showPreferenceMenu(const QPoint& position);
    void showBackupMenu(const QPoint& position);

    SettlekeepController& m_controller;
    PreferenceModel* m_preferences;
    BackupModel* m_backups;
    QTreeView* m_preferenceView;
    QTreeView* m_backupView;
    ElidedLabel* m_summary;
    SearchField* m_search;
    QStackedWidget* m_stack;
    EmptyState* m_empty;
    BackupSheet* m_sheet = nullptr;
    QList<QAction*> m_actions;  ///< what is done on the selected clients with what is ticked
    QAction* m_restore = nullptr;
};
