#pragma once

#include "clients/VLService.h"

#include <QObject>

class AppController;
class QWidget;

/// Answers clicks on the badges of the client list.
class BadgeClicks : public QObject {
    Q_OBJECT
public:
    /// Both outlive this object.
    BadgeClicks(AppController& controller, QWidget* window);

Q_SIGNALS:
    void errorsRequested(const VLServicePtr& service);
    void toolRequested(const QString& identifier);

private:
    void serviceOutlineBadgeClicked(const VLServicePtr& service, const QString& badge);
    void askWhetherToCancelMaintenance(const VLServicePtr& service);
    void explainMaintenance(const VLServicePtr& service);
    void showUpdates(const VLServicePtr& service);

    AppController& m_controller;
    QWidget* m_window;
};
