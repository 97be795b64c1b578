// Memory that stays with the process, as the kernel counts it, for each heap and settings program
// in a process of its own. Prints lines of "work/who", a tab, and bytes for each block or entry.
//
//   memory_bench                       everything
//   memory_bench heap WHO SIZE         in this process
//   memory_bench settings WHO FILE
#include <cstdio>
#include <cstring>
#include <string>

#include "allocators.h"
#include "host.h"
#include "settings_files.h"

namespace {

constexpr std::size_t kBlocks = 1'000'000;
constexpr std::size_t kEntries = 1'000'000;

const bench::SettingsProgram kPrograms[] = {bench::XelutilsSettings(), bench::SimpleIni(),
                                            bench::KeyFile()};

template <class Size> double BytesPerBlock(const bench::Heap<Size>& heap, std::uint32_t size)
{
    // The code's own pages are not the blocks'.
    heap.release(heap.allocate(size));
    const long before = bench::ResidentBytes();
    for (std::size_t i = 0; i < kBlocks; ++i)
        std::memset(heap.allocate(size), 1, size);
    return static_cast<double>(bench::ResidentBytes() - before) / kBlocks;
}

double BytesPerBlockOf(const std::string& who, std::uint32_t size)
{
    return who == "xelutils" ? BytesPerBlock(bench::XelutilsAllocator(), size)
                             : BytesPerBlock(bench::Peer(who), size);
}

double BytesPerEntry(const std::string& who, const char* path)
{
    for (const bench::SettingsProgram& program : kPrograms) {
        if (who != program.name)
            continue;
        const long before = bench::ResidentBytes();
        if (!program.read(path, bench::Encoding::eightBit))
            bench::Fail(who + " refused the file");
        return static_cast<double>(bench::ResidentBytes() - before) / kEntries;
    }
    bench::Fail("nobody is called " + who);
}

void MeasureElsewhere(const std::string& work, const std::string& who, const std::string& arguments)
{
    const std::string output = bench::OutputOf(bench::OwnPath() + " " + arguments);
    std::printf("%s/%s\t%s", work.c_str(), who.c_str(), output.c_str());
    std::fflush(stdout);
}

void MeasureAll()
{
    for (const std::string size : {"20", "40", "100"}) {
        MeasureElsewhere("resident_" + size, "xelutils", "heap xelutils " + size);
        for (const std::string& who : bench::PeerNames())
            MeasureElsewhere("resident_" + size, who, "heap " + who + " " + size);
    }
    const bench::TempFile file(bench::SettingsFile(kEntries, bench::Encoding::eightBit));
    for (const bench::SettingsProgram& program : kPrograms)
        MeasureElsewhere("memory_entry", program.name,
                         std::string("settings ") + program.name + " " + file.path());
}

} // namespace

int main(int argc, char** argv)
{
    bench::ReserveThreadLocalRoom(argv);
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "heap" && argc == 4)
        std::printf("%.2f\n",
                    BytesPerBlockOf(argv[2], static_cast<std::uint32_t>(std::stoul(argv[3]))));
    else if (what == "settings" && argc == 4)
        std::printf("%.2f\n", BytesPerEntry(argv[2], argv[3]));
    else if (argc == 1)
        MeasureAll();
    else
        bench::Fail("usage: memory_bench [heap WHO SIZE | settings WHO FILE]");
}
