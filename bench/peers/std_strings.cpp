// The string's work with std::u16string.
#include <clocale>
#include <cwctype>
#include <iterator>
#include <string>

#include <benchmark/benchmark.h>

#include "texts.h"

namespace {

void Check(benchmark::State& state, bool right)
{
    if (!right)
        state.SkipWithError("wrong result");
}

void Copy(benchmark::State& state)
{
    const std::u16string source = bench::LatinText(100);
    for (auto _ : state) {
        std::u16string copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(Copy)->Name("copy_100/std::u16string");

void Construct(benchmark::State& state, std::size_t length)
{
    const std::u16string text = bench::LatinText(length);
    const char16_t* source = text.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        std::u16string made(source);
        benchmark::DoNotOptimize(made);
    }
}
BENCHMARK_CAPTURE(Construct, 10, 10)->Name("construct_10/std::u16string");
BENCHMARK_CAPTURE(Construct, 100, 100)->Name("construct_100/std::u16string");

void Assign(benchmark::State& state, std::size_t length)
{
    const std::u16string text = bench::LatinText(length);
    const char16_t* source = text.c_str();
    std::u16string target = bench::LatinText(2 * length);
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        target = source;
        benchmark::DoNotOptimize(target);
    }
    Check(state, target == text);
}
BENCHMARK_CAPTURE(Assign, 10, 10)->Name("assign_10/std::u16string");
BENCHMARK_CAPTURE(Assign, 100, 100)->Name("assign_100/std::u16string");

void FindText(benchmark::State& state, std::size_t length)
{
    const std::u16string text = bench::NeedleAtEnd(length);
    const char16_t* needle = bench::kNeedle;
    Check(state, text.find(needle) == length - (std::size(bench::kNeedle) - 1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(needle);
        benchmark::DoNotOptimize(text.find(needle));
    }
}
BENCHMARK_CAPTURE(FindText, 1, 1024)->Name("find_text_1k/std::u16string");
BENCHMARK_CAPTURE(FindText, 64, 65536)->Name("find_text_64k/std::u16string");

void FindCharacter(benchmark::State& state, std::size_t length)
{
    const std::u16string text = bench::LetterAtEnd(length);
    char16_t letter = bench::kLetter;
    Check(state, text.find(letter) == length - 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(letter);
        benchmark::DoNotOptimize(text.find(letter));
    }
}
BENCHMARK_CAPTURE(FindCharacter, 1, 1024)->Name("find_character_1k/std::u16string");
BENCHMARK_CAPTURE(FindCharacter, 64, 65536)->Name("find_character_64k/std::u16string");

std::u16string Replaced(const std::u16string& source, const std::u16string& oldText,
                        const std::u16string& newText)
{
    std::u16string result;
    result.reserve(source.size() + bench::kPlaces * newText.size());
    std::size_t start = 0;
    for (std::size_t at; (at = source.find(oldText, start)) != source.npos;) {
        result.append(source, start, at - start).append(newText);
        start = at + oldText.size();
    }
    return result.append(source, start);
}

void Replace(benchmark::State& state)
{
    const std::u16string source = bench::TextWithPlaces();
    const std::u16string oldText = bench::kOld;
    const std::u16string newText = bench::kNew;
    std::u16string result;
    for (auto _ : state) {
        result = Replaced(source, oldText, newText);
        benchmark::DoNotOptimize(result);
    }
    Check(state, result == bench::TextWithPlacesReplaced());
}
BENCHMARK(Replace)->Name("replace_32/std::u16string");

bool EqualNoCase(const std::u16string& first, const std::u16string& second)
{
    if (first.size() != second.size())
        return false;
    for (std::size_t i = 0; i < first.size(); ++i)
        if (first[i] != second[i] && std::towlower(first[i]) != std::towlower(second[i]))
            return false;
    return true;
}

void CompareNoCase(benchmark::State& state)
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
    const std::u16string first = bench::MixedCase();
    const std::u16string second = bench::UpperCase();
    Check(state, EqualNoCase(first, second));
    for (auto _ : state)
        benchmark::DoNotOptimize(EqualNoCase(first, second));
}
BENCHMARK(CompareNoCase)->Name("compare_no_case/std::u16string");

} // namespace
