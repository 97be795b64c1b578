#include <algorithm>
#include <cstdarg>
#include <string>

#include "text/string_states.h"
#include "xelutils/platform/framework.h"

using namespace string_tests;
using namespace std::string_literals;

namespace {

constexpr int kLimit = 2048;

// Identifiers that no other table of the tests uses.
constexpr UINT kPattern = 0x7B01, kEmpty = 0x7B02, kForeign = 0x7B03, kLong = 0x7B04;
constexpr UINT kMissing = 0x7BFF;

template <class T> class StringFormat : public StringStatesTest {
};
TYPED_TEST_SUITE(StringFormat, Widths);

// So that it shows where a text was cut.
std::string Counted(int length)
{
    std::string text;
    for (int i = 0; i < length; ++i)
        text += static_cast<char>('a' + i % 23);
    return text;
}

TYPED_TEST(StringFormat, ResultTakesTheBufferThatIsThere)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    static const Text<T> a("a%d"), empty(""), zero("a%cb%c"), twice("%s%s"), once("<%s>"),
        piece("%s"), number("%d"), character("%c");
    const Row<T> rows[] = {
        // The buffer that is there.
        {"new", Nil, "", "a5/2 x1", [](S& s) { s.Format(a, 5); }},
        {"just fits", Sole, "ab", "=a5/2 x1", [](S& s) { s.Format(a, 5); }},
        {"shared, old length kept", Shared, "abcd", "a5/4 x1", [](S& s) { s.Format(a, 5); }},
        {"locked", Locked, "abc", "=a5/3 locked", [](S& s) { s.Format(a, 5); }},
        {"lock lost", Locked, "a", "a5/2 x1", [](S& s) { s.Format(a, 5); }},
        {"empty", Nil, "", "=/0 nil", [](S& s) { s.Format(empty); }},
        {"empty, empty shared", RoomyShared, "", "/0 nil", [](S& s) { s.Format(empty); }},
        {"zeros", Sole, "x", "a<0>b<0>/4 x1", [](S& s) { s.Format(zero, 0, 0); }},
        {"behind a zero", Sole, "a\0bcd"sv, "=a5/5 x1", [](S& s) { s.Format(a, 5); }},
        {"length below 0", Sole, "abc", "=a5/3 x1",
         [](S& s) { s.ReleaseBuffer(-2), s.Format(a, 5); }},
        // Pattern and arguments of the own text.
        {"grown", Sole, "abc", "abcabc/6 x1", [](S& s) { s.Format(twice, s, s); }},
        {"in place", Roomy, "abc", "=<abc>/8 x1", [](S& s) { s.Format(once, s.GetString()); }},
        {"empty piece", Sole, "abc", "=/3 x1", [](S& s) { s.Format(piece, s.GetString() + 3); }},
        {"pattern", Sole, "x%d%%", "=x5%/5 x1", [](S& s) { s.Format(s, 5); }},
        {"pattern, grown", Shared, "%5d", "    5/5 x1", [](S& s) { s.Format(s, 5); }},
        {"both", Sole, "%s|", "%s||/4 x1", [](S& s) { s.Format(s, s); }},
        {"another holder's pattern", Sole, "%2d", " 5/3 x1", [](S& s) { s.Format(S(s), 5); }},
        {"appended, grown", Sole, "a%d", "a%da5/5 x1", [](S& s) { s.AppendFormat(s, 5); }},
        // Appending leaves the rest alone.
        {"grown", Sole, "a\0b"sv, "a<0>b5/4 x1", [](S& s) { s.AppendFormat(number, 5); }},
        {"shared", RoomyShared, "ab", "ab5/3 x1", [](S& s) { s.AppendFormat(number, 5); }},
        {"locked", RoomyLocked, "ab", "=ab5/8 locked", [](S& s) { s.AppendFormat(number, 5); }},
        {"nothing", Shared, "ab", "=ab/2 x2", [](S& s) { s.AppendFormat(empty); }},
        {"a zero", Sole, "a", "a<0>/2 x1", [](S& s) { s.AppendFormat(character, 0); }},
    };
    Check(rows);
}

