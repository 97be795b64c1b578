// Speed of formatting, of the conversions of numbers, and of lists. The peers stand in peers/.
#include <algorithm>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench_main.h"
#include "values.h"
#include "xelutils/formats/xel_formats.h"
#include "xelutils/text/xel_utf.h"

namespace {

using String = xel_text::CXelStringT<wchar_t>;

const wchar_t* Wide(const char16_t* text)
{
    return reinterpret_cast<const wchar_t*>(text);
}

void Check(benchmark::State& state, bool right)
{
    if (!right)
        state.SkipWithError("wrong result");
}

// Makes a text of each number by turns, in the first round comparing it with the expected one.
template <class Number, class Make>
void MakeTexts(benchmark::State& state, const Number (&numbers)[bench::kNumbers],
               const std::string& prefix, const char* const (&texts)[bench::kNumbers], Make make)
{
    for (std::size_t i = 0; i < bench::kNumbers; ++i)
        Check(state, xel_text::ToUtf8(make(numbers[i])) == prefix + texts[i]);
    bench::Turn turn;
    for (auto _ : state) {
        Number number = numbers[turn.next()];
        benchmark::DoNotOptimize(number);
        String text = make(number);
        benchmark::DoNotOptimize(text);
    }
}

void FormatInt(benchmark::State& state)
{
    MakeTexts(state, bench::kIntegers, "", bench::kIntegerTexts, [](int number) {
        String text;
        text.Format(L"%d", number);
        return text;
    });
}
BENCHMARK(FormatInt)->Name("format_int/xelutils");

void FormatPair(benchmark::State& state)
{
    const String key(bench::kKey);
    MakeTexts(state, bench::kIntegers, std::string(bench::kKey) + "=", bench::kIntegerTexts,
              [&key](int number) {
                  String text;
                  text.Format(L"%s=%d", key.GetString(), number);
                  return text;
              });
}
BENCHMARK(FormatPair)->Name("format_pair/xelutils");

void IntToText(benchmark::State& state)
{
    MakeTexts(state, bench::kIntegers, "", bench::kIntegerTexts, xel_formats::IntToString);
}
BENCHMARK(IntToText)->Name("int_to_text/xelutils");

void DoubleToText(benchmark::State& state)
{
    MakeTexts(state, bench::kDoubles, "", bench::kDoubleTexts,
              [](double number) { return xel_formats::DoubleToString(number); });
}
BENCHMARK(DoubleToText)->Name("double_to_text/xelutils");

void TextToInt(benchmark::State& state)
{
    String texts[bench::kNumbers];
    for (std::size_t i = 0; i < bench::kNumbers; ++i) {
        int number = 0;
        texts[i] = bench::kIntegerTexts[i];
        Check(state, xel_formats::StringToInt(texts[i], number) && number == bench::kIntegers[i]);
    }
    bench::Turn turn;
    for (auto _ : state) {
        int number = 0;
        benchmark::DoNotOptimize(xel_formats::StringToInt(texts[turn.next()], number));
        benchmark::DoNotOptimize(number);
    }
}
BENCHMARK(TextToInt)->Name("text_to_int/xelutils");

void TextToDouble(benchmark::State& state)
{
    String texts[bench::kNumbers];
    for (std::size_t i = 0; i < bench::kNumbers; ++i) {
        double number = 0;
        texts[i] = bench::kPreciseTexts[i];
        Check(state,
              xel_formats::StringToDouble(texts[i], number) && number == bench::kPreciseDoubles[i]);
    }
    bench::Turn turn;
    for (auto _ : state) {
        double number = 0;
        benchmark::DoNotOptimize(xel_formats::StringToDouble(texts[turn.next()], number));
        benchmark::DoNotOptimize(number);
    }
}
BENCHMARK(TextToDouble)->Name("text_to_double/xelutils");

template <class List>
void CheckList(benchmark::State& state, const List& list,
               const std::vector<std::u16string>& expected)
{
    Check(state, std::equal(list.begin(), list.end(), expected.begin(), expected.end(),
                            [](const String& value, const std::u16string& text) {
                                return xel_text::ToUtf16(value) == text;
                            }));
}

void Tokens(benchmark::State& state)
{
    const String line(Wide(bench::kWordLine));
    for (auto _ : state) {
        xel_formats::StringVector tokens;
        xel_formats::Tokenize(line, tokens, Wide(bench::kWordEnds));
        benchmark::DoNotOptimize(tokens);
    }
    xel_formats::StringVector tokens;
    xel_formats::Tokenize(line, tokens, Wide(bench::kWordEnds));
    CheckList(state, tokens, bench::Words());
}
BENCHMARK(Tokens)->Name("tokenize/xelutils");

void ParseValues(benchmark::State& state)
{
    const String line(Wide(bench::kLine)), forbidden(L"=");
    for (auto _ : state) {
        xel_formats::StringArray values;
        xel_formats::ParseValues(line, values, ',', forbidden);
        benchmark::DoNotOptimize(values);
    }
    xel_formats::StringArray values;
    Check(state, xel_formats::ParseValues(line, values, ',', forbidden));
    CheckList(state, values, bench::Values());
}
BENCHMARK(ParseValues)->Name("parse_values/xelutils");

void Join(benchmark::State& state)
{
    xel_formats::StringArray values;
    for (const std::u16string& value : bench::Values())
        values.push_back(xel_text::FromUtf16(value));
    Check(state, xel_text::ToUtf16(xel_formats::StringArrayToString(values)) == bench::kJoined);
    for (auto _ : state) {
        String joined = xel_formats::StringArrayToString(values);
        benchmark::DoNotOptimize(joined);
    }
}
BENCHMARK(Join)->Name("join/xelutils");

} // namespace

int main(int argc, char** argv)
{
    return bench::Main(argc, argv);
}
