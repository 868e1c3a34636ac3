#pragma once

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

/// Stands before the C library's calls that make, move and remove names, for the whole program (Qt included):
/// the call of a given number ends the process as if the power had gone, or fails.
namespace FailingRenames {

inline std::atomic<int> callsUntilKill{0}, callsUntilFailure{0};  ///< 0: never
inline std::atomic<bool> cannotExchange{false};

inline bool mayProceed() {
    if (callsUntilKill > 0 && --callsUntilKill == 0) raise(SIGKILL);
    if (callsUntilFailure > 0 && --callsUntilFailure == 0) {
        errno = EIO;
        return false;
    }
    return true;
}

}  // namespace FailingRenames

// Default visibility: shared libraries find these first.
#define INTERPOSED extern "C" __attribute__((visibility("default"), used))

INTERPOSED int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned flags) noexcept {
    if ((flags & RENAME_EXCHANGE) != 0 && FailingRenames::cannotExchange) {
        errno = EINVAL;
        return -1;
    }
    if (!FailingRenames::mayProceed()) return -1;
    return int(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

INTERPOSED int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    if (!FailingRenames::mayProceed()) return -1;
    return int(syscall(SYS_renameat2, fromFolder, from, toFolder, to, 0));
}

INTERPOSED int rename(const char* from, const char* to) noexcept {
    return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

INTERPOSED int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
    if (!FailingRenames::mayProceed()) return -1;
    return int(syscall(SYS_linkat, fromFolder, from, toFolder, to, flags));
}

INTERPOSED int unlinkat(int folder, const char* name, int flags) noexcept {
    if (!FailingRenames::mayProceed()) return -1;
    return int(syscall(SYS_unlinkat, folder, name, flags));
}
