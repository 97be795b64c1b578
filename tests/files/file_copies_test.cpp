#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>

#include "support/file_times.h"
#include "support/read_only.h"
#include "support/test_folder.h"
#include "xelutils/files/file_funcs_ex.h"

using namespace FileFuncsEx;

namespace {

using String = CXelStringT<wchar_t>;
namespace fs = std::filesystem;

// A time with steps of 100 ns.
constexpr std::uint64_t kWritten = 133541212201234567;

// Empty for what is no file.
std::string ReadFile(const TestFolder& folder, const char* name)
{
    return fs::is_regular_file(folder.HostPath(name)) ? folder.Read(name) : std::string();
}

} // namespace

TEST(GetPathSize, LowAndHighBits)
{
    const TestFolder folder;
    const String path = folder.Write("file", "");
    const struct {
        std::uint64_t size;
        bool result;
        unsigned long low;
        unsigned long high;
    } rows[] = {
        {0, true, 0, 0},
        {1, true, 1, 0},
        {0x7FFFFFFF, true, 0x7FFFFFFF, 0},
        {0xFFFFFFFE, true, 0xFFFFFFFE, 0},
        // The sign of a failure, although there is none.
        {0xFFFFFFFF, false, 0xFFFFFFFF, 0},
        {0x100000000, true, 0, 1},
        {0x1FFFFFFFE, true, 0xFFFFFFFE, 1},
        {0x1FFFFFFFF, false, 0xFFFFFFFF, 1},
        {0x223456789, true, 0x23456789, 2},
    };
    for (const auto& row : rows) {
        fs::resize_file(folder.HostPath("file"), row.size);
        unsigned long low = ~0ul;
        unsigned long high = ~0ul;
        EXPECT_EQ(GetPathSize(path, low, &high), row.result) << row.size;
        EXPECT_EQ(low, row.low) << row.size;
        EXPECT_EQ(high, row.high) << row.size;
        EXPECT_EQ(GetPathSize(path, low, nullptr), row.result) << row.size;
    }
}

TEST(GetPathSize, WhatIsNoFileHasNone)
{
    const TestFolder folder;
    unsigned long low = 0;
    EXPECT_FALSE(GetPathSize(folder.Path("missing"), low, nullptr));
    EXPECT_FALSE(GetPathSize(folder.Path(""), low, nullptr));
    EXPECT_FALSE(GetPathSize(L"", low, nullptr));
    EXPECT_FALSE(GetPathSize(nullptr, low, nullptr));
}

TEST(CopyFromTo, Rules)
{
    const bool isHeeded = IsReadOnlyHeeded();
    const struct {
        const char* rule;
        const char* from;
        const char* to;
        int overwrite;
        int result;
        const char* target;
    } rows[] = {
        {"kept", "new", "old", 0, 1, "old"},
        {"replaced", "new", "old", 1, 1, "new"},
        {"any number is true", "new", "old", -2, 1, "new"},
        {"made", "new", "made", 0, 1, "new"},
        {"made", "new", "made", 1, 1, "new"},
        {"kept in other case", "new", "OLD", 0, 1, OnHost("", "old")},
        {"source not asked for", "missing", "old", 0, 1, "old"},
        {"source missing", "missing", "old", 1, 0, "old"},
        {"source missing", "missing", "made", 0, 0, ""},
        {"folder kept", "new", "dir", 0, 1, ""},
        {"folder not replaced", "new", "dir", 1, 0, ""},
        {"read-only not replaced", "new", "fixed", 1, isHeeded ? 0 : 1, isHeeded ? "fixed" : "new"},
        {"a link leads nowhere, but is there", "new", "dangling", 0, 1, OnHost("", "new")},
        {"itself", "old", "old", 1, 0, "old"},
        {"itself in other case", "old", "Old", 1, 0, OnHost("", "old")},
        {"itself through a link", "here/old", "old", 1, 0, "old"},
    };
    for (const auto& row : rows) {
        const TestFolder folder;
        for (const char* const name : {"new", "old", "fixed"})
            folder.Write(name, name);
        fs::permissions(folder.HostPath("fixed"), fs::perms::owner_read);
        fs::create_directory(folder.HostPath("dir"));
        MakeFileLink("nowhere", folder.HostPath("dangling"));
        MakeFolderLink(".", folder.HostPath("here"));
        EXPECT_EQ(CopyFromTo(folder.Path(row.from), folder.Path(row.to), row.overwrite), row.result)
            << row.rule;
        EXPECT_EQ(ReadFile(folder, row.to), row.target) << row.rule;
        EXPECT_EQ(folder.Read("new"), "new") << row.rule;
        EXPECT_EQ(fs::exists(folder.HostPath("OLD")), kOnWindows) << row.rule;
        EXPECT_EQ(fs::exists(folder.HostPath("nowhere")), false) << row.rule;
    }
}

