// Runs the program in a folder of its own and catches what it says.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/test_folder.h"

using namespace std::string_literals;

// A command line, its words between bars.
struct Arguments {
    Arguments(const char* line) : Arguments(std::string(line)) {}
    Arguments(const std::string& line)
    {
        for (std::size_t start = 0, end = 0; !line.empty() && end != line.npos; start = end + 1) {
            end = line.find('|', start);
            words.push_back(line.substr(start, end - start));
        }
    }
    std::vector<std::string> words;
};

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

struct Surroundings {
    std::string input{}; // of standard input
    rlim_t maxFileSize = RLIM_INFINITY;
    const char* deviceRoot = "";
    const char* codePage = "";
};

class XeliniFolder : public TestFolder {
public:
    pid_t start(const Arguments& arguments, const Surroundings& around = {}, int inputPipe = -1)
    {
        m_streams.Write("in", around.input);
        const pid_t child = ::fork();
        if (child != 0)
            return child;
        if (inputPipe >= 0)
            ::dup2(inputPipe, 0);
        else
            redirect(0, "in", O_RDONLY);
        redirect(1, "out", O_WRONLY | O_CREAT | O_TRUNC);
        redirect(2, "err", O_WRONLY | O_CREAT | O_TRUNC);
        ::setenv("XEL_DEVICE_ROOT", around.deviceRoot, 1);
        ::setenv("XEL_ACP", around.codePage, 1);
        const rlimit limit = {around.maxFileSize, around.maxFileSize};
        if (around.maxFileSize != RLIM_INFINITY)
            ::setrlimit(RLIMIT_FSIZE, &limit);
        std::vector<char*> argv = {const_cast<char*>("xelini")};
        for (const std::string& argument : arguments.words)
            argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        if (::chdir(HostPath("").c_str()) == 0)
            ::execv(XELINI_PROGRAM, argv.data());
        ::_exit(127);
    }
    Outcome finish(pid_t child)
    {
        int status = 0;
        ::waitpid(child, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, m_streams.Read("out"),
                m_streams.Read("err")};
    }
    Outcome run(const Arguments& arguments, const Surroundings& around = {})
    {
        return finish(start(arguments, around));
    }
    std::size_t fileCount() const
    {
        const std::filesystem::directory_iterator files(HostPath(""));
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

private:
    void redirect(int stream, const char* name, int flags) const
    {
        const int file = ::open(m_streams.HostPath(name).c_str(), flags, 0600);
        ::dup2(file, stream);
        ::close(file);
    }

    TestFolder m_streams;
};

// A file that is not there, before or after a run.
inline const std::string kMissing = "<missing>";

// One run on the file p.ini. An expected message stands without the leading "xelini: " and the
// line end.
struct Row {
    const char* rule;
    Arguments arguments;
    std::string before;
    int status;
    std::string out;
    std::string message;
    std::string after;
};

inline void expectRow(const Row& row, const Surroundings& around = {})
{
    SCOPED_TRACE(row.rule);
    XeliniFolder folder;
    if (row.before != kMissing)
        folder.Write("p.ini", row.before);
    const Outcome outcome = folder.run(row.arguments, around);
    EXPECT_EQ(outcome.status, row.status);
    EXPECT_EQ(outcome.out, row.out);
    EXPECT_EQ(outcome.err, row.message.empty() ? "" : "xelini: " + row.message + "\n");
    const bool isThere = std::filesystem::exists(folder.HostPath("p.ini"));
    EXPECT_EQ(isThere ? folder.Read("p.ini") : kMissing, row.after);
    EXPECT_EQ(folder.fileCount(), isThere ? 1u : 0u);
}
