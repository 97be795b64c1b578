// Processor's time for whole trees of files: copying them, counting their files, looking for one
// that is not there, removing them. The library, std::filesystem and the host's cp, find and rm
// take turns; prints lines of "work/who", a tab, and the median in nanoseconds. Files lie in the
// folder for temporary files. An argument: the number of rounds.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "host.h"
#include "trees.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kRounds = 15;

struct Work {
    const char* suffix;
    bench::TreeShape shape;
};
constexpr Work kWorks[] = {
    {"500", {500, 20, 1000}},
    {"one", {1, 10'000, 1000}},
    {"100m", {1, 10, 10'000'000}},
};

// Of this process and of the children that have ended.
double ProcessorTime()
{
    double nanoseconds = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage;
        getrusage(who, &usage);
        for (const timeval& time : {usage.ru_utime, usage.ru_stime})
            nanoseconds +=
                static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_usec) * 1e3;
    }
    return nanoseconds;
}

void MakeTree(const fs::path& top, const bench::TreeShape& shape)
{
    const std::string content(shape.fileBytes, 'x');
    for (std::size_t folder = 0; folder < shape.folders; ++folder) {
        const fs::path path = top / ("folder" + std::to_string(folder));
        fs::create_directories(path);
        for (std::size_t file = 0; file < shape.filesPerFolder; ++file)
            std::ofstream(path / ("file" + std::to_string(file) + ".txt")) << content;
    }
}

void CheckCopy(const std::string& copy, const bench::TreeShape& shape)
{
    std::size_t files = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(copy))
        files += entry.is_regular_file() && entry.file_size() == shape.fileBytes;
    if (files != shape.Files())
        bench::Fail("wrong copy");
}

class Rounds {
public:
    Rounds(const Work& work, const std::string& folder)
        : m_work(work), m_from(folder + "/from"), m_to(folder + "/to")
    {
        MakeTree(m_from, work.shape);
    }

    void Run(const bench::TreeProgram& program)
    {
        const std::size_t files = m_work.shape.Files();
        Measure("copy", program, [&] { return program.copy(m_from, m_to); });
        CheckCopy(m_to, m_work.shape);
        Measure("remove", program, [&] { return program.remove(m_to); });
        if (fs::exists(m_to))
            bench::Fail("not removed");
        Measure("count", program, [&] {
            const std::size_t count = program.count(m_from);
            return count == files || count == 0;
        });
        Measure("find", program, [&] { return program.miss(m_from); });
    }

    void Print()
    {
        for (auto& [work, times] : m_times) {
            std::nth_element(times.begin(), times.begin() + times.size() / 2, times.end());
            std::printf("%s\t%.0f\n", work.c_str(), times[times.size() / 2]);
        }
    }

private:
    template <class Run> void Measure(const char* what, const bench::TreeProgram& program, Run run)
    {
        const double start = ProcessorTime();
        if (!run())
            bench::Fail(std::string(program.name) + " failed to " + what);
        const std::string work = std::string("tree_") + what + '_' + m_work.suffix;
        m_times[work + '/' + program.name].push_back(ProcessorTime() - start);
    }

    const Work& m_work;
    const std::string m_from;
    const std::string m_to;
    std::map<std::string, std::vector<double>> m_times;
};

} // namespace

int main(int argc, char** argv)
{
    const std::size_t rounds = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : kRounds;
    const std::string folder =
        (fs::temp_directory_path() / ("xelutils_bench_" + std::to_string(getpid()))).string();
    for (const Work& work : kWorks) {
        Rounds measured(work, folder);
        for (std::size_t round = 0; round < rounds; ++round)
            for (const auto& program :
                 {bench::XelutilsTrees(), bench::StdTrees(), bench::HostTrees()})
                measured.Run(program);
        measured.Print();
        fs::remove_all(folder);
    }
}
