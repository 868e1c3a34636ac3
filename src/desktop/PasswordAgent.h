#pragma once

#include <QString>

#include <chrono>
#include <memory>

/// Answers polkit's question for an administrator of this process with a user name and a password, once, in
/// place of the desktop's dialog. As long as this object lives, polkit asks it and not the desktop.
class PasswordAgent {
public:
    PasswordAgent(const QString& user, const QString& password);
    ~PasswordAgent();  ///< forgets the password
    PasswordAgent(const PasswordAgent&) = delete;
    PasswordAgent& operator=(const PasswordAgent&) = delete;

    /// Makes itself known to polkit. 0, or polkit's (or the bus's) error code; the reason is then in the
    /// system log. Waits at most `limit`.
    [[nodiscard]] int start(std::chrono::milliseconds limit);

    struct Private;

private:
    const std::unique_ptr<Private> d;
};
