#pragma once

#include "agent/AgentSettings.h"

#include <kj/io.h>

/// Keeps a second agent from working on the same disk, or with the same state folder, for as long as it
/// exists; the system takes it back from a program that is killed.
class AgentLock {
public:
    /// Makes the state folder. Throws VLException when another agent has either of them.
    explicit AgentLock(const AgentSettings& settings);

private:
    kj::AutoCloseFd m_state, m_root;
};
