#include <gtest/gtest.h>

#include <string>

#include "support/registry_fixture.h"
#include "support/target.h"
#include "xelutils/system/xel_registry.h"

using namespace xel_registry;

namespace {

using Wide = CXelStringT<wchar_t>;

const Wide kMissing = Wide(kTestSubKey) + L"\\missing";

std::string Joined(const StringVector& names)
{
    std::string text;
    for (const Wide& name : names)
        text += "[" + xel_text::ToUtf8(name) + "]";
    return text;
}

} // namespace

TEST(XelRegistry, ListsSectionsAndEntries)
{
    const std::string key = kTestKey;
    // So long that the heap overwrites its beginning when the block is given back.
    const std::string longName(200, 'A');
    const TestRegistry registry("\"c\"=\"\"\n\"b\"=dword:1\n@=\"\"\n[" + key + "\\B\\x]\n[" + key +
                                "\\" + longName + "]\n\"y\"=\"\"\n");
    StringVector names = {L"old"};
    EXPECT_TRUE(EnumSections(HKEY_CURRENT_USER, kTestSubKey, names));
    EXPECT_EQ(names.size(), 2u);
    EXPECT_NE(Joined(names).find("[B]"), std::string::npos);
    EXPECT_TRUE(EnumEntries(HKEY_CURRENT_USER, kTestSubKey, names));
    EXPECT_EQ(Joined(names), OnHost("[c][b][]", "[][b][c]")) << "desktop Windows sorts them";

    const Wide sub = Wide(kTestSubKey) + L"\\" + Wide(L'A', 200);
    EXPECT_TRUE(EnumSections(HKEY_CURRENT_USER, sub, names)) << "without sub-keys";
    EXPECT_EQ(Joined(names), "");
    names = {sub + L"", L"behind"};
    EXPECT_TRUE(EnumEntries(HKEY_CURRENT_USER, names[0], names)) << "the path is one of the names";
    EXPECT_EQ(Joined(names), "[y]");
    EXPECT_FALSE(EnumSections(HKEY_CURRENT_USER, kMissing, names));
    EXPECT_EQ(Joined(names), "");
    names = {L"old"};
    EXPECT_FALSE(EnumEntries(HKEY_CURRENT_USER, kMissing, names));
    EXPECT_EQ(Joined(names), "");
}

TEST(XelRegistry, LongNameEndsTheListEarly)
{
    const std::string longest(255, 'n'), key = kTestKey;
    // No key has so long a name on desktop Windows.
    const std::string longKey = OnHost("[" + key + "\\z" + longest + "]\n", std::string());
    const TestRegistry registry("\"" + longest + "\"=\"\"\n\"b" + longest +
                                "\"=\"\"\n\"behind\"=\"\"\n[" + key + "\\a" + longest.substr(1) +
                                "]\n" + longKey + "[" + key + "\\z]\n");
    StringVector names;
    EXPECT_TRUE(EnumEntries(HKEY_CURRENT_USER, kTestSubKey, names));
    // Sorted, the long one is the last but one.
    EXPECT_EQ(Joined(names), OnHost("[" + longest + "]", std::string("[behind]")));
    EXPECT_TRUE(EnumSections(HKEY_CURRENT_USER, kTestSubKey, names));
    EXPECT_EQ(Joined(names), "[a" + longest.substr(1) + OnHost("]", "][z]"));
}

TEST(XelRegistry, ReadsTextOfValues)
{
    const TestRegistry registry(R"(@="default"
"text"="a\\b"
"empty"=""
"expand"=hex(2):25,00,61,00,25,00,00,00
"multi"=hex(7):61,00,00,00,62,00,00,00,00,00
"number"=dword:00420041
"wide number"=hex(b):41,00,42,00,43,00,44,00
"zeros"=hex(1):61,00,00,00,62,00,00,00
"byte"=hex:61
"nothing"=hex(1):
)");
    registry.StoreText("odd", {"a\0b", 3});
    registry.StoreText("unterminated", {"a\0b\0", 4});
    const struct {
        const wchar_t* name;
        bool isText;
        const char* text;
    } rows[] = {
        {L"", true, "default"},   {nullptr, true, "default"},      {L"TEXT", true, "a\\b"},
        {L"empty", true, ""},     {L"expand", true, "%a%"},        {L"multi", false, "a"},
        {L"number", false, "AB"}, {L"wide number", false, "ABCD"}, {L"zeros", true, "a"},
        {L"odd", true, "ab"},     {L"byte", false, "a"},           {L"nothing", true, ""},
        {L"missing", false, ""},  {L"unterminated", true, "ab"},
    };
    HKEY key;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, kTestSubKey, 0, 1, &key), 0);
    for (const auto& row : rows) {
        Wide value = L"old";
        EXPECT_EQ(ReadStringValue(HKEY_CURRENT_USER, kTestSubKey, row.name, value), row.isText)
            << row.text;
        EXPECT_EQ(xel_text::ToUtf8(value), row.text);
        for (const wchar_t* const here : {L"", static_cast<const wchar_t*>(nullptr)}) {
            value = L"old";
            EXPECT_EQ(ReadStringValue(key, here, row.name, value), row.isText) << row.text;
            EXPECT_EQ(xel_text::ToUtf8(value), row.text);
        }
    }
    Wide value = L"text";
    EXPECT_TRUE(ReadStringValue(key, L"", value, value)) << "the name is the value's own text";
    EXPECT_EQ(value, L"a\\b");
    EXPECT_FALSE(ReadStringValue(HKEY_CURRENT_USER, kMissing, L"text", value));
    EXPECT_TRUE(value.IsEmpty());
    RegCloseKey(key);
}
