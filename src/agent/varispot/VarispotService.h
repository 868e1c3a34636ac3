#pragma once

class OperationTable;
struct AgentContext;

/// The snapshot of a machine that the console compares with those of others.
void addVarispotOperations(OperationTable& table, AgentContext& agent);
