// Lists of values, and tokens. A text that is searched ends at its first zero character, as it
// does for the string's own searching members.
#include <algorithm>
#include <limits>
#include <utility>

#include "xelutils/formats/xel_formats.h"

namespace xel_formats {

namespace {

using String = CXelStringT<wchar_t>;

bool IsOneOf(const wchar_t* set, wchar_t ch)
{
    while (*set != 0 && *set != ch)
        ++set;
    return *set != 0;
}

// The leading run of characters that are in the set.
int RunIn(const wchar_t* set, const wchar_t* text)
{
    const wchar_t* end = text;
    while (*end != 0 && IsOneOf(set, *end))
        ++end;
    return static_cast<int>(end - text);
}

// The leading run of characters that are not.
int RunOutside(const wchar_t* set, const wchar_t* text)
{
    const wchar_t* end = text;
    while (*end != 0 && !IsOneOf(set, *end))
        ++end;
    return static_cast<int>(end - text);
}

void Clean(String& value)
{
    value.TrimLeft();
    value.TrimRight();
    value.Remove(L'\r');
    value.Remove(L'\n');
}

// Texts that many elements share may come to more than a string can hold, which ends the program
// as every text does that the heap cannot hold.
int JoinedLength(const StringArray& values)
{
    long long length = std::max<long long>(static_cast<long long>(values.size()) - 1, 0);
    for (const String& value : values)
        length += value.end() - value.begin();
    return static_cast<int>(std::min<long long>(length, std::numeric_limits<int>::max()));
}

} // namespace

// ---- Lists ---------------------------------------------------------------------------------

bool ParseDelimitersValues(const String& text, StringArray& values, const String& delimiters)
{
    // The list's own elements move when it grows.
    const String whole(text);
    const String set(delimiters);
    const int length = whole.GetLength();
    int start = 0;
    do {
        const int run = RunOutside(set, whole.GetString() + start);
        // A delimiter in front of the rest ends the splitting; callers rely on it.
        const bool splits = run > 0 && whole.GetAt(start + run) != 0;
        String value = splits ? whole.Mid(start, run) : whole.Mid(start);
        start = splits ? start + run + 1 : length;
        Clean(value);
        values.push_back(value);
    } while (start < length);
    return true;
}

bool ParseValues(const String& text, StringArray& values, char delimiter, const String& forbidden)
{
    // The list's own elements move when it grows.
    const String whole(text);
    const String refused(forbidden);
    const auto unit = static_cast<wchar_t>(static_cast<signed char>(delimiter));
    const int length = whole.GetLength();
    int start = 0;
    do {
        const int found = whole.Find(unit, start);
        // A delimiter as the first character does not split; callers rely on it.
        const bool splits = found > 0;
        String value = splits ? whole.Mid(start, found - start) : whole.Mid(start);
        start = splits ? found + 1 : length;
        Clean(value);
        if (value.FindOneOf(refused) >= 0)
            return false;
        values.push_back(value);
    } while (start < length);
    return true;
}

String StringArrayToString(const StringArray& values)
{
    String joined;
    wchar_t* end = joined.GetBufferSetLength(JoinedLength(values));
    for (const String& value : values) {
        if (&value != values.begin())
            *end++ = L',';
        end = std::copy(value.begin(), value.end(), end);
    }
    return joined;
}

bool IsStringInStringArray(const StringArray& values, const String& text)
{
    return std::find(values.begin(), values.end(), text) != values.end();
}

bool IsUIntInUIntArray(const UIntArray& values, int value)
{
    return std::find(values.begin(), values.end(), static_cast<unsigned int>(value)) !=
           values.end();
}

// ---- Tokens --------------------------------------------------------------------------------

String Tokenize(const String& text, const wchar_t* delimiters, int& position)
{
    if (position < 0)
        return {};
    const int length = text.GetLength();
    if (position >= length) {
        position = -1;
        return {};
    }
    // The position stays; callers know that they must not loop on it.
    if (!delimiters || *delimiters == 0)
        return text.Mid(position);

    const wchar_t* const rest = text.GetString() + position;
    const int skipped = RunIn(delimiters, rest);
    if (position + skipped >= length) {
        position = -1;
        return {};
    }
    const int run = RunOutside(delimiters, rest + skipped);
    const int first = position + skipped;
    position = first + run + 1;
    return text.Mid(first, run);
}

void Tokenize(const String& text, StringVector& tokens, const wchar_t* delimiters)
{
    // Both may be elements of the vector.
    const String whole(text);
    String set;
    set = delimiters;
    tokens.clear();
    // The position would never reach the end.
    if (set.IsEmpty()) {
        if (!whole.IsEmpty())
            tokens.push_back(whole);
        return;
    }
    int position = 0;
    for (;;) {
        String token = Tokenize(whole, set, position);
        if (position < 0)
            return;
        tokens.push_back(std::move(token));
    }
}

} // namespace xel_formats
