// Formatting with fmt.
#include <string>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "values.h"

namespace {

template <class Make> void MakeTexts(benchmark::State& state, const std::string& prefix, Make make)
{
    for (std::size_t i = 0; i < bench::kNumbers; ++i) {
        if (make(bench::kIntegers[i]) != prefix + bench::kIntegerTexts[i])
            state.SkipWithError("wrong result");
    }
    bench::Turn turn;
    for (auto _ : state) {
        int number = bench::kIntegers[turn.next()];
        benchmark::DoNotOptimize(number);
        std::string text = make(number);
        benchmark::DoNotOptimize(text);
    }
}

void FormatInt(benchmark::State& state)
{
    MakeTexts(state, "", [](int number) { return fmt::format("{}", number); });
}
BENCHMARK(FormatInt)->Name("format_int/fmt");

void FormatPair(benchmark::State& state)
{
    const std::string key = bench::kKey;
    MakeTexts(state, key + "=",
              [&key](int number) { return fmt::format("{}={}", key.c_str(), number); });
}
BENCHMARK(FormatPair)->Name("format_pair/fmt");

} // namespace
