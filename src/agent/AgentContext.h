#pragma once

#include "agent/AgentSettings.h"
#include "agent/callbacks/ConsoleCallbacks.h"
#include "agent/tree/WorkstationTree.h"
#include "foundation/Snapshot.h"

#include <functional>

/// What the operations of one agent share. Everything in it may be used on any thread.
struct AgentContext {
    explicit AgentContext(AgentSettings initialSettings)
        : settings(std::move(initialSettings)), tree(settings.root), hostName(settings.hostName) {}

    const AgentSettings settings;
    const WorkstationTree tree;
    /// The host name by which consoles know this machine: the one that is advertised, which can differ from
    /// the wanted one where another machine has that.
    Snapshot<QString> hostName;
    ConsoleCallbacks consoles;
    /// Ask the program to end, or to end and start anew. Return at once.
    std::function<void()> quit = [] {};
    std::function<void()> relaunch = [] {};

    /// The user whose plug-ins and preferences count; empty when the disk has no home folders.
    [[nodiscard]] QString consoleUser() const {
        if (!settings.consoleUser.isEmpty()) return settings.consoleUser;
        const auto users = tree.userNames();
        return users.isEmpty() ? QString() : users.first();
    }
};
