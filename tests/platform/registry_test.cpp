#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/registry_fixture.h"
#include "support/target.h"
#include "xelutils/platform/coredll.h"

namespace {

HKEY Open(const wchar_t* subKey, HKEY root = HKEY_CURRENT_USER)
{
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(root, subKey, 0, 0, &key), 0);
    return key;
}

// The errors' numbers are compared as what they are declared as.
DWORD ErrorOfOpening(const wchar_t* subKey, HKEY root)
{
    HKEY key = nullptr;
    const LONG error = RegOpenKeyExW(root, subKey, 0, 0, &key);
    EXPECT_EQ(key == nullptr, error != 0);
    RegCloseKey(key);
    return static_cast<DWORD>(error);
}

DWORD Query(HKEY key, const wchar_t* name, DWORD* type, void* data, DWORD* size)
{
    return static_cast<DWORD>(
        RegQueryValueExW(key, name, nullptr, type, static_cast<BYTE*>(data), size));
}

DWORD EnumKey(HKEY key, DWORD index, wchar_t* name, DWORD* length)
{
    return static_cast<DWORD>(
        RegEnumKeyExW(key, index, name, length, nullptr, nullptr, nullptr, nullptr));
}

DWORD EnumValue(HKEY key, DWORD index, wchar_t* name, DWORD* length)
{
    return static_cast<DWORD>(
        RegEnumValueW(key, index, name, length, nullptr, nullptr, nullptr, nullptr));
}

} // namespace

