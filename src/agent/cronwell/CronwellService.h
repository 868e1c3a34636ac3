#pragma once

struct AgentContext;
class OperationTable;

/// Scheduled tasks, and what the suite's applications offer for scheduling.
void addCronwellOperations(OperationTable& table, AgentContext& agent);
