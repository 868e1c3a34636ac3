#pragma once

class OperationTable;
struct AgentContext;

/// Operations on preference backups, and the quick trash among the tasks. Completes what an earlier run of
/// the agent left in the middle.
void addSettlekeepOperations(OperationTable& table, AgentContext& agent);
