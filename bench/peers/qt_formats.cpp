// Numbers to text with QString.
#include <QString>
#include <benchmark/benchmark.h>

#include "values.h"

namespace {

template <class Number, class Make>
void MakeTexts(benchmark::State& state, const Number (&numbers)[bench::kNumbers], Make make)
{
    for (const Number number : numbers) {
        if (make(number).toDouble() != number)
            state.SkipWithError("wrong result");
    }
    bench::Turn turn;
    for (auto _ : state) {
        Number number = numbers[turn.next()];
        benchmark::DoNotOptimize(number);
        QString text = make(number);
        benchmark::DoNotOptimize(text);
    }
}

void IntToText(benchmark::State& state)
{
    MakeTexts(state, bench::kIntegers, [](int number) { return QString::number(number); });
}
BENCHMARK(IntToText)->Name("int_to_text/QString");

void DoubleToText(benchmark::State& state)
{
    MakeTexts(state, bench::kDoubles,
              [](double number) { return QString::number(number, 'f', bench::kDecimals); });
}
BENCHMARK(DoubleToText)->Name("double_to_text/QString");

} // namespace
