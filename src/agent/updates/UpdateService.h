#pragma once

class OperationTable;
struct AgentContext;

/// Operations about updates of the suite's software.
void addUpdateOperations(OperationTable& table, AgentContext& agent);
