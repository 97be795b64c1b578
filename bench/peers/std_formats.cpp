// Formatting, conversions and lists with the C and C++ standard libraries.
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "values.h"

namespace {

void Check(benchmark::State& state, bool right)
{
    if (!right)
        state.SkipWithError("wrong result");
}

template <class Number, class Make>
void MakeTexts(benchmark::State& state, const Number (&numbers)[bench::kNumbers],
               const std::string& prefix, const char* const (&texts)[bench::kNumbers], Make make)
{
    for (std::size_t i = 0; i < bench::kNumbers; ++i)
        Check(state, make(numbers[i]) == prefix + texts[i]);
    bench::Turn turn;
    for (auto _ : state) {
        Number number = numbers[turn.next()];
        benchmark::DoNotOptimize(number);
        std::string text = make(number);
        benchmark::DoNotOptimize(text);
    }
}

template <class... Arguments> std::string Printed(const char* pattern, Arguments... arguments)
{
    char buffer[64];
    const int length = std::snprintf(buffer, sizeof buffer, pattern, arguments...);
    return {buffer, static_cast<std::size_t>(length)};
}

template <class Number> std::string ToChars(Number number)
{
    char buffer[64];
    return {buffer, std::to_chars(buffer, std::end(buffer), number).ptr};
}

void PrintInt(benchmark::State& state)
{
    MakeTexts(state, bench::kIntegers, "", bench::kIntegerTexts,
              [](int number) { return Printed("%d", number); });
}
BENCHMARK(PrintInt)->Name("format_int/snprintf");
BENCHMARK(PrintInt)->Name("int_to_text/snprintf");

void PrintPair(benchmark::State& state)
{
    MakeTexts(state, bench::kIntegers, std::string(bench::kKey) + "=", bench::kIntegerTexts,
              [](int number) { return Printed("%s=%d", bench::kKey, number); });
}
BENCHMARK(PrintPair)->Name("format_pair/snprintf");

void PrintDouble(benchmark::State& state)
{
    bench::Turn turn;
    for (auto _ : state) {
        double number = bench::kDoubles[turn.next()];
        benchmark::DoNotOptimize(number);
        std::string text = Printed("%.*f", bench::kDecimals, number);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(PrintDouble)->Name("double_to_text/snprintf");

void ToCharsInt(benchmark::State& state)
{
    MakeTexts(state, bench::kIntegers, "", bench::kIntegerTexts, ToChars<int>);
}
BENCHMARK(ToCharsInt)->Name("format_int/std::to_chars");
BENCHMARK(ToCharsInt)->Name("int_to_text/std::to_chars");

void ToCharsDouble(benchmark::State& state)
{
    MakeTexts(state, bench::kDoubles, "", bench::kDoubleTexts, ToChars<double>);
}
BENCHMARK(ToCharsDouble)->Name("double_to_text/std::to_chars");

void TextToInt(benchmark::State& state)
{
    bench::Turn turn;
    for (auto _ : state) {
        const char* text = bench::kIntegerTexts[turn.next()];
        benchmark::DoNotOptimize(text);
        char* end;
        const long number = std::strtol(text, &end, 10);
        benchmark::DoNotOptimize(end != text);
        benchmark::DoNotOptimize(number);
    }
}
BENCHMARK(TextToInt)->Name("text_to_int/strtol");

void TextToDouble(benchmark::State& state)
{
    bench::Turn turn;
    for (auto _ : state) {
        const char* text = bench::kPreciseTexts[turn.next()];
        benchmark::DoNotOptimize(text);
        char* end;
        const double number = std::strtod(text, &end);
        benchmark::DoNotOptimize(end != text);
        benchmark::DoNotOptimize(number);
    }
}
BENCHMARK(TextToDouble)->Name("text_to_double/strtod");

std::vector<std::u16string> Tokens(const std::u16string& line)
{
    std::vector<std::u16string> tokens;
    std::size_t start = line.find_first_not_of(bench::kWordEnds);
    while (start != std::u16string::npos) {
        const std::size_t end = line.find_first_of(bench::kWordEnds, start);
        tokens.push_back(line.substr(start, end - start));
        start = line.find_first_not_of(bench::kWordEnds, end);
    }
    return tokens;
}

void Tokenize(benchmark::State& state)
{
    const std::u16string line = bench::kWordLine;
    Check(state, Tokens(line) == bench::Words());
    for (auto _ : state) {
        std::vector<std::u16string> tokens = Tokens(line);
        benchmark::DoNotOptimize(tokens);
    }
}
BENCHMARK(Tokenize)->Name("tokenize/std::u16string");

std::u16string Cleaned(const std::u16string& line, std::size_t start, std::size_t end)
{
    constexpr char16_t kBlanks[] = u" \t\n\v\f\r";
    std::u16string value = line.substr(start, end - start);
    value.erase(0, value.find_first_not_of(kBlanks));
    value.erase(value.find_last_not_of(kBlanks) + 1);
    std::erase(value, u'\r');
    std::erase(value, u'\n');
    return value;
}

bool Parsed(const std::u16string& line, const std::u16string& forbidden,
            std::vector<std::u16string>& values)
{
    std::size_t start = 0, end = 0;
    do {
        end = line.find(u',', start);
        const std::u16string value = Cleaned(line, start, end);
        if (value.find_first_of(forbidden) != std::u16string::npos)
            return false;
        values.push_back(value);
        start = end + 1;
    } while (end != std::u16string::npos);
    return true;
}

void ParseValues(benchmark::State& state)
{
    const std::u16string line = bench::kLine, forbidden = u"=";
    std::vector<std::u16string> first;
    Check(state, Parsed(line, forbidden, first) && first == bench::Values());
    for (auto _ : state) {
        std::vector<std::u16string> values;
        Parsed(line, forbidden, values);
        benchmark::DoNotOptimize(values);
    }
}
BENCHMARK(ParseValues)->Name("parse_values/std::u16string");

std::u16string Joined(const std::vector<std::u16string>& values)
{
    std::size_t length = values.size();
    for (const std::u16string& value : values)
        length += value.size();
    std::u16string joined;
    joined.reserve(length);
    for (const std::u16string& value : values) {
        if (&value != values.data())
            joined += u',';
        joined += value;
    }
    return joined;
}

void Join(benchmark::State& state)
{
    const std::vector<std::u16string>& values = bench::Values();
    Check(state, Joined(values) == bench::kJoined);
    for (auto _ : state) {
        std::u16string joined = Joined(values);
        benchmark::DoNotOptimize(joined);
    }
}
BENCHMARK(Join)->Name("join/std::u16string");

} // namespace
