#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "support/file_size_limit.h"
#include "support/open_watch.h"
#include "support/test_folder.h"
#include "xelutils/platform/framework.h"
#include "xelutils/platform/posix/device_root.h"

namespace {

constexpr DWORD kReadWrite = GENERIC_READ | GENERIC_WRITE;

HANDLE Open(const wchar_t* name, DWORD creation, DWORD access = kReadWrite,
            DWORD share = FILE_SHARE_READ)
{
    SetLastError(0);
    return CreateFileW(name, access, share, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Opens and closes; the error, 0 for success.
DWORD ErrorOfOpening(const wchar_t* name, DWORD creation, DWORD access = kReadWrite)
{
    const HANDLE file = Open(name, creation, access);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError();
    EXPECT_TRUE(CloseHandle(file));
    return 0;
}

} // namespace

TEST(Files, DispositionsSayWhatExistsAndWhatIsKept)
{
    const struct {
        const char* rule;
        DWORD creation;
        DWORD errorWhenMissing;
        DWORD errorWhenThere;
        const char* contentAfter;
    } rows[] = {
        {"new", CREATE_NEW, 0, ERROR_FILE_EXISTS, "old"},
        {"always", CREATE_ALWAYS, 0, 0, ""},
        {"existing", OPEN_EXISTING, ERROR_FILE_NOT_FOUND, 0, "old"},
        {"open always", OPEN_ALWAYS, 0, 0, "old"},
        {"truncate", TRUNCATE_EXISTING, ERROR_FILE_NOT_FOUND, 0, ""},
        {"unknown", 6, ERROR_INVALID_PARAMETER, ERROR_INVALID_PARAMETER, "old"},
    };
    for (const auto& row : rows) {
        const TestFolder folder;
        EXPECT_EQ(ErrorOfOpening(folder.Path("missing"), row.creation), row.errorWhenMissing)
            << row.rule;
        EXPECT_EQ(std::filesystem::exists(folder.HostPath("missing")), row.errorWhenMissing == 0)
            << row.rule;
        // Its case differs: it is the same file all the same.
        folder.Write("There", "old");
        EXPECT_EQ(ErrorOfOpening(folder.Path("tHERE"), row.creation), row.errorWhenThere)
            << row.rule;
        EXPECT_EQ(folder.Read("There"), row.contentAfter) << row.rule;
        EXPECT_FALSE(std::filesystem::exists(folder.HostPath("tHERE"))) << row.rule;
    }
}

TEST(Files, RefusesWhatIsNoFile)
{
    const TestFolder folder;
    folder.Write("file", "x");
    mkfifo(folder.HostPath("fifo").c_str(), 0600);
    std::filesystem::create_symlink("nowhere", folder.HostPath("dangling"));
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, folder.HostPath("socket").c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);

    const std::string longName(300, 'x');
    const struct {
        const char* rule;
        std::string name;
        DWORD access;
        DWORD error;
    } rows[] = {
        {"folder", ".", GENERIC_READ, ERROR_PATH_NOT_FOUND},
        {"folder by its name", "", GENERIC_READ, ERROR_ACCESS_DENIED},
        {"FIFO, for reading", "fifo", GENERIC_READ, ERROR_ACCESS_DENIED},
        {"FIFO, for writing", "fifo", GENERIC_WRITE, ERROR_ACCESS_DENIED},
        {"FIFO, for both", "fifo", kReadWrite, ERROR_ACCESS_DENIED},
        {"socket", "socket", GENERIC_READ, ERROR_ACCESS_DENIED},
        {"link to nothing", "dangling", GENERIC_READ, ERROR_FILE_NOT_FOUND},
        {"missing folder", "no/file", GENERIC_READ, ERROR_PATH_NOT_FOUND},
        {"file in a file", "file/x", GENERIC_READ, ERROR_PATH_NOT_FOUND},
        {"closing separator", "file/", GENERIC_READ, ERROR_PATH_NOT_FOUND},
        {"name too long", longName, GENERIC_READ, ERROR_FILENAME_EXCED_RANGE},
        {"no access asked for", "file", 0, ERROR_INVALID_PARAMETER},
    };
    for (const auto& row : rows) {
        std::string path = folder.HostPath(row.name);
        if (row.name.empty())
            path.pop_back();
        EXPECT_EQ(ErrorOfOpening(xel_text::FromUtf8(path), OPEN_EXISTING, row.access), row.error)
            << row.rule;
    }
    EXPECT_EQ(ErrorOfOpening(L"/dev/null", OPEN_EXISTING), ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOfOpening(L"", CREATE_ALWAYS), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(ErrorOfOpening(folder.Path("file"), TRUNCATE_EXISTING, GENERIC_READ),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(folder.Read("file"), "x");
    close(listener);
}

// Opening alone makes some devices act; a FIFO stands for them, which everybody may make.
TEST(Files, WhatIsNoFileIsNotEvenOpened)
{
    const TestFolder folder;
    mkfifo(folder.HostPath("Fifo").c_str(), 0600);
    const OpenWatch watch(folder.HostPath("Fifo"));
    if (watch.Count() < 0)
        GTEST_SKIP() << "the host does not tell who opens what";
    for (const char* const name : {"Fifo", "fifo"}) {
        for (const DWORD access : {GENERIC_READ, GENERIC_WRITE})
            EXPECT_EQ(ErrorOfOpening(folder.Path(name), OPEN_EXISTING, access),
                      ERROR_ACCESS_DENIED);
        EXPECT_EQ(ErrorOfOpening(folder.Path(name), CREATE_ALWAYS), ERROR_ACCESS_DENIED);
        EXPECT_FALSE(CopyFileW(folder.Path(name), folder.Path("copy"), FALSE));
        EXPECT_TRUE(SetFileAttributesW(folder.Path(name), FILE_ATTRIBUTE_READONLY));
        EXPECT_TRUE(SetFileAttributesW(folder.Path(name), FILE_ATTRIBUTE_NORMAL));
    }
    EXPECT_EQ(watch.Count(), 0);
}

TEST(Files, CaseCountsOnlyBetweenExistingNames)
{
    const TestFolder folder;
    for (const char* const name : {"Data", "DATA", "dAta"})
        std::filesystem::create_directory(folder.HostPath(name));
    const auto found = [&folder](const char* name) {
        const HANDLE file = Open(folder.Path(name), OPEN_EXISTING);
        if (file == INVALID_HANDLE_VALUE)
            return std::string("missing");
        DWORD written;
        EXPECT_TRUE(WriteFile(file, "+", 1, &written, nullptr));
        CloseHandle(file);
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(folder.HostPath("."))) {
            const std::string path = entry.path().lexically_relative(folder.HostPath(".")).string();
            if (entry.is_regular_file() && folder.Read(path) == "+") {
                folder.Write(path, "");
                return path;
            }
        }
        return std::string("nothing written");
    };
    EXPECT_EQ(found("data/a.ini"), "missing");
    folder.Write("dAta/A.ini", "");
    EXPECT_EQ(found("DATA/a.INI"), "dAta/A.ini") << "goes back from folders without the file";
    folder.Write("Data/a.ini", "");
    EXPECT_EQ(found("data/a.INI"), "Data/a.ini") << "the folder that sorts first";
    EXPECT_EQ(found("dAta/a.INI"), "dAta/A.ini") << "the folder as written";
    folder.Write("Data/A.INI", "");
    EXPECT_EQ(found("data/A.ini"), "Data/A.INI") << "the file that sorts first";
    EXPECT_EQ(found("Data/a.ini"), "Data/a.ini") << "the file as written";
    folder.Write("Gr\xC3\x96\xC3\x9F"
                 "e",
                 "");
    EXPECT_EQ(found("gR\xC3\xB6\xC3\x9F"
                    "E"),
              "Gr\xC3\x96\xC3\x9F"
              "e")
        << "letters outside ASCII";

    EXPECT_EQ(ErrorOfOpening(folder.Path("data/New.ini"), CREATE_NEW), 0u);
    EXPECT_TRUE(std::filesystem::exists(folder.HostPath("DATA/New.ini")));
}

TEST(Files, AnyHostNameOpensByItsDevicePath)
{
    const TestFolder folder;
    for (const char* const name : {"back\\slash", "\xFF\xFE.ini", "\xEF\x81\x9C", " a:*?\"<>|. "}) {
        folder.Write(name, "there");
        const std::vector<wchar_t> path = DevicePathFromHost(folder.HostPath(name));
        EXPECT_EQ(ErrorOfOpening(path.data(), TRUNCATE_EXISTING), 0u) << name;
        EXPECT_EQ(folder.Read(name), "") << name;
    }
}

TEST(Files, WriterShutsOutWritersBeforeItsFileIsTruncated)
{
    const TestFolder folder;
    const auto path = folder.Write("a", "precious");
    const HANDLE writer = Open(path, OPEN_EXISTING);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    EXPECT_EQ(ErrorOfOpening(path, CREATE_ALWAYS), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(folder.Read("a"), "precious");
    EXPECT_EQ(ErrorOfOpening(path, OPEN_EXISTING, GENERIC_READ), 0u);
    EXPECT_TRUE(CloseHandle(writer));
    EXPECT_EQ(ErrorOfOpening(path, CREATE_ALWAYS), 0u);
}

TEST(Files, WritesSizesAndHandles)
{
    const TestFolder folder;
    const auto path = folder.Path("a");
    const HANDLE file = Open(path, CREATE_ALWAYS);
    DWORD written = 9;
    EXPECT_TRUE(WriteFile(file, "abc", 3, &written, nullptr));
    EXPECT_EQ(written, 3u);
    EXPECT_TRUE(WriteFile(file, "", 0, &written, nullptr));
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(GetLastError(), 0u);
    ASSERT_EQ(truncate(folder.HostPath("a").c_str(), 0x123456789), 0);
    DWORD high = 0;
    EXPECT_EQ(GetFileSize(file, &high), 0x23456789u);
    EXPECT_EQ(high, 1u);

    const HANDLE reader = Open(path, OPEN_EXISTING, GENERIC_READ);
    EXPECT_FALSE(WriteFile(reader, "x", 1, &written, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(CloseHandle(reader));
    EXPECT_TRUE(CloseHandle(file));
    for (const HANDLE closed : {file, INVALID_HANDLE_VALUE, HANDLE{}}) {
        EXPECT_FALSE(CloseHandle(closed));
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
        EXPECT_EQ(GetFileSize(closed, nullptr), INVALID_FILE_SIZE);
        EXPECT_FALSE(WriteFile(closed, "x", 1, &written, nullptr));
    }
}

TEST(Files, WriteThatDoesNotFitFails)
{
    const TestFolder folder;
    const HANDLE file = Open(folder.Path("a"), CREATE_ALWAYS);
    const FileSizeLimit limit(1000);
    const std::string block(600, 'x');
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, block.data(), 600, &written, nullptr));
    EXPECT_FALSE(WriteFile(file, block.data(), 600, &written, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_DISK_FULL);
    EXPECT_EQ(written, 400u);
    CloseHandle(file);
}

TEST(Files, DescriptorsAreClosedOnExecAndClearOfStandardStreams)
{
    // A child that began anew would leave a folder of its own behind.
    GTEST_FLAG_SET(death_test_style, "fast");
    const TestFolder folder;
    const auto check = [&folder] {
        const auto opensAsNextFree = [&folder](const char* name) {
            const int nextFree = fcntl(STDERR_FILENO, F_DUPFD, STDERR_FILENO + 1);
            close(nextFree);
            return Open(folder.Path(name), CREATE_ALWAYS) != INVALID_HANDLE_VALUE &&
                   fcntl(nextFree, F_GETFD) == FD_CLOEXEC;
        };
        const bool plain = opensAsNextFree("a");
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        std::exit(plain && opensAsNextFree("b") && fcntl(STDIN_FILENO, F_GETFD) == -1 ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
}

TEST(LastError, IsPerThread)
{
    SetLastError(5);
    std::thread([] {
        EXPECT_EQ(GetLastError(), 0u);
        SetLastError(6);
    }).join();
    EXPECT_EQ(GetLastError(), 5u);
}

TEST(FrameworkFile, GathersAndStaysFailed)
{
    const TestFolder folder;
    const std::string piece = "0123456789";
    std::string expected;
    {
        CFile file;
        ASSERT_TRUE(file.Open(folder.Path("a"), CFile::modeCreate | CFile::modeReadWrite));
        file.GatherWrites();
        // More than one block, in pieces that do not divide it, and one larger than a block.
        for (int i = 0; i < 10000; ++i) {
            file.Write(piece.data(), 10);
            expected += piece;
        }
        const std::string large(200000, 'y');
        file.Write(large.data(), 200000);
        file.Write("end", 3);
        expected += large + "end";
        EXPECT_LT(folder.Read("a").size(), expected.size());
        file.Flush();
        EXPECT_EQ(folder.Read("a"), expected);
        file.Write("!", 1);
    }
    EXPECT_EQ(folder.Read("a"), expected + "!");

    CFile file;
    ASSERT_TRUE(file.Open(folder.Path("b"), CFile::modeCreate | CFile::modeReadWrite));
    file.GatherWrites();
    {
        const FileSizeLimit limit(5);
        file.Write(piece.data(), 10);
        EXPECT_THROW(file.Flush(), CFileException);
    }
    try {
        file.Write("x", 1);
        ADD_FAILURE() << "a write after a failed one went through";
    } catch (const CFileException& failure) {
        EXPECT_EQ(failure.m_lOsError, ERROR_DISK_FULL);
    }
    EXPECT_THROW(file.Flush(), CFileException);
    file.Close();
    EXPECT_EQ(folder.Read("b"), "01234");
    EXPECT_FALSE(file.Open(folder.Path("no/b"), CFile::modeCreate | CFile::modeReadWrite));
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
}
