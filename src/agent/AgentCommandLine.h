#pragma once

#include "agent/AgentSettings.h"

#include <QString>
#include <QStringList>

/// What the command line asks for.
struct AgentCommand {
    enum class Action {
        Serve,
        MakeSample,
        PrintFingerprint,
        RequestMaintenance,
        CancelMaintenance,
        Print,
        Fail
    };

    Action action = Action::Serve;
    AgentSettings settings;
    QString sampleDirectory;
    int sampleProfile = 0;
    QString text;  ///< for Print and Fail: what to say

    /// Reads the command line (the program's name first) and the configuration file. What the command line
    /// says goes before what the file says. Never ends the program.
    [[nodiscard]] static AgentCommand parse(const QStringList& arguments);
};
