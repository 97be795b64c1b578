// Names without case on a host where case counts.
#include <chrono>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>

#include "support/open_watch.h"
#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"
#include "xelutils/platform/folder_pin.h"

namespace fs = std::filesystem;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

bool Exists(const TestFolder& folder, const std::string& name)
{
    return GetFileAttributesW(folder.Path(name)) != INVALID_FILE_ATTRIBUTES;
}

double SecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Seconds(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return SecondsSince(start);
}

} // namespace

// Reading goes back to a sibling that differs in case; what changes something stays in the folder
// that exists as written, since nobody named the other.
TEST(PathLookup, ChangesStayInTheFolderAsWritten)
{
    const TestFolder folder;
    for (const char* const name : {"backup", "Backup", "Backup/sub", "Backup/deep"})
        fs::create_directory(folder.HostPath(name));
    folder.Write("Backup/File", "kept");
    folder.Write("Backup/deep/File", "kept");
    folder.Write("source", "new");
    const String file = folder.Path("backup/file");

    EXPECT_TRUE(Exists(folder, "backup/file"));
    EXPECT_FALSE(DeleteFileW(file));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(RemoveDirectoryW(folder.Path("backup/SUB")));
    EXPECT_FALSE(DeleteFileW(folder.Path("backup/deep/file")));
    EXPECT_TRUE(CopyFileW(folder.Path("source"), file, TRUE));
    EXPECT_TRUE(CreateDirectoryW(folder.Path("backup/SUB"), nullptr));
    EXPECT_TRUE(CloseHandle(CreateFileW(folder.Path("backup/FILE2"), GENERIC_WRITE, 0, nullptr,
                                        CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)));
    EXPECT_EQ(folder.Read("Backup/File"), "kept");
    EXPECT_EQ(folder.Read("backup/file"), "new");
    EXPECT_TRUE(fs::exists(folder.HostPath("Backup/sub")));
    EXPECT_TRUE(fs::exists(folder.HostPath("backup/SUB")));
    EXPECT_TRUE(fs::exists(folder.HostPath("backup/FILE2")));
}

TEST(PathLookup, FolderIsPreferredWhereOneIsNeeded)
{
    const TestFolder folder;
    folder.Write("AB", "");
    fs::create_directory(folder.HostPath("Ab"));
    folder.Write("Ab/File", "");
    EXPECT_TRUE(Exists(folder, "ab/file")) << "the file sorts first, but holds nothing";
    WIN32_FIND_DATAW data;
    const HANDLE listing = FindFirstFileW(folder.Path("ab/*"), &data);
    EXPECT_TRUE(FindClose(listing));
    EXPECT_TRUE(CreateDirectoryW(folder.Path("ab/new"), nullptr));
    EXPECT_TRUE(fs::is_directory(folder.HostPath("Ab/new")));
    EXPECT_EQ(GetFileAttributesW(folder.Path("ab")), FILE_ATTRIBUTE_ARCHIVE);
}

TEST(PathLookup, LinksBackDoNotMultiplyTheWays)
{
    const TestFolder folder;
    for (const char* const name : {"a", "A"})
        fs::create_directory_symlink(".", folder.HostPath(name));
    std::string path;
    for (int i = 0; i < 35; ++i)
        path += "a/";
    EXPECT_FALSE(Exists(folder, path + "missing"));
    folder.Write("File", "");
    EXPECT_TRUE(Exists(folder, path + "file"));
}

// A tree walk stays in the folder that it began in, whatever becomes of it.
TEST(PathLookup, PinnedFolderIsNoOther)
{
    for (const char* const spelling : {"backup", "BACKUP"}) {
        const TestFolder folder;
        for (const char* const name : {"backup", "backup/sub"})
            fs::create_directory(folder.HostPath(name));
        const String file = folder.Path(spelling + std::string("/sub/file"));
        {
            const FolderPin pin(folder.Path(spelling));
            EXPECT_TRUE(CreateDirectoryW(file, nullptr));
            fs::rename(folder.HostPath("backup"), folder.HostPath("moved"));
            for (const char* const name : {"Backup", "Backup/sub", "Backup/sub/file"})
                fs::create_directory(folder.HostPath(name));
            SetLastError(0);
            EXPECT_FALSE(RemoveDirectoryW(file));
            EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
            EXPECT_FALSE(Exists(folder, spelling));
        }
        EXPECT_TRUE(RemoveDirectoryW(file)) << "only while it is pinned";
        EXPECT_FALSE(fs::exists(folder.HostPath("Backup/sub/file")));
        EXPECT_TRUE(fs::exists(folder.HostPath("moved/sub/file")));
    }
}

TEST(PathLookup, MissesInALargeFolderCostNoScanEach)
{
    constexpr int kFiles = 10000;
    const TestFolder folder;
    for (const char* const name : {"large", "small", "target"})
        fs::create_directory(folder.HostPath(name));
    folder.Write("small/File", "");
    for (int i = 0; i < kFiles; ++i)
        folder.Write("large/File" + std::to_string(i), "");
    const auto misses = [&folder](const char* name) {
        return Seconds([&] {
            for (int i = 0; i < kFiles; ++i)
                ASSERT_FALSE(Exists(folder, name + std::to_string(i)));
        });
    };
    // Ten thousand scans would take hundreds of times as long.
    EXPECT_LT(misses("large/no"), 10 * misses("small/no") + 0.2);
    EXPECT_TRUE(Exists(folder, "large/fILE9999"));
}

// Whatever makes them, and also when each is looked for before.
TEST(PathLookup, MakingManyFilesReadsTheFolderSeldom)
{
    const TestFolder folder;
    const String source = folder.Write("source", "x");
    fs::create_directory(folder.HostPath("many"));
    for (int i = 0; i < 300; ++i)
        folder.Write("many/old" + std::to_string(i), "old");
    const OpenWatch watch(folder.HostPath("many"));
    if (watch.Count() < 0)
        GTEST_SKIP() << "the host does not tell who opens what";
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 300; ++i) {
        const std::string name = "many/File" + std::to_string(i);
        ASSERT_FALSE(Exists(folder, name));
        ASSERT_TRUE(CopyFileW(source, folder.Path(name), FALSE));
        ASSERT_TRUE(CopyFileW(source, folder.Path("many/OLD" + std::to_string(i)), FALSE));
        ASSERT_TRUE(CreateDirectoryW(folder.Path(name + ".d"), nullptr));
        ASSERT_TRUE(CloseHandle(CreateFileW(folder.Path(name + ".x"), GENERIC_WRITE, 0, nullptr,
                                            CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr)));
    }
    EXPECT_LT(watch.Count(), 5 + SecondsSince(start) / 0.05);
    EXPECT_EQ(folder.Read("many/old7"), "x");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.HostPath("many")), {}), 4 * 300);
}
