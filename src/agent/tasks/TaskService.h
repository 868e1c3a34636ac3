#pragma once

class OperationTable;
struct AgentContext;

/// Operations that run a task of one of the suite's applications without administrator rights.
void addTaskOperations(OperationTable& table, AgentContext& agent);
