// Time of loading a library, finding a function in it and freeing it, and of starting a program
// that does nothing and waiting for its end: the library and the host's bare calls take turns.
// Prints lines of "work/who", a tab, and the median in nanoseconds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <dlfcn.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "host.h"
#include "xelutils/system/library_funcs.h"

namespace {

using String = xel_text::CXelStringT<wchar_t>;

constexpr std::size_t kRounds = 1000;

void LoadWithLibrary()
{
    static const String s_function = L"PluginAnswer";
    static const String s_library = L"libbench_plugin.so";
    HINSTANCE library = nullptr;
    FARPROC function = nullptr;
    if (!GetLibraryFunction(&library, &function, s_function, s_library) || function() != 42)
        bench::Fail("library not loaded");
    FreeLibraryFunction(library);
}

void LoadWithHost()
{
    static const std::string s_path =
        bench::OwnPath().substr(0, bench::OwnPath().rfind('/')) + "/libbench_plugin.so";
    void* const library = dlopen(s_path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr || reinterpret_cast<FARPROC>(dlsym(library, "PluginAnswer"))() != 42)
        bench::Fail("dlopen failed");
    dlclose(library);
}

void StartWithLibrary()
{
    static const String s_program = L"\\bin\\true";
    unsigned long exitCode = 1;
    if (!LaunchExe(s_program, String(), exitCode) || exitCode != 0)
        bench::Fail("program not started");
}

void StartWithHost()
{
    char program[] = "/bin/true";
    char* arguments[] = {program, nullptr};
    pid_t child = 0;
    int status = -1;
    if (posix_spawn(&child, program, nullptr, nullptr, arguments, environ) != 0 ||
        waitpid(child, &status, 0) != child || status != 0)
        bench::Fail("posix_spawn failed");
}

double TimeOf(void (*work)())
{
    const auto start = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - start;
    return taken.count();
}

} // namespace

int main()
{
    struct Work {
        const char* name;
        void (*run)();
        std::vector<double> times = {};
    };
    // Works of a pair take turns; a program that was started leaves cold caches to the next.
    Work pairs[][2] = {
        {{"library_load/xelutils", LoadWithLibrary}, {"library_load/dlopen", LoadWithHost}},
        {{"program_run/xelutils", StartWithLibrary}, {"program_run/posix_spawn", StartWithHost}},
    };
    for (auto& pair : pairs)
        for (std::size_t round = 0; round < kRounds; ++round)
            for (Work& work : pair)
                work.times.push_back(TimeOf(work.run));
    for (auto& pair : pairs) {
        for (Work& work : pair) {
            std::nth_element(work.times.begin(), work.times.begin() + kRounds / 2,
                             work.times.end());
            std::printf("%s\t%.0f\n", work.name, work.times[kRounds / 2]);
        }
    }
}
