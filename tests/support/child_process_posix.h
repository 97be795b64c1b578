// Programs started by the host's call.
#pragma once

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/child_process.h"

class ChildProcess {
public:
    explicit ChildProcess(const ChildStart& start)
    {
        int pipe[2] = {-1, -1};
        EXPECT_TRUE(!start.waitsForInput || ::pipe2(pipe, O_CLOEXEC) == 0);
        m_input = pipe[1];

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        if (start.waitsForInput)
            posix_spawn_file_actions_adddup2(&actions, pipe[0], STDIN_FILENO);
        Redirect(actions, STDIN_FILENO, start.input, O_RDONLY);
        Redirect(actions, STDOUT_FILENO, start.output, O_WRONLY | O_CREAT | O_TRUNC);
        Redirect(actions, STDERR_FILENO, start.error, O_WRONLY | O_CREAT | O_TRUNC);
        if (!start.folder.empty())
            posix_spawn_file_actions_addchdir_np(&actions, start.folder.c_str());

        std::vector<std::string> words = {start.program};
        words.insert(words.end(), start.arguments.begin(), start.arguments.end());
        // Of two variables with one name the first counts.
        std::vector<std::string> variables;
        for (const auto& [name, value] : start.environment)
            variables.push_back(name + "=" + value);
        for (char** variable = environ; *variable != nullptr; ++variable)
            variables.emplace_back(*variable);
        EXPECT_EQ(posix_spawn(&m_process, start.program.c_str(), &actions, nullptr,
                              Pointers(words).data(), Pointers(variables).data()),
                  0)
            << start.program;
        posix_spawn_file_actions_destroy(&actions);
        if (start.waitsForInput)
            ::close(pipe[0]);
    }
    ~ChildProcess() { Wait(); }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Returns once all of it is in the pipe to its input.
    bool Feed(std::string_view bytes) const
    {
        return ::write(m_input, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
    }
    // Also ends its input. -1 the second time, too.
    int Wait()
    {
        if (m_input >= 0)
            ::close(std::exchange(m_input, -1));
        int status = 0;
        const pid_t process = std::exchange(m_process, -1);
        const bool hasEnded = process > 0 && ::waitpid(process, &status, 0) == process;
        return hasEnded && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    static void Redirect(posix_spawn_file_actions_t& actions, int stream, const std::string& file,
                         int flags)
    {
        if (!file.empty())
            posix_spawn_file_actions_addopen(&actions, stream, file.c_str(), flags, 0600);
    }
    static std::vector<char*> Pointers(std::vector<std::string>& texts)
    {
        std::vector<char*> pointers;
        for (std::string& text : texts)
            pointers.push_back(text.data());
        pointers.push_back(nullptr);
        return pointers;
    }

    int m_input;
    pid_t m_process = -1;
};
