// Speed of reading a registry file, listing the values of a key, and reading one of them. Files lie
// in the folder for temporary files.
#include <string>

#include <benchmark/benchmark.h>

#include "bench_main.h"
#include "host.h"
#include "registries.h"
#include "settings_files.h"

namespace {

using bench::RegistryProgram;

constexpr std::size_t kEntries = 10'000;
// In the middle of the file.
constexpr std::size_t kChosen = kEntries / 2;

bool Holds(const RegistryProgram& program)
{
    for (const std::size_t number : {std::size_t{0}, kChosen, kEntries - 1}) {
        const bench::Entry entry = bench::MakeEntry(number);
        if (program.value(entry.key.c_str()) != entry.value)
            return false;
    }
    return program.list() == kEntries;
}

void Read(benchmark::State& state, RegistryProgram program)
{
    const std::string text = program.file(kEntries);
    const bench::TempFile files[] = {bench::TempFile(text), bench::TempFile(text)};
    std::size_t number = 0;
    bool read = true;
    for (auto _ : state)
        read = program.read(files[number++ % 2].path()) && read;
    if (!read || !Holds(program))
        state.SkipWithError("wrong values");
}

void List(benchmark::State& state, RegistryProgram program)
{
    const bench::TempFile file(program.file(kEntries));
    if (!program.read(file.path()) || !Holds(program))
        state.SkipWithError("wrong values");
    for (auto _ : state)
        benchmark::DoNotOptimize(program.list());
}

void Value(benchmark::State& state, RegistryProgram program)
{
    const bench::TempFile file(program.file(kEntries));
    if (!program.read(file.path()) || !Holds(program))
        state.SkipWithError("wrong values");
    const std::string name = bench::MakeEntry(kChosen).key;
    for (auto _ : state)
        benchmark::DoNotOptimize(program.value(name.c_str()));
}

} // namespace

int main(int argc, char** argv)
{
    for (const auto& program : {bench::XelutilsRegistry(), bench::KeyFileRegistry()}) {
        const std::string suffix = std::string("/") + program.name;
        benchmark::RegisterBenchmark(("registry_read" + suffix).c_str(), Read, program);
        benchmark::RegisterBenchmark(("registry_list" + suffix).c_str(), List, program);
        benchmark::RegisterBenchmark(("registry_value" + suffix).c_str(), Value, program);
    }
    return bench::Main(argc, argv);
}
