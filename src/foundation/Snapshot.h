#pragma once

#include <memory>
#include <mutex>
#include <utility>

/// A value that is replaced whole and never edited in place. Readers get a complete, unchanging value.
/// Any thread. Two writers that each read, change and set may lose one change; each change is whole. With
/// replace() none is lost: whoever was second looks at the new value and tries again.
template <typename T>
class Snapshot {
public:
    Snapshot() : m_value(std::make_shared<const T>()) {}
    explicit Snapshot(T value) : m_value(std::make_shared<const T>(std::move(value))) {}

    [[nodiscard]] std::shared_ptr<const T> shared() const {
        const std::lock_guard lock(m_mutex);
        return m_value;
    }
    [[nodiscard]] T get() const { return *shared(); }

    void set(T value) {
        auto next = std::make_shared<const T>(std::move(value));
        const std::lock_guard lock(m_mutex);
        m_value.swap(next);  // the old value is released after the lock
    }
    /// Sets it unless another value than `known` is there by now.
    [[nodiscard]] bool replace(const std::shared_ptr<const T>& known, T value) {
        auto next = std::make_shared<const T>(std::move(value));
        const std::lock_guard lock(m_mutex);
        if (m_value != known) return false;
        m_value.swap(next);
        return true;
    }

private:
    mutable std::mutex m_mutex;
    std::shared_ptr<const T> m_value;
};
