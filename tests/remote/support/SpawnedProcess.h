#pragma once

#include <QByteArray>
#include <QList>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <vector>

/// Another process and what it writes. ThreadSanitizer takes the way in which QProcess starts one for a fork
/// of this process and ends it; posix_spawn() has no such trouble.
class SpawnedProcess {
public:
    explicit SpawnedProcess(QList<QByteArray> arguments) {
        int pipe[2];
        if (::pipe2(pipe, O_CLOEXEC) != 0) return;
        m_output = pipe[0];
        std::vector<char*> pointers;
        for (QByteArray& argument : arguments)
            pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
        if (::posix_spawnp(&m_id, pointers[0], &actions, nullptr, pointers.data(), environ) != 0) m_id = 0;
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(pipe[1]);
    }
    ~SpawnedProcess() {
        if (m_id > 0) ::kill(m_id, SIGKILL);
        waitForEnd();
        if (m_output >= 0) ::close(m_output);
    }
    SpawnedProcess(const SpawnedProcess&) = delete;
    SpawnedProcess& operator=(const SpawnedProcess&) = delete;

    void signal(int number) const { ::kill(m_id, number); }
    /// The next line without its end, or what there is when the output ends.
    [[nodiscard]] QByteArray readLine() const {
        QByteArray line;
        char character = 0;
        while (::read(m_output, &character, 1) == 1 && character != '\n')
            line.append(character);
        return line;
    }
    void waitForEnd() {
        if (m_id > 0) ::waitpid(m_id, nullptr, 0);
        m_id = 0;
    }

private:
    pid_t m_id = 0;
    int m_output = -1;
};
