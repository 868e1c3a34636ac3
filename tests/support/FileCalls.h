#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

/// Lets work run in a process of its own whose system calls that change files stop, one by one, before they
/// do anything: whichever library makes them and on whichever thread. The process can be killed there as if
/// the power had gone, or the call fails. It is the kernel that asks (seccomp), so nothing in the program has
/// to know of it.
namespace FileCalls {

struct Trouble {
    int killedAt = 0;             ///< the call before which the process ends; 0: none
    int failingAt = 0;            ///< the call that fails with EIO; 0: none
    bool cannotExchange = false;  ///< as on a file system that cannot exchange two names
};
struct Result {
    int calls = 0;  ///< those that stopped, with the last one
    bool isKilled = false;
    int exitCode = -1;  ///< what `work` returned
};

/// Whether the kernel lets us.
[[nodiscard]] bool areSupported();

/// Runs `work`. What it writes to files outside of `folder` does not count. The caller has no threads that
/// work needs.
[[nodiscard]] Result run(const QString& folder, const Trouble& trouble, const std::function<int()>& work);

/// What `work` returns in a process of its own, which thus leaves nothing in this one's memory. Nothing when
/// that dies or throws.
[[nodiscard]] std::optional<QStringList> inChild(const std::function<QStringList()>& work);

}  // namespace FileCalls
