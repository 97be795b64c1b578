#include <climits>
#include <sstream>
#include <thread>
#include <utility>

#include "text/string_states.h"

using namespace string_tests;

namespace {

template <class T> struct Probe : CXelStringT<T> {
    using Base = CXelStringT<T>;
    using Base::AfxGetEmptyString;
    using Base::get_afxChNil;
    using Base::get_afxDataNil;
};

// Assigns a constant string: a temporary would be moved from.
template <class T> void Set(CXelStringT<T>& text, const CXelStringT<T>& source)
{
    text = source;
}

template <class T> class StringCore : public StringStatesTest {
};
TYPED_TEST_SUITE(StringCore, Widths);

TYPED_TEST(StringCore, EveryEmptyStringStandsOnTheOneNilData)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    S emptied = Str<T>("abc"), moved = Str<T>("abc");
    emptied.Empty();
    S(std::move(moved));
    const Text<T> text("abc");
    std::vector<S> empties = {emptied, moved, S() + S(), S(CString())};
    for (const int length : {0, -1}) {
        empties.insert(empties.end(), {{text, length}, {"abc", length}, {L"abc", length}});
        empties.insert(empties.end(), {{T('x'), length}, Str<T>("abc").Left(length)});
    }
    empties.insert(empties.end(), {kNull<char>, kNull<wchar_t>, kNull<unsigned char>, "", L""});
    for (const S& empty : empties)
        EXPECT_EQ(Look(empty), "/0 nil") << &empty - empties.data();

    using P = Probe<T>;
    EXPECT_TRUE(static_cast<const void*>(P::get_afxDataNil()) == Probe<char>::get_afxDataNil());
    EXPECT_TRUE(static_cast<const void*>(P::get_afxDataNil()) == &Header(Wide()));
    EXPECT_TRUE(static_cast<const void*>(&P::AfxGetEmptyString()) ==
                &Probe<char>::AfxGetEmptyString());
    EXPECT_EQ(Look(P::AfxGetEmptyString()), "/0 nil");
    EXPECT_EQ(P::get_afxChNil(), 0);
    EXPECT_EQ(sizeof(S), sizeof(void*));
}

TYPED_TEST(StringCore, ConstructingAndJoiningMakeOneExactBlock)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    const T unterminated[] = {'a', 0, 'b'};
    EXPECT_EQ(Look(S(Text<T>("abc"))), "abc/3 x1");
    EXPECT_EQ(Look(S(Text<T>("a\0b"sv))), "a/1 x1");
    EXPECT_EQ(Look(S(unterminated, 3)), "a<0>b/3 x1");
    EXPECT_EQ(Look(S(Text<T>("abc"), 2)), "ab/2 x1");
    EXPECT_EQ(Look(S(T('x'), 3)), "xxx/3 x1");
    EXPECT_EQ(Look(S(T('x'), 1)), "x/1 x1");
    EXPECT_EQ(Look(S(T(0), 2)), "<0><0>/2 x1");

    const S ab = Str<T>("a\0b"sv), none;
    EXPECT_EQ(Look(ab + ab), "a<0>ba<0>b/6 x1");
    EXPECT_EQ(Look(ab + Text<T>("cd")), "a<0>bcd/5 x1");
    EXPECT_EQ(Look(Text<T>("cd") + ab), "cda<0>b/5 x1");
    EXPECT_EQ(Look(ab + T('c')), "a<0>bc/4 x1");
    EXPECT_EQ(Look(T('c') + ab), "ca<0>b/4 x1");
    EXPECT_EQ(Look(ab + kNull<T>), "a<0>b/3 x1");
    EXPECT_EQ(Look(kNull<T> + none), "/0 nil");
}

