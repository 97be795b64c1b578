// Speed of reading and writing settings files, from the file's name to the store and back; the
// store's destruction counts as part of reading. Files lie in the folder for temporary files.
#include <string>

#include <benchmark/benchmark.h>

#include "bench_main.h"
#include "host.h"
#include "settings_files.h"

namespace {

using bench::Encoding;
using bench::SettingsProgram;

bool Holds(const SettingsProgram& program, void* holder, std::size_t entries)
{
    for (const std::size_t number : {std::size_t{0}, entries / 2, entries - 1}) {
        const bench::Entry entry = bench::MakeEntry(number);
        if (program.value(holder, entry) != entry.value)
            return false;
    }
    return true;
}

void Read(benchmark::State& state, SettingsProgram program, std::size_t entries, Encoding encoding)
{
    const bench::TempFile file(bench::SettingsFile(entries, encoding));
    void* checked = program.read(file.path(), encoding);
    if (!checked || !Holds(program, checked, entries)) {
        state.SkipWithError("wrong values");
        return;
    }
    program.destroy(checked);
    for (auto _ : state)
        program.destroy(program.read(file.path(), encoding));
}

void Write(benchmark::State& state, SettingsProgram program, std::size_t entries, Encoding encoding)
{
    const bench::TempFile source(bench::SettingsFile(entries, Encoding::eightBit));
    const bench::TempFile target;
    void* holder = program.read(source.path(), Encoding::eightBit);
    bool written = true;
    for (auto _ : state)
        written = program.write(holder, target.path(), encoding) && written;
    program.destroy(holder);
    // Nobody's line ends and empty lines are counted, only that everything is there.
    const std::size_t least = entries * sizeof("key000000=12345678") *
                              (encoding == Encoding::utf16 ? sizeof(char16_t) : 1);
    if (!written || target.read().size() < least)
        state.SkipWithError("not written");
}

void Register(const SettingsProgram& program, std::size_t entries, Encoding encoding)
{
    const std::string suffix = std::string(encoding == Encoding::utf16 ? "_utf16_" : "_8bit_") +
                               std::to_string(entries) + "/" + program.name;
    benchmark::RegisterBenchmark(("read" + suffix).c_str(), Read, program, entries, encoding);
    benchmark::RegisterBenchmark(("write" + suffix).c_str(), Write, program, entries, encoding);
}

} // namespace

int main(int argc, char** argv)
{
    for (const auto& program : {bench::XelutilsSettings(), bench::SimpleIni(), bench::KeyFile()})
        for (const std::size_t entries : {100, 10'000, 1'000'000})
            for (const Encoding encoding : {Encoding::eightBit, Encoding::utf16})
                Register(program, entries, encoding);
    return bench::Main(argc, argv);
}
