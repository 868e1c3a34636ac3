#pragma once

class OperationTable;
struct AgentContext;

/// Operations that list, show and gather the suite's logs on this machine.
void addLogOperations(OperationTable& table, AgentContext& agent);