TYPED_TEST(StringCore, CopiesShareButForLockedText)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    S source = Str<T>("a\0b"sv);
    {
        const S copy = source;
        S assigned = Str<T>("xyz");
        assigned = copy;
        EXPECT_EQ(Look(assigned), "a<0>b/3 x3");
        EXPECT_TRUE(copy.GetString() == source.GetString());
        assigned = source;
        EXPECT_EQ(Look(source), "a<0>b/3 x3");
        assigned = S();
        EXPECT_EQ(Look(assigned), "/0 nil");
    }
    EXPECT_EQ(Look(source), "a<0>b/3 x1");

    source.LockBuffer();
    const S copy = source;
    EXPECT_EQ(Look(copy), "a/1 x1");
    S roomy, exact;
    roomy.GetBuffer(5);
    roomy = std::as_const(source);
    exact = std::as_const(source);
    EXPECT_EQ(Look(roomy), "a<0>b/5 x1");
    EXPECT_EQ(Look(exact), "a<0>b/3 x1");
    EXPECT_EQ(Look(source), "a<0>b/3 locked");
}

TYPED_TEST(StringCore, MovingTakesTheBlockAndKeepsLocks)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    S source = Str<T>("a\0b"sv);
    const T* const block = source.GetString();
    S taker = std::move(source);
    EXPECT_EQ(Look(taker), "a<0>b/3 x1");
    EXPECT_TRUE(taker.GetString() == block);
    EXPECT_EQ(Look(source), "/0 nil");

    S& self = taker;
    taker = std::move(self);
    EXPECT_EQ(Look(taker), "a<0>b/3 x1");
    source = Str<T>("xyz");
    const S witness = source;
    taker = std::move(source);
    EXPECT_EQ(Look(taker), "xyz/3 x2");
    EXPECT_EQ(Look(source), "/0 nil");

    S locked = Str<T>("abcd");
    const T* const buffer = locked.LockBuffer();
    locked = std::move(taker);
    EXPECT_EQ(Look(locked), "xyz/4 locked");
    EXPECT_TRUE(locked.GetString() == buffer);
    EXPECT_EQ(Look(taker), "/0 nil");
    EXPECT_EQ(Look(witness), "xyz/3 x1");
    const S made = std::move(locked);
    EXPECT_EQ(Look(made), "xyz/3 x1");
    EXPECT_EQ(Look(locked), "/4 locked");
    locked += Text<T>("pq");
    source = std::move(locked);
    EXPECT_EQ(Look(source), "pq/2 x1");
    EXPECT_EQ(Look(locked), "/4 locked");
}

