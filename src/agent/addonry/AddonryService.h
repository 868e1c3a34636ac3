#pragma once

class OperationTable;
struct AgentContext;

/// Operations on plug-ins.
void addAddonryOperations(OperationTable& table, AgentContext& agent);
