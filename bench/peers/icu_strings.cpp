// The string's work with ICU: code pages and comparing without case. The converter is opened once.
#include <string>

#include <benchmark/benchmark.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>

#include "texts.h"

namespace {

class Windows1252 {
public:
    Windows1252() : m_converter(ucnv_open("windows-1252", &m_error)) {}
    ~Windows1252() { ucnv_close(m_converter); }
    Windows1252(const Windows1252&) = delete;
    Windows1252& operator=(const Windows1252&) = delete;

    icu::UnicodeString widened(const char* bytes) { return {bytes, -1, m_converter, m_error}; }

    std::string narrowed(const char16_t* text)
    {
        char buffer[2048];
        const int length = ucnv_fromUChars(m_converter, buffer, sizeof buffer, text, -1, &m_error);
        return {buffer, static_cast<std::size_t>(length)};
    }

    bool failed() const { return U_FAILURE(m_error); }

private:
    UErrorCode m_error = U_ZERO_ERROR;
    UConverter* m_converter;
};

void Check(benchmark::State& state, bool right)
{
    if (!right)
        state.SkipWithError("wrong result");
}

void Widen(benchmark::State& state, const std::string& bytes)
{
    Windows1252 page;
    const char* source = bytes.c_str();
    const std::u16string expected = bench::FromWindows1252(bytes);
    Check(state, page.widened(source) == icu::UnicodeString(expected.c_str()) && !page.failed());
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        icu::UnicodeString made = page.widened(source);
        benchmark::DoNotOptimize(made);
    }
}
BENCHMARK_CAPTURE(Widen, latin, bench::LatinBytes(1024))->Name("widen_latin/ICU");
BENCHMARK_CAPTURE(Widen, ascii, bench::AsciiBytes(1024))->Name("widen_ascii/ICU");

void Narrow(benchmark::State& state, const std::string& bytes)
{
    Windows1252 page;
    const std::u16string text = bench::FromWindows1252(bytes);
    const char16_t* source = text.c_str();
    Check(state, page.narrowed(source) == bytes && !page.failed());
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        std::string made = page.narrowed(source);
        benchmark::DoNotOptimize(made);
    }
}
BENCHMARK_CAPTURE(Narrow, latin, bench::LatinBytes(1024))->Name("narrow_latin/ICU");
BENCHMARK_CAPTURE(Narrow, ascii, bench::AsciiBytes(1024))->Name("narrow_ascii/ICU");

void CompareNoCase(benchmark::State& state)
{
    const icu::UnicodeString first(bench::MixedCase().c_str());
    const icu::UnicodeString second(bench::UpperCase().c_str());
    Check(state, first.caseCompare(second, U_FOLD_CASE_DEFAULT) == 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(first.caseCompare(second, U_FOLD_CASE_DEFAULT));
}
BENCHMARK(CompareNoCase)->Name("compare_no_case/ICU");

} // namespace
