// Pieces, editing, search and comparison of CXelStringT. Included by xel_string.cpp, which
// instantiates the template.
#pragma once

#include "xelutils/text/internal/xel_string_core.h"

namespace xel_text {

namespace detail {

inline void MakeUpperInPlace(char* text)
{
    _strupr(text);
}
inline void MakeUpperInPlace(wchar_t* text)
{
    _wcsupr(text);
}
inline void MakeLowerInPlace(char* text)
{
    _strlwr(text);
}
inline void MakeLowerInPlace(wchar_t* text)
{
    _wcslwr(text);
}
inline void ReverseInPlace(char* text)
{
    _strrev(text);
}
inline void ReverseInPlace(wchar_t* text)
{
    _wcsrev(text);
}
inline int CompareWithoutCase(const char* first, const char* second)
{
    return _stricmp(first, second);
}
inline int CompareWithoutCase(const wchar_t* first, const wchar_t* second)
{
    return _wcsicmp(first, second);
}

// A byte is sign-extended first and so tested as U+FF80..U+FFFF from 80 on; see the header.
inline bool IsWhiteSpace(char ch)
{
    return iswctype(static_cast<wchar_t>(static_cast<signed char>(ch)), _SPACE) != 0;
}
inline bool IsWhiteSpace(wchar_t ch)
{
    return iswctype(ch, _SPACE) != 0;
}

// The characters of a set; null is the empty one.
template <class T> class CharacterSet {
public:
    explicit CharacterSet(const T* set) : m_set(set), m_length(set ? scan::Length(set) : 0) {}
    bool operator()(T ch) const
    {
        return m_length != 0 && scan::FindUnit(m_set, m_length, ch) != scan::kNone;
    }

private:
    const T* m_set;
    std::size_t m_length;
};

} // namespace detail

// ---- Pieces --------------------------------------------------------------------------------

template <class T> CXelStringT<T> CXelStringT<T>::Mid(int first) const
{
    return Mid(first, std::numeric_limits<int>::max());
}

template <class T> CXelStringT<T> CXelStringT<T>::Mid(int first, int count) const
{
    const int length = UsedLength();
    first = std::clamp(first, 0, length);
    count = std::clamp(count, 0, length - first);
    if (first == 0 && count == length)
        return *this;
    CXelStringT piece;
    AllocCopy(piece, count, first, 0);
    return piece;
}

template <class T> CXelStringT<T> CXelStringT<T>::Left(int count) const
{
    return Mid(0, count);
}

template <class T> CXelStringT<T> CXelStringT<T>::Right(int count) const
{
    const int length = UsedLength();
    count = std::clamp(count, 0, length);
    return Mid(length - count, count);
}

template <class T> CXelStringT<T> CXelStringT<T>::SpanIncluding(const T* set) const
{
    const detail::CharacterSet<T> includes(set);
    const int length = TextLength();
    int run = 0;
    while (run < length && includes(m_chars[run]))
        ++run;
    return Left(run);
}

template <class T> CXelStringT<T> CXelStringT<T>::SpanExcluding(const T* set) const
{
    const int found = FindOneOf(set);
    return Left(found < 0 ? TextLength() : found);
}

// ---- Case and order ------------------------------------------------------------------------

template <class T> void CXelStringT<T>::MakeUpper()
{
    CopyBeforeWrite();
    detail::MakeUpperInPlace(m_chars);
}

template <class T> void CXelStringT<T>::MakeLower()
{
    CopyBeforeWrite();
    detail::MakeLowerInPlace(m_chars);
}

template <class T> void CXelStringT<T>::MakeReverse()
{
    CopyBeforeWrite();
    detail::ReverseInPlace(m_chars);
}

// ---- Trimming ------------------------------------------------------------------------------

template <class T>
template <class Trimmable>
CXelStringT<T>& CXelStringT<T>::TrimRightWhere(Trimmable trimmable)
{
    CopyBeforeWrite();
    const int length = TextLength();
    int kept = length;
    while (kept > 0 && trimmable(m_chars[kept - 1]))
        --kept;
    if (kept != length)
        SetLength(kept);
    return *this;
}

template <class T>
template <class Trimmable>
CXelStringT<T>& CXelStringT<T>::TrimLeftWhere(Trimmable trimmable)
{
    CopyBeforeWrite();
    const int length = TextLength();
    int skipped = 0;
    while (skipped < length && trimmable(m_chars[skipped]))
        ++skipped;
    if (skipped != 0) {
        const int kept = UsedLength() - skipped;
        detail::MoveUnits(m_chars, m_chars + skipped, kept);
        SetLength(kept);
    }
    return *this;
}

template <class T> CXelStringT<T>& CXelStringT<T>::TrimRight()
{
    return TrimRightWhere([](T ch) { return detail::IsWhiteSpace(ch); });
}

template <class T> CXelStringT<T>& CXelStringT<T>::TrimRight(T ch)
{
    return TrimRightWhere([ch](T unit) { return unit == ch; });
}

template <class T> CXelStringT<T>& CXelStringT<T>::TrimRight(const T* set)
{
    return TrimRightWhere(detail::CharacterSet<T>(set));
}

template <class T> CXelStringT<T>& CXelStringT<T>::TrimLeft()
{
    return TrimLeftWhere([](T ch) { return detail::IsWhiteSpace(ch); });
}

template <class T> CXelStringT<T>& CXelStringT<T>::TrimLeft(T ch)
{
    return TrimLeftWhere([ch](T unit) { return unit == ch; });
}

template <class T> CXelStringT<T>& CXelStringT<T>::TrimLeft(const T* set)
{
    // Unlike its siblings this leaves a shared text shared when the set is empty.
    if (!set || *set == 0)
        return *this;
    return TrimLeftWhere(detail::CharacterSet<T>(set));
}

template <class T> CXelStringT<T>& CXelStringT<T>::Trim()
{
    return TrimRight().TrimLeft();
}

template <class T> CXelStringT<T>& CXelStringT<T>::Trim(T ch)
{
    return TrimRight(ch).TrimLeft(ch);
}

template <class T> CXelStringT<T>& CXelStringT<T>::Truncate(int length)
{
    GetBuffer(length);
    ReleaseBuffer(length);
    return *this;
}

// ---- Replacing -----------------------------------------------------------------------------

template <class T> int CXelStringT<T>::Replace(T oldCh, T newCh)
{
    if (oldCh == newCh)
        return 0;
    CopyBeforeWrite();
    int count = 0;
    for (T *ch = m_chars, *end = m_chars + UsedLength(); ch != end; ++ch) {
        if (*ch == oldCh) {
            *ch = newCh;
            ++count;
        }
    }
    return count;
}

namespace detail {

// The occurrences of a text, one after the other without overlap, in all the zero-terminated
// pieces of a longer one.
template <class T> class Occurrences {
public:
    // A terminator stands at `end`.
    Occurrences(const T* text, const T* end, const T* wanted, int wantedLength)
        : m_position(text), m_end(end), m_wanted(wanted),
          m_wantedLength(static_cast<std::size_t>(wantedLength))
    {
        FindPieceEnd();
    }
    // Null when there are no more.
    const T* Next()
    {
        for (;;) {
            const auto left = static_cast<std::size_t>(m_pieceEnd - m_position);
            const std::size_t found = scan::FindSpan(m_position, left, m_wanted, m_wantedLength);
            if (found != scan::kNone) {
                const T* const occurrence = m_position + found;
                m_position = occurrence + m_wantedLength;
                return occurrence;
            }
            if (m_pieceEnd == m_end)
                return nullptr;
            m_position = m_pieceEnd + 1;
            FindPieceEnd();
        }
    }

private:
    void FindPieceEnd()
    {
        const auto left = static_cast<std::size_t>(m_end - m_position);
        m_pieceEnd = m_position + std::min(scan::FindUnit(m_position, left, T{}), left);
    }

    const T* m_position;
    const T* m_pieceEnd;
    const T* m_end;
    const T* m_wanted;
    std::size_t m_wantedLength;
};

} // namespace detail

template <class T> int CXelStringT<T>::Replace(const T* oldText, const T* newText)
{
    const int oldLength = SafeStrlen(oldText);
    if (oldLength == 0)
        return 0;
    const int newLength = SafeStrlen(newText);

    int count = 0;
    Places places;
    detail::Occurrences<T> occurrences(m_chars, end(), oldText, oldLength);
    while (const T* const occurrence = occurrences.Next()) {
        if (count < kRememberedPlaces)
            places[count] = static_cast<int>(occurrence - m_chars);
        ++count;
    }
    if (count == 0)
        return 0;
    if (Holds(oldText) || (newText && Holds(newText))) {
        const CXelStringT oldCopy(oldText, oldLength);
        const CXelStringT newCopy(newText, newLength);
        ReplaceSpans(oldCopy, oldLength, newCopy, newLength, count, places);
    } else {
        ReplaceSpans(oldText, oldLength, newText, newLength, count, places);
    }
    return count;
}

// `places` are those of the first occurrences; further ones are searched again.
// One pass from the left over the old text, which stands in the old block or, when the block is
// kept, at the end of the room that the new text takes: what is written never reaches what is
// still to be read.
template <class T>
void CXelStringT<T>::ReplaceSpans(const T* oldText, int oldLength, const T* newText, int newLength,
                                  int count, const Places& places)
{
    const int length = UsedLength();
    const int result =
        detail::CheckedLength(length + (std::int64_t{newLength} - oldLength) * std::int64_t{count});
    Data* const old = GetData();
    const bool kept = !IsShared() && result <= old->allocLength;
    const T* source = old->data();
    if (!kept) {
        // A shared text is copied at its own length first, and grows only when that is too small.
        AllocBuffer(IsShared() ? std::max(result, length) : result);
    } else if (result > length) {
        T* const moved = m_chars + (result - length);
        detail::MoveUnits(moved, m_chars, length);
        moved[length] = 0;
        source = moved;
    }

    const T* const sourceStart = source;
    const T* const sourceEnd = source + length;
    T* target = m_chars;
    const T* const unremembered =
        count > kRememberedPlaces ? source + places[kRememberedPlaces - 1] + oldLength : sourceEnd;
    detail::Occurrences<T> furtherOnes(unremembered, sourceEnd, oldText, oldLength);
    for (int i = 0; i < count; ++i) {
        const T* const occurrence =
            i < kRememberedPlaces ? sourceStart + places[i] : furtherOnes.Next();
        const auto between = static_cast<int>(occurrence - source);
        detail::MoveUnits(target, source, between);
        target += between;
        detail::CopyUnits(target, newText, newLength);
        target += newLength;
        source = occurrence + oldLength;
    }
    detail::MoveUnits(target, source, static_cast<int>(sourceEnd - source));
    SetLength(result);
    if (!kept)
        Release(old);
}

// ---- Removing, inserting, deleting ---------------------------------------------------------

template <class T> int CXelStringT<T>::Remove(T ch)
{
    CopyBeforeWrite();
    const int length = UsedLength();
    T* const kept = std::remove(m_chars, m_chars + length, ch);
    const auto keptLength = static_cast<int>(kept - m_chars);
    SetLength(keptLength);
    return length - keptLength;
}

template <class T> int CXelStringT<T>::Insert(int index, T ch)
{
    return InsertSpan(index, &ch, 1);
}

template <class T> int CXelStringT<T>::Insert(int index, const T* text)
{
    const int length = SafeStrlen(text);
    if (length < 1)
        return GetLength();
    if (Holds(text)) {
        const CXelStringT copy(text, length);
        return InsertSpan(index, copy, length);
    }
    return InsertSpan(index, text, length);
}

template <class T> int CXelStringT<T>::InsertSpan(int index, const T* text, int length)
{
    CopyBeforeWrite();
    const int oldLength = UsedLength();
    const int newLength = detail::CheckedLength(std::int64_t{oldLength} + length);
    index = std::clamp(index, 0, oldLength);
    if (newLength > GetData()->allocLength)
        GrowKeeping(newLength);
    detail::MoveUnits(m_chars + index + length, m_chars + index, oldLength - index);
    detail::CopyUnits(m_chars + index, text, length);
    SetLength(newLength);
    return newLength;
}

template <class T> int CXelStringT<T>::Delete(int index, int count)
{
    const int length = UsedLength();
    index = std::max(index, 0);
    if (count < 1 || index >= length)
        return GetLength();
    count = std::min(count, length - index);
    CopyBeforeWrite();
    const int behind = length - index - count;
    detail::MoveUnits(m_chars + index, m_chars + index + count, behind);
    SetLength(length - count);
    return length;
}

// ---- Search --------------------------------------------------------------------------------

namespace detail {

inline int ToIndex(std::size_t found, int offset)
{
    return found == scan::kNone ? -1 : static_cast<int>(found) + offset;
}

} // namespace detail

template <class T> int CXelStringT<T>::Find(const T* text) const
{
    return Find(text, 0);
}

template <class T> int CXelStringT<T>::Find(const T* text, int start) const
{
    const int length = UsedLength();
    start = std::max(start, 0);
    if (start > length || !text)
        return -1;
    return detail::ToIndex(scan::FindText(m_chars + start, static_cast<std::size_t>(length - start),
                                          text, scan::Length(text)),
                           start);
}

template <class T> int CXelStringT<T>::Find(T ch) const
{
    return Find(ch, 0);
}

template <class T> int CXelStringT<T>::Find(T ch, int start) const
{
    const int length = UsedLength();
    start = std::max(start, 0);
    if (start >= length)
        return -1;
    // The text goes no further than its first zero; the terminator is found when it is asked for.
    const T* const text = m_chars + start;
    const auto searched = static_cast<std::size_t>(length - start);
    const std::size_t found = scan::FindEither(text, searched, ch, T{});
    return text[found] == ch ? static_cast<int>(found) + start : -1;
}

template <class T> int CXelStringT<T>::ReverseFind(T ch) const
{
    int index = TextLength();
    if (ch == 0)
        return index;
    do
        --index;
    while (index >= 0 && m_chars[index] != ch);
    return index;
}

template <class T> int CXelStringT<T>::FindOneOf(const T* set) const
{
    const detail::CharacterSet<T> wanted(set);
    const int length = TextLength();
    for (int index = 0; index < length; ++index) {
        if (wanted(m_chars[index]))
            return index;
    }
    return -1;
}

// ---- Comparison ----------------------------------------------------------------------------

template <class T> int CXelStringT<T>::Compare(const T* text) const
{
    return CompareTexts<T>(m_chars, text);
}

template <class T> int CXelStringT<T>::CompareNoCase(const T* text) const
{
    return detail::CompareWithoutCase(m_chars, text ? text : &get_afxChNil());
}

} // namespace xel_text
