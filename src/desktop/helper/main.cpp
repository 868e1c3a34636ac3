// orlendo-helper: runs, as root, the programs that the console names. pkexec starts it once the administrator
// has agreed; it serves the process that asked for it over the socket that is its standard input, and nobody
// else.

#include "desktop/helper/HelperProtocol.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace HelperProtocol;

constexpr int client = STDIN_FILENO;

/// The other end of our socket must have been made by the process that started us, of the user that pkexec
/// names (root, when started by root directly).
bool isStartedByClient() {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(client, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 || peer.pid != getppid()) return false;
    const char* user = getenv("PKEXEC_UID");
    return user ? std::to_string(peer.uid) == user : peer.uid == 0;
}

bool readWhole(void* to, std::size_t size) {
    auto* bytes = static_cast<char*>(to);
    while (size > 0) {
        const ssize_t got = recv(client, bytes, size, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        bytes += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

bool sendStatus(Status status) {
    return send(client, &status, sizeof status, MSG_NOSIGNAL) == sizeof status;
}

/// The next program with its arguments; none at the end of the connection, or when it is malformed.
std::optional<std::vector<std::string>> readRequest() {
    Length length = 0;
    if (!readWhole(&length, sizeof length)) return std::nullopt;
    if (length == 0 || length > maxRequestLength) return std::nullopt;
    std::string body(length, '\0');
    if (!readWhole(body.data(), length) || body.back() != '\0') return std::nullopt;
    std::vector<std::string> strings;
    for (std::size_t start = 0; start < body.size(); start = body.find('\0', start) + 1) {
        if (strings.size() == maxStrings) return std::nullopt;
        strings.emplace_back(body.c_str() + start);
    }
    if (strings.front().empty() || strings.front().front() != '/') return std::nullopt;
    return strings;
}

Status run(std::vector<std::string>& strings) {
    std::vector<char*> arguments;
    for (std::string& string : strings)
        arguments.push_back(string.data());
    arguments.push_back(nullptr);
    std::array<char*, 4> environment{const_cast<char*>("PATH=/usr/sbin:/usr/bin:/sbin:/bin"),
                                     const_cast<char*>("HOME=/root"), const_cast<char*>("LC_ALL=C.UTF-8"),
                                     nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    const int error =
        posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) return notStarted;

    int status = 0;
    while (waitpid(process, &status, 0) < 0)
        if (errno != EINTR) return notStarted;
    return WIFEXITED(status) ? WEXITSTATUS(status) : endedBySignal + WTERMSIG(status);
}

}  // namespace

int main() {
    if (getuid() != 0 || geteuid() != 0 || !isStartedByClient()) {
        std::fputs("orlendo-helper is started by Orlendo, through pkexec.\n", stderr);
        return EXIT_FAILURE;
    }
    closefrom(STDERR_FILENO + 1);
    clearenv();
    umask(S_IWGRP | S_IWOTH);
    signal(SIGCHLD, SIG_DFL);
    if (chdir("/") != 0 || !sendStatus(ready)) return EXIT_FAILURE;
    while (auto request = readRequest())
        if (!sendStatus(run(*request))) break;
    return EXIT_SUCCESS;
}
