// The main function of the benchmark programs.
#pragma once

namespace bench {

// Runs the registered benchmarks with Google Benchmark's options. With --second-thread a second,
// sleeping thread exists from the start, so that nobody saves the bus lock; without it the result
// is 1 when a second thread did come up, since the figures would then mean something else.
int Main(int argc, char** argv);

} // namespace bench
