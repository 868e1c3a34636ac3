#pragma once

class OperationTable;
struct AgentContext;

/// Operations that pass something on to the consoles: errors, progress, the end of a task; and the one that
/// hands over the object to pass it on to.
void addCallbackOperations(OperationTable& table, AgentContext& agent);
