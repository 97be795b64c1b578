// The program's trace log: a text file beside the program, and the debugger's output.
//
// The first trace, of any level, makes the file: \Programs\Field\app.exe logs to
// \Programs\Field\app.log.txt, in UTF-16LE with its mark FF FE. What an earlier run left there is
// gone then. When the file cannot be made, or another program that was started from the same
// executable is writing it, all goes to the debugger's output alone; nobody is told.
//
// A line has seconds and milliseconds since the file was opened, the level, and the message, and
// ends in CR LF:
//
//   00000.000 ; 7 ; Program \Programs\Field\app.exe started on 03/05/2024 14:07
//   00002.516 ; 7 ; Job opened
//   00031.090 ; 7 ; Logging finished
//
// The last one is written when the program ends or the library is unloaded; destructors of the
// program's static objects still trace before it. What is traced later, by threads that go on,
// reaches the debugger's output only. After 2^32 milliseconds the time begins again at 0.
//
// Any thread may trace. Lines never mix, and each reaches the file in one write. A write that
// fails is ignored.
//
// Formats are those of CXelStringT::Format: %s is text of the format's own width, messages are
// cut at 2048 characters. Strings and CStrings may be arguments as they are. A narrow message is
// text in the system's code page, and ends at its first zero character.
#pragma once

#include <atomic>
#include <cstdint>

#include "xelutils/export.h"
#include "xelutils/text/format_argument.h"
#include "xelutils/text/xel_string.h"

namespace xel_logging {

using xel_text::CXelStringT;

namespace detail {

// Levels are sets of bits, not ranks.
constexpr std::uint32_t kAlways = 7;
constexpr std::uint32_t kDebug = 6;

// A line is produced when its level has a bit in common with this mask. All bits are set until the
// first trace has made the logger, and only the lowest one from then on: debug lines are silent.
XELUTILS_API extern std::atomic<std::uint32_t> g_levelMask;

inline bool IsProduced(std::uint32_t level)
{
    return (level & g_levelMask.load(std::memory_order_relaxed)) != 0;
}

// Of LOGMESSAGE's levels, as a whole long; negative ones are large numbers.
constexpr std::uint32_t LevelOfMessage(long level)
{
    constexpr unsigned long kLastImportant = 3;
    return static_cast<unsigned long>(level) <= kLastImportant ? kAlways : kDebug;
}

template <class T> using Trace = void (*)(const T*, ...);
using Message = void (*)(long, const char*, ...);

} // namespace detail

// Written, and shown by a debugger.
XELUTILS_API void XEL_TRACE_ALWAYS(const char* format, ...);
XELUTILS_API void XEL_TRACE_ALWAYS(const wchar_t* format, ...);

// Written nowhere, and not even formatted.
XELUTILS_API void XEL_TRACE_DEBUG(const char* format, ...);
XELUTILS_API void XEL_TRACE_DEBUG(const wchar_t* format, ...);

// As XEL_TRACE_ALWAYS for the levels 0 to 3, as XEL_TRACE_DEBUG for all others. The line has the
// level of that call, not this one.
XELUTILS_API void LOGMESSAGE(long level, const char* format, ...);

// The same calls with strings, CStrings and enumerations among the arguments. They take references
// because a line that is not produced must not cost the copy of a string.
template <xel_text::Character T, class... Arguments>
void XEL_TRACE_ALWAYS(const T* format, const Arguments&... arguments)
{
    xel_text::detail::CheckFormattable<Arguments...>();
    detail::Trace<T>{XEL_TRACE_ALWAYS}(format, xel_text::detail::FormatArgument(arguments)...);
}
template <xel_text::Character T, class... Arguments>
void XEL_TRACE_DEBUG(const T* format, const Arguments&... arguments)
{
    xel_text::detail::CheckFormattable<Arguments...>();
    if (detail::IsProduced(detail::kDebug)) [[unlikely]]
        detail::Trace<T>{XEL_TRACE_DEBUG}(format, xel_text::detail::FormatArgument(arguments)...);
}
template <class... Arguments>
void LOGMESSAGE(long level, const char* format, const Arguments&... arguments)
{
    xel_text::detail::CheckFormattable<Arguments...>();
    if (detail::IsProduced(detail::LevelOfMessage(level)))
        detail::Message{LOGMESSAGE}(level, format, xel_text::detail::FormatArgument(arguments)...);
}

// With a string for the format.
template <class T, class... Arguments>
void XEL_TRACE_ALWAYS(const CXelStringT<T>& format, const Arguments&... arguments)
{
    XEL_TRACE_ALWAYS(format.GetString(), arguments...);
}
template <class T, class... Arguments>
void XEL_TRACE_DEBUG(const CXelStringT<T>& format, const Arguments&... arguments)
{
    XEL_TRACE_DEBUG(format.GetString(), arguments...);
}

} // namespace xel_logging