TYPED_TEST(StringCore, BlocksAreExactAndPrivate)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    const Row<T> rows[] = {
        // Assigning keeps room that nobody shares.
        {"fits", Sole, "abc", "=de/3 x1", [](S& s) { s = Text<T>("de"); }},
        {"null", Sole, "abc", "=/3 x1", [](S& s) { s = kNull<T>; }},
        {"null, shared", Shared, "abc", "/0 nil", [](S& s) { s = kNull<T>; }},
        {"lock lost", Locked, "abc", "defg/4 x1", [](S& s) { s = Text<T>("defg"); }},
        {"own tail, shared", Shared, "abcde", "cde/3 x1", [](S& s) { s = s.GetString() + 2; }},
        {"own tail, locked", Locked, "abcde", "=cde/5 locked", [](S& s) { s = s.GetString() + 2; }},
        {"zero character", Sole, "abc", "=<0>/3 x1", [](S& s) { s = T(0); }},
        {"string to locked", Locked, "ab", "=x/2 locked", [](S& s) { Set(s, Str<T>("x")); }},
        {"string, block given up", Roomy, "abc", "xy/2 x1", [](S& s) { Set(s, Str<T>("xy")); }},
        {"empty string", Sole, "abc", "=/3 x1", [](S& s) { Set(s, S()); }},
        {"itself, locked", Locked, "a\0b"sv, "=a<0>b/3 locked", [](S& s) { Set(s, s); }},
        {"after -2", Sole, "a", "=d/1 x1", [](S& s) { s.ReleaseBuffer(-2), s = Text<T>("d"); }},
        // Appending grows to exactly the text.
        {"fills", Roomy, "abc", "=abcdefgh/8 x1", [](S& s) { s += Text<T>("defgh"); }},
        {"one more", Roomy, "abc", "abcdefghi/9 x1", [](S& s) { s += Text<T>("defghi"); }},
        {"shared", RoomyShared, "abc", "abcd/4 x1", [](S& s) { s += Text<T>("d"); }},
        {"empty", Shared, "abc", "=abc/3 x2", [](S& s) { s += Text<T>(""); }},
        {"locked", RoomyLocked, "abc", "=abcd/8 locked", [](S& s) { s += Text<T>("d"); }},
        {"lock lost", Locked, "abc", "abcd/4 x1", [](S& s) { s += Text<T>("d"); }},
        {"itself, in place", Roomy, "abc", "=abcabc/8 x1", [](S& s) { s += s; }},
        {"own tail, in place", Roomy, "abc", "=abcbc/8 x1", [](S& s) { s += s.GetString() + 1; }},
        {"stored zeros", Sole, "a\0b"sv, "a<0>bc<0>d/6 x1", [](S& s) { s += Str<T>("c\0d"sv); }},
        // Buffers.
        {"fits", Sole, "abc", "=abc/3 x1", [](S& s) { s.GetBuffer(3); }},
        {"one more", Sole, "a\0b"sv, "a<0>b/4 x1", [](S& s) { s.GetBuffer(4); }},
        {"shared", RoomyShared, "abc", "abc/3 x1", [](S& s) { s.GetBuffer(0); }},
        {"locked", RoomyLocked, "abc", "=abc/8 locked", [](S& s) { s.GetBuffer(8); }},
        {"lock lost", Locked, "abc", "abc/4 x1", [](S& s) { s.GetBuffer(4); }},
        {"nil", Nil, "", "=/0 nil", [](S& s) { s.GetBuffer(0); }},
        {"nil, larger", Nil, "", "/4 x1", [](S& s) { s.GetBuffer(4); }},
        {"release far beyond", Sole, "abc", "=abc/3 x1", [](S& s) { s.ReleaseBuffer(INT_MAX); }},
        {"release measures", Sole, "a\0b"sv, "=a/3 x1", [](S& s) { s.ReleaseBuffer(); }},
        {"release stores -2", Sole, "abc", "=length -2 of /3 x1",
         [](S& s) { return s.ReleaseBuffer(-2), s[2]; }, 'c'},
        {"release shared", Shared, "abc", "a/3 x1", [](S& s) { s.ReleaseBuffer(1); }},
        {"release nil", Nil, "", "=/0 nil", [](S& s) { s.ReleaseBuffer(5); }},
        {"release nil, -2", Nil, "", "=/0 nil", [](S& s) { s.ReleaseBuffer(-2); }},
        {"set length", Sole, "abc", "=ab/3 x1", [](S& s) { s.GetBufferSetLength(2); }},
        {"set length below 0", Sole, "abc", "=/3 x1", [](S& s) { s.GetBufferSetLength(-3); }},
        {"set length, shared", Shared, "abc", "ab/3 x1", [](S& s) { s.GetBufferSetLength(2); }},
        {"set length, nil", Nil, "", "=/0 nil", [](S& s) { s.GetBufferSetLength(-1); }},
        {"free extra, none", Shared, "abc", "=abc/3 x2", [](S& s) { s.FreeExtra(); }},
        {"free extra, shared", RoomyShared, "abc", "abc/3 x1", [](S& s) { s.FreeExtra(); }},
        {"free extra, no text", Roomy, "", "/0 nil", [](S& s) { s.FreeExtra(); }},
        {"free extra, locked", RoomyLocked, "a\0b"sv, "a<0>b/3 x1", [](S& s) { s.FreeExtra(); }},
        {"lock shared", RoomyShared, "abc", "abc/3 locked", [](S& s) { s.LockBuffer(); }},
        {"lock nil", Nil, "", "=/0 nil", [](S& s) { s.LockBuffer(); }},
        {"unlock", Locked, "abc", "=abc/3 x1", [](S& s) { s.UnlockBuffer(); }},
        {"unlock shared", Shared, "abc", "=abc/3 x2", [](S& s) { s.UnlockBuffer(); }},
        {"empty", Roomy, "abc", "/0 nil", [](S& s) { s.Empty(); }},
        {"empty keeps a buffer", Roomy, "", "=/8 x1", [](S& s) { s.Empty(); }},
        {"empty locked", RoomyLocked, "abc", "=/8 locked", [](S& s) { s.Empty(); }},
        {"set shared", Shared, "abc", "axc/3 x1", [](S& s) { s.SetAt(1, 'x'); }},
        {"set locked", Locked, "abc", "=axc/3 locked", [](S& s) { s.SetAt(1, 'x'); }},
        {"set outside", Sole, "abc", "=abc/3 x1", [](S& s) { s.SetAt(4, 'x'); }},
        {"set in front", Sole, "abc", "=abc/3 x1", [](S& s) { s.SetAt(INT_MIN, 'x'); }},
        {"set in nil", Nil, "", "=/0 nil", [](S& s) { s.SetAt(0, 'x'); }},
        {"get", Sole, "abc", "=abc/3 x1", [](S& s) { return s.GetAt(0) + s[2]; }, 'a' + 'c'},
        {"get outside", Sole, "abc", "=abc/3 x1", [](S& s) { return s[3] | s[4] | s[INT_MIN]; }},
    };
    Check(rows);
}

