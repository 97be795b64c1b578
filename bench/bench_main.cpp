#include "bench_main.h"

#include <cstdio>
#include <cstring>
#include <sys/single_threaded.h>
#include <thread>
#include <unistd.h>

#include <benchmark/benchmark.h>

namespace bench {

namespace {

constexpr char kSecondThreadOption[] = "--second-thread";

bool TakeOption(int& argc, char** argv, const char* option)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], option) == 0) {
            std::memmove(argv + i, argv + i + 1, static_cast<size_t>(argc - i) * sizeof *argv);
            --argc;
            return true;
        }
    }
    return false;
}

void StartSleepingThread()
{
    std::thread([] {
        for (;;)
            pause();
    }).detach();
}

} // namespace

int Main(int argc, char** argv)
{
    const bool secondThread = TakeOption(argc, argv, kSecondThreadOption);
    if (secondThread)
        StartSleepingThread();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (!secondThread && !__libc_single_threaded) {
        std::fprintf(stderr, "a thread was started: these are not figures of one thread\n");
        return 1;
    }
    return 0;
}

} // namespace bench
