#pragma once

#include "clients/VLService.h"

#include <QObject>
#include <QPointer>

#include <functional>

class AppController;
class ClientOutline;
class QAction;
class QMenu;
class QWidget;

/// What can be done with the one machine that is selected in the client list.
class ClientActions : public QObject {
    Q_OBJECT
public:
    /// All of them outlive this object.
    ClientActions(AppController& controller, ClientOutline& outline, QWidget* window);

    void addTo(QMenu* menu) const;
    /// Enables what is possible at this moment.
    void update();
    /// `over`: the window that the sheet belongs to; the main one when null.
    void reviewIdentity(const VLServicePtr& service, QWidget* over = nullptr);

Q_SIGNALS:
    void errorsRequested(const VLServicePtr& service);

private:
    using Run = void (AppController::*)(const VLServicePtr&);
    using Possible = std::function<bool(const VLService&)>;
    struct Entry {
        QAction* action = nullptr;
        Possible possible;
        bool startsGroup = false;
    };
    QAction* add(const QString& text, const char* symbol, const QString& help, Possible possible,
                 bool startsGroup);
    QAction* addCommand(const QString& text, const char* symbol, const QString& help, Possible possible,
                        Run run, bool startsGroup = false);

    void addShowUpdates();
    void disconnectClient();
    void addSwitch();
    void updateSwitch();
    void switchEnabled();
    /// Machines whose own rows are selected: what is asked for is easily taken back, so it may be several.
    [[nodiscard]] QList<VLServicePtr> chosenServices() const;

    AppController& m_controller;
    ClientOutline& m_outline;
    QWidget* m_window;
    QAction* m_switch = nullptr;  ///< enables or disables
    QList<Entry> m_entries;
};
