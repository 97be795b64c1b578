// Speed of the string. Its peers stand in peers/; each has the same loops in its own words.
#include <iterator>
#include <string>

#include <benchmark/benchmark.h>

#include "bench_main.h"
#include "texts.h"
#include "xelutils/text/xel_string.h"
#include "xelutils/text/xel_utf.h"

namespace {

using String = xel_text::CXelStringT<wchar_t>;
using NarrowString = xel_text::CXelStringT<char>;

const wchar_t* Wide(const std::u16string& text)
{
    return reinterpret_cast<const wchar_t*>(text.c_str());
}

void Check(benchmark::State& state, bool right)
{
    if (!right)
        state.SkipWithError("wrong result");
}

void Copy(benchmark::State& state)
{
    const std::u16string text = bench::LatinText(100);
    const String source(Wide(text));
    Check(state, xel_text::ToUtf16(String(source)) == text);
    for (auto _ : state) {
        String copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(Copy)->Name("copy_100/xelutils");

void Construct(benchmark::State& state, std::size_t length)
{
    const std::u16string text = bench::LatinText(length);
    const wchar_t* source = Wide(text);
    Check(state, xel_text::ToUtf16(String(source)) == text);
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        String made(source);
        benchmark::DoNotOptimize(made);
    }
}
BENCHMARK_CAPTURE(Construct, 10, 10)->Name("construct_10/xelutils");
BENCHMARK_CAPTURE(Construct, 100, 100)->Name("construct_100/xelutils");

void Assign(benchmark::State& state, std::size_t length)
{
    const std::u16string text = bench::LatinText(length);
    const wchar_t* source = Wide(text);
    String target(Wide(bench::LatinText(2 * length)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        target = source;
        benchmark::DoNotOptimize(target);
    }
    Check(state, xel_text::ToUtf16(target) == text);
}
BENCHMARK_CAPTURE(Assign, 10, 10)->Name("assign_10/xelutils");
BENCHMARK_CAPTURE(Assign, 100, 100)->Name("assign_100/xelutils");

void FindText(benchmark::State& state, std::size_t length)
{
    const String text(Wide(bench::NeedleAtEnd(length)));
    const wchar_t* needle = reinterpret_cast<const wchar_t*>(bench::kNeedle);
    const auto expected = static_cast<int>(length - (std::size(bench::kNeedle) - 1));
    Check(state, text.Find(needle) == expected);
    for (auto _ : state) {
        benchmark::DoNotOptimize(needle);
        benchmark::DoNotOptimize(text.Find(needle));
    }
}
BENCHMARK_CAPTURE(FindText, 1, 1024)->Name("find_text_1k/xelutils");
BENCHMARK_CAPTURE(FindText, 64, 65536)->Name("find_text_64k/xelutils");

void FindCharacter(benchmark::State& state, std::size_t length)
{
    const String text(Wide(bench::LetterAtEnd(length)));
    auto letter = static_cast<wchar_t>(bench::kLetter);
    Check(state, text.Find(letter) == static_cast<int>(length - 1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(letter);
        benchmark::DoNotOptimize(text.Find(letter));
    }
}
BENCHMARK_CAPTURE(FindCharacter, 1, 1024)->Name("find_character_1k/xelutils");
BENCHMARK_CAPTURE(FindCharacter, 64, 65536)->Name("find_character_64k/xelutils");

void Replace(benchmark::State& state)
{
    const String source(Wide(bench::TextWithPlaces()));
    const wchar_t* oldText = reinterpret_cast<const wchar_t*>(bench::kOld);
    const wchar_t* newText = reinterpret_cast<const wchar_t*>(bench::kNew);
    String result;
    for (auto _ : state) {
        benchmark::DoNotOptimize(oldText);
        result = source;
        benchmark::DoNotOptimize(result.Replace(oldText, newText));
    }
    Check(state, xel_text::ToUtf16(result) == bench::TextWithPlacesReplaced());
}
BENCHMARK(Replace)->Name("replace_32/xelutils");

void CompareNoCase(benchmark::State& state)
{
    const String first(Wide(bench::MixedCase()));
    const String second(Wide(bench::UpperCase()));
    Check(state, first.CompareNoCase(second) == 0 && first.Compare(second) != 0);
    for (auto _ : state) {
        const wchar_t* other = second;
        benchmark::DoNotOptimize(other);
        benchmark::DoNotOptimize(first.CompareNoCase(other));
    }
}
BENCHMARK(CompareNoCase)->Name("compare_no_case/xelutils");

void Widen(benchmark::State& state, const std::string& bytes)
{
    const char* source = bytes.c_str();
    Check(state, xel_text::ToUtf16(String(source)) == bench::FromWindows1252(bytes));
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        String made(source);
        benchmark::DoNotOptimize(made);
    }
}
BENCHMARK_CAPTURE(Widen, latin, bench::LatinBytes(1024))->Name("widen_latin/xelutils");
BENCHMARK_CAPTURE(Widen, ascii, bench::AsciiBytes(1024))->Name("widen_ascii/xelutils");

void Narrow(benchmark::State& state, const std::string& bytes)
{
    const std::u16string text = bench::FromWindows1252(bytes);
    const wchar_t* source = Wide(text);
    Check(state, NarrowString(source).GetString() == bytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        NarrowString made(source);
        benchmark::DoNotOptimize(made);
    }
}
BENCHMARK_CAPTURE(Narrow, latin, bench::LatinBytes(1024))->Name("narrow_latin/xelutils");
BENCHMARK_CAPTURE(Narrow, ascii, bench::AsciiBytes(1024))->Name("narrow_ascii/xelutils");

} // namespace

int main(int argc, char** argv)
{
    return bench::Main(argc, argv);
}
