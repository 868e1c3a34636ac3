#pragma once

#include "clients/ManualConnections.h"

#include <QHash>
#include <QWidget>

class ClientCommands;
class ServiceList;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QSpinBox;
class QStackedWidget;
class QVBoxLayout;

/// What the user may set, in sections. A change holds at once; changes made elsewhere are followed.
class PreferencesWindow : public QWidget {
    Q_OBJECT
public:
    /// Both outlive the window. `canAuthenticate`: whether this version can ask for an administrator.
    PreferencesWindow(ServiceList& services, ClientCommands& commands, bool canAuthenticate, QWidget* parent);

Q_SIGNALS:
    void addComputerRequested();
    void editComputerRequested(const ManualConnections::Entry& entry);

protected:
    void changeEvent(QEvent* event) override;

private:
    QVBoxLayout* addSection(const QString& symbol, const QString& title);
    void buildGeneral(QVBoxLayout* page);
    void buildSecurity(QVBoxLayout* page);
    void buildNetwork(QVBoxLayout* page);
    void buildRuns(QVBoxLayout* page);
    QCheckBox* addSwitch(QVBoxLayout* page, const QString& key, const QString& text, const QString& help);
    struct Range {
        int least, most;
    };
    /// Behind the number; `one` behind 1.
    struct Unit {
        QString one, many;
    };
    void addNumber(QVBoxLayout* page, const QString& key, const QString& caption, Range range,
                   const Unit& unit, const QString& help);
    static QLabel* addHelp(QVBoxLayout* page, const QString& text, int indent);
    void passwordToggled(bool on);
    void renew();

    ServiceList& m_services;
    ClientCommands& m_commands;
    const bool m_canAuthenticate;
    QButtonGroup* m_sections;
    QWidget* m_bar;
    QStackedWidget* m_stack;
    QComboBox* m_theme = nullptr;
    QHash<QString, QCheckBox*> m_switches;  ///< by the key of the preference
    QHash<QString, QSpinBox*> m_numbers;    ///< the same
    bool m_isRenewing = false;
};
