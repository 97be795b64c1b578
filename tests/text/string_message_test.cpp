#include <cstring>
#include <string>

#include "support/target.h"
#include "text/string_states.h"
#include "xelutils/platform/framework.h"

using namespace string_tests;
using namespace std::string_literals;

namespace {

// Identifiers that no other table of the tests uses.
constexpr UINT kTwo = 0x7B11, kSingle = 0x7B12, kThree = 0x7B13, kEmpty = 0x7B14, kLong = 0x7B15;
constexpr UINT kMissing = 0x7BFF;

class StringMessage : public StringStatesTest {
protected:
    StringMessage() { RegisterStringTable(m_entries, std::size(m_entries)); }
    ~StringMessage() override { UnregisterStringTable(m_entries); }

    std::u16string m_long = std::u16string(600, u'x') + u"%1!d!";

private:
    const CStringTableEntry m_entries[5] = {
        {kTwo, L"%2=%1!d!"},
        {kSingle, L"a"},
        {kThree, L"abc"},
        {kEmpty, L""},
        {kLong, reinterpret_cast<const wchar_t*>(m_long.c_str())},
    };
};

// The message, as Look shows its units.
template <class... Arguments> std::string Message(const wchar_t* pattern, Arguments... arguments)
{
    Wide message;
    message.FormatMessageW(pattern, arguments...);
    const std::string look = Look(message);
    return look.substr(0, look.rfind('/'));
}

TEST_F(StringMessage, InsertsAndEscapes)
{
    const wchar_t one[] = L"one", two[] = L"two";
    EXPECT_EQ(Message(L"%2 %1", one, two), "two one");
    EXPECT_EQ(Message(L"%1%1%2!d!", one, 5), "oneone5");
    EXPECT_EQ(Message(L"%2", 5, two), "two");
    EXPECT_EQ(Message(L"%101", 1, 2, 3, 4, 5, 6, 7, 8, 9, L"j"), "j1") << "two digits, no more";
    EXPECT_EQ(Message(L"%1!d!2", 7), "72");
    EXPECT_EQ(Message(L"%1", L"%1\n\x20AC"), "%1<A><20AC>") << "not read again";
    EXPECT_EQ(Message(L"%1", nullptr), "(null)");
    EXPECT_EQ(Message(L"%%1%%", one), "%1%");
    EXPECT_EQ(Message(L"a%nb%t%r"), "a<D><A>b<9><D>");
    EXPECT_EQ(Message(L"\na\r\nb\r"), "<D><A>a<D><A>b<D><A>") << "lines are ended twofold";
    EXPECT_EQ(Message(L"% %.%!%\"%\x416%y"), " .!\"<416>y") << "others are themselves";
    EXPECT_EQ(Message(L"%\n%\r"), "<A><D>");
    EXPECT_EQ(Message(L"%1%0%1", one), "one") << "end";
}

// A "*" takes an argument that counts, and the text behind it one that does not.
TEST_F(StringMessage, InsertsWithAFormat)
{
    EXPECT_EQ(Message(L"%1!d!|%2!x!|%2!X!|%2!o!|%1!u!", -7, 0xFE), "-7|fe|FE|376|4294967289");
    EXPECT_EQ(Message(L"%1!5d!|%1!-5d!|%1!05d!|%1!+d!|%1!#x!", 42), "   42|42   |00042|+42|0x2a");
    EXPECT_EQ(Message(L"%1!hd!|%2!lu!|%2!I32d!", 0x18000, -1), "-32768|4294967295|-1");
    EXPECT_EQ(Message(L"%1!d!|%2!I64d!|%3!Id!|%4!d!", 5, 1234567890123LL, std::intptr_t{-1}, 6),
              "5|1234567890123|-1|6");
    EXPECT_EQ(Message(L"%2!5.2f!%1!d!", 7), "f7") << "no floating point";
    EXPECT_EQ(Message(L"[%1!5s!][%1!-5s!][%1!.2s!][%1!5.2ls!]", L"abc"),
              "[  abc][abc  ][ab][   ab]");
    EXPECT_EQ(Message(L"%1!S!|%1!.1hs!|%1!3hs!", "\x80x"), "<20AC>x|<20AC>| <20AC>x");
    EXPECT_EQ(Message(L"%1!c!%2!c!|%1!5c!|%3!C!", 'A', 0x20AC, 0xE9), "A<20AC>|    A|<E9>");
    EXPECT_EQ(Message(L"%1!dx!%%d", 5), "5x%d") << "text behind the conversion";
    int stored = 5;
    EXPECT_EQ(Message(L"[%1!n!]", &stored), "[]");
    EXPECT_EQ(stored, OnHost(5, 0)) << "the system's own formatter stores";
    EXPECT_EQ(Message(L"%1!*.*s! %3 %4!*s!", 4, 2, L"Bill", L"Bob", 6, L"Bill"), "  Bi Bob   Bill");
    EXPECT_EQ(Message(L"%1!*s!|%2!d!|%3!d!", 4, L"ab", 7, 8), "  ab|7|8");
    EXPECT_EQ(Message(L"%1 %2!*s! %3 %4", L"r1", 5, L"ab", L"r4", L"r5"), "r1    ab r4 r5");
    EXPECT_EQ(Message(L"%2!*s! %1", L"first", 5, L"ab"), "   ab first");
    EXPECT_EQ(Message(L"%1!.*s!|%2!d!", 1, L"ab", 7), "a|7");
    EXPECT_EQ(Message(L"%1!*d!|", -4, 5), "5   |");
}

TEST_F(StringMessage, ResultIsAssigned)
{
    static const wchar_t pattern[] = L"a%1!d!";
    const Row<wchar_t> rows[] = {
        {"grown", Sole, "a", "a5/2 x1", [](Wide& s) { s.FormatMessageW(pattern, 5); }},
        {"shared", Shared, "abc", "a5/2 x1", [](Wide& s) { s.FormatMessageW(pattern, 5); }},
        {"locked", Locked, "abc", "=a5/3 locked", [](Wide& s) { s.FormatMessageW(pattern, 5); }},
        {"own pattern", Sole, "%1!3d!|", "=  5|/7 x1", [](Wide& s) { s.FormatMessageW(s, 5); }},
        {"own pattern, shared", Shared, "%1!d!", "5/1 x1", [](Wide& s) { s.FormatMessageW(s, 5); }},
        {"own piece", Sole, "x%1!2d!", "= 5/7 x1", [](Wide& s) { s.FormatMessageW(s + 1, 5); }},
        {"own insert", Sole, "abc", "abcabc/6 x1", [](Wide& s) { s.FormatMessageW(L"%1%1", s); }},
        {"both", Sole, "%1|%1", "%1|%1|%1|%1/11 x1", [](Wide& s) { s.FormatMessageW(s, s); }},
        {"up to a zero", Sole, "ab\0cd"sv, "=ab/5 x1", [](Wide& s) { s.FormatMessageW(s); }},
        {"resource", Shared, "ab", "ab=5/4 x1", [](Wide& s) { s.FormatMessageW(kTwo, 5, s); }},
    };
    Check(rows);
    Wide text;
    text.FormatMessageW(kLong, 5);
    EXPECT_EQ(text, Str<wchar_t>(std::string(600, 'x') + "5"));
}

template <class Function> void ExpectThrown(Function function)
{
    EXPECT_THROW(function(), CMemoryException*);
}

TEST_F(StringMessage, WithoutAMessageTheStringIsAsItWas)
{
    const struct {
        const char* what;
        void (*act)(Wide&);
    } acts[] = {
        {"empty", [](Wide& s) { s.FormatMessageW(L""); }},
        {"null", [](Wide& s) { s.FormatMessageW(kNull<wchar_t>); }},
        {"empty insert", [](Wide& s) { s.FormatMessageW(L"%1%2!.0s!", L"", L"a"); }},
        {"percent at the end", [](Wide& s) { s.FormatMessageW(L"abc%"); }},
        {"format without end", [](Wide& s) { s.FormatMessageW(L"abc%1!d", 5); }},
        {"format that starts at the end", [](Wide& s) { s.FormatMessageW(L"abc%1!", 5); }},
        {"missing resource", [](Wide& s) { s.FormatMessageW(kMissing, 5); }},
        {"empty resource", [](Wide& s) { s.FormatMessageW(kEmpty); }},
        {"own empty text", [](Wide& s) { s.FormatMessageW(s.GetString() + s.GetLength()); }},
    };
    for (const auto& act : acts) {
        const auto run = [&act](Wide& s) { ExpectThrown([&] { act.act(s); }); };
        const Row<wchar_t> rows[] = {
            {act.what, Nil, "", "=/0 nil", run},
            {act.what, Shared, "abc", "=abc/3 x2", run},
            {act.what, RoomyLocked, "abc", "=abc/8 locked", run},
        };
        Check(rows);
    }
    Narrow narrow = Str<char>("abc");
    ExpectThrown([&] { narrow.FormatMessageW(kNull<char>); });
    ExpectThrown([&] { narrow.FormatMessageW(Narrow()); });
    ExpectThrown([&] { narrow.FormatMessageW(kMissing); });
    EXPECT_EQ(Look(narrow), "abc/3 x1");
}

// Wide text as the bytes of a block of exactly their size, terminator included.
class Prepared {
public:
    explicit Prepared(std::u16string_view text, std::size_t offset = 0)
        : m_offset(offset), m_bytes(offset)
    {
        for (const char16_t unit : std::u16string(text) + u'\0') {
            m_bytes.push_back(static_cast<char>(unit & 0xFF));
            m_bytes.push_back(static_cast<char>(unit >> 8));
        }
        m_bytes.shrink_to_fit();
    }
    operator const char*() const { return m_bytes.data() + m_offset; }
    // As a string that holds all of them but the terminator.
    Narrow String() const
    {
        return {*this, static_cast<int>(m_bytes.size() - m_offset - sizeof(char16_t))};
    }

private:
    std::size_t m_offset;
    std::vector<char> m_bytes;
};

TEST_F(StringMessage, NarrowPatternsArePreparedWideText)
{
    for (const std::size_t offset : {0, 1}) {
        Narrow text = Str<char>("xyz");
        text.FormatMessageW(Prepared(u"\u20AC%1!d!|%2\u0416", offset), 5, L"\x178");
        EXPECT_EQ(Look(text), "<80>5|<9F>?/5 x1");
        text.FormatMessageW(Prepared(u"a", offset));
        EXPECT_EQ(Look(text), "a/5 x1");
    }
}

TEST_F(StringMessage, NarrowStringsAsPatternsEndWithTheirBlock)
{
    const Row<char> rows[] = {
        {"own text", Sole, "%\0001\0!\0d\0!\0"sv, "=5/10 x1",
         [](Narrow& s) { s.FormatMessageW(s, 5); }},
        {"address", Sole, "a\0b"sv, "=ab/3 x1", [](Narrow& s) { s.FormatMessageW(s + 0); }},
        {"odd length", Sole, "a\0b"sv, "=ab/3 x1", [](Narrow& s) { s.FormatMessageW(s); }},
        {"ordinary text", Sole, "abc", "=?c/3 x1", [](Narrow& s) { s.FormatMessageW(s); }},
        {"old text behind the end", Sole, "a\0b\0"sv, "ab/20 x1",
         [](Narrow& s) {
             std::memset(s.GetBuffer(20) + 4, 'z', 17);
             s.ReleaseBuffer(4);
             s.FormatMessageW(s);
         }},
        {"resource of one", Nil, "", "a/1 x1", [](Narrow& s) { s.FormatMessageW(kSingle); }},
        {"resource", Nil, "", "?c/2 x1", [](Narrow& s) { s.FormatMessageW(kThree); }},
    };
    Check(rows);
}

TEST_F(StringMessage, NoLimitToTheText)
{
    const std::string part(2500, 'p'), all(10000, 'p');
    const Wide insert = Str<wchar_t>(part), pattern = Str<wchar_t>(all);
    Wide wide;
    wide.FormatMessageW(L"%1%1%2%1", insert, insert);
    EXPECT_EQ(wide, pattern);
    wide.FormatMessageW(L"%1!10000d!", 5);
    EXPECT_EQ(wide, Str<wchar_t>(std::string(9999, ' ') + "5"));
}

TEST_F(StringMessage, TwentyInsertsOfEveryKind)
{
    enum class Kind { five = 5 };
    static const char16_t pattern[] =
        u"%20 %2!d! %19!c! %3 %18!u! %4!hs! %17 %5!d! %16!d! %6 %15!x! %7!d! "
        u"%14 %8 %13!d! %9!d! %12 %10!S! %11!d! %1";
    const auto format = [](auto& text, const auto& text16) {
        text.FormatMessageW(text16, L"a1", 2, Str<wchar_t>("a3"), "a4", Kind::five, CString(L"a6"),
                            true, L"a8", -9, Str<char>("a10"), short{11}, L"a12", LONG{-13},
                            Wide(L"a14"), 0xFFU, 'p', CString("a17"), DWORD{18}, L's', L"a20");
    };
    const char expected[] = "a20 2 s a3 18 a4 a17 5 112 a6 ff 1 a14 a8 -13 -9 a12 a10 11 a1/62 x1";
    Wide wide;
    format(wide, reinterpret_cast<const wchar_t*>(pattern));
    EXPECT_EQ(Look(wide), expected);
    Narrow narrow;
    format(narrow, static_cast<const char*>(Prepared(pattern)));
    EXPECT_EQ(Look(narrow), expected);
}

} // namespace
