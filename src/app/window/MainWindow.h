#pragma once

#include "app/window/ActivityWindow.h"
#include "clients/VLService.h"

#include <QHash>
#include <QMainWindow>
#include <QPointer>

class AppController;
class ClientActions;
class ClientOutline;
class ClientWindows;
class EndBadge;
class ErrorLogWindow;
class GroupActions;
class LogWindow;
class PreferencesWindow;
class QSplitter;
class QToolBar;
class StatusPanel;
class ToolList;
class ToolPanes;

/// The window of the console: clients, tools, the pane of the chosen tool, status bar, tool bar and menus.
/// Closing it quits the program.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    /// `controller` has been initialised and outlives the window.
    explicit MainWindow(AppController& controller, QWidget* parent = nullptr);
    ~MainWindow() override;

    void showTool(const QString& identifier);
    /// What the window of what was done offers for a run: what the controller can do, unless this was called
    /// before the window was first shown.
    void setActivityActions(ActivityActions actions) { m_activityActions = std::move(actions); }
    /// Null until it was shown.
    [[nodiscard]] ActivityWindow* activityWindow() const { return m_activity; }

public Q_SLOTS:
    void showAddComputer();
    void showActivity();
    /// With that run chosen.
    void showActivityOf(const QString& runId);
    void showErrorLog();
    void showErrorsOf(const VLServicePtr& service);
    void showLog();
    void showPreferences();
    void showAbout();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void buildContents();
    void buildActions();
    void buildToolBar();
    void buildMenus();
    void buildThemeMenu(QMenu* menu);
    void buildHelpMenu(QMenu* menu);
    void fillGoToMenu(QMenu* menu);
    void watchController();
    void restoreLayout();
    void restoreTool();
    void saveLayout() const;
    void updateErrors();
    void updateSoftwareUpdates(qlonglong count);
    void toolSelected(const QString& identifier);
    void copy();
    void openAddComputer(QWidget* over);
    /// Of one that was added by hand.
    void openEditComputer(const VLServicePtr& service, QWidget* over);
    void updateEditComputer();
    void showClientMenu(const QPoint& position);
    void showAdminOutdated(const QString& clientName);
    static void closeWindowsAbout(const QString& clientName);
    QAction* makeAction(const QString& text, const char* symbol, const QString& help,
                        const QKeySequence& shortcut);

    AppController& m_controller;
    ClientOutline* m_outline = nullptr;
    ToolList* m_tools = nullptr;
    ToolPanes* m_panes = nullptr;
    QSplitter* m_splitter = nullptr;
    StatusPanel* m_status = nullptr;
    ClientActions* m_clientActions = nullptr;
    GroupActions* m_groupActions = nullptr;
    ClientWindows* m_clientWindows = nullptr;
    EndBadge* m_updateBadge = nullptr;
    ActivityActions m_activityActions;
    QPointer<ActivityWindow> m_activity;
    QPointer<ErrorLogWindow> m_errorLog;
    QPointer<LogWindow> m_log;
    QPointer<PreferencesWindow> m_preferences;

    QAction* m_addComputer = nullptr;
    QAction* m_editComputer = nullptr;
    QAction* m_refresh = nullptr;
    QAction* m_softwareUpdate = nullptr;
    QAction* m_showActivity = nullptr;
    QAction* m_showLog = nullptr;
    QAction* m_showErrors = nullptr;
};
