#pragma once

#include <QString>
#include <QStringList>

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <mutex>

/// The console's end of one orlendo-helper: the granted right to run programs as root. The helper lives as
/// long as this object, and ends by itself when this process does.
class PrivilegedHelper {
public:
    /// Status of run() when the helper has gone, and when the request is not one that it takes.
    static constexpr int helperLost = -3;
    static constexpr int invalidRequest = -4;

    /// Empty where pkexec and the helper are installed; otherwise what is missing, as a sentence.
    [[nodiscard]] static QString missingPart();

    /// Has polkit ask for an administrator and waits, at most `limit`, until that was granted. Null when it
    /// was refused, when there is nobody to ask, or when the program quits meanwhile.
    [[nodiscard]] static std::shared_ptr<PrivilegedHelper> start(std::chrono::milliseconds limit);
    /// Starts `command` as the helper.
    [[nodiscard]] static std::shared_ptr<PrivilegedHelper> start(const QStringList& command,
                                                                 std::chrono::milliseconds limit);

    ~PrivilegedHelper();
    PrivilegedHelper(const PrivilegedHelper&) = delete;
    PrivilegedHelper& operator=(const PrivilegedHelper&) = delete;

    /// Runs a program as root to its end and returns its exit status (see VLTask). Blocks; any thread, one
    /// program at a time.
    int run(const QString& program, const QStringList& arguments);

    /// The connection, for tests.
    [[nodiscard]] int socket() const noexcept { return m_socket; }
    /// For tests: where the helper is, in place of its installed path.
    static void setPath(const QString& path);

private:
    PrivilegedHelper(pid_t process, int socket) : m_process(process), m_socket(socket) {}
    bool waitUntilReady(std::chrono::milliseconds limit) const;

    const pid_t m_process;
    const int m_socket;
    std::mutex m_mutex;  ///< one request at a time
};
