// Blocks, construction, assignment and buffers of CXelStringT. Included by xel_string.cpp, which
// instantiates the template.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "xelutils/memory/dlmalloc.h"
#include "xelutils/platform/framework.h"
#include "xelutils/text/internal/text_scan.h"
#include "xelutils/text/xel_string.h"

namespace xel_text {

namespace detail {

// Pointers below this are identifiers of string resources, a convention of the framework.
constexpr std::uintptr_t kResourceIdLimit = 0x10000;

// A narrow character may need two wide ones' room at most; a wide one is given one byte.
template <class T> constexpr int kUnitsPerConverted = sizeof(T) == 1 ? 1 : 2;

// Result as of the platform's calls: units stored, 0 on failure.
inline int Convert(const wchar_t* source, int length, char* target, int size)
{
    return WideCharToMultiByte(CP_ACP, 0, source, length, target, size, nullptr, nullptr);
}
inline int Convert(const char* source, int length, wchar_t* target, int size)
{
    return MultiByteToWideChar(CP_ACP, 0, source, length, target, size);
}

// There is nothing to go on with when a text cannot be held.
[[noreturn]] inline void OutOfMemory()
{
    std::abort();
}

inline int CheckedLength(std::int64_t length)
{
    if (length > std::numeric_limits<int>::max())
        OutOfMemory();
    return static_cast<int>(length);
}

// The source may be null where the count is 0.
template <class T> void CopyUnits(T* target, const T* source, int count)
{
    if (count > 0)
        std::memcpy(target, source, static_cast<std::size_t>(count) * sizeof(T));
}
template <class T> void MoveUnits(T* target, const T* source, int count)
{
    if (count > 0)
        std::memmove(target, source, static_cast<std::size_t>(count) * sizeof(T));
}

} // namespace detail

// ---- Blocks --------------------------------------------------------------------------------

template <class T> void CXelStringT<T>::AllocBuffer(int length)
{
    if (length <= 0) {
        Init();
        return;
    }
    const std::uint64_t bytes = sizeof(Data) + (static_cast<std::uint64_t>(length) + 1) * sizeof(T);
    constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();
    auto* const data =
        static_cast<Data*>(dlmalloc(static_cast<std::uint32_t>(std::min(bytes, kLargest))));
    if (!data) [[unlikely]]
        detail::OutOfMemory();
    data->refCount = 1;
    data->dataLength = length;
    data->allocLength = length;
    m_chars = data->data();
    m_chars[length] = 0;
}

template <class T> void CXelStringT<T>::FreeData(Data* data)
{
    dlfree(data);
}

template <class T> void CXelStringT<T>::Release()
{
    Release(GetData());
    Init();
}

template <class T> void CXelStringT<T>::CopyBeforeWrite()
{
    if (!IsShared())
        return;
    // The reference is given up before the text is copied, and with it the right to the old
    // block: that no other holder drops the last one meanwhile is what callers promise. If they
    // all have dropped theirs just now, the block is ours alone again.
    Data* const old = GetData();
    if (InterlockedDecrement(&old->refCount) < 1) {
        old->refCount = 1;
        return;
    }
    const int length = UsedLength();
    AllocBuffer(length);
    detail::CopyUnits(m_chars, old->data(), length);
}

template <class T> void CXelStringT<T>::AllocBeforeWrite(int length)
{
    if (IsShared() || length > GetData()->allocLength) {
        Release();
        AllocBuffer(length);
    }
}

template <class T>
void CXelStringT<T>::AllocCopy(CXelStringT& dest, int copyLength, int copyIndex,
                               int extraLength) const
{
    dest.AllocBuffer(detail::CheckedLength(std::int64_t{copyLength} + extraLength));
    detail::CopyUnits(dest.m_chars, m_chars + copyIndex, copyLength);
}

template <class T> void CXelStringT<T>::AssignCopy(int length, const T* source)
{
    length = std::max(length, 0);
    if (!IsShared() && length <= GetData()->allocLength) {
        detail::MoveUnits(m_chars, source, length);
        SetLength(length);
        return;
    }
    // The text may stand in the old block.
    Data* const old = GetData();
    AllocBuffer(length);
    detail::CopyUnits(m_chars, source, length);
    Release(old);
}

template <class T>
void CXelStringT<T>::ConcatCopy(int firstLength, const T* first, int secondLength, const T* second)
{
    const int length = detail::CheckedLength(std::int64_t{firstLength} + secondLength);
    if (length == 0)
        return;
    AllocBuffer(length);
    detail::CopyUnits(m_chars, first, firstLength);
    detail::CopyUnits(m_chars + firstLength, second, secondLength);
}

template <class T> void CXelStringT<T>::ConcatInPlace(int length, const T* source)
{
    if (length <= 0)
        return;
    const int oldLength = UsedLength();
    const int newLength = detail::CheckedLength(std::int64_t{oldLength} + length);
    if (!IsShared() && newLength <= GetData()->allocLength) {
        detail::MoveUnits(m_chars + oldLength, source, length);
        SetLength(newLength);
        return;
    }
    // The text may stand in the old block.
    Data* const old = GetData();
    AllocBuffer(newLength);
    detail::CopyUnits(m_chars, old->data(), oldLength);
    detail::CopyUnits(m_chars + oldLength, source, length);
    Release(old);
}

// A block of exactly `length` characters with the old text, as far as it fits, in front.
template <class T> void CXelStringT<T>::GrowKeeping(int length)
{
    Data* const old = GetData();
    const int kept = std::min(UsedLength(), length);
    AllocBuffer(length);
    detail::CopyUnits(m_chars, old->data(), kept);
    SetLength(kept);
    Release(old);
}

// For an own block with room for `length`; the nil data has its only length already.
template <class T> void CXelStringT<T>::SetLength(int length)
{
    if (IsNil())
        return;
    GetData()->dataLength = length;
    m_chars[length] = 0;
}

// Up to the first zero.
template <class T> int CXelStringT<T>::TextLength() const
{
    const auto length = static_cast<std::size_t>(UsedLength());
    return static_cast<int>(std::min(scan::FindUnit(m_chars, length, T{}), length));
}

template <class T> bool CXelStringT<T>::Holds(const T* text) const
{
    return !std::less<const T*>{}(text, m_chars) &&
           !std::less<const T*>{}(m_chars + GetData()->allocLength, text);
}

template <class T> int CXelStringT<T>::SafeStrlen(const T* text)
{
    return text ? detail::CheckedLength(static_cast<std::int64_t>(scan::Length(text))) : 0;
}

template <class T> const T& CXelStringT<T>::get_afxChNil()
{
    static constinit const T zero{};
    return zero;
}

// ---- Text of the other width ---------------------------------------------------------------

template <class T> void CXelStringT<T>::AssignConverted(const Other* text)
{
    const int length = xel_text::TextLength<Other>(text);
    const int room = detail::CheckedLength(std::int64_t{length} * detail::kUnitsPerConverted<T>);
    AllocBeforeWrite(room);
    if (!text) {
        // Nothing is converted, and the text that is there is measured anew.
        ReleaseBuffer(-1);
        return;
    }
    if (IsNil())
        return;
    const int stored = detail::Convert(text, length + 1, m_chars, room + 1);
    if (stored > 0) {
        SetLength(stored - 1);
        return;
    }
    // Cut: what did fit counts, and nothing that stood in the buffer before may show behind it.
    const int end = std::min(room + 1, static_cast<int>(GetData()->allocLength));
    std::fill_n(m_chars, end + 1, T{});
    detail::Convert(text, length + 1, m_chars, room + 1);
    m_chars[end] = 0;
    ReleaseBuffer(-1);
}

template <class T> void CXelStringT<T>::TakeConverted(const Other* text, int length)
{
    if (!text || length <= 0)
        return;
    const int room = detail::CheckedLength(std::int64_t{length} * detail::kUnitsPerConverted<T>);
    AllocBuffer(room);
    const int stored = detail::Convert(text, length, m_chars, room + 1);
    m_chars[room] = 0;
    SetLength(std::clamp(stored, 0, room));
}

// ---- Construction --------------------------------------------------------------------------

template <class T> bool CXelStringT<T>::TakeResource(const void* text)
{
    const auto id = reinterpret_cast<std::uintptr_t>(text);
    if (id == 0 || id >= detail::kResourceIdLimit)
        return false;
    LoadStringW(static_cast<unsigned int>(id));
    return true;
}

template <class T> void CXelStringT<T>::Take(const T* text)
{
    const int length = SafeStrlen(text);
    AllocBuffer(length);
    detail::CopyUnits(m_chars, text, length);
}

// Of the nil data or a locked string.
template <class T> void CXelStringT<T>::CopyUnsharedText(const CXelStringT& source)
{
    Init();
    if (!source.IsNil())
        Take(source.m_chars);
}

template <class T> CXelStringT<T>::CXelStringT(const char* text)
{
    Init();
    if (TakeResource(text))
        return;
    if constexpr (std::is_same_v<T, char>)
        Take(text);
    else
        AssignConverted(text);
}

template <class T> CXelStringT<T>::CXelStringT(const wchar_t* text)
{
    Init();
    if (TakeResource(text))
        return;
    if constexpr (std::is_same_v<T, wchar_t>)
        Take(text);
    else
        AssignConverted(text);
}

template <class T>
CXelStringT<T>::CXelStringT(const unsigned char* text)
    : CXelStringT(reinterpret_cast<const char*>(text))
{
}

template <class T> CXelStringT<T>::CXelStringT(const char* text, int length)
{
    Init();
    if constexpr (std::is_same_v<T, char>)
        AssignCopy(text ? length : 0, text);
    else
        TakeConverted(text, length);
}

template <class T> CXelStringT<T>::CXelStringT(const wchar_t* text, int length)
{
    Init();
    if constexpr (std::is_same_v<T, wchar_t>)
        AssignCopy(text ? length : 0, text);
    else
        TakeConverted(text, length);
}

template <class T> CXelStringT<T>::CXelStringT(T ch, int count)
{
    AllocBuffer(count);
    std::fill_n(m_chars, std::max(count, 0), ch);
}

template <class T> CXelStringT<T>::CXelStringT(const CString& text)
{
    Init();
    *this = text;
}

// ---- Assignment ----------------------------------------------------------------------------

template <class T> CXelStringT<T>& CXelStringT<T>::operator=(const CXelStringT& source) noexcept
{
    Data* const data = source.GetData();
    if (data == GetData())
        return *this;
    if (!IsLocked() && RefCount(data) >= 0) {
        InterlockedIncrement(&data->refCount);
        Release(GetData());
        m_chars = source.m_chars;
    } else {
        AssignCopy(source.UsedLength(), source.m_chars);
    }
    return *this;
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator=(const char* text)
{
    if constexpr (std::is_same_v<T, char>)
        AssignCopy(SafeStrlen(text), text);
    else
        AssignConverted(text);
    return *this;
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator=(const wchar_t* text)
{
    if constexpr (std::is_same_v<T, wchar_t>)
        AssignCopy(SafeStrlen(text), text);
    else
        AssignConverted(text);
    return *this;
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator=(const unsigned char* text)
{
    return *this = reinterpret_cast<const char*>(text);
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator=(const CString& text)
{
    return *this = static_cast<const wchar_t*>(text);
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator=(std::nullptr_t)
{
    AssignCopy(0, &get_afxChNil());
    return *this;
}

namespace detail {

// The low byte of a wide character and the sign-extended byte: both intended, see the header.
inline void TakeUnit(char& unit, wchar_t ch)
{
    unit = static_cast<char>(ch & 0xFF);
}
inline void TakeUnit(wchar_t& unit, char ch)
{
    unit = static_cast<wchar_t>(static_cast<signed char>(ch));
}
template <class T> void TakeUnit(T& unit, T ch)
{
    unit = ch;
}

} // namespace detail

template <class T> CXelStringT<T>& CXelStringT<T>::operator=(char ch)
{
    T unit;
    detail::TakeUnit(unit, ch);
    AssignCopy(1, &unit);
    return *this;
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator=(wchar_t ch)
{
    T unit;
    detail::TakeUnit(unit, ch);
    AssignCopy(1, &unit);
    return *this;
}

// ---- Appending -----------------------------------------------------------------------------

template <class T> CXelStringT<T>& CXelStringT<T>::operator+=(const CXelStringT& text)
{
    ConcatInPlace(text.UsedLength(), text.m_chars);
    return *this;
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator+=(const T* text)
{
    ConcatInPlace(SafeStrlen(text), text);
    return *this;
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator+=(const CString& text)
{
    return *this += CXelStringT(text);
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator+=(char ch)
{
    T unit;
    detail::TakeUnit(unit, ch);
    ConcatInPlace(1, &unit);
    return *this;
}

template <class T> CXelStringT<T>& CXelStringT<T>::operator+=(wchar_t ch)
{
    T unit;
    detail::TakeUnit(unit, ch);
    ConcatInPlace(1, &unit);
    return *this;
}

// ---- Characters and the buffer -------------------------------------------------------------

template <class T> void CXelStringT<T>::Empty()
{
    if (GetData()->dataLength == 0)
        return;
    if (IsLocked())
        AssignCopy(0, &get_afxChNil());
    else
        Release();
}

template <class T> void CXelStringT<T>::SetAt(int index, T ch)
{
    CopyBeforeWrite();
    if (index >= 0 && index < GetData()->allocLength)
        m_chars[index] = ch;
}

template <class T> T* CXelStringT<T>::GetBuffer(int minLength)
{
    if (IsShared() || minLength > GetData()->allocLength)
        GrowKeeping(std::max(minLength, UsedLength()));
    return m_chars;
}

template <class T> void CXelStringT<T>::ReleaseBuffer(int newLength)
{
    CopyBeforeWrite();
    // Whatever is asked, the nil data stays the empty text.
    if (IsNil())
        return;
    const int room = GetData()->allocLength;
    if (newLength < -1) {
        // Only -1 measures; callers that pass other negative numbers see them in GetLength.
        GetData()->dataLength = newLength;
        return;
    }
    if (newLength == -1) {
        const auto limit = static_cast<std::size_t>(room);
        newLength = static_cast<int>(std::min(scan::FindUnit(m_chars, limit, T{}), limit));
    }
    SetLength(std::min(newLength, room));
}

template <class T> T* CXelStringT<T>::GetBufferSetLength(int length)
{
    length = std::max(length, 0);
    GetBuffer(length);
    SetLength(length);
    return m_chars;
}

template <class T> void CXelStringT<T>::FreeExtra()
{
    if (GetData()->dataLength != GetData()->allocLength)
        GrowKeeping(UsedLength());
}

template <class T> T* CXelStringT<T>::LockBuffer()
{
    GetBuffer(0);
    if (!IsNil())
        GetData()->refCount = -1;
    return m_chars;
}

template <class T> void CXelStringT<T>::UnlockBuffer()
{
    if (IsLocked())
        GetData()->refCount = 1;
}

// ---- String resources ----------------------------------------------------------------------

template <class T> int CXelStringT<T>::LoadStringW(unsigned int id)
{
    if constexpr (std::is_same_v<T, char>) {
        CXelStringT<wchar_t> loaded;
        if (loaded.LoadStringW(id) != 1)
            return 1;
        *this = loaded.GetString();
        return 0;
    } else {
        // A result that leaves no more than the terminator's room may have been cut.
        constexpr int kStep = 256;
        wchar_t text[kStep];
        int size = kStep;
        int length = AfxLoadString(id, text, kStep);
        if (size - length > 1) {
            *this = text;
        } else {
            do {
                size += kStep;
                length = AfxLoadString(id, GetBuffer(size - 1), static_cast<UINT>(size));
            } while (size - length <= 1);
            ReleaseBuffer(-1);
        }
        return length > 0 ? 1 : 0;
    }
}

} // namespace xel_text
