// The string's work with QString.
#include <iterator>
#include <string>

#include <QByteArray>
#include <QString>
#include <benchmark/benchmark.h>

#include "texts.h"

namespace {

QString ToQt(const std::u16string& text)
{
    return QString::fromStdU16String(text);
}

void Check(benchmark::State& state, bool right)
{
    if (!right)
        state.SkipWithError("wrong result");
}

void Copy(benchmark::State& state)
{
    const QString source = ToQt(bench::LatinText(100));
    for (auto _ : state) {
        QString copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(Copy)->Name("copy_100/QString");

void Construct(benchmark::State& state, std::size_t length)
{
    const std::u16string text = bench::LatinText(length);
    const char16_t* source = text.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        QString made = QString::fromUtf16(source);
        benchmark::DoNotOptimize(made);
    }
}
BENCHMARK_CAPTURE(Construct, 10, 10)->Name("construct_10/QString");
BENCHMARK_CAPTURE(Construct, 100, 100)->Name("construct_100/QString");

void FindText(benchmark::State& state, std::size_t length)
{
    const QString text = ToQt(bench::NeedleAtEnd(length));
    const QString needle = ToQt(bench::kNeedle);
    Check(state,
          text.indexOf(needle) == static_cast<qsizetype>(length - (std::size(bench::kNeedle) - 1)));
    for (auto _ : state)
        benchmark::DoNotOptimize(text.indexOf(needle));
}
BENCHMARK_CAPTURE(FindText, 1, 1024)->Name("find_text_1k/QString");
BENCHMARK_CAPTURE(FindText, 64, 65536)->Name("find_text_64k/QString");

void FindCharacter(benchmark::State& state, std::size_t length)
{
    const QString text = ToQt(bench::LetterAtEnd(length));
    QChar letter = bench::kLetter;
    Check(state, text.indexOf(letter) == static_cast<qsizetype>(length - 1));
    for (auto _ : state) {
        benchmark::DoNotOptimize(letter);
        benchmark::DoNotOptimize(text.indexOf(letter));
    }
}
BENCHMARK_CAPTURE(FindCharacter, 1, 1024)->Name("find_character_1k/QString");
BENCHMARK_CAPTURE(FindCharacter, 64, 65536)->Name("find_character_64k/QString");

void Replace(benchmark::State& state)
{
    const QString source = ToQt(bench::TextWithPlaces());
    const QString oldText = ToQt(bench::kOld);
    const QString newText = ToQt(bench::kNew);
    QString result;
    for (auto _ : state) {
        result = source;
        result.replace(oldText, newText);
        benchmark::DoNotOptimize(result);
    }
    Check(state, result == ToQt(bench::TextWithPlacesReplaced()));
}
BENCHMARK(Replace)->Name("replace_32/QString");

void CompareNoCase(benchmark::State& state)
{
    const QString first = ToQt(bench::MixedCase());
    const QString second = ToQt(bench::UpperCase());
    Check(state, first.compare(second, Qt::CaseInsensitive) == 0);
    for (auto _ : state)
        benchmark::DoNotOptimize(first.compare(second, Qt::CaseInsensitive));
}
BENCHMARK(CompareNoCase)->Name("compare_no_case/QString");

void Widen(benchmark::State& state)
{
    const std::string bytes = bench::AsciiBytes(1024);
    const char* source = bytes.c_str();
    Check(state, QString::fromLatin1(source) == ToQt(bench::FromWindows1252(bytes)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(source);
        QString made = QString::fromLatin1(source);
        benchmark::DoNotOptimize(made);
    }
}
BENCHMARK(Widen)->Name("widen_ascii/QString");

} // namespace
