#include <algorithm>
#include <atomic>
#include <barrier>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "support/file_size_limit.h"
#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/copy_content.h"

namespace fs = std::filesystem;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

// 0 for success.
DWORD Copy(const wchar_t* from, const wchar_t* to, BOOL failIfExists = FALSE)
{
    SetLastError(0);
    const BOOL done = CopyFileW(from, to, failIfExists);
    EXPECT_EQ(done != 0, GetLastError() == 0);
    return GetLastError();
}

struct stat StatusOf(const std::string& hostPath)
{
    struct stat status {};
    EXPECT_EQ(lstat(hostPath.c_str(), &status), 0) << hostPath;
    return status;
}

std::ptrdiff_t CountEntries(const TestFolder& folder)
{
    return std::distance(fs::directory_iterator(folder.HostPath("")), {});
}

} // namespace

TEST(CopyFile, WhatStandsAtTheTarget)
{
    const struct {
        const char* rule;
        const char* target;
        DWORD error;
        DWORD errorIfExists;
        // The file that holds the copy after success.
        const char* copy;
    } rows[] = {
        {"nothing", "new", 0, 0, "new"},
        {"nothing, folder in other case", "SUB/new", 0, 0, "Sub/new"},
        {"a file", "file", 0, ERROR_FILE_EXISTS, "file"},
        {"a file in other case", "FILE", 0, ERROR_FILE_EXISTS, "file"},
        {"a read-only file", "fixed", ERROR_ACCESS_DENIED, ERROR_FILE_EXISTS, nullptr},
        {"a folder", "Sub", ERROR_ACCESS_DENIED, ERROR_FILE_EXISTS, nullptr},
        {"a FIFO", "fifo", ERROR_ACCESS_DENIED, ERROR_FILE_EXISTS, nullptr},
        {"a link to another file", "to-file", 0, ERROR_FILE_EXISTS, "to-file"},
        {"a link to a folder", "to-folder", 0, ERROR_FILE_EXISTS, "to-folder"},
        {"a link to nothing", "dangling", 0, ERROR_FILE_EXISTS, "dangling"},
        {"a missing folder", "no/new", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND, nullptr},
        {"a closing separator", "new/", ERROR_PATH_NOT_FOUND, ERROR_PATH_NOT_FOUND, nullptr},
        {"itself", "source", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
        {"itself in other case", "Source", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
        {"its other name", "hard", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
        {"a link to itself", "to-source", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
        {"a link to a link", "to-to", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS, nullptr},
        {"itself by another folder", "to-here/source", ERROR_SHARING_VIOLATION, ERROR_FILE_EXISTS,
         nullptr},
    };
    for (const auto& row : rows) {
        for (const BOOL failIfExists : {FALSE, TRUE}) {
            const TestFolder folder;
            const String source = folder.Write("source", "content");
            folder.Write("file", "old");
            folder.Write("fixed", "old");
            fs::permissions(folder.HostPath("fixed"), fs::perms::owner_read);
            fs::create_directory(folder.HostPath("Sub"));
            mkfifo(folder.HostPath("fifo").c_str(), 0600);
            folder.Write("behind", "old");
            fs::create_symlink("behind", folder.HostPath("to-file"));
            fs::create_directory_symlink("Sub", folder.HostPath("to-folder"));
            fs::create_directory_symlink(".", folder.HostPath("to-here"));
            fs::create_symlink("nowhere", folder.HostPath("dangling"));
            fs::create_symlink("source", folder.HostPath("to-source"));
            fs::create_symlink("to-source", folder.HostPath("to-to"));
            fs::create_hard_link(folder.HostPath("source"), folder.HostPath("hard"));
            const auto before = CountEntries(folder);

            const DWORD error = failIfExists ? row.errorIfExists : row.error;
            EXPECT_EQ(Copy(source, folder.Path(row.target), failIfExists), error) << row.rule;
            if (error == 0) {
                EXPECT_EQ(folder.Read(row.copy), "content") << row.rule;
                EXPECT_TRUE(S_ISREG(StatusOf(folder.HostPath(row.copy)).st_mode)) << row.rule;
            }
            EXPECT_EQ(folder.Read("source"), "content") << row.rule;
            EXPECT_EQ(folder.Read("behind"), "old") << row.rule;
            EXPECT_EQ(folder.Read("fixed"), "old") << row.rule;
            EXPECT_FALSE(fs::exists(folder.HostPath("nowhere"))) << row.rule;
            EXPECT_EQ(CountEntries(folder), before + (row.target == std::string("new") ? 1 : 0))
                << row.rule;
        }
    }
}

TEST(CopyFile, SourcesThatAreNotCopied)
{
    const TestFolder folder;
    folder.Write("old", "old");
    folder.Write("file", "");
    fs::create_directory(folder.HostPath("sub"));
    mkfifo(folder.HostPath("fifo").c_str(), 0600);
    const struct {
        const char* name;
        DWORD error;
    } rows[] = {
        {"missing", ERROR_FILE_NOT_FOUND}, {"no/file", ERROR_PATH_NOT_FOUND},
        {"sub", ERROR_ACCESS_DENIED},      {"fifo", ERROR_ACCESS_DENIED},
        {"file/", ERROR_PATH_NOT_FOUND},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Copy(folder.Path(row.name), folder.Path("old")), row.error) << row.name;
    EXPECT_EQ(Copy(L"/dev/null", folder.Path("old")), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Copy(nullptr, folder.Path("old")), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(Copy(folder.Path("file"), L""), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(folder.Read("old"), "old");
    EXPECT_EQ(CountEntries(folder), 4);
}

TEST(CopyFile, LinksAreCopiedAsLinks)
{
    const TestFolder folder;
    folder.Write("a", "content");
    fs::create_directory(folder.HostPath("sub"));
    folder.Write("sub/b", "b");
    for (const char* const text : {"a", "sub", "nowhere", "loop"})
        fs::create_symlink(
            text, folder.HostPath("loop" == std::string(text) ? text : std::string("to-") + text));
    const timespec times[] = {{1000000000, 0}, {1709647620, 123456789}};
    ASSERT_EQ(utimensat(AT_FDCWD, folder.HostPath("to-sub").c_str(), times, AT_SYMLINK_NOFOLLOW),
              0);
    for (const std::string name : {"to-a", "to-sub", "to-nowhere", "loop"}) {
        for (const char* const round : {"new", "again"}) {
            EXPECT_EQ(Copy(folder.Path(name), folder.Path("copy-" + name)), 0u) << name << round;
            EXPECT_EQ(fs::read_symlink(folder.HostPath("copy-" + name)),
                      fs::read_symlink(folder.HostPath(name)));
        }
    }
    const struct stat copied = StatusOf(folder.HostPath("copy-to-sub"));
    EXPECT_EQ(copied.st_mtim.tv_sec, 1709647620);
    EXPECT_EQ(copied.st_mtim.tv_nsec, 123456789);

    // In the place of what it leads to, or passes on the way there, it would lead to itself.
    fs::create_symlink("to-a", folder.HostPath("chain"));
    for (const char* const target : {"a", "A", "to-a", "chain"})
        EXPECT_EQ(Copy(folder.Path("chain"), folder.Path(target)), ERROR_SHARING_VIOLATION)
            << target;
    EXPECT_EQ(folder.Read("a"), "content");
    EXPECT_EQ(fs::read_symlink(folder.HostPath("to-a")), "a");
    EXPECT_EQ(folder.Read("sub/b"), "b");
}

TEST(CopyFile, KeepsTimeAndPermissions)
{
    const TestFolder folder;
    const String source = folder.Write("a", "content");
    const timespec times[] = {{1000000000, 0}, {1709647620, 123456789}};
    ASSERT_EQ(utimensat(AT_FDCWD, folder.HostPath("a").c_str(), times, 0), 0);
    folder.Write("b", "a longer content that was there before");
    for (const mode_t mode : {0666, 0755, 0444, 0600}) {
        ASSERT_EQ(chmod(folder.HostPath("a").c_str(), mode), 0);
        chmod(folder.HostPath("b").c_str(), 0640);
        EXPECT_EQ(Copy(source, folder.Path("b")), 0u);
        const struct stat copy = StatusOf(folder.HostPath("b"));
        EXPECT_EQ(copy.st_mode & 07777, mode);
        EXPECT_EQ(copy.st_mtim.tv_sec, 1709647620);
        EXPECT_EQ(copy.st_mtim.tv_nsec, 123456789);
        EXPECT_EQ(folder.Read("b"), "content");
    }
    // Who owns the copy may be another than who owned the program.
    ASSERT_EQ(chmod(folder.HostPath("a").c_str(), 06755), 0);
    EXPECT_EQ(Copy(source, folder.Path("c")), 0u);
    EXPECT_EQ(StatusOf(folder.HostPath("c")).st_mode & 07777, 0755u);
}

TEST(CopyFile, ContentOfEverySize)
{
    const TestFolder folder;
    std::string content;
    for (const std::size_t size : {0u, 1u, 32767u, 32768u, 32769u, 65536u, 1000003u}) {
        while (content.size() < size)
            content.push_back(static_cast<char>(content.size() * 7919 >> 8));
        const String source = folder.Write("a", std::string_view(content).substr(0, size));
        EXPECT_EQ(Copy(source, folder.Path("b")), 0u);
        EXPECT_TRUE(folder.Read("b") == content.substr(0, size)) << size;
    }
    // The kernel makes it up when it is read, and says that it is empty.
    EXPECT_EQ(Copy(L"/proc/self/stat", folder.Path("c")), 0u);
    EXPECT_NE(folder.Read("c"), "");
}

TEST(CopyFile, HolesStayHoles)
{
    constexpr off_t kSize = 5LL << 30;
    const TestFolder folder;
    const String source = folder.Write("a", "begin");
    const int file = open(folder.HostPath("a").c_str(), O_WRONLY);
    ASSERT_EQ(pwrite(file, "middle", 6, kSize / 2), 6);
    ASSERT_EQ(ftruncate(file, kSize), 0);
    close(file);
    EXPECT_EQ(Copy(source, folder.Path("b")), 0u);
    const struct stat copy = StatusOf(folder.HostPath("b"));
    EXPECT_EQ(copy.st_size, kSize);
    EXPECT_LT(copy.st_blocks * 512, 1 << 20);
    const int copied = open(folder.HostPath("b").c_str(), O_RDONLY);
    char bytes[6] = {};
    EXPECT_EQ(pread(copied, bytes, 6, kSize / 2), 6);
    EXPECT_EQ(std::string(bytes, 6), "middle");
    EXPECT_EQ(pread(copied, bytes, 6, 0), 6);
    EXPECT_EQ(std::string(bytes, 6), std::string("begin\0", 6));
    close(copied);
}

TEST(CopyFile, FullDiskLeavesTheOldFile)
{
    for (const std::size_t size : {20000u, 2000000u}) {
        const TestFolder folder;
        const String source = folder.Write("a", std::string(size, 'x'));
        folder.Write("b", "old");
        {
            const FileSizeLimit limit(10000);
            EXPECT_EQ(Copy(source, folder.Path("b")), ERROR_DISK_FULL);
            EXPECT_EQ(Copy(source, folder.Path("c")), ERROR_DISK_FULL);
        }
        EXPECT_EQ(folder.Read("b"), "old");
        EXPECT_EQ(CountEntries(folder), 2);
    }
}

TEST(CopyFile, KilledProgramLeavesNoHalfTarget)
{
    GTEST_FLAG_SET(death_test_style, "fast");
    const TestFolder folder;
    const String source = folder.Write("a", std::string(20000, 'x'));
    folder.Write("b", "old");
    for (const char* const target : {"b", "c"}) {
        const String path = folder.Path(target);
        const auto copy = [&] {
            const FileSizeLimit limit(10000);
            std::signal(SIGXFSZ, SIG_DFL); // kills in the middle of the copy
            CopyFileW(source, path, FALSE);
            std::_Exit(0);
        };
        EXPECT_EXIT(copy(), testing::KilledBySignal(SIGXFSZ), "");
    }
    EXPECT_EQ(folder.Read("b"), "old");
    EXPECT_FALSE(fs::exists(folder.HostPath("c")));
}

// The size that the source had when it was opened counts, and what is there.
TEST(CopyFile, SourceThatGrowsOrShrinks)
{
    const struct {
        const char* rule;
        off_t sizeBefore;
        blkcnt_t blocksBefore;
        std::size_t sizeNow;
        std::size_t copied;
    } rows[] = {
        {"grew", 10, 8, 100, 10},
        {"grew from nothing", 0, 0, 100000, 100000},
        {"shrank", 200, 8, 100, 100},
        {"large, shrank", 200000, 400, 100000, 100000},
        {"shrank, with holes before", 200000, 8, 100000, 100000},
        {"shrank to nothing, with holes before", 200000, 8, 0, 0},
    };
    for (const auto& row : rows) {
        const TestFolder folder;
        std::string content(row.sizeNow, 'x');
        folder.Write("a", content);
        folder.Write("b", "");
        const int source = open(folder.HostPath("a").c_str(), O_RDONLY);
        const int target = open(folder.HostPath("b").c_str(), O_WRONLY);
        struct stat before = StatusOf(folder.HostPath("a"));
        before.st_size = row.sizeBefore;
        before.st_blocks = row.blocksBefore;
        EXPECT_EQ(CopyContent(source, before, target), 0) << row.rule;
        EXPECT_TRUE(folder.Read("b") == content.substr(0, row.copied)) << row.rule;
        close(source);
        close(target);
    }
}

TEST(CopyFile, TwoAtOnceReplaceEachOther)
{
    constexpr int kRounds = 300;
    const TestFolder folder;
    const String source = folder.Write("a", "content");
    std::barrier round(2);
    std::atomic<int> failures = 0;
    const auto copyAll = [&] {
        for (int i = 0; i < kRounds; ++i) {
            round.arrive_and_wait();
            failures += CopyFileW(source, folder.Path("to" + std::to_string(i)), FALSE) == FALSE;
        }
    };
    std::thread other(copyAll);
    copyAll();
    other.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(CountEntries(folder), 1 + kRounds);
}

TEST(CopyFile, DoesNotPullAFileFromUnderItsWriter)
{
    const TestFolder folder;
    const String source = folder.Write("a", "content");
    const String log = folder.Path("log");
    const HANDLE writer =
        CreateFileW(log, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
    EXPECT_EQ(Copy(source, log), ERROR_SHARING_VIOLATION);
    DWORD written;
    EXPECT_TRUE(WriteFile(writer, "line", 4, &written, nullptr));
    EXPECT_EQ(Copy(log, folder.Path("b")), 0u) << "readers are let in";
    EXPECT_EQ(folder.Read("b"), "line");
    EXPECT_TRUE(CloseHandle(writer));
    EXPECT_EQ(Copy(source, log), 0u);
    EXPECT_EQ(folder.Read("log"), "content");
}
