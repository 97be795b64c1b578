#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>

#include "support/target.h"
#include "support/test_folder.h"
#include "support/working_directory.h"
#include "xelutils/files/file_funcs.h"

using namespace FileFuncs;

namespace {

using String = CXelStringT<wchar_t>;
namespace fs = std::filesystem;

bool IsFolder(const TestFolder& folder, const char* name)
{
    return fs::is_directory(folder.HostPath(name));
}

} // namespace

TEST(FileQueries, WhatExists)
{
    const TestFolder folder;
    folder.Write("File.txt", "");
    fs::create_directory(folder.HostPath("Dir"));
    MakeFolderLink(folder.HostPath("Dir"), folder.HostPath("link"));
    const struct {
        const char* rule;
        String path;
        bool exists;
        bool isDir;
    } rows[] = {
        {"empty", L"", false, false},
        {"missing", folder.Path("missing"), false, false},
        {"in a missing folder", folder.Path("missing/File.txt"), false, false},
        {"file", folder.Path("File.txt"), true, false},
        {"folder", folder.Path("Dir"), true, true},
        {"other case, other separator", folder.Path("") + L"\\dIR", true, true},
        {"link to a folder", folder.Path("link"), true, true},
        {"wildcard", folder.Path("F*"), true, false},
        {"wildcard", folder.Path("D?r"), true, true},
        {"wildcard without match", folder.Path("F*.ini"), false, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(IsFileExist(row.path), row.exists) << row.rule;
        EXPECT_EQ(IsDirExist(row.path), row.isDir) << row.rule;
    }
}

TEST(CreateDir, MakesWhatIsMissing)
{
    const TestFolder folder;
    fs::create_directory(folder.HostPath("A"));
    folder.Write("file", "x");
    const String base = folder.Path("");
    const struct {
        String path;
        bool result;
        const char* made;
    } rows[] = {
        {L"\\A", true, "A"},
        {L"\\A\\", true, "A"},
        {L"\\A\\B\\C\\", true, "A/B/C"},
        {L"\\A\\B\\C\\D", true, "A/B/C/D"},
        {L"\\E", true, "E"},
        // "F\" is made, but is not listed by that name on desktop Windows.
        {L"\\F\\\\G", !kOnWindows, OnHost("F/G", "F")},
        {L"\\H\\\\", true, "H"},
        {L"\\a\\b2", true, "A/b2"},
        // Only "\" leads to the folder above.
        {L"/I/J", false, nullptr},
        {L"/A/J", true, "A/J"},
        {L"\\file", false, nullptr},
        {L"\\file\\A", false, nullptr},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(CreateDir(base + row.path), row.result) << testing::PrintToString(row.path);
        if (row.made != nullptr) {
            EXPECT_TRUE(IsFolder(folder, row.made)) << row.made;
        }
    }
    EXPECT_FALSE(fs::exists(folder.HostPath("I")));
    for (const auto& entry : fs::directory_iterator(folder.HostPath("")))
        EXPECT_NE(entry.path().filename().string(), "a");
    EXPECT_EQ(folder.Read("file"), "x");
}

TEST(CreateDir, KeepsWhatItMadeBeforeAFailure)
{
    const TestFolder folder;
    constexpr int kTooLong = 300;
    const String path = folder.Path("") + L"\\A\\B\\" + String('x', kTooLong) + L"\\C";
    EXPECT_FALSE(CreateDir(path));
    EXPECT_TRUE(IsFolder(folder, "A/B"));
    EXPECT_TRUE(fs::is_empty(folder.HostPath("A/B")));
}

TEST(CreateDir, OddPathsHaveAPlainResult)
{
    const TestFolder folder;
    const WorkingDirectory there(folder.HostPath(""));
    String components;
    wchar_t* const units = components.GetBufferSetLength(32000);
    for (int i = 0; i < 32000; ++i)
        units[i] = i % 100 == 0 ? '\\' : 'x';
    const struct {
        const char* rule;
        String path;
        bool result;
    } rows[] = {
        {"empty", L"", false},
        {"root", L"\\", false},
        {"plain name", L"name", true},
        {"plain name, again", L"name\\", true},
        {"in a plain name", L"name\\sub", true},
        {"name too long", String('x', 32000), false},
        {"path too long", folder.Path("") + components, false},
        {"up to a zero", String(L"zero\0\\x", 7), true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(CreateDir(row.path), row.result) << row.rule;
    EXPECT_TRUE(IsFolder(folder, "name/sub"));
    EXPECT_TRUE(IsFolder(folder, "zero"));
}
