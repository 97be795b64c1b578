// Text to numbers with POCO.
#include <string>

#include <Poco/NumberParser.h>
#include <benchmark/benchmark.h>

#include "values.h"

namespace {

void TextToInt(benchmark::State& state)
{
    std::string texts[bench::kNumbers];
    for (std::size_t i = 0; i < bench::kNumbers; ++i) {
        int number = 0;
        texts[i] = bench::kIntegerTexts[i];
        if (!Poco::NumberParser::tryParse(texts[i], number) || number != bench::kIntegers[i])
            state.SkipWithError("wrong result");
    }
    bench::Turn turn;
    for (auto _ : state) {
        int number = 0;
        benchmark::DoNotOptimize(Poco::NumberParser::tryParse(texts[turn.next()], number));
        benchmark::DoNotOptimize(number);
    }
}
BENCHMARK(TextToInt)->Name("text_to_int/POCO");

void TextToDouble(benchmark::State& state)
{
    std::string texts[bench::kNumbers];
    for (std::size_t i = 0; i < bench::kNumbers; ++i) {
        double number = 0;
        texts[i] = bench::kPreciseTexts[i];
        if (!Poco::NumberParser::tryParseFloat(texts[i], number) ||
            number != bench::kPreciseDoubles[i])
            state.SkipWithError("wrong result");
    }
    bench::Turn turn;
    for (auto _ : state) {
        double number = 0;
        benchmark::DoNotOptimize(Poco::NumberParser::tryParseFloat(texts[turn.next()], number));
        benchmark::DoNotOptimize(number);
    }
}
BENCHMARK(TextToDouble)->Name("text_to_double/POCO");

} // namespace
