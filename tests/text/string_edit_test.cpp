#include <climits>
#include <utility>

#include "text/string_states.h"

using namespace string_tests;

namespace {

template <class T> class StringEdit : public StringStatesTest {
};
TYPED_TEST_SUITE(StringEdit, Widths);

// `s + n` is a pointer into the text.
TYPED_TEST(StringEdit, PiecesTrimmingReplacingAndInserting)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    static const Text<T> ba("ba"), x("x"), empty(""), xy("xy"), null({}), b("b"), xyz("xyz");
    const Row<T> rows[] = {
        // Pieces are cut to what there is.
        {"mid far beyond", Sole, "hello", "llo/3 x1", [](S& s) { s = s.Mid(2, INT_MAX); }},
        {"mid behind the end", Sole, "hello", "=/5 x1", [](S& s) { s = s.Mid(7, 1); }},
        {"mid, first below 0", Sole, "hello", "he/2 x1", [](S& s) { s = s.Mid(-3, 2); }},
        {"mid from far below 0", Shared, "abc", "=abc/3 x2", [](S& s) { s = s.Mid(INT_MIN); }},
        {"mid shares", Shared, "a\0b"sv, "=a<0>b/3 x2", [](S& s) { s = s.Mid(0, 3); }},
        {"mid of locked", Locked, "a\0b"sv, "=a/3 locked", [](S& s) { s = s.Mid(0, 3); }},
        {"left", Sole, "a\0bc"sv, "a<0>b/3 x1", [](S& s) { s = s.Left(3); }},
        {"right shares", Shared, "abc", "=abc/3 x2", [](S& s) { s = s.Right(10); }},
        {"including", Sole, "abcab", "ab/2 x1", [](S& s) { s = s.SpanIncluding(ba); }},
        {"excluding all", Shared, "abc", "=abc/3 x2", [](S& s) { s = s.SpanExcluding(x); }},
        {"up to a zero", Sole, "ab\0ab"sv, "ab/2 x1", [](S& s) { s = s.SpanExcluding(x); }},
        {"truncate, shared", Shared, "abc", "a/3 x1", [](S& s) { s.Truncate(1); }},
        {"truncate lengthens", Sole, "abc", "abc<0>/4 x1", [](S& s) { s.Truncate(4); }},
        {"truncate measures", Sole, "a\0b"sv, "=a/3 x1", [](S& s) { s.Truncate(-1); }},
        {"upper", Shared, "a[z\0a"sv, "A[Z<0>a/5 x1", [](S& s) { s.MakeUpper(); }},
        {"lower", Roomy, "A@Z\0A"sv, "=a@z<0>A/8 x1", [](S& s) { s.MakeLower(); }},
        {"reverse", Locked, "abc\0d"sv, "=cba<0>d/5 locked", [](S& s) { s.MakeReverse(); }},
        // Trimming measures by the terminator.
        {"right", Sole, "a \t\r\n\v\f", "=a/7 x1", [](S& s) { s.TrimRight(); }},
        {"right at a zero", Sole, "ab \0cd"sv, "=ab/6 x1", [](S& s) { s.TrimRight(); }},
        {"behind a zero", Sole, "a\0cd "sv, "=a<0>cd /5 x1", [](S& s) { s.TrimRight(); }},
        {"right, unit", Locked, "xaxx", "=xa/4 locked", [](S& s) { s.TrimRight(T('x')); }},
        {"right, zero", Sole, "ab\0"sv, "=ab<0>/3 x1", [](S& s) { s.TrimRight(T(0)); }},
        {"left", Sole, " \t\r\n\v\fa ", "=a /8 x1", [](S& s) { s.TrimLeft(); }},
        {"left, all", Sole, "  ", "=/2 x1", [](S& s) { s.TrimLeft(); }},
        {"left to a zero", Sole, "  \0 x"sv, "=<0> x/5 x1", [](S& s) { s.TrimLeft(); }},
        {"left, zero", Sole, "\0a"sv, "=<0>a/2 x1", [](S& s) { s.TrimLeft(T(0)); }},
        {"left, empty set", Shared, "abc", "=abc/3 x2", [](S& s) { s.TrimLeft(empty); }},
        {"left, null set", Shared, "abc", "=abc/3 x2", [](S& s) { s.TrimLeft(null); }},
        {"both", Shared, " a b ", "a b/5 x1", [](S& s) { s.Trim(); }},
        {"itself", Sole, "a", "=a/1 x1", [](S& s) { return &s.Trim().TrimLeft(T('x')) == &s; }, 1},
        // Replacing by own text, and characters.
        {"by itself", Sole, "abc", "aabcc/5 x1", [](S& s) { return s.Replace(b, s); }, 1},
        {"both own", Roomy, "abab", "=b/8 x1", [](S& s) { return s.Replace(s, s + 3); }, 1},
        {"units", Shared, "a\0a"sv, "b<0>b/3 x1", [](S& s) { return s.Replace(T('a'), T('b')); },
         2},
        {"zeros", Locked, "a\0\0"sv, "=abb/3 locked", [](S& s) { return s.Replace(T(0), T('b')); },
         2},
        {"remove", Sole, "a\0bab"sv, "=<0>bb/5 x1", [](S& s) { return s.Remove(T('a')); }, 2},
        {"remove zeros", Sole, "a\0b\0"sv, "=ab/4 x1", [](S& s) { return s.Remove(T(0)); }, 2},
        // Inserting returns the new length.
        {"in front", RoomyShared, "ab", "xab/3 x1", [](S& s) { return s.Insert(-5, T('x')); }, 3},
        {"text", Sole, "a\0b"sv, "a<0>xyb/5 x1", [](S& s) { return s.Insert(2, xy); }, 5},
        {"one more", Roomy, "abcdef", "abcxyzdef/9 x1", [](S& s) { return s.Insert(3, xyz); }, 9},
        {"null", Shared, "abc", "=abc/3 x2", [](S& s) { return s.Insert(1, null); }, 3},
        {"in place", Roomy, "abc", "=aabcbc/8 x1", [](S& s) { return s.Insert(1, s); }, 6},
        {"own tail", Roomy, "abcd", "=acdbcd/8 x1", [](S& s) { return s.Insert(1, s + 2); }, 6},
        {"own, shared", Shared, "abc", "abcbc/5 x1", [](S& s) { return s.Insert(1, s + 1); }, 5},
    };
    Check(rows);
}

