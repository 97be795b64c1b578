// The library's string: reference-counted, copied on write, in a narrow and a wide instance.
//
//   CXelStringT<wchar_t>  UTF-16 code units; the string of every interface of the library
//   CXelStringT<char>     text in the system's ANSI code page
//
// A string is one pointer to its characters; the header (CXelStringData) stands directly in
// front of them in one block of the library's own heap. Copies share a block until one of them
// is written. Blocks have exactly the size asked for; there is no spare room.
//
// Lengths, indices and counts are `int` and count units of the string's width. Text is always
// terminated. It may hold zero characters (after the constructors with a length, GetBuffer...),
// but comparing, searching, trimming and converting look only as far as the first of them.
//
// No member reports failure. Conversions between the widths use the system's ANSI code page;
// what it cannot hold becomes its default character. When the heap cannot serve a request the
// program is ended by std::abort, since there is no text left to go on with. Only messages and
// system strings throw, the framework's out-of-memory failure (a CMemoryException*), and leave
// the string as it was.
//
// Threads may hold copies of one text and copy or destroy their own copies independently; one
// string object must not be used by two threads at once, and while a thread makes its private
// copy for writing, no other may change its own copy in place.
#pragma once

#include <atomic>
#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <type_traits>

#include "xelutils/export.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/framework.h"
#include "xelutils/platform/oleaut.h"
#include "xelutils/text/format_argument.h"
#include "xelutils/text/mfc_string_proxy.h"

