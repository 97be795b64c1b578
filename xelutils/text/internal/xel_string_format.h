// Formatting, messages and system strings of CXelStringT. Included by xel_string.cpp only.
#pragma once

#include <cstring>

#include "xelutils/text/internal/text_scan.h"
#include "xelutils/text/xel_string.h"

namespace xel_text {

namespace detail {

inline int FormatUnits(char* buffer, std::size_t count, const char* pattern, va_list arguments)
{
    return _vsnprintf(buffer, count, pattern, arguments);
}

inline int FormatUnits(wchar_t* buffer, std::size_t count, const wchar_t* pattern,
                       va_list arguments)
{
    return _vsnwprintf(buffer, count, pattern, arguments);
}

// Longest formatted text, in characters.
constexpr int kFormatLimit = 2048;

// Frees what the platform allocated, also when an exception passes.
struct LocalText {
    LocalText() = default;
    ~LocalText() { LocalFree(text); }
    LocalText(const LocalText&) = delete;
    LocalText& operator=(const LocalText&) = delete;

    wchar_t* text = nullptr;
};

} // namespace detail

// ---- Formatting ----------------------------------------------------------------------------

template <class T> void CXelStringT<T>::FormatV(const T* pattern, va_list arguments)
{
    // The formatter works on a copy of the list, so the caller's stays where it is.
    T text[detail::kFormatLimit];
    const int result = detail::FormatUnits(text, detail::kFormatLimit, pattern, arguments);

    // The text is complete before the string is touched, so pattern and arguments may be the
    // string's own. GetBuffer keeps a buffer that is large enough, and an overlong text ends at
    // the first zero that this buffer holds: callers know it so.
    const int length = result < 0 ? detail::kFormatLimit : result;
    T* const buffer = GetBuffer(length);
    std::memcpy(buffer, text, static_cast<std::size_t>(length) * sizeof(T));
    ReleaseBuffer(result < 0 ? -1 : result);
}

template <class T> void CXelStringT<T>::Format(const T* pattern, ...)
{
    va_list arguments;
    va_start(arguments, pattern);
    FormatV(pattern, arguments);
    va_end(arguments);
}

template <class T> void CXelStringT<T>::Format(unsigned int id, ...)
{
    CXelStringT pattern;
    // A missing resource is an empty pattern.
    pattern.LoadStringW(id);
    va_list arguments;
    va_start(arguments, id);
    FormatV(pattern, arguments);
    va_end(arguments);
}

template <class T> void CXelStringT<T>::AppendFormat(const T* pattern, ...)
{
    CXelStringT added;
    va_list arguments;
    va_start(arguments, pattern);
    added.FormatV(pattern, arguments);
    va_end(arguments);
    *this += added;
}

// ---- Messages ------------------------------------------------------------------------------

namespace detail {

// A narrow pattern is wide text as it lies in memory; callers prepare it so. Where it lies may be
// no place for wide characters, so it is copied.
inline CXelStringT<wchar_t> WidePattern(const char* bytes, int lengthUnits)
{
    CXelStringT<wchar_t> pattern;
    std::memcpy(pattern.GetBufferSetLength(lengthUnits), bytes,
                static_cast<std::size_t>(lengthUnits) * sizeof(wchar_t));
    return pattern;
}

inline const wchar_t* WidePattern(const wchar_t* pattern, const wchar_t*)
{
    return pattern;
}

// Up to the first wide zero, or up to `end`, if it is known: nothing behind the narrow terminator
// there is read.
inline CXelStringT<wchar_t> WidePattern(const char* pattern, const char* end)
{
    if (!pattern)
        return {};
    if (end) {
        const auto length = pattern < end ? static_cast<int>(end - pattern) : 0;
        return WidePattern(pattern, length / 2 + length % 2);
    }
    std::int64_t bytes = 0;
    while (pattern[bytes] != 0 || pattern[bytes + 1] != 0)
        bytes += sizeof(wchar_t);
    return WidePattern(pattern, CheckedLength(bytes / static_cast<int>(sizeof(wchar_t))));
}

} // namespace detail

// False when there is no message; the string is as it was then.
template <class T> bool CXelStringT<T>::TakeMessage(const wchar_t* pattern, va_list* arguments)
{
    detail::LocalText message;
    const DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_STRING, pattern, 0, 0,
                         reinterpret_cast<wchar_t*>(&message.text), 0, arguments);
    if (length == 0 || !message.text)
        return false;
    *this = message.text;
    return true;
}

template <class T> void CXelStringT<T>::FormatMessageW(const T* pattern, ...)
{
    const T* const ownEnd = pattern && Holds(pattern) ? end() : nullptr;
    va_list arguments;
    va_start(arguments, pattern);
    const bool taken = TakeMessage(detail::WidePattern(pattern, ownEnd), &arguments);
    va_end(arguments);
    if (!taken)
        AfxThrowMemoryException();
}

template <class T> void CXelStringT<T>::FormatMessageOf(const CXelStringT* pattern, ...)
{
    va_list arguments;
    va_start(arguments, pattern);
    const bool taken =
        TakeMessage(detail::WidePattern(pattern->begin(), pattern->end()), &arguments);
    va_end(arguments);
    if (!taken)
        AfxThrowMemoryException();
}

template <class T> void CXelStringT<T>::FormatMessageW(unsigned int id, ...)
{
    CXelStringT pattern;
    // A missing resource is an empty pattern, which makes no message.
    pattern.LoadStringW(id);
    va_list arguments;
    va_start(arguments, id);
    const bool taken = TakeMessage(detail::WidePattern(pattern.begin(), pattern.end()), &arguments);
    va_end(arguments);
    if (!taken)
        AfxThrowMemoryException();
}

// ---- System strings ------------------------------------------------------------------------

namespace detail {

// The length of the text as wide text.
inline UINT SystemLength(const char* text, int length)
{
    return length < 1 ? 0
                      : static_cast<UINT>(MultiByteToWideChar(CP_ACP, 0, text, length, nullptr, 0));
}

inline UINT SystemLength(const wchar_t*, int length)
{
    return static_cast<UINT>(length);
}

// Writes the text into a system string that was made for it.
inline void FillSystemString(BSTR string, UINT systemLength, const char* text, int length)
{
    if (systemLength != 0)
        MultiByteToWideChar(CP_ACP, 0, text, length, string, static_cast<int>(systemLength));
}

inline void FillSystemString(BSTR string, UINT systemLength, const wchar_t* text, int)
{
    std::memcpy(string, text, systemLength * sizeof(wchar_t));
}

} // namespace detail

template <class T> BSTR CXelStringT<T>::AllocSysString() const
{
    const int length = UsedLength();
    const UINT systemLength = detail::SystemLength(m_chars, length);
    BSTR const string = SysAllocStringLen(nullptr, systemLength);
    if (!string)
        AfxThrowMemoryException();
    detail::FillSystemString(string, systemLength, m_chars, length);
    return string;
}

template <class T> BSTR CXelStringT<T>::SetSysString(BSTR* target) const
{
    const int length = UsedLength();
    const UINT systemLength = detail::SystemLength(m_chars, length);
    if (!SysReAllocStringLen(target, nullptr, systemLength))
        AfxThrowMemoryException();
    detail::FillSystemString(*target, systemLength, m_chars, length);
    return *target;
}

} // namespace xel_text
