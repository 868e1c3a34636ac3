#pragma once

class OperationTable;
struct AgentContext;

/// Operations on the crash logs of the machine's applications.
void addFaultscopeOperations(OperationTable& table, AgentContext& agent);
