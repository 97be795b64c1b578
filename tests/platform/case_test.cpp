#include <cstddef>
#include <gtest/gtest.h>
#include <string>

#include "support/host_memory.h"
#include "support/target.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/case_tables.h"
#include "xelutils/platform/posix/wide_length.h"

namespace {

int Sign(int value)
{
    return (value > 0) - (value < 0);
}

// Two pages, the second of which cannot be touched. The text ends with the first.
class TextAtPageEnd {
public:
    static constexpr std::size_t kPage = 0x10000;

    explicit TextAtPageEnd(const std::u16string& text)
    {
        m_pages = static_cast<char*>(MapMemory(nullptr, 2 * kPage));
        ForbidMemory(m_pages + kPage, kPage);
        m_text = reinterpret_cast<wchar_t*>(m_pages + kPage) - text.size() - 1;
        text.copy(reinterpret_cast<char16_t*>(m_text), text.size());
        m_text[text.size()] = 0;
    }
    ~TextAtPageEnd() { UnmapMemory(m_pages, 2 * kPage); }
    TextAtPageEnd(const TextAtPageEnd&) = delete;
    TextAtPageEnd& operator=(const TextAtPageEnd&) = delete;

    wchar_t* Text() const { return m_text; }

private:
    char* m_pages;
    wchar_t* m_text;
};

} // namespace

// Of the letters only those of one case have a class beside _ALPHA; the byte A0 sign-extended is a
// letter, and what is no unit of UTF-16 has no class.
TEST(CharacterClasses, FollowUnicode)
{
    constexpr int kTitle = OnHost(0x100, 0x103), kOrdinal = OnHost(0x100, 0x102);
    const struct {
        int c, classes;
    } rows[] = {
        {0xE9, 0x102},   {'A', 0x101},     {0x3000, 8}, {0xB2, 4},   {'7', 4},  {9, 8},
        {0x4E2D, 0x100}, {'z', 0x102},     {0x2028, 8}, {0x663, 4},  {0x85, 8}, {8, 0},
        {0x1C5, kTitle}, {0xDF, 0x102},    {0x20AC, 0}, {0xBD, 0},   {'_', 0},  {14, 0},
        {0x2167, 0x100}, {0xAA, kOrdinal}, {0xD800, 0}, {0xA0, 8},   {0xD7, 0}, {0, 0},
        {0xFFA0, 0x100}, {0x10041, 0},     {0xDFFF, 0}, {0xFFFF, 0}, {0xA7, 0}, {-1, 0},
    };
    constexpr int kAllClasses = _ALPHA | _DIGIT | _SPACE;
    for (const auto& row : rows) {
        EXPECT_EQ(_isctype(row.c, kAllClasses), row.classes) << row.c;
        EXPECT_EQ(_isctype(row.c, _SPACE) != 0, (row.classes & _SPACE) != 0) << row.c;
    }
    EXPECT_NE(iswctype(L'\u00A0', static_cast<unsigned short>(_SPACE)), 0);
    EXPECT_EQ(iswctype(L'x', static_cast<unsigned short>(_SPACE)), 0);
}

// Nothing becomes ASCII, the micro sign no Greek; what has no single partner stays.
TEST(Case, PairsOfUnicode)
{
    const struct {
        const char16_t *text, *upper, *lower;
    } rows[] = {
        {u"@AZ[`az{", u"@AZ[`AZ{", u"@az[`az{"},
        {u"\u00E9\u00C9\u00F7\u00D7\u00FF", u"\u00C9\u00C9\u00F7\u00D7\u0178",
         u"\u00E9\u00E9\u00F7\u00D7\u00FF"},
        {u"\u03C3\u03C2\u03A3", OnHost(u"\u03A3\u03A3\u03A3", u"\u03A3\u03C2\u03A3"),
         u"\u03C3\u03C2\u03C3"},
        {u"\u01C5", OnHost(u"\u01C4", u"\u01C5"), OnHost(u"\u01C6", u"\u01C5")},
        {u"\uFF21\uFF5A", u"\uFF21\uFF3A", u"\uFF41\uFF5A"},
        {u"\u0130\u0131\u017F\u212A\u00B5\u00DF", u"\u0130\u0131\u017F\u212A\u00B5\u00DF",
         u"\u0130\u0131\u017F\u212A\u00B5\u00DF"},
        {u"\xD801\xDC00", u"\xD801\xDC00", u"\xD801\xDC00"},
    };
    for (const auto& row : rows) {
        std::u16string text(row.text);
        auto* const units = reinterpret_cast<wchar_t*>(text.data());
        EXPECT_EQ(_wcsupr(units), units);
        EXPECT_EQ(text, row.upper);
        text = row.text;
        _wcslwr(reinterpret_cast<wchar_t*>(text.data()));
        EXPECT_EQ(text, row.lower);
    }
    char narrow[] = "@AZ[`az{\xE9\xC9";
    EXPECT_STREQ(_strupr(narrow), "@AZ[`AZ{\xE9\xC9");
    EXPECT_STREQ(_strlwr(narrow), "@az[`az{\xE9\xC9");
    EXPECT_STREQ(_strrev(narrow), "\xC9\xE9{za`[za@");
    std::u16string wide = u"abc";
    _wcsrev(reinterpret_cast<wchar_t*>(wide.data()));
    EXPECT_EQ(wide, u"cba");
}

