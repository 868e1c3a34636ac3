#pragma once

#include "clients/VLService.h"

#include <QObject>
#include <QPointer>

#include <functional>

class ClientCommands;
class ClientDetails;
class ClientOutline;
class ServiceList;
class SoftwareUpdates;
class QAction;
class QMenu;
class QWidget;

/// What can be done with the machines that are selected in the client list: what shows something, with one of
/// them; what is asked of the machines, with all.
class ClientActions : public QObject {
    Q_OBJECT
public:
    struct Parts {
        ServiceList& services;
        ClientCommands& commands;
        ClientDetails& details;
        SoftwareUpdates& updates;
    };
    /// All of them outlive this object.
    ClientActions(Parts parts, ClientOutline& outline, QWidget* window);

    void addTo(QMenu* menu) const;
    /// Those only that work with several machines.
    void addCommandsTo(QMenu* menu) const;
    /// Enables what is possible at this moment.
    void update();
    /// `over`: the window that the sheet belongs to; the main one when null.
    void reviewIdentity(const VLServicePtr& service, QWidget* over = nullptr);

Q_SIGNALS:
    void errorsRequested(const VLServicePtr& service);
    void updatesRequested(const VLServicePtr& service);

private:
    using Services = QList<VLServicePtr>;
    using Possible = std::function<bool(const VLService&)>;
    struct Entry {
        QAction* action = nullptr;
        Possible possible;
        bool startsGroup = false;
        QString text;         ///< for one machine
        QString textForMany;  ///< with "%1" for how many; empty where it works with one only
    };
    QAction* add(const QString& text, const char* symbol, const QString& help, Possible possible,
                 bool startsGroup = false);
    /// Works with every selected machine; `textForMany` with "%1" for how many.
    QAction* addCommand(const QString& text, const QString& textForMany, const char* symbol,
                        const QString& help, Possible possible, std::function<void(const Services&)> run,
                        bool startsGroup = false);
    void addForOne(const QString& text, const char* symbol, const QString& help, Possible possible,
                   const std::function<void(const VLServicePtr&)>& run, bool startsGroup = false);
    void addClientCommands();

    void restart(const Services& services);
    void stop(const Services& services);
    void ask(const QString& question, const QString& verb, const QString& explanation,
             std::function<void()> then);
    void disconnectClient();
    void addSwitch();
    void updateSwitch();
    void switchEnabled();
    /// Machines whose own rows are selected: what is asked for is easily taken back, so it may be several.
    [[nodiscard]] Services chosenServices() const;

    const Parts m_parts;
    ClientOutline& m_outline;
    QWidget* m_window;
    QAction* m_switch = nullptr;  ///< enables or disables
    QList<Entry> m_entries;
};