// Old text behind the limit follows an overlong one, as far as it goes.
TYPED_TEST(StringFormat, TextIsCutAtTheLimit)
{
    using T = TypeParam;
    for (const int length : {kLimit - 1, kLimit, kLimit + 1, 3000}) {
        const std::string counted = Counted(length);
        for (const int oldLength : {0, 5, kLimit, kLimit + 1, 2100}) {
            SCOPED_TRACE(std::to_string(length) + " over " + std::to_string(oldLength));
            CXelStringT<T> text(T('z'), oldLength);
            const T* const block = text.GetString();
            text.Format(Text<T>("%s"), static_cast<const T*>(Text<T>(counted)));
            std::string expected = counted.substr(0, kLimit);
            if (length > kLimit && oldLength > kLimit)
                expected.append(static_cast<std::size_t>(oldLength - kLimit), 'z');
            ASSERT_EQ(Units(text), Units(Str<T>(expected)));
            EXPECT_EQ(text.GetString()[text.GetLength()], 0);
            const int kept = std::min(length, kLimit);
            EXPECT_EQ(text.GetAllocLength(), std::max(kept, oldLength));
            EXPECT_EQ(text.GetString() == block, kept <= oldLength);
        }
    }
}

TYPED_TEST(StringFormat, LookingForTheEndStaysInsideTheBlock)
{
    using T = TypeParam;
    constexpr int kCapacity = 2100;
    for (const int zeroAt : {kCapacity, 2060, kLimit, 100}) {
        CXelStringT<T> text;
        T* const buffer = text.GetBuffer(kCapacity);
        // The terminator of the block too.
        std::fill_n(buffer, kCapacity + 1, T('z'));
        buffer[zeroAt] = 0;
        if (zeroAt == kCapacity)
            buffer[zeroAt] = 'z';
        text.Format(Text<T>("%3000d"), 5);
        std::string expected(kLimit, ' ');
        expected.append(
            static_cast<std::size_t>(zeroAt < kLimit ? kCapacity - kLimit : zeroAt - kLimit), 'z');
        EXPECT_EQ(Units(text), Units(Str<T>(expected))) << zeroAt;
        EXPECT_EQ(text.GetAllocLength(), kCapacity);
        EXPECT_EQ(text.GetString()[text.GetLength()], 0);
    }
}

TYPED_TEST(StringFormat, ZeroCharactersEndOnlyOverlongText)
{
    using T = TypeParam;
    CXelStringT<T> text;
    text.Format(Text<T>("a%cb%2045d"), 0, 5);
    EXPECT_EQ(Units(text), Units(Str<T>("a\0b"s + std::string(2044, ' ') + "5")));
    text.Format(Text<T>("a%cb%2046d"), 0, 5);
    EXPECT_EQ(Look(text), "a/2048 x1");
}

TYPED_TEST(StringFormat, AppendedTextIsCutByItself)
{
    using T = TypeParam;
    for (const int before : {0, 100, 3000}) {
        CXelStringT<T> text(T('z'), before);
        text.GetBuffer(before + 3000);
        text.AppendFormat(Text<T>("%-3000d"), 5);
        const std::string expected =
            std::string(static_cast<std::size_t>(before), 'z') + "5" + std::string(kLimit - 1, ' ');
        EXPECT_EQ(Units(text), Units(Str<T>(expected)));
    }
}

// Formats twice from one list and returns the first argument then.
template <class T>
int FormatTwice(CXelStringT<T>& first, CXelStringT<T>& second, const T* pattern, ...)
{
    va_list arguments;
    va_start(arguments, pattern);
    first.FormatV(pattern, arguments);
    second.FormatV(pattern, arguments);
    const int argument = va_arg(arguments, int);
    va_end(arguments);
    return argument;
}

TYPED_TEST(StringFormat, CallersListStaysWhereItIs)
{
    using T = TypeParam;
    CXelStringT<T> first, second;
    const Text<T> pattern("%d %g %hs %I64d %d %d %d %d %d");
    EXPECT_EQ(FormatTwice<T>(first, second, pattern, 11, 0.5, "x", 1LL << 40, 1, 2, 3, 4, 5), 11);
    EXPECT_EQ(Look(first), "11 0.5 x 1099511627776 1 2 3 4 5/32 x1");
    EXPECT_EQ(first, second);
}