// Desktop Windows pairs only what goes both ways: titles of letters, symbols made of them and the
// large sharp s stay.
TEST(Case, TablesAndCallsAgreeOverTheWholePlane)
{
    int upper = 0, lower = 0, folded = 0;
    for (unsigned unit = 1; unit < 0x10000; ++unit) {
        const auto own = static_cast<wchar_t>(unit);
        wchar_t text[] = {own, 0};
        upper += _wcsupr(text)[0] != UpperCase(own);
        text[0] = own;
        lower += _wcslwr(text)[0] != LowerCase(own);
        const wchar_t other[] = {FoldCase(own), 0};
        text[0] = own;
        folded += _wcsicmp(text, other) != 0;
    }
    EXPECT_EQ(upper, OnHost(0, 24));
    EXPECT_EQ(lower, OnHost(0, 8));
    EXPECT_EQ(folded, OnHost(0, 8));
}

// "Z" before "_" would be by capitals; "@" and "`" differ by the bit of the case.
TEST(Case, ComparesByLowerCaseAsUnsignedNumbers)
{
    const struct {
        const wchar_t* first;
        const wchar_t* second;
        int sign;
    } rows[] = {
        {L"0123456\u00D7", L"0123456\u00F7", -1},        {L"Pa", L"PA", 0},
        {L"0123456\u00DF", L"0123456\u00FF", -1},        {L"z\u00C9", L"Z\u00E9", 0},
        {L"0123456789abcdef", L"0123456789ABCDEFG", -1}, {L"a\uFFFD", L"a\u0001", 1},
        {L"01234567@bcdefgh", L"01234567`bcdefgh", -1},
    };
    for (const auto& row : rows) {
        const auto number = &row - rows;
        EXPECT_EQ(Sign(_wcsicmp(row.first, row.second)), row.sign) << number;
        EXPECT_EQ(Sign(_wcsicmp(row.second, row.first)), -row.sign) << number;
    }
    EXPECT_GT(_wcsicmp(L"Z", L"_"), 0);
    EXPECT_LT(_wcsicmp(L"", L"a"), 0);
    EXPECT_EQ(_wcsicmp(L"0123456789abcdeF\u0416", L"0123456789abcdef\u0436"), 0);
    EXPECT_EQ(_stricmp("Panel", "pANEL"), 0);
    EXPECT_LT(_stricmp("a\x7F", "A\x80"), 0);
    EXPECT_GT(_stricmp("ab", "A"), 0);
    EXPECT_NE(_stricmp("\xE9", "\xC9"), 0);
}

TEST(Case, NothingIsReadBehindTheTerminatorsPage)
{
    for (std::size_t length = 0; length < 40; ++length) {
        const std::u16string text(length, u'\u00E9');
        const TextAtPageEnd first(text);
        const TextAtPageEnd second(std::u16string(length, u'\u00C9'));
        EXPECT_EQ(WideLength(first.Text()), length);
        EXPECT_EQ(_wcsicmp(first.Text(), second.Text()), 0);
        // The two at different distances from their pages' ends.
        const TextAtPageEnd longer(text + u"x");
        EXPECT_LT(_wcsicmp(first.Text(), longer.Text()), 0);
        EXPECT_EQ(_wcsicmp(longer.Text() + 1, length > 0 ? longer.Text() + 1 : L""), 0);
        std::string bytes(length + 1, '-');
        EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, first.Text(), -1, bytes.data(),
                                      static_cast<int>(bytes.size()), nullptr, nullptr),
                  static_cast<int>(length) + 1);
        EXPECT_EQ(bytes, std::string(length, '\xE9') + '\0');
    }
}
