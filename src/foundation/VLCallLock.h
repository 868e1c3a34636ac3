#pragma once

#include <mutex>

/// The lock object that a worker call makes for itself and holds until it returns. It belongs to that one
/// call, so it excludes no other caller: overlapping calls stay allowed, and shared state is protected by
/// being atomic or replaced whole.
class VLCallLock {
public:
    VLCallLock() : m_guard(m_mutex) {}
    VLCallLock(const VLCallLock&) = delete;
    VLCallLock& operator=(const VLCallLock&) = delete;

private:
    std::mutex m_mutex;
    std::lock_guard<std::mutex> m_guard;
};
