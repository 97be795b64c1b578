#include <gtest/gtest.h>

#include <filesystem>

#include "platform/libraries.h"
#include "support/target.h"

TEST(Libraries, TellsWhyNot)
{
    const TestFolder folder;
    std::filesystem::create_directory(folder.HostPath("folder.dll"));
    ExpectNotLoaded({
        {L"", ERROR_MOD_NOT_FOUND},
        {folder.Path("missing"), ERROR_MOD_NOT_FOUND},
        {folder.Path("missing/plugin"), ERROR_MOD_NOT_FOUND},
        {folder.Path("folder.dll"), ERROR_ACCESS_DENIED},
        {folder.Write("empty.dll", ""), ERROR_BAD_EXE_FORMAT},
        {folder.Write("text.dll", std::string(1000, 'x')), ERROR_BAD_EXE_FORMAT},
        {folder.Write("cut.dll", BytesOfPlugin().substr(0, 500)), ERROR_BAD_EXE_FORMAT},
        {folder.Write("plain", BytesOfPlugin()), ERROR_MOD_NOT_FOUND},
    });
    EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
}

TEST(Libraries, FindsFunctionsUntilFreedAsOftenAsLoaded)
{
    const TestFolder folder;
    std::filesystem::copy_file(TEST_PLUGIN, folder.HostPath("Plugin.dll"));
    const HMODULE module = LoadLibraryW(folder.Path("pLUGIN.Dll"));
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(LoadLibraryW(folder.Path("Plugin")), module);
    EXPECT_TRUE(FreeLibrary(module));
    const FARPROC answer = GetProcAddressW(module, L"PluginAnswer");
    ASSERT_TRUE(answer != nullptr);
    EXPECT_EQ(answer(), 42);

    const wchar_t* const kOrdinal = reinterpret_cast<const wchar_t*>(9999);
    for (const wchar_t* name : {L"PluginAnswer2", L"", L"\xE9", kOrdinal}) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_TRUE(GetProcAddressW(module, name) == nullptr);
        EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
    }
    EXPECT_TRUE(FreeLibrary(module));

    // Desktop Windows calls what is no module one that is missing, and null the program.
    for (const HMODULE gone : {module, HMODULE{nullptr}}) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(FreeLibrary(gone));
        EXPECT_EQ(GetLastError(), gone == nullptr
                                      ? ERROR_INVALID_HANDLE
                                      : OnHost(ERROR_INVALID_HANDLE, ERROR_MOD_NOT_FOUND));
        SetLastError(ERROR_SUCCESS);
        EXPECT_TRUE(GetProcAddressW(gone, L"PluginAnswer") == nullptr);
        EXPECT_EQ(GetLastError(),
                  OnHost(ERROR_INVALID_HANDLE,
                         gone == nullptr ? ERROR_PROC_NOT_FOUND : ERROR_MOD_NOT_FOUND));
    }
}

TEST(Libraries, MayLackAnExtensionThatIsDenied)
{
    const TestFolder folder;
    std::filesystem::copy_file(TEST_PLUGIN, folder.HostPath("plain"));
    const HMODULE module = LoadLibraryW(folder.Path("plain."));
    ASSERT_NE(module, nullptr);
    FreeLibrary(module);
}
