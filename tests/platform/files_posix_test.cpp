// Files where they depend on how POSIX plays the device.
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

#include "platform/open_file.h"
#include "support/file_size_limit.h"
#include "support/open_watch.h"
#include "support/test_folder.h"
#include "xelutils/platform/framework.h"
#include "xelutils/platform/posix/device_root.h"

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

TEST(Files, RefusesSocketsAndDevices)
{
    const TestFolder folder;
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, folder.HostPath("socket").c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(ErrorOfOpening(folder.Path("socket"), OPEN_EXISTING, GENERIC_READ),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(ErrorOfOpening(L"/dev/null", OPEN_EXISTING), ERROR_ACCESS_DENIED);
    close(listener);
}

TEST(Files, WhoEmptiesAFileMustWrite)
{
    const TestFolder folder;
    EXPECT_EQ(ErrorOfOpening(folder.Write("file", "x"), TRUNCATE_EXISTING, GENERIC_READ),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(folder.Read("file"), "x");
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

TEST(FrameworkFile, StaysFailed)
{
    const TestFolder folder;
    const std::string piece = "0123456789";
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
}
