#include <gtest/gtest.h>

#include "xelutils/settings/xel_settings.h"

using namespace xel_settings;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

std::vector<String> KeysOf(const CThreeTupleStore& store, const String& section)
{
    std::vector<String> keys;
    for (const auto& entry : store.sections().at(section).entries)
        keys.push_back(entry.first);
    return keys;
}

TEST(Store, OrdersByUnsignedCodeUnitsOverTheWholeLength)
{
    CThreeTupleStore store;
    const String zeroInside(L"a\0x", 3), highUnit(L"\xFFFD"), surrogate(L"\xD83D");
    for (const String& key : {String(L"b"), highUnit, String(L"a"), zeroInside, surrogate,
                              String(L"B"), String(L"ab"), String(), String(L"\x00E4")})
        store.setValue(L"s", key, L"v");
    const std::vector<String> expected = {String(), L"B",      L"a",      zeroInside, L"ab",
                                          L"b",     L"\x00E4", surrogate, highUnit};
    const std::vector<String> keys = KeysOf(store, L"s");
    ASSERT_EQ(keys, expected);
    EXPECT_EQ(keys[3].GetLength(), 3) << "the key with a zero inside is one of its own";
}

// Texts that differ at one place only, wherever it is.
TEST(Store, KeysThatDifferAnywhereAreDifferent)
{
    CThreeTupleStore store;
    const String base(L'k', 20);
    for (int place = 0; place < 20; ++place) {
        String key = base;
        key.SetAt(place, L'x');
        store.setValue(L"s", key, L"v");
        store.setValue(L"s", base.Left(place), L"v");
    }
    EXPECT_EQ(store.valueCount(L"s"), 40u);
}

TEST(Store, SetsReplacesAndRemoves)
{
    CThreeTupleStore store;
    String value = L"unchanged";
    EXPECT_FALSE(store.getValue(L"A", L"k", value));
    store.setValue(L"A", L"k", L"1");
    store.setValue(L"A", L"k", L"2");
    store.setValue(L"a", L"k", L"3");
    EXPECT_EQ(store.sectionCount(), 2u);
    EXPECT_EQ(store.valueCount(L"A"), 1u);
    EXPECT_EQ(store.valueCount(L"missing"), 0u);
    EXPECT_FALSE(store.getValue(L"A", L"K", value));
    EXPECT_EQ(value, L"unchanged");
    EXPECT_TRUE(store.getValue(L"A", L"k", value));
    EXPECT_EQ(value, L"2");
    EXPECT_EQ(store.sections().at(L"A").name, L"A");

    EXPECT_FALSE(store.removeValue(L"A", L"other"));
    EXPECT_TRUE(store.removeValue(L"A", L"k"));
    EXPECT_TRUE(store.hasSection(L"A")) << "stays without entries";
    EXPECT_TRUE(store.removeSection(L"A"));
    EXPECT_FALSE(store.removeSection(L"A"));
    store.clear();
    store.clear();
    EXPECT_EQ(store.sectionCount(), 0u);
}

TEST(Store, CopiesAreDeepAndComparedByNamesToo)
{
    CThreeTupleStore store;
    store.setValue(L"A", L"k", L"1");
    CThreeTupleStore copy = store;
    EXPECT_EQ(copy, store);
    copy.setValue(L"A", L"k", L"2");
    EXPECT_NE(copy, store);
    String value;
    store.getValue(L"A", L"k", value);
    EXPECT_EQ(value, L"1");

    copy = store;
    const_cast<CThreeTupleSection&>(copy.sections().at(L"A")).name = L"B";
    EXPECT_NE(copy, store);
    EXPECT_EQ(copy.sections().begin()->first, L"A");
}

} // namespace
