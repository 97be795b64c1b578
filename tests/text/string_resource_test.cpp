#include "text/string_states.h"
#include "xelutils/platform/framework.h"

using namespace string_tests;

namespace {

// Identifiers that no other table of the tests uses.
constexpr UINT kShort = 0x7A01, kEmpty = 0x7A02, kForeign = 0x7A03, kMissing = 0x7AFF;
constexpr UINT kRepeated = 0x7A10;
// Lengths around the limits of the loader's buffers.
constexpr int kLengths[] = {254, 255, 300, 510, 511, 766, 767};

class StringResource : public StringStatesTest {
protected:
    StringResource()
    {
        for (const int length : kLengths)
            m_texts.push_back(Wide(L'x', length));
        m_entries = {{kShort, L"hello"}, {kEmpty, L""}, {kForeign, L"\xE9\x20AC"}};
        for (const Wide& text : m_texts)
            m_entries.push_back({kRepeated + static_cast<UINT>(m_entries.size()) - 3, text});
        RegisterStringTable(m_entries.data(), m_entries.size());
    }
    void TearDown() override
    {
        EXPECT_TRUE(UnregisterStringTable(m_entries.data()));
        m_texts.clear();
        StringStatesTest::TearDown();
    }

private:
    std::vector<Wide> m_texts;
    std::vector<CStringTableEntry> m_entries;
};

template <class Pointer> Pointer Identifier(UINT id)
{
    return reinterpret_cast<Pointer>(static_cast<std::uintptr_t>(id));
}

TEST_F(StringResource, WideLoaderTellsOfText)
{
    const Row<wchar_t> rows[] = {
        {"loaded", Nil, "", "hello/5 x1", [](Wide& s) { return s.LoadStringW(kShort); }, 1},
        {"in place", Roomy, "abc", "=hello/8 x1", [](Wide& s) { return s.LoadStringW(kShort); }, 1},
        {"empty", Sole, "abc", "=/3 x1", [](Wide& s) { return s.LoadStringW(kEmpty); }, 0},
        {"missing", Sole, "abc", "=/3 x1", [](Wide& s) { return s.LoadStringW(kMissing); }, 0},
    };
    Check(rows);
}

// 0 stands for success here; callers of the narrow one test for it.
TEST_F(StringResource, NarrowLoaderTellsOfFailure)
{
    const Row<char> rows[] = {
        {"loaded", Nil, "", "hello/5 x1", [](Narrow& s) { return s.LoadStringW(kShort); }, 0},
        {"converted", Sole, "abc", "=<E9><80>/3 x1",
         [](Narrow& s) { return s.LoadStringW(kForeign); }, 0},
        {"empty", Shared, "abc", "=abc/3 x2", [](Narrow& s) { return s.LoadStringW(kEmpty); }, 1},
        {"missing", Shared, "abc", "=abc/3 x2", [](Narrow& s) { return s.LoadStringW(kMissing); },
         1},
    };
    Check(rows);
}

TEST_F(StringResource, LongTextGrowsInStepsOf256)
{
    const int capacities[] = {254, 511, 511, 511, 767, 767, 1023};
    UINT id = kRepeated;
    for (const int length : kLengths) {
        SCOPED_TRACE(length);
        const Wide expected(L'x', length);
        Wide text = Str<wchar_t>("abc");
        const Wide witness = text;
        EXPECT_EQ(text.LoadStringW(id), 1);
        EXPECT_EQ(text, expected);
        EXPECT_EQ(text.GetLength(), length);
        EXPECT_EQ(text.GetAllocLength(), capacities[id - kRepeated]);
        EXPECT_EQ(Look(witness), "abc/3 x1");
        Narrow narrow;
        EXPECT_EQ(narrow.LoadStringW(id), 0);
        EXPECT_EQ(narrow, Narrow('x', length));
        ++id;
    }
}

TEST_F(StringResource, SmallPointersAreIdentifiers)
{
    EXPECT_EQ(Look(Wide(Identifier<const wchar_t*>(kShort))), "hello/5 x1");
    EXPECT_EQ(Look(Wide(Identifier<const char*>(kShort))), "hello/5 x1");
    EXPECT_EQ(Look(Narrow(Identifier<const char*>(kShort))), "hello/5 x1");
    EXPECT_EQ(Look(Narrow(Identifier<const wchar_t*>(kForeign))), "<E9><80>/2 x1");
    for (const UINT id : {1u, 0xFFFFu, kMissing}) {
        EXPECT_EQ(Look(Wide(Identifier<const wchar_t*>(id))), "/0 nil");
        EXPECT_EQ(Look(Wide(Identifier<const char*>(id))), "/0 nil");
        EXPECT_EQ(Look(Narrow(Identifier<const char*>(id))), "/0 nil");
        EXPECT_EQ(Look(Narrow(Identifier<const wchar_t*>(id))), "/0 nil");
    }
}

} // namespace