TYPED_TEST(StringFormat, PatternFromAResource)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    const std::string counted = Counted(300);
    const Wide longPattern = Str<wchar_t>(counted + "%d");
    const CStringTableEntry entries[] = {
        {kPattern, L"%d-%hs"}, {kEmpty, L""}, {kForeign, L"\x20AC%c"}, {kLong, longPattern}};
    RegisterStringTable(entries, std::size(entries));
    const Row<T> rows[] = {
        {"found", Nil, "", "5-x/3 x1", [](S& s) { s.Format(kPattern, 5, "x"); }},
        {"shared", Shared, "abcd", "5-x/4 x1", [](S& s) { s.Format(kPattern, 5, "x"); }},
        {"foreign", Nil, "", sizeof(T) == 1 ? "<80>a/2 x1" : "<20AC>a/2 x1",
         [](S& s) { s.Format(kForeign, 'a'); }},
        {"own text", Sole, "a", "5-a/3 x1",
         [](S& s) { s.Format(kPattern, 5, static_cast<const char*>(Narrow(s.GetString()))); }},
        {"missing", Sole, "abc", "=/3 x1", [](S& s) { s.Format(kMissing, 5); }},
    };
    Check(rows);
    S text;
    text.Format(kLong, 5);
    EXPECT_EQ(text, Str<T>(counted + "5"));
    EXPECT_TRUE(UnregisterStringTable(entries));
}

enum Plain { kTwo = 2, kMinusTwo = -2 };
enum class Small : unsigned char { k200 = 200 };
enum class Big : long long { kBig = 1LL << 40 };

TYPED_TEST(StringFormat, ArgumentsOfEveryKind)
{
    using T = TypeParam;
    const Narrow narrow = Str<char>("n\xE9");
    const Wide wide = Str<wchar_t>("w");
    const CString framework(L"c");
    CXelStringT<T> text;

    text.Format(Text<T>("%hs|%ls|%ls|%hs|%ls"), narrow, wide, framework, "literal", L"wide");
    EXPECT_EQ(text, Str<T>("n\xE9|w|c|literal|wide"));
    text.Format(Text<T>("%s|%d|%d|%d|%I64d"), Str<T>("t"), kTwo, kMinusTwo, Small::k200, Big::kBig);
    EXPECT_EQ(text, Str<T>("t|2|-2|200|1099511627776"));
    text.Format(Text<T>("%d|%c|%d|%lc|%d|%hc|%lc"), true, 'x', '\xFF', L'w', short{-5}, '\xE9',
                L'\xE9');
    EXPECT_EQ(text, Str<T>("1|x|-1|w|-5|\xE9|\xE9"));
    text.Format(Text<T>("%g|%Lg|%I64d|%lu|%d"), 1.5F, 2.5L, -5LL, DWORD{0xFFFFFFFF}, 7);
    EXPECT_EQ(text, Str<T>("1.5|2.5|-5|4294967295|7"));
    text.Format(Text<T>("%ls|%hs|%d"), nullptr, static_cast<char*>(nullptr), 7);
    EXPECT_EQ(text, Str<T>("(null)|(null)|7"));

    text = Str<T>("a");
    text.AppendFormat(Text<T>("%hs|%ls|%ls|%d"), narrow, wide, framework, Small::k200);
    EXPECT_EQ(text, Str<T>("an\xE9|w|c|200"));
}

// Its CString would be gone before the text is read.
struct ConvertsToString {
    operator CString() const;
};
struct ConvertsToText {
    operator const wchar_t*() const { return L""; }
};
struct ConvertsToNumber {
    operator int() const { return 0; }
};
struct DerivedString : Wide {};

// Through "..." these would be nonsense.
template <class... Arguments>
constexpr bool kRefused = !(xel_text::detail::Formattable<Arguments> || ...);
static_assert(kRefused<std::string, std::string_view, std::u16string, std::vector<int>, CTimeSpan,
                       xel_text::CMfcStringProxy<wchar_t>, Text<char>>);
static_assert(kRefused<ConvertsToText, ConvertsToNumber, ConvertsToString>);
static_assert(xel_text::detail::Formattable<DerivedString>);

} // namespace
