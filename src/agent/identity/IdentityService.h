#pragma once

class OperationTable;
struct AgentContext;

/// Operations about the agent itself: configuration, machine, picture, maintenance request, ending.
void addIdentityOperations(OperationTable& table, AgentContext& agent);
