#pragma once

#include <chrono>
#include <cstddef>

/// What a peer may make this process hold or wait for.
struct RemoteLimits {
    std::size_t messageBytes = 128u * 1024 * 1024;          ///< one message; larger ones close the connection
    int valueNesting = 32;                                  ///< lists and dictionaries inside each other
    std::size_t valueCount = 2'000'000;                     ///< values in one answer
    int pendingCallbacks = 256;                             ///< calls of a peer that are not finished yet
    std::size_t callbackBytesPerSecond = 8u * 1024 * 1024;  ///< of a peer's calls, in the long run
    std::size_t unsentBytes = 64u * 1024 * 1024;      ///< of answers to one console that it has not read
    std::size_t allUnsentBytes = 256u * 1024 * 1024;  ///< of answers to all consoles together
    std::chrono::milliseconds connect{5'000};         ///< TCP connection and TLS handshake together
    std::chrono::milliseconds heartbeatInterval{2'000};
    std::chrono::milliseconds heartbeatTimeout{6'000};  ///< silence after which the peer counts as dead
};
