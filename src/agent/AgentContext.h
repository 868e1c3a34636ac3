#pragma once

#include "agent/AgentSettings.h"
#include "agent/PeerBudget.h"
#include "agent/authorization/AdministratorGuard.h"
#include "agent/authorization/AgentTasks.h"
#include "agent/callbacks/ConsoleCallbacks.h"
#include "agent/identity/CrashReports.h"
#include "agent/tree/WorkstationTree.h"
#include "foundation/Snapshot.h"

#include <atomic>
#include <functional>
#include <memory>

/// What the operations of one agent share. Everything in it may be used on any thread.
struct AgentContext : std::enable_shared_from_this<AgentContext> {
    explicit AgentContext(AgentSettings initialSettings, AdministratorGuard::Limits limits = {})
        : settings(std::move(initialSettings)),
          tree(settings.root, settings.stateDirectory + QStringLiteral("/temporary.plist")),
          minAdminVersion(settings.minAdminVersion),
          hostName(settings.hostName),
          administrators(AdministratorGuard::checkFor(settings), limits) {}

    const AgentSettings settings;
    const WorkstationTree tree;
    /// As in the settings, but read anew while the agent runs.
    std::atomic<qlonglong> minAdminVersion;
    /// The host name by which consoles know this machine: the one that is advertised, which can differ from
    /// the wanted one where another machine has that.
    Snapshot<QString> hostName;
    ConsoleCallbacks consoles{hostName};
    PeerLog log;         ///< for lines that a console can cause
    PeerBudget reports;  ///< errors that are passed on to every console
    CrashReports crashReports{settings.stateDirectory};
    AdministratorGuard administrators;
    /// That need an administrator: they run after the credentials were checked. Filled before the root object
    /// is made, as is `installUpdate`: what is empty by then is not among the agent's operations.
    AgentTasks tasks;
    AgentTasks userTasks;  ///< that need none
    /// Installs an update (the application's path or bundle identifier in `target`) once the administrator
    /// was checked. Returns at once; tells the console behind `peer` how it went.
    std::function<void(quint64 peer, const QVariantMap& update, const QVariant& target)> installUpdate;
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
