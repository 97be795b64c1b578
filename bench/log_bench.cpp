// Time of a log line, with 1, 2 and 4 threads that write into one file, and of a line at a level
// that is switched off. All take turns; prints lines of "work/who", a tab, and the median in
// nanoseconds for each line.
//
// The library's log stands beside the program, so the program copies itself into a folder for
// temporary files and runs there, with the copy for the debugger off.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "host.h"
#include "log_writers.h"

namespace {

constexpr char kInFolder[] = "--in-folder";

struct Writer {
    const char* name;
    void (*lines)(int count);
    std::vector<double> nanoseconds{};
};

// One thread is measured by the processor's time, which other programs disturb less.
double Now(int threads)
{
    timespec now{};
    clock_gettime(threads == 1 ? CLOCK_PROCESS_CPUTIME_ID : CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

double TimeOfLine(const Writer& writer, int threads, int linesOfEach)
{
    const double start = Now(threads);
    if (threads == 1) {
        writer.lines(linesOfEach);
    } else {
        std::vector<std::thread> all;
        for (int i = 0; i < threads; ++i)
            all.emplace_back(writer.lines, linesOfEach);
        for (std::thread& thread : all)
            thread.join();
    }
    return (Now(threads) - start) / (threads * linesOfEach);
}

void Compare(const std::string& work, std::vector<Writer> writers, int threads, int lines,
             int rounds)
{
    for (int round = 0; round < rounds; ++round)
        for (Writer& writer : writers)
            writer.nanoseconds.push_back(TimeOfLine(writer, threads, lines / threads));
    for (Writer& writer : writers) {
        const auto middle = writer.nanoseconds.begin() + rounds / 2;
        std::nth_element(writer.nanoseconds.begin(), middle, writer.nanoseconds.end());
        std::printf("%s/%s\t%.2f\n", work.c_str(), writer.name, *middle);
    }
}

void Measure()
{
    constexpr int kRounds = 51;
    constexpr int kLines = 4000;
    constexpr int kSilentLines = 400'000;
    const std::vector<Writer> writers = {{"xelutils", bench::XelutilsLines},
                                         {"spdlog", bench::SpdlogLines},
                                         {"fprintf", bench::FprintfLines},
                                         {"write", bench::WriteLines}};
    // One thread first, while there is no other.
    Compare("log_line_1", writers, 1, kLines, kRounds);
    Compare("log_silent", {{"xelutils", bench::XelutilsSilent}, {"glog", bench::GlogSilent}}, 1,
            kSilentLines, kRounds);
    Compare("log_line_2", writers, 2, kLines, kRounds);
    Compare("log_line_4", writers, 4, kLines, kRounds);
}

// Runs this program in a folder of its own, which goes again.
int RunInFolder()
{
    namespace fs = std::filesystem;
    std::string folder = (fs::temp_directory_path() / "xelutils_log_bench_XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr)
        bench::Fail("cannot create a temporary folder " + folder);
    fs::copy_file(bench::OwnPath(), folder + "/log_bench");
    const std::string command =
        "cd '" + folder + "' && XEL_DEVICE_ROOT= XEL_DEBUG_OUTPUT=none ./log_bench " + kInFolder;
    const int status = std::system(command.c_str());
    fs::remove_all(folder);
    return status == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || std::string(argv[1]) != kInFolder)
        return RunInFolder();
    Measure();
}