namespace xel_text {

template <class T> class CXelStringT;

// The header of a block. The characters, allocLength + 1 of them, follow directly.
template <class T> struct CXelStringData {
    // Strings that share the block; 1: one owner; -1: locked, or the shared nil data.
    LONG refCount;
    // Characters in use, the terminator not counted; at most allocLength.
    LONG dataLength;
    // Capacity in characters, the terminator not counted.
    LONG allocLength;

    T* data() { return reinterpret_cast<T*>(this + 1); }
};
static_assert(sizeof(CXelStringData<char>) == 12);

namespace detail {

// The block that all empty strings of both widths share. Never written, counted or freed.
struct NilData {
    CXelStringData<wchar_t> header;
    wchar_t characters[2];
};
XELUTILS_API extern NilData g_nilData;

// The one empty string: a single pointer, as a string is, at the nil data's characters.
XELUTILS_API extern wchar_t* const g_emptyString;

} // namespace detail

template <class T> class CXelStringT {
    static_assert(std::is_same_v<T, char> || std::is_same_v<T, wchar_t>);

public:
    using value_type = T;

    // ---- Construction. A null pointer or a length of 0 gives the empty string. ----

    CXelStringT() noexcept { Init(); }
    CXelStringT(std::nullptr_t) noexcept { Init(); }

    // Shares the block; of a locked string the text is copied, up to its first zero character.
    CXelStringT(const CXelStringT& source) noexcept;

    // Leaves the source empty. A locked source is copied and keeps its buffer.
    CXelStringT(CXelStringT&& source) noexcept;

    // A pointer below 0x10000 is no text but the identifier of a string resource, which is
    // loaded; a missing one gives the empty string. Text of the other width is converted.
    CXelStringT(const char* text);
    CXelStringT(const wchar_t* text);
    CXelStringT(const unsigned char* text);

    // Takes `length` units as they are, zeros included. A negative length gives the empty string.
    CXelStringT(const char* text, int length);
    CXelStringT(const wchar_t* text, int length);

    // `count` times the character `ch`.
    CXelStringT(T ch, int count);

    // Up to the first zero character.
    CXelStringT(const CString& text);

    ~CXelStringT();

    // ---- Assignment. Room that the string has is kept and used when nobody shares it. ----

    CXelStringT& operator=(const CXelStringT& source) noexcept;

    // Leaves the source empty. A locked string keeps its buffer and takes the text.
    CXelStringT& operator=(CXelStringT&& source) noexcept;

    // Null empties the string; but null text of the other width leaves the text of a string
    // that shares its block with nobody (up to its first zero character): callers rely on it.
    CXelStringT& operator=(const char* text);
    CXelStringT& operator=(const wchar_t* text);
    CXelStringT& operator=(const unsigned char* text);
    CXelStringT& operator=(const CString& text);
    CXelStringT& operator=(std::nullptr_t);

    // One character. Callers rely on the odd cases: a narrow string keeps the low byte of a wide
    // character, without a code page (U+20AC becomes the byte AC); a wide string sign-extends a
    // byte (E9 becomes U+FFE9).
    CXelStringT& operator=(char ch);
    CXelStringT& operator=(wchar_t ch);

    // ---- Appending; a null pointer appends nothing. Text may be the string's own. ----

    CXelStringT& operator+=(const CXelStringT& text);
    CXelStringT& operator+=(const T* text);
    CXelStringT& operator+=(const CString& text);
    CXelStringT& operator+=(char ch);
    CXelStringT& operator+=(wchar_t ch);

    // ---- Length and characters ----

    int GetLength() const { return GetData()->dataLength; }
    int GetAllocLength() const { return GetData()->allocLength; }

    // Non-zero when the length is 0.
    int IsEmpty() const { return GetData()->dataLength == 0; }

    // Gives the block back, unless the string is empty already (a kept buffer stays) or locked
    // (then only the text goes).
    void Empty();

    // Valid until the string is next changed. Never null.
    operator const T*() const { return m_chars; }
    const T* GetString() const { return m_chars; }
    // Would always be true: ask IsEmpty.
    explicit operator bool() const = delete;

    // The stored text, zero characters included.
    const T* begin() const { return m_chars; }
    const T* end() const { return m_chars + UsedLength(); }

    // The character at `index`, which should lie in 0..GetLength(); 0 for an index outside the
    // block.
    T GetAt(int index) const;
    T operator[](int index) const { return GetAt(index); }
    template <class Index>
    requires std::is_integral_v<Index> T operator[](Index index) const
    {
        const auto place = static_cast<long long>(index);
        return place < 0 || place > GetAllocLength() ? T{} : GetAt(static_cast<int>(place));
    }

    // Ignored for an index outside the block.
    void SetAt(int index, T ch);

    // ---- The buffer ----

    // A writable buffer for at least `minLength` characters and the terminator, with the old
    // text. Must be given back with ReleaseBuffer. GetBuffer(0) of an empty string is the shared
    // empty text, to which nothing may be written.
    T* GetBuffer(int minLength);

    // Sets the length of the text that was written into the buffer; -1 measures it. Lengths
    // beyond the capacity are cut to it; any other negative length is stored as it is.
    void ReleaseBuffer(int newLength = -1);

    // GetBuffer with the length set to `length` at once; a negative length counts as 0.
    T* GetBufferSetLength(int length);

    // Gives back room beyond the text.
    void FreeExtra();

    // Keeps the block from being shared until UnlockBuffer: copies of a locked string copy its
    // text. A locked string that must grow loses the lock. Empty strings are not locked.
    T* LockBuffer();
    void UnlockBuffer();

    // ---- Pieces. Arguments out of range are cut to what there is. ----

    CXelStringT Mid(int first) const;
    CXelStringT Mid(int first, int count) const;
    CXelStringT Left(int count) const;
    CXelStringT Right(int count) const;

    // The leading run of characters that occur, or do not occur, in `set` (not null).
    CXelStringT SpanIncluding(const T* set) const;
    CXelStringT SpanExcluding(const T* set) const;

    // ---- Editing. Counts and lengths are those of the stored text. ----

    void MakeUpper();
    void MakeLower();
    void MakeReverse();

    // White space, one character, or the characters of a set. A null set trims nothing.
    // A narrow string tests its bytes 80..FF as U+FF80..U+FFFF: a trailing A0 stays. Callers that
    // keep such bytes at the ends of their texts rely on it.
    CXelStringT& TrimRight();
    CXelStringT& TrimRight(T ch);
    CXelStringT& TrimRight(const T* set);
    CXelStringT& TrimLeft();
    CXelStringT& TrimLeft(T ch);
    CXelStringT& TrimLeft(const T* set);
    CXelStringT& Trim();
    CXelStringT& Trim(T ch);

    // GetBuffer and ReleaseBuffer with `length`: a length beyond the text lengthens it by the old
    // terminator and whatever the buffer held.
    CXelStringT& Truncate(int length);

    // Every occurrence; the text put in is not searched again. Returns how many there were.
    int Replace(T oldCh, T newCh);
    int Replace(const T* oldText, const T* newText);
    int Remove(T ch);

    // `index` is cut into 0..length. Returns the new length.
    int Insert(int index, T ch);
    int Insert(int index, const T* text);

    // Returns the length *before* the deletion, unlike Insert; callers rely on it.
    int Delete(int index, int count = 1);

    // ---- Search: an index, or -1. Texts must not be null. ----

    int Find(T ch) const;
    int Find(T ch, int start) const;
    int Find(const T* text) const;
    // `start` may be the length, where the empty text is found.
    int Find(const T* text, int start) const;
    int ReverseFind(T ch) const;
    int FindOneOf(const T* set) const;

    // Below, equal to or above 0 by unsigned units; the wide one returns exactly -1, 0 or 1.
    int Compare(const T* text) const;
    int CompareNoCase(const T* text) const;

    // ---- String resources ----

    // Loads the string resource `id`.
    //
    //   wide    1 when the loaded text is not empty, else 0 (a missing one empties the string)
    //   narrow  0 when loaded; 1 when not, the string unchanged. The inversion is intended:
    //           callers of the narrow one test for 0.
    int LoadStringW(unsigned int id);

    // ---- Formatting. The pattern and texts among the arguments may be the string's own. ----

    // The run-time's formatter, as _vsnwprintf in platform/coredll.h tells: %s is text of the
    // string's own width, %S of the other. The text is cut at 2048 characters; behind a longer one
    // in a buffer with more room than that there may stand old text, so keep texts below it.
    //
    // The pattern is a text, or the identifier of a string resource; a missing one is empty.
    void Format(const T* pattern, ...);
    void Format(unsigned int id, ...);
    void FormatV(const T* pattern, va_list arguments);
    // Adds a formatted text, cut at 2048 characters by itself.
    void AppendFormat(const T* pattern, ...);

    // The platform's message formatter, with inserts like %1 and %2!5d!, as FormatMessageW in
    // platform/coredll.h tells. There is no limit to the text. An empty message, one that cannot
    // be read and exhausted memory throw the out-of-memory failure.
    //
    // A narrow pattern is taken for *wide* text as it lies in memory: it must have been prepared
    // so, by whoever calls this, with a wide terminator. Of a pattern given as a string or as a
    // resource nothing behind its block is read.
    void FormatMessageW(const T* pattern, ...);
    void FormatMessageW(unsigned int id, ...);

    // The same calls with strings, CStrings and enumerations among the arguments.
    template <class... Arguments> void Format(const T* pattern, Arguments... arguments)
    {
        detail::CheckFormattable<Arguments...>();
        (this->*Variadic<const T*>{&CXelStringT::Format})(pattern,
                                                          detail::FormatArgument(arguments)...);
    }
    template <class... Arguments> void Format(unsigned int id, Arguments... arguments)
    {
        detail::CheckFormattable<Arguments...>();
        (this->*Variadic<unsigned int>{&CXelStringT::Format})(id,
                                                              detail::FormatArgument(arguments)...);
    }
    template <class... Arguments> void AppendFormat(const T* pattern, Arguments... arguments)
    {
        detail::CheckFormattable<Arguments...>();
        (this->*Variadic<const T*>{&CXelStringT::AppendFormat})(
            pattern, detail::FormatArgument(arguments)...);
    }
    template <class... Arguments> void FormatMessageW(const T* pattern, Arguments... arguments)
    {
        detail::CheckFormattable<Arguments...>();
        (this->*Variadic<const T*>{&CXelStringT::FormatMessageW})(
            pattern, detail::FormatArgument(arguments)...);
    }
    template <class... Arguments> void FormatMessageW(unsigned int id, Arguments... arguments)
    {
        detail::CheckFormattable<Arguments...>();
        (this->*Variadic<unsigned int>{&CXelStringT::FormatMessageW})(
            id, detail::FormatArgument(arguments)...);
    }
    template <std::derived_from<CXelStringT> Pattern, class... Arguments>
    void FormatMessageW(const Pattern& pattern, Arguments... arguments)
    {
        detail::CheckFormattable<Arguments...>();
        FormatMessageOf(&pattern, detail::FormatArgument(arguments)...);
    }

    // ---- System strings and the framework's string. They receive zero characters too. ----

    // A new system string, which the caller frees. Throws the out-of-memory failure.
    BSTR AllocSysString() const;
    // Replaces *target, which is null or a system string; returns it. Throws the out-of-memory
    // failure and then leaves *target as it was.
    BSTR SetSysString(BSTR* target) const;

    // For framework code that takes a CString&. See CMfcStringProxy.
    CMfcStringProxy<T> mfcString() { return {m_chars, UsedLength(), this}; }

protected:
    using Data = CXelStringData<T>;

    Data* GetData() const { return reinterpret_cast<Data*>(m_chars) - 1; }
    void Init() { m_chars = reinterpret_cast<T*>(detail::g_emptyString); }

    // A block for `length` characters with its terminator, length and a count of 1; the nil data
    // for a length below 1. The old block is not released.
    void AllocBuffer(int length);
    void AllocCopy(CXelStringT& dest, int copyLength, int copyIndex, int extraLength) const;
    void AssignCopy(int length, const T* source);
    void ConcatCopy(int firstLength, const T* first, int secondLength, const T* second);
    void ConcatInPlace(int length, const T* source);
    void CopyBeforeWrite();
    void AllocBeforeWrite(int length);
    void Release();

    static void Release(Data* data);
    static void FreeData(Data* data);
    static int SafeStrlen(const T* text);
    static const T& get_afxChNil();
    static Data* get_afxDataNil() { return reinterpret_cast<Data*>(&detail::g_nilData.header); }
    static const CXelStringT& AfxGetEmptyString()
    {
        const void* const string = &detail::g_emptyString;
        return *static_cast<const CXelStringT*>(string);
    }

private:
    using Other = std::conditional_t<std::is_same_v<T, char>, wchar_t, char>;
    // The form of a formatting call that takes its arguments as they are.
    template <class Pattern> using Variadic = void (CXelStringT::*)(Pattern, ...);

    bool IsNil() const { return GetData() == get_afxDataNil(); }
    // The count may be changed by other threads that share the block.
    static LONG RefCount(const Data* data)
    {
        return std::atomic_ref<LONG>(const_cast<LONG&>(data->refCount))
            .load(std::memory_order_acquire);
    }
    bool IsShared() const { return RefCount(GetData()) > 1; }
    bool IsLocked() const { return RefCount(GetData()) < 0 && !IsNil(); }
    // The length, or 0 where ReleaseBuffer stored a negative one.
    int UsedLength() const
    {
        const int length = GetData()->dataLength;
        return length < 0 ? 0 : length;
    }
    int TextLength() const;
    bool Holds(const T* text) const;

    void SetLength(int length);
    void Take(const T* text);
    void CopyUnsharedText(const CXelStringT& source);
    void TakeConverted(const Other* text, int length);
    void AssignConverted(const Other* text);
    bool TakeResource(const void* text);
    void GrowKeeping(int length);
    int InsertSpan(int index, const T* text, int length);
    static constexpr int kRememberedPlaces = 64;
    using Places = int[kRememberedPlaces];
    void ReplaceSpans(const T* oldText, int oldLength, const T* newText, int newLength, int count,
                      const Places& places);
    void FormatMessageOf(const CXelStringT* pattern, ...);
    bool TakeMessage(const wchar_t* pattern, va_list* arguments);
    template <class Trimmable> CXelStringT& TrimRightWhere(Trimmable trimmable);
    template <class Trimmable> CXelStringT& TrimLeftWhere(Trimmable trimmable);

    template <class U>
    friend CXelStringT<U> ConcatTexts(const U* first, int firstLength, const U* second,
                                      int secondLength);

    T* m_chars;
};

template <class T> inline CXelStringT<T>::CXelStringT(const CXelStringT& source) noexcept
{
    Data* const data = source.GetData();
    if (RefCount(data) >= 0) [[likely]] {
        m_chars = source.m_chars;
        InterlockedIncrement(&data->refCount);
    } else {
        CopyUnsharedText(source);
    }
}

template <class T> inline CXelStringT<T>::CXelStringT(CXelStringT&& source) noexcept
{
    Init();
    *this = static_cast<CXelStringT&&>(source);
}

template <class T> inline CXelStringT<T>::~CXelStringT()
{
    Release(GetData());
}

template <class T> inline void CXelStringT<T>::Release(Data* data)
{
    if (data != get_afxDataNil() && InterlockedDecrement(&data->refCount) < 1)
        FreeData(data);
}

template <class T> inline CXelStringT<T>& CXelStringT<T>::operator=(CXelStringT&& source) noexcept
{
    if (this == &source)
        return *this;
    if (IsLocked() || source.IsLocked() || source.IsNil()) {
        *this = static_cast<const CXelStringT&>(source);
        source.Empty();
    } else {
        Release(GetData());
        m_chars = source.m_chars;
        source.Init();
    }
    return *this;
}

template <class T> inline T CXelStringT<T>::GetAt(int index) const
{
    return index >= 0 && index <= GetData()->allocLength ? m_chars[index] : T{};
}

// With this, a Windows program would leave out the members that are inline, and the library does
// not export them.
#if !defined(_WIN32) || defined(XELUTILS_BUILDING)
extern template class XELUTILS_API CXelStringT<char>;
extern template class XELUTILS_API CXelStringT<wchar_t>;
#endif

// ---- Joining -------------------------------------------------------------------------------

// A new string of the two texts, either of which may be null with length 0.
template <class T>
CXelStringT<T> ConcatTexts(const T* first, int firstLength, const T* second, int secondLength);
// A null text has length 0.
template <class T> int TextLength(const T* text);
extern template XELUTILS_API CXelStringT<char> ConcatTexts(const char*, int, const char*, int);
extern template XELUTILS_API CXelStringT<wchar_t> ConcatTexts(const wchar_t*, int, const wchar_t*,
                                                              int);
extern template XELUTILS_API int TextLength(const char*);
extern template XELUTILS_API int TextLength(const wchar_t*);

template <class T>
CXelStringT<T> operator+(const CXelStringT<T>& first, const CXelStringT<T>& second)
{
    return ConcatTexts<T>(first, first.GetLength(), second, second.GetLength());
}
template <class T>
CXelStringT<T> operator+(const CXelStringT<T>& first, const std::type_identity_t<T>* second)
{
    return ConcatTexts<T>(first, first.GetLength(), second, TextLength<T>(second));
}
template <class T>
CXelStringT<T> operator+(const std::type_identity_t<T>* first, const CXelStringT<T>& second)
{
    return ConcatTexts<T>(first, TextLength<T>(first), second, second.GetLength());
}
// One character of either width becomes one of the string's as with +=.
template <class Ch>
concept Character = std::is_same_v<Ch, char> || std::is_same_v<Ch, wchar_t>;

template <class T, Character Ch> CXelStringT<T> operator+(const CXelStringT<T>& first, Ch second)
{
    CXelStringT<T> character;
    character = second;
    return first + character;
}
template <class T, Character Ch> CXelStringT<T> operator+(Ch first, const CXelStringT<T>& second)
{
    CXelStringT<T> character;
    character = first;
    return character + second;
}
// A number is no character: text + 1 is what it is for any pointer to characters, a place inside
// the text. So is text + 0, where the number could be meant for a null text.
template <class T, std::integral Number>
requires(!Character<Number>) const T* operator+(const CXelStringT<T>& text, Number offset)
{
    return static_cast<const T*>(text) + offset;
}
template <class T, std::integral Number>
requires(!Character<Number>) const T* operator+(Number offset, const CXelStringT<T>& text)
{
    return text + offset;
}

// ---- Comparing: by the text up to the terminator, units unsigned, so that strings and plain
// texts compare alike; a null pointer compares as the empty text. Two strings that differ only
// behind a zero character are equal. ----

// Below, equal to or above 0.
template <class T> int CompareTexts(const T* first, const T* second);
extern template XELUTILS_API int CompareTexts(const char*, const char*);
extern template XELUTILS_API int CompareTexts(const wchar_t*, const wchar_t*);

template <class T> bool operator==(const CXelStringT<T>& first, const CXelStringT<T>& second)
{
    return CompareTexts<T>(first, second) == 0;
}
template <class T>
bool operator==(const CXelStringT<T>& first, const std::type_identity_t<T>* second)
{
    return CompareTexts<T>(first, second) == 0;
}
inline bool operator==(const CXelStringT<wchar_t>& first, const CString& second)
{
    return CompareTexts<wchar_t>(first, second) == 0;
}
// Functions by these names, since the standard's orderings would compare addresses without them.
template <class T> bool operator<(const CXelStringT<T>& first, const CXelStringT<T>& second)
{
    return CompareTexts<T>(first, second) < 0;
}
template <class T>
bool operator<(const CXelStringT<T>& first, const std::type_identity_t<T>* second)
{
    return CompareTexts<T>(first, second) < 0;
}
template <class T>
bool operator<(const std::type_identity_t<T>* first, const CXelStringT<T>& second)
{
    return CompareTexts<T>(first, second) < 0;
}
template <class T> bool operator<=(const CXelStringT<T>& first, const CXelStringT<T>& second)
{
    return CompareTexts<T>(first, second) <= 0;
}
template <class T>
bool operator<=(const CXelStringT<T>& first, const std::type_identity_t<T>* second)
{
    return CompareTexts<T>(first, second) <= 0;
}
template <class T>
bool operator<=(const std::type_identity_t<T>* first, const CXelStringT<T>& second)
{
    return CompareTexts<T>(first, second) <= 0;
}
template <class T> bool operator>(const CXelStringT<T>& first, const CXelStringT<T>& second)
{
    return CompareTexts<T>(first, second) > 0;
}
template <class T>
bool operator>(const CXelStringT<T>& first, const std::type_identity_t<T>* second)
{
    return CompareTexts<T>(first, second) > 0;
}
template <class T>
bool operator>(const std::type_identity_t<T>* first, const CXelStringT<T>& second)
{
    return CompareTexts<T>(first, second) > 0;
}
template <class T> bool operator>=(const CXelStringT<T>& first, const CXelStringT<T>& second)
{
    return CompareTexts<T>(first, second) >= 0;
}
template <class T>
bool operator>=(const CXelStringT<T>& first, const std::type_identity_t<T>* second)
{
    return CompareTexts<T>(first, second) >= 0;
}
template <class T>
bool operator>=(const std::type_identity_t<T>* first, const CXelStringT<T>& second)
{
    return CompareTexts<T>(first, second) >= 0;
}

// A number that equal strings share.
template <class T> std::size_t HashText(const T* text);
extern template XELUTILS_API std::size_t HashText(const char*);
extern template XELUTILS_API std::size_t HashText(const wchar_t*);

// What a test framework prints of a string: its stored text between quotes, everything but
// printable ASCII as \xNN or \uNNNN.
XELUTILS_API void PrintTo(const CXelStringT<char>& text, std::ostream* out);
XELUTILS_API void PrintTo(const CXelStringT<wchar_t>& text, std::ostream* out);

} // namespace xel_text

template <class T> struct std::hash<xel_text::CXelStringT<T>> {
    std::size_t operator()(const xel_text::CXelStringT<T>& text) const
    {
        return xel_text::HashText<T>(text);
    }
};
