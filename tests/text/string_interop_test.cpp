#include <string>
#include <utility>

#include "text/string_states.h"
#include "xelutils/platform/framework.h"
#include "xelutils/platform/oleaut.h"

using namespace string_tests;

namespace {

class StringInterop : public StringStatesTest {};

// A system string that the test owns.
class System {
public:
    System() = default;
    explicit System(BSTR string) : m_string(string) {}
    explicit System(std::u16string_view text)
        : m_string(SysAllocStringLen(reinterpret_cast<const wchar_t*>(text.data()),
                                     static_cast<UINT>(text.size())))
    {
    }
    ~System() { SysFreeString(m_string); }
    System(const System&) = delete;
    System& operator=(const System&) = delete;

    BSTR* Place() { return &m_string; }
    BSTR Get() const { return m_string; }

    // The whole of it, zeros included.
    std::u16string Text() const
    {
        if (!m_string)
            return u"no string";
        return {reinterpret_cast<const char16_t*>(m_string), SysStringLen(m_string)};
    }

private:
    BSTR m_string = nullptr;
};

template <class T> struct SystemRow {
    CXelStringT<T> string;
    std::u16string_view text;
};

// Into a new one, and into ones that are null, shorter, of the same length and longer.
template <class T, std::size_t N> void CheckSystemStrings(const SystemRow<T> (&rows)[N])
{
    for (const auto& [string, text] : rows) {
        const std::string look = Look(string);
        EXPECT_EQ(System(string.AllocSysString()).Text(), text);
        System none;
        const BSTR made = string.SetSysString(none.Place());
        EXPECT_TRUE(made == none.Get());
        EXPECT_EQ(none.Text(), text);
        for (const std::size_t length : {std::size_t{1}, text.size(), std::size_t{40}}) {
            System target(std::u16string(length, u'z'));
            const BSTR replaced = string.SetSysString(target.Place());
            EXPECT_TRUE(replaced == target.Get());
            EXPECT_EQ(target.Text(), text) << "over " << length;
        }
        EXPECT_EQ(Look(string), look);
    }
}

// Text whose stored length is below 0.
template <class T> CXelStringT<T> Negative()
{
    CXelStringT<T> string = Str<T>("abc");
    string.ReleaseBuffer(-2);
    return string;
}

TEST_F(StringInterop, SystemStringsTakeTheStoredLength)
{
    const SystemRow<wchar_t> wide[] = {
        {L"abc", u"abc"},           {{L"a\0\x20AC\xD83D\0", 5}, u"a\0\u20AC\xD83D\0"sv},
        {{L"\0", 1}, u"\0"sv},      {{}, u""},
        {Negative<wchar_t>(), u""},
    };
    CheckSystemStrings(wide);
    const SystemRow<char> narrow[] = {
        {"abc", u"abc"},         {{"a\0\x80\xE9\x81\0", 6}, u"a\0\u20AC\u00E9\u0081\0"sv},
        {{"\0", 1}, u"\0"sv},    {{}, u""},
        {Negative<char>(), u""},
    };
    CheckSystemStrings(narrow);
}

TEST_F(StringInterop, WithoutASystemStringTheFailureIsThrown)
{
    EXPECT_THROW(Wide(L"abc").SetSysString(nullptr), CMemoryException*);
    EXPECT_THROW(Narrow("abc").SetSysString(nullptr), CMemoryException*);
}

// Code of the framework.
void Leave(const CString&) {}
void Replace(CString& text)
{
    text = CString(L"n\x20AC\x416\0z", 5);
}
void Clear(CString& text)
{
    text = CString();
}
template <int Length> void ReplaceBehindZero(CString& text)
{
    text = CString(L"a\0cd", Length);
}

TEST_F(StringInterop, ChangedFrameworkStringGoesBackToItsOwner)
{
    // As any assignment of a CString: up to the first zero.
    const Row<wchar_t> wide[] = {
        {"changed", Sole, "abc", "=n<20AC><416>/3 x1", [](Wide& s) { Replace(s.mfcString()); }},
        {"shared", Shared, "abcd", "n<20AC><416>/3 x1", [](Wide& s) { Replace(s.mfcString()); }},
        {"emptied", Locked, "abc", "=/3 locked", [](Wide& s) { Clear(s.mfcString()); }},
        {"zero", Sole, "a\0x"sv, "=a/3 x1", [](Wide& s) { ReplaceBehindZero<3>(s.mfcString()); }},
        {"owner changed too", Sole, "abcd", "=n<20AC><416>/4 x1",
         [](Wide& s) {
             auto proxy = s.mfcString();
             Replace(proxy);
             s = L"efgh";
         }},
    };
    Check(wide);
    const Row<char> narrow[] = {
        {"changed", Sole, "abc", "=n<80>?/3 x1", [](Narrow& s) { Replace(s.mfcString()); }},
        {"zero", Sole, "a\0x"sv, "=a/3 x1", [](Narrow& s) { ReplaceBehindZero<3>(s.mfcString()); }},
    };
    Check(narrow);
}

template <class T> class StringProxy : public StringStatesTest {
};
TYPED_TEST_SUITE(StringProxy, Widths);

TYPED_TEST(StringProxy, UnchangedFrameworkStringLeavesTheOwnerAlone)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    const Row<T> rows[] = {
        {"read", Shared, "abc", "=abc/3 x2", [](S& s) { Leave(s.mfcString()); }},
        {"zeros", Sole, "a\0b"sv, "=a<0>b/3 x1", [](S& s) { Leave(s.mfcString()); }},
        {"same text again", Shared, "a\0cd"sv, "=a<0>cd/4 x2",
         [](S& s) { ReplaceBehindZero<4>(s.mfcString()); }},
        {"empty", Nil, "", "=/0 nil", [](S& s) { Clear(s.mfcString()); }},
        {"length below 0", Sole, "abc", "=length -2 of /3 x1",
         [](S& s) { s.ReleaseBuffer(-2), Clear(s.mfcString()); }},
        {"owner changed meanwhile", Sole, "abc", "abcx/4 x1",
         [](S& s) {
             const auto proxy = s.mfcString();
             s += T('x');
         }},
    };
    Check(rows);
}

TYPED_TEST(StringProxy, HoldsTheWholeTextAsWideText)
{
    using T = TypeParam;
    CXelStringT<T> owner = Str<T>("a\0\x80"sv);
    auto proxy = owner.mfcString();
    EXPECT_EQ(proxy.m_owner, &owner);
    const CString& text = proxy;
    EXPECT_EQ(&text, &proxy.m_mfcString);
    EXPECT_EQ(Look(Wide(text, text.GetLength())),
              sizeof(T) == 1 ? "a<0><20AC>/3 x1" : "a<0><80>/3 x1");
}

// Narrow text that the code page does not carry both ways stays as it is when nobody changed it.
TEST_F(StringInterop, FrameworkStringsAreComparedAsLent)
{
    Narrow text = Str<char>("\x81\x90\xFF");
    Leave(text.mfcString());
    EXPECT_EQ(Look(text), "<81><90><FF>/3 x1");
}

} // namespace