TEST(CopyFromToCheckDate, OnlyWhatWasWrittenLater)
{
    const bool isHeeded = IsReadOnlyHeeded();
    const struct {
        const char* rule;
        const char* from;
        // Steps of 100 ns by which the source is the later one.
        int later;
        const char* to;
        int result;
        const char* target;
    } rows[] = {
        {"one step later", "new", 1, "old", 1, "new"},
        {"a day later", "new", 86400 * 1000, "old", 1, "new"},
        {"equal", "new", 0, "old", 1, "old"},
        {"earlier", "new", -1, "old", 1, "old"},
        {"target missing", "new", -1, "made", 1, "new"},
        {"source missing", "missing", 0, "old", 0, "old"},
        {"both missing", "missing", 0, "made", 0, ""},
        {"time of the target not to be had", "new", 1, "dir", 1, ""},
        {"time of the source not to be had", "dir", 0, "old", 1, "old"},
        {"later, but the target is read-only", "new", 1, "fixed", isHeeded ? 0 : 1,
         isHeeded ? "fixed" : "new"},
        {"equal to a read-only target", "new", 0, "fixed", 1, "fixed"},
    };
    for (const auto& row : rows) {
        const TestFolder folder;
        for (const char* const name : {"new", "old", "fixed"}) {
            folder.Write(name, name);
            SetTimes(folder.HostPath(name), kWritten, kWritten);
        }
        SetTimes(folder.HostPath("new"), kWritten,
                 kWritten + static_cast<std::uint64_t>(row.later));
        fs::permissions(folder.HostPath("fixed"), fs::perms::owner_read);
        fs::create_directory(folder.HostPath("dir"));
        EXPECT_EQ(CopyFromToCheckDate(folder.Path(row.from), folder.Path(row.to)), row.result)
            << row.rule;
        EXPECT_EQ(ReadFile(folder, row.to), row.target) << row.rule;
    }
}

TEST(CopyFromToCheckDate, ACopyIsNotEarlierThanItsSource)
{
    const TestFolder folder;
    const String from = folder.Write("from", "content");
    SetTimes(folder.HostPath("from"), kWritten, kWritten);
    EXPECT_EQ(CopyFromToCheckDate(from, folder.Path("to")), 1);
    WIN32_FIND_DATAW copy;
    EXPECT_TRUE(FindClose(FindFirstFileW(folder.Path("to"), &copy)));
    const FILETIME& time = copy.ftLastWriteTime;
    EXPECT_EQ(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime, kWritten);
}

TEST(FileCopies, NullCopiesNothing)
{
    const TestFolder folder;
    const String path = folder.Write("file", "content");
    for (const int overwrite : {0, 1}) {
        EXPECT_EQ(CopyFromTo(nullptr, path, overwrite), 0);
        EXPECT_EQ(CopyFromTo(path, nullptr, overwrite), 0);
    }
    EXPECT_EQ(CopyFromToCheckDate(nullptr, path), 0);
    EXPECT_EQ(CopyFromToCheckDate(path, nullptr), 0);
    EXPECT_EQ(folder.Read("file"), "content");
}
