// Copies where they depend on how POSIX plays the device.
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

#include "platform/copy_file.h"
#include "support/file_size_limit.h"
#include "xelutils/platform/posix/copy_content.h"

namespace fs = std::filesystem;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

struct stat StatusOf(const std::string& hostPath)
{
    struct stat status {};
    EXPECT_EQ(lstat(hostPath.c_str(), &status), 0) << hostPath;
    return status;
}

} // namespace

TEST(Copies, LinksAreCopiedAsLinks)
{
    const TestFolder folder;
    folder.Write("a", "content");
    fs::create_directory(folder.HostPath("sub"));
    folder.Write("sub/b", "b");
    for (const char* const text : {"a", "sub", "nowhere", "loop"})
        MakeFileLink(
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
    MakeFileLink("to-a", folder.HostPath("chain"));
    for (const char* const target : {"a", "A", "to-a", "chain"})
        EXPECT_EQ(Copy(folder.Path("chain"), folder.Path(target)), ERROR_SHARING_VIOLATION)
            << target;
    EXPECT_EQ(folder.Read("a"), "content");
    EXPECT_EQ(fs::read_symlink(folder.HostPath("to-a")), "a");
    EXPECT_EQ(folder.Read("sub/b"), "b");
}

TEST(Copies, KeepsTimeAndPermissions)
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

TEST(Copies, FileMadeUpWhenItIsReadSaysThatItIsEmpty)
{
    const TestFolder folder;
    EXPECT_EQ(Copy(L"/proc/self/stat", folder.Path("c")), 0u);
    EXPECT_NE(folder.Read("c"), "");
}

TEST(Copies, HolesStayHoles)
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

TEST(Copies, FullDiskLeavesTheOldFile)
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

TEST(Copies, KilledProgramLeavesNoHalfTarget)
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
TEST(Copies, SourceThatGrowsOrShrinks)
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

TEST(Copies, TwoAtOnceReplaceEachOther)
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
