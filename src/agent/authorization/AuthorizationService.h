#pragma once

class OperationTable;
struct AgentContext;

/// Operations that check an administrator's password, or do first of all.
void addAuthorizationOperations(OperationTable& table, AgentContext& agent);
