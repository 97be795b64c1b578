#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>

#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"

using WideString = xel_text::CXelStringT<wchar_t>;

TEST(LoadLibrary, TellsWhyNot)
{
    TestFolder folder;
    const std::string plugin = [] {
        std::ifstream file(TEST_PLUGIN, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }();
    std::string otherProcessor = plugin;
    otherProcessor[18] ^= 1;
    std::string otherWords = plugin;
    otherWords[4] ^= 3;
    std::filesystem::create_directory(folder.HostPath("folder"));
    ASSERT_EQ(mkfifo(folder.HostPath("pipe").c_str(), 0600), 0);

    const struct {
        WideString name;
        DWORD error;
    } rows[] = {
        {L"", ERROR_MOD_NOT_FOUND},
        {folder.Path("missing"), ERROR_MOD_NOT_FOUND},
        {folder.Path("missing/plugin"), ERROR_MOD_NOT_FOUND},
        // Only the loader's own search would find it.
        {L"libm.so.6", ERROR_MOD_NOT_FOUND},
        {L"\\libm.so.6", ERROR_MOD_NOT_FOUND},
        {L"\\Windows\\", ERROR_MOD_NOT_FOUND},
        {L"\\Windows\\..\\libm.so.6", ERROR_MOD_NOT_FOUND},
        {folder.Path("folder"), ERROR_ACCESS_DENIED},
        {folder.Path("pipe"), ERROR_ACCESS_DENIED},
        {folder.Write("empty", ""), ERROR_BAD_EXE_FORMAT},
        {folder.Write("text", std::string(1000, 'x')), ERROR_BAD_EXE_FORMAT},
        {folder.Write("start", plugin.substr(0, 51)), ERROR_BAD_EXE_FORMAT},
        {folder.Write("processor", otherProcessor), ERROR_BAD_EXE_FORMAT},
        {folder.Write("words", otherWords), ERROR_BAD_EXE_FORMAT},
        {folder.Write("cut", plugin.substr(0, 500)), ERROR_BAD_EXE_FORMAT},
        {folder.Write("half", plugin.substr(0, plugin.size() / 8)), ERROR_BAD_EXE_FORMAT},
    };
    for (const auto& row : rows) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(LoadLibraryW(row.name), nullptr) << xel_text::ToUtf8(row.name);
        EXPECT_EQ(GetLastError(), row.error) << xel_text::ToUtf8(row.name);
    }
    EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
}

TEST(LoadLibrary, FindsFunctionsUntilFreedAsOftenAsLoaded)
{
    TestFolder folder;
    std::filesystem::copy_file(TEST_PLUGIN, folder.HostPath("Plugin"));
    const HMODULE module = LoadLibraryW(folder.Path("pLUGIN"));
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(LoadLibraryW(folder.Path("Plugin")), module);
    EXPECT_TRUE(FreeLibrary(module));
    const FARPROC answer = GetProcAddressW(module, L"PluginAnswer");
    ASSERT_TRUE(answer != nullptr);
    EXPECT_EQ(answer(), 42);

    const wchar_t* const kOrdinal = reinterpret_cast<const wchar_t*>(7);
    for (const wchar_t* name : {L"PluginAnswer2", L"", L"\xE9", kOrdinal}) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_TRUE(GetProcAddressW(module, name) == nullptr);
        EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
    }
    EXPECT_TRUE(FreeLibrary(module));

    for (const HMODULE gone : {module, HMODULE{nullptr}}) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(FreeLibrary(gone));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        SetLastError(ERROR_SUCCESS);
        EXPECT_TRUE(GetProcAddressW(gone, L"PluginAnswer") == nullptr);
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    }
}