TYPED_TEST(StringEdit, ReplacingTexts)
{
    using T = TypeParam;
    const struct {
        const char* what;
        Held held;
        std::string_view text, old, by;
        int count;
        std::string_view look;
    } rows[] = {
        {"longer, locked", RoomyLocked, "abab", "ab", "xyz", 2, "=xyzxyz/8 locked"},
        {"longer, shared", RoomyShared, "ab", "ab", "xyz", 1, "xyz/3 x1"},
        {"not searched again", Sole, "aaaa", "aa", "a", 2, "=aa/4 x1"},
        {"grown, not searched again", Sole, "aa", "a", "aa", 2, "aaaa/4 x1"},
        {"same text counts", Sole, "aba", "a", "a", 2, "=aba/3 x1"},
        {"each part grows", Sole, "ab\0cab\0\0ab"sv, "ab", "xyz", 3, "xyz<0>cxyz<0><0>xyz/13 x1"},
        {"each part shrinks", Sole, "aba\0ab\0ab"sv, "ab", "x", 3, "=xa<0>x<0>x/9 x1"},
        {"nothing behind the end", Sole, "aa\0aa\0aa"sv, "a", "", 6, "=<0><0>/8 x1"},
    };
    for (const auto& row : rows) {
        const Text<T> old(row.old), by(row.by);
        const auto replace = [=](CXelStringT<T>& s) { return s.Replace(old, by); };
        Check<T>({row.what, row.held, row.text, row.look, replace, row.count});
    }
}

// Returns the length before, unlike Insert; callers rely on it.
TYPED_TEST(StringEdit, Deleting)
{
    using T = TypeParam;
    const struct {
        const char* what;
        Held held;
        std::string_view text;
        int index, count;
        std::string_view look;
    } rows[] = {
        {"shared", Shared, "abc", 1, 1, "ac/3 x1"},
        {"index below 0", Sole, "abc", -1, 2, "=c/3 x1"},
        {"far beyond the end", Sole, "abcd", 1, INT_MAX, "=a/4 x1"},
        {"all", Shared, "abc", INT_MIN, INT_MAX, "/3 x1"},
        {"count below 0", Shared, "abc", 0, -1, "=abc/3 x2"},
        {"at the end", Shared, "abc", 3, 1, "=abc/3 x2"},
    };
    for (const auto& row : rows) {
        const auto act = [&row](CXelStringT<T>& s) { return s.Delete(row.index, row.count); };
        Check<T>({row.what, row.held, row.text, row.look, act, static_cast<int>(row.text.size())});
    }
    CXelStringT<T> text = Str<T>("abc");
    text.ReleaseBuffer(-2);
    EXPECT_EQ(text.Delete(0), -2);
    EXPECT_EQ(text.GetLength(), -2);
}

TEST(StringEditCase, WidePairsAndNarrowAscii)
{
    Wide wide(L"a\xE9\xFF\x436\xDF\xD801\xDC28");
    wide.MakeUpper();
    EXPECT_EQ(Look(wide), "A<C9><178><416><DF><D801><DC28>/7 x1");
    wide.MakeLower();
    EXPECT_EQ(Look(wide), "a<E9><FF><436><DF><D801><DC28>/7 x1");
    Narrow narrow("a\xE9\xFF");
    narrow.MakeUpper();
    EXPECT_EQ(Look(narrow), "A<E9><FF>/3 x1");
}

// The narrow string tests A0 as U+FFA0, which is no white space; callers keep such bytes.
TEST(StringEditTrim, WhiteSpaceBeyondAsciiIsWideOnly)
{
    EXPECT_EQ(Look(Narrow("\x85\xA0 \xA0").Trim()), "<85><A0> <A0>/4 x1");
    EXPECT_EQ(Look(Wide(L"\x3000\x2003z\x3000").Trim()), "z/4 x1");
}

} // namespace
