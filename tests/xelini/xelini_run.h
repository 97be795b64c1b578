// Runs the program in a folder of its own and catches what it says.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/target.h"
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

// Variables of the environment mean nothing on Windows.
struct Surroundings {
    std::string input{}; // of standard input
    const char* deviceRoot = "";
    const char* codePage = "";
};

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

class XeliniFolder : public TestFolder {
public:
    ChildStart start(const Arguments& arguments, const Surroundings& around = {}) const
    {
        m_streams.Write("in", around.input);
        return {
            .program = XELINI_PROGRAM,
            .arguments = arguments.words,
            .folder = HostPath(""),
            .environment = {{"XEL_DEVICE_ROOT", around.deviceRoot}, {"XEL_ACP", around.codePage}},
            .input = m_streams.HostPath("in"),
            .output = m_streams.HostPath("out"),
            .error = m_streams.HostPath("err")};
    }
    Outcome finish(ChildProcess& process) const
    {
        const int status = process.Wait();
        return {status, m_streams.Read("out"), m_streams.Read("err")};
    }
    Outcome run(const Arguments& arguments, const Surroundings& around = {}) const
    {
        ChildProcess process(start(arguments, around));
        return finish(process);
    }
    std::size_t fileCount() const
    {
        const std::filesystem::directory_iterator files(HostPath(""));
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

private:
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
