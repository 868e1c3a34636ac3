#pragma once

#include "runs/RunList.h"
#include "runs/RunRecord.h"

#include <functional>

class ServiceList;
class ToolSet;

/// Runs that have ended: doing them again, and taking them back. Main thread.
class RunActions {
public:
    /// All of them outlive this object.
    RunActions(RunList& runs, ToolSet& tools, ServiceList& services)
        : m_runs(runs), m_tools(tools), m_services(services) {}

    /// Whether the run can be done again where it was not done: it is one of this session, and the computers
    /// are known.
    [[nodiscard]] bool canRetry(const RunRecord& record) const;
    void retryRun(const RunRecord& record);
    /// Whether the run's tool can take it back on computers that are known.
    [[nodiscard]] bool canUndo(const RunRecord& record) const;
    /// Takes it back on each of them, as a run of its own.
    void undoRun(const RunRecord& record);

private:
    [[nodiscard]] QList<RemoteClientPtr> clientsOf(
        const RunRecord& record, const std::function<bool(const HostOutcome&)>& wanted) const;
    [[nodiscard]] QList<RemoteClientPtr> clientsToRetry(const RunRecord& record) const;
    [[nodiscard]] bool isReadingOfTool(const RunRecord& record) const;

    RunList& m_runs;
    ToolSet& m_tools;
    ServiceList& m_services;
};