TEST(Registry, GivesDataAsFarAsTheBufferGoes)
{
    const TestRegistry registry("\"gone\"=hex:\n\"text\"=\"ab\"\n\"gone\"=-\n@=dword:1\n");
    registry.StoreText("odd", {"a\0b", 3});
    const HKEY key = Open(kTestSubKey);
    const struct {
        const char* rule;
        const wchar_t* name;
        DWORD room;
        DWORD error;
        DWORD type;
        DWORD size;
        std::string bytes;
    } rows[] = {
        {"all", L"TEXT", 6, ERROR_SUCCESS, REG_SZ, 6, {"a\0b\0\0\0##", 8}},
        {"a byte too few", L"text", 5, ERROR_MORE_DATA, REG_SZ, 6, "########"},
        {"odd, as it is stored", L"odd", 3, ERROR_SUCCESS, REG_SZ, 3, {"a\0b#####", 8}},
        {"the default value", L"", 8, ERROR_SUCCESS, REG_DWORD, 4, {"\1\0\0\0####", 8}},
        {"the same", nullptr, 0, ERROR_MORE_DATA, REG_DWORD, 4, "########"},
        {"missing", L"x", 8, ERROR_FILE_NOT_FOUND, 77, 8, "########"},
    };
    for (const auto& row : rows) {
        std::string bytes(8, '#');
        DWORD type = 77;
        DWORD size = row.room;
        EXPECT_EQ(Query(key, row.name, &type, bytes.data(), &size), row.error) << row.rule;
        EXPECT_EQ(bytes, row.bytes) << row.rule;
        if (row.error == ERROR_FILE_NOT_FOUND)
            continue;
        EXPECT_EQ(type, row.type) << row.rule;
        EXPECT_EQ(size, row.size) << row.rule;
    }
    DWORD size = 1;
    EXPECT_EQ(Query(key, L"text", nullptr, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 6u);
    BYTE byte = 0;
    EXPECT_EQ(Query(key, L"text", nullptr, &byte, nullptr), ERROR_INVALID_PARAMETER);
    RegCloseKey(key);
}

TEST(Registry, ListsNamesAsFarAsTheBufferGoes)
{
    const TestRegistry registry("\"abc\"=hex:07\n@=hex:\n[" + std::string(kTestKey) + "\\abc]\n");
    const HKEY key = Open(kTestSubKey);
    // Desktop Windows sorts values.
    constexpr DWORD kNamed = OnHost<DWORD>(0, 1);
    wchar_t name[6] = L"#####";
    DWORD length = 3;
    for (const auto enumName : {EnumKey, EnumValue}) {
        const DWORD index = enumName == EnumKey ? 0 : kNamed;
        length = 3;
        EXPECT_EQ(enumName(key, index, name, &length), ERROR_MORE_DATA);
        EXPECT_EQ(std::u16string(name, name + 5), u"#####");
        length = 4;
        EXPECT_EQ(enumName(key, index, name, &length), ERROR_SUCCESS);
        EXPECT_EQ(length, 3u);
        EXPECT_EQ(std::u16string(name, name + 5), std::u16string(u"abc\0#", 5));
        length = 4;
        EXPECT_EQ(enumName(key, 2, name, &length), ERROR_NO_MORE_ITEMS);
        std::fill_n(name, 5, L'#');
    }
    length = 1;
    EXPECT_EQ(EnumValue(key, 1 - kNamed, name, &length), ERROR_SUCCESS) << "the default value";
    EXPECT_EQ(length, 0u);

    length = 4;
    DWORD type = 0;
    BYTE data[2] = {0, 8};
    DWORD size = 1;
    EXPECT_EQ(RegEnumValueW(key, kNamed, name, &length, nullptr, &type, data, &size), 0);
    EXPECT_EQ(type, REG_BINARY);
    EXPECT_EQ(size, 1u);
    EXPECT_EQ(data[0] << 8 | data[1], 0x708);
    RegCloseKey(key);
}

TEST(Registry, OpensAndCloses)
{
    const TestRegistry registry("[" + std::string(kTestKey) + "\\A\\B]\n@=\"\"\n");
    const HANDLE file = CreateFileW(registry.Folder().Path("test.reg"), GENERIC_READ,
                                    FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    SetLastError(77);
    const HKEY above = Open(L"SOFTWARE\\Xelutils-Test\\");
    const struct {
        const wchar_t* subKey;
        HKEY root;
        DWORD error;
    } rows[] = {
        {L"a\\b", above, ERROR_SUCCESS},
        {L"", above, ERROR_SUCCESS},
        {nullptr, HKEY_USERS, ERROR_SUCCESS},
        {L"B", above, ERROR_FILE_NOT_FOUND},
        {kTestSubKey, HKEY_LOCAL_MACHINE, ERROR_FILE_NOT_FOUND},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ErrorOfOpening(row.subKey, row.root), row.error);

    const HKEY closed = Open(L"A", above);
    EXPECT_EQ(RegCloseKey(closed), 0);
    EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), 0);
    for (const HKEY bad : {closed, HKEY{}, static_cast<HKEY>(file)}) {
        wchar_t name[4];
        DWORD length = 4;
        EXPECT_EQ(ErrorOfOpening(L"A", bad), ERROR_INVALID_HANDLE);
        EXPECT_EQ(EnumKey(bad, 0, name, &length), ERROR_INVALID_HANDLE);
        EXPECT_EQ(EnumValue(bad, 0, name, &length), ERROR_INVALID_HANDLE);
        EXPECT_EQ(Query(bad, nullptr, nullptr, nullptr, &length), ERROR_INVALID_HANDLE);
    }
    EXPECT_EQ(static_cast<DWORD>(RegCloseKey(closed)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(static_cast<DWORD>(RegCloseKey(nullptr)), ERROR_INVALID_HANDLE);
    EXPECT_EQ(GetLastError(), 77u);
    // Each kind has a call of its own; on desktop Windows either closes both.
    EXPECT_EQ(RegCloseKey(static_cast<HKEY>(file)) == 0, kOnWindows);
    EXPECT_EQ(CloseHandle(above) != FALSE, kOnWindows);
    EXPECT_EQ(RegCloseKey(above) == 0, !kOnWindows);
    EXPECT_EQ(CloseHandle(file) != FALSE, !kOnWindows);
}
