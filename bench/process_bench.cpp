// Time of a whole process that prints one value of a settings file of 100 lines: xelini, and a
// program that does it with GKeyFile. They run by turns; prints lines of "work/who", a tab, and
// the median in nanoseconds.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "host.h"
#include "settings_files.h"

namespace {

constexpr std::size_t kRounds = 500;
// With the header of their section, 100 lines.
constexpr std::size_t kEntries = 99;

struct Program {
    const char* name;
    std::vector<std::string> command;
    std::vector<double> nanoseconds;
};

double TimeOfRun(const Program& program, const posix_spawn_file_actions_t& actions)
{
    std::vector<char*> arguments;
    for (const std::string& argument : program.command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    int status = -1;
    if (posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0)
        bench::Fail(std::string("failed: ") + program.name);
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count();
}

double Median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + kRounds / 2, values.end());
    return values[kRounds / 2];
}

void CheckOutput(const Program& program, const std::string& expected)
{
    std::string line;
    for (const std::string& argument : program.command)
        line += argument + " ";
    if (bench::OutputOf(line) != expected + "\n")
        bench::Fail(std::string("wrong output of ") + program.name);
}

} // namespace

int main()
{
    const bench::TempFile file(bench::SettingsFile(kEntries, bench::Encoding::eightBit));
    const bench::Entry entry = bench::MakeEntry(kEntries - 1);
    std::array programs = {
        Program{"xelini", {XELINI_PROGRAM, "get", file.path(), entry.section, entry.key}, {}},
        Program{"GKeyFile", {GKEYFILE_PROGRAM, file.path(), entry.section, entry.key}, {}},
    };
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    for (const Program& program : programs)
        CheckOutput(program, entry.value);
    for (std::size_t round = 0; round < kRounds; ++round)
        for (Program& program : programs)
            program.nanoseconds.push_back(TimeOfRun(program, actions));
    for (const Program& program : programs)
        std::printf("process_get/%s\t%.0f\n", program.name, Median(program.nanoseconds));
    posix_spawn_file_actions_destroy(&actions);
}
