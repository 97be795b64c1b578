// Runs a program as another one would: class ChildProcess, with an implementation for each host.
#pragma once

#include <string>
#include <utility>
#include <vector>

// Everything is UTF-8. Files are those of the host; what is empty is the test's own.
struct ChildStart {
    std::string program;
    std::vector<std::string> arguments{};
    std::string folder{};
    std::vector<std::pair<std::string, std::string>> environment{};
    std::string input{};
    std::string output{};
    std::string error{};
    // Standard error is to hold what a debugger sees. Where that is not the same anyway, the child
    // gets a debugger.
    bool showsDebugOutput = false;
    // Its input stays open until Wait.
    bool waitsForInput = false;
};

#if defined(_WIN32)
#include "support/child_process_windows.h"
#else
#include "support/child_process_posix.h"
#endif

// Its exit code; -1 when there was none.
inline int RunChild(const ChildStart& start)
{
    return ChildProcess(start).Wait();
}