TEST(StringCorePrinting, ShowsStoredTextInAscii)
{
    std::ostringstream narrow, wide;
    PrintTo(Narrow("a\0\x81", 3), &narrow);
    PrintTo(Wide(L"a\0\x2013", 3), &wide);
    EXPECT_EQ(narrow.str(), R"("a\x00\x81")");
    EXPECT_EQ(wide.str(), R"("a\u0000\u2013")");
}

// In a process of its own, where no free block of another size can serve a request.
TEST(StringCoreHeapDeathTest, BlocksHaveExactlyTheSizeAskedFor)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const auto measure = [] {
        constexpr int kHeader = 12, kOverhead = 4, kSmallest = 16, kStep = 8;
        const auto chunk = [](int bytes) {
            const int rounded = (bytes + kOverhead + kStep - 1) / kStep * kStep;
            return rounded < kSmallest ? kSmallest : rounded;
        };
        std::vector<Narrow> narrow(64);
        std::vector<Wide> wide(64);
        for (int n = 1; n < 64; ++n) {
            const auto before = static_cast<int>(HeapInUse());
            narrow[n] = Narrow('x', n);
            const auto between = static_cast<int>(HeapInUse());
            wide[n] = Wide(L'x', n);
            EXPECT_EQ(between - before, chunk(kHeader + n + 1)) << n;
            EXPECT_EQ(static_cast<int>(HeapInUse()) - between, chunk(kHeader + 2 * (n + 1))) << n;
        }
    };
    EXPECT_EXIT(ExitAfter(measure), testing::ExitedWithCode(0), "");
}

TYPED_TEST(StringCore, ThreadsHoldCopiesOfOneText)
{
    using T = TypeParam;
    using S = CXelStringT<T>;
    constexpr int kThreads = 4, kRounds = 3000;
    const S shared = Str<T>("shared text");
    const auto work = [](S mine, int* failures) {
        const S expected = Str<T>("shared text"), longer = Str<T>("shared text+");
        S held, changed, none;
        for (int round = 0; round < kRounds; ++round) {
            S copy = mine;
            held = copy;
            S moved = std::move(copy);
            changed = moved;
            changed += T('+');
            moved.SetAt(0, 'S');
            *failures += held != expected || changed != longer || moved[0] != 'S';
            if (round % 3 == 0)
                held.Empty();
            // The nil data that all share would show a write.
            none.Truncate(0) = kNull<T>;
            none.SetAt(0, T(0));
        }
    };
    int failures[kThreads] = {};
    {
        std::vector<std::thread> threads;
        for (int& count : failures)
            threads.emplace_back(work, shared, &count);
        for (std::thread& thread : threads)
            thread.join();
    }
    for (const int count : failures)
        EXPECT_EQ(count, 0);
    EXPECT_EQ(Look(shared), "shared text/11 x1");
}

} // namespace
