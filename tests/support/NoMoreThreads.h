#pragma once

#include <pthread.h>

#include <cstddef>

/// As long as it exists, the process gets no new thread: each would need a stack that no machine has.
class NoMoreThreads {
public:
    NoMoreThreads() {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t impossible;
        pthread_attr_init(&impossible);
        pthread_attr_setstacksize(&impossible, std::size_t{1} << 47);
        pthread_setattr_default_np(&impossible);
        pthread_attr_destroy(&impossible);
    }
    ~NoMoreThreads() {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }
    NoMoreThreads(const NoMoreThreads&) = delete;
    NoMoreThreads& operator=(const NoMoreThreads&) = delete;

private:
    pthread_attr_t m_before{};
};
