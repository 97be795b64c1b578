#include <atomic>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "support/small_stack.h"
#include "support/target.h"
#include "support/test_folder.h"
#include "xelutils/platform/coredll.h"

namespace fs = std::filesystem;
using String = xel_text::CXelStringT<wchar_t>;

namespace {

bool Exists(const TestFolder& folder, const std::string& name)
{
    return GetFileAttributesW(folder.Path(name)) != INVALID_FILE_ATTRIBUTES;
}

bool ExistsSoon(const TestFolder& folder, const std::string& name)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    while (!Exists(folder, name)) {
        if (std::chrono::steady_clock::now() > end)
            return false;
    }
    return true;
}

} // namespace

TEST(PathLookup, ChangesByOthersShowAtOnce)
{
    const TestFolder folder;
    // Each round asks at the same moment, before and after, as fast as it goes: also changes within
    // one tick of the host's clock must show.
    for (int i = 0; i < 2000; ++i) {
        const std::string name = "Name" + std::to_string(i);
        const std::string other = "nAME" + std::to_string(i);
        ASSERT_FALSE(Exists(folder, other)) << i;
        folder.Write(name, "");
        ASSERT_TRUE(Exists(folder, other)) << i;
        fs::rename(folder.HostPath(name), folder.HostPath("x"));
        ASSERT_FALSE(Exists(folder, other)) << i;
        if (i % 3 == 0) {
            // One that this program made itself lies between.
            ASSERT_TRUE(CopyFileW(folder.Path("x"), folder.Path("Own" + std::to_string(i)), TRUE));
            folder.Write(name, "");
            // Within one tick of a clock that ticks slowly, a little later.
            ASSERT_TRUE(ExistsSoon(folder, other)) << i;
            ASSERT_TRUE(Exists(folder, "oWN" + std::to_string(i))) << i;
        }
    }
}

TEST(PathLookup, OldFolderMovedInPlaceOfAnother)
{
    const TestFolder folder;
    for (const char* const name : {"one", "two"})
        fs::create_directory(folder.HostPath(name));
    folder.Write("two/File", "");
    ASSERT_FALSE(Exists(folder, "one/fILE"));
    fs::rename(folder.HostPath("one"), folder.HostPath("three"));
    fs::rename(folder.HostPath("two"), folder.HostPath("one"));
    EXPECT_TRUE(Exists(folder, "one/fILE"));
    EXPECT_FALSE(Exists(folder, "three/fILE"));
}

TEST(PathLookup, DeepPathsEnd)
{
    const TestFolder folder;
    std::string path;
    for (int i = 0; i < 600; ++i) {
        path += path.empty() ? "D" : "/D";
        ASSERT_TRUE(CreateDirectoryW(folder.Path(path), nullptr)) << i;
    }
    folder.Write(path + "/File", "");
    for (char& ch : path)
        ch = ch == 'D' ? 'd' : ch;
    RunWithSmallStack([&] {
        EXPECT_TRUE(Exists(folder, path + "/fILE"));
        EXPECT_FALSE(Exists(folder, path + "/missing"));
    });
    String endless;
    for (int i = 0; i < 16000; ++i)
        endless += L"\\a";
    EXPECT_EQ(GetFileAttributesW(endless), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), OnHost(ERROR_FILENAME_EXCED_RANGE, ERROR_PATH_NOT_FOUND));
}

TEST(PathLookup, ConcurrentLookupsAndChanges)
{
    const TestFolder folder;
    const String source = folder.Write("source", "x");
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 300; ++i) {
                const std::string name = std::to_string(t) + "-" + std::to_string(i);
                const String made = folder.Path("F" + name);
                if (!CopyFileW(source, made, TRUE) || !Exists(folder, "f" + name))
                    ++wrong;
                WIN32_FIND_DATAW data;
                const HANDLE listing = FindFirstFileW(folder.Path("f" + name + "*"), &data);
                if (!FindClose(listing) || (i % 2 == 0 && !DeleteFileW(made)))
                    ++wrong;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.HostPath("")), {}), 1 + 4 * 150);
}
