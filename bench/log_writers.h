// Log lines, as the library and its peers write them: seconds and milliseconds since the start, a
// level, and "Job 17 opened by Panel North". Each function writes `count` of them from the calling
// thread, every line handed to the kernel before the next one is made. Files stand in the current
// folder.
#pragma once

namespace bench {

constexpr char kOpenedBy[] = "Panel North";

void XelutilsLines(int count);
void SpdlogLines(int count);
// One fprintf and one fflush for each line.
void FprintfLines(int count);
// One write of the bytes that the library's line has, made before.
void WriteLines(int count);

// The same call at a level that is switched off.
void XelutilsSilent(int count);
void GlogSilent(int count);

} // namespace bench
