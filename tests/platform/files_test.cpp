#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/open_file.h"
#include "support/target.h"
#include "support/test_folder.h"
#include "xelutils/platform/framework.h"

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
        {"always", CREATE_ALWAYS, 0, ERROR_ALREADY_EXISTS, ""},
        {"existing", OPEN_EXISTING, ERROR_FILE_NOT_FOUND, 0, "old"},
        {"open always", OPEN_ALWAYS, 0, ERROR_ALREADY_EXISTS, "old"},
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
        if (!kOnWindows) {
            EXPECT_FALSE(std::filesystem::exists(folder.HostPath("tHERE"))) << row.rule;
        }
    }
}

TEST(Files, RefusesWhatIsNoFile)
{
    const TestFolder folder;
    folder.Write("file", "x");
    MakeFifo(folder.HostPath("fifo"));
    MakeFileLink("nowhere", folder.HostPath("dangling"));

    const std::string longName(300, 'x');
    struct Row {
        const char* rule;
        std::string name;
        DWORD access;
        DWORD error;
    };
    std::vector<Row> rows = {
        {"folder", ".", GENERIC_READ, OnHost(ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED)},
        {"folder by its name", "", GENERIC_READ, ERROR_ACCESS_DENIED},
        {"link to nothing", "dangling", GENERIC_READ, ERROR_FILE_NOT_FOUND},
        {"missing folder", "no/file", GENERIC_READ, ERROR_PATH_NOT_FOUND},
        {"file in a file", "file/x", GENERIC_READ, ERROR_PATH_NOT_FOUND},
        {"closing separator", "file/", GENERIC_READ,
         OnHost(ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME)},
        {"name too long", longName, GENERIC_READ,
         OnHost(ERROR_FILENAME_EXCED_RANGE, ERROR_FILE_NOT_FOUND)},
        // Windows, and the device too, opens it to be asked about alone.
        {"no access asked for", "file", 0, OnHost<DWORD>(ERROR_INVALID_PARAMETER, 0)},
    };
    const Row fifos[] = {
        {"FIFO, for reading", "fifo", GENERIC_READ, ERROR_ACCESS_DENIED},
        {"FIFO, for writing", "fifo", GENERIC_WRITE, ERROR_ACCESS_DENIED},
        {"FIFO, for both", "fifo", kReadWrite, ERROR_ACCESS_DENIED},
    };
    if (!kOnWindows)
        rows.insert(rows.end(), std::begin(fifos), std::end(fifos));
    for (const Row& row : rows) {
        std::string path = folder.HostPath(row.name);
        if (row.name.empty())
            path.pop_back();
        EXPECT_EQ(ErrorOfOpening(xel_text::FromUtf8(path), OPEN_EXISTING, row.access), row.error)
            << row.rule;
    }
    EXPECT_EQ(ErrorOfOpening(L"", CREATE_ALWAYS), ERROR_PATH_NOT_FOUND);
    EXPECT_EQ(folder.Read("file"), "x");
}

TEST(Files, WriterShutsOutWritersBeforeItsFileIsTruncated)
{
    const TestFolder folder;
    const auto path = folder.Write("a", "precious");
    const HANDLE writer = Open(path, OPEN_EXISTING);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    EXPECT_EQ(ErrorOfOpening(path, CREATE_ALWAYS), ERROR_SHARING_VIOLATION);
    EXPECT_EQ(folder.Read("a"), "precious");
    // Readers who let nobody write are refused on Windows.
    EXPECT_EQ(ErrorOfOpening(path, OPEN_EXISTING, GENERIC_READ),
              OnHost<DWORD>(0, ERROR_SHARING_VIOLATION));
    EXPECT_TRUE(CloseHandle(writer));
    EXPECT_EQ(ErrorOfOpening(path, CREATE_ALWAYS), ERROR_ALREADY_EXISTS);
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
    EXPECT_EQ(GetFileSize(file, nullptr), 3u);
    EXPECT_TRUE(CloseHandle(file));

    std::filesystem::resize_file(folder.HostPath("a"), 0x123456789);
    const HANDLE reader = Open(path, OPEN_EXISTING, GENERIC_READ);
    DWORD high = 0;
    EXPECT_EQ(GetFileSize(reader, &high), 0x23456789u);
    EXPECT_EQ(high, 1u);
    EXPECT_FALSE(WriteFile(reader, "x", 1, &written, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(CloseHandle(reader));
    for (const HANDLE closed : {file, INVALID_HANDLE_VALUE, HANDLE{}}) {
        // On Windows that number is the process itself.
        const bool isProcess = kOnWindows && closed == INVALID_HANDLE_VALUE;
        EXPECT_EQ(CloseHandle(closed) != 0, isProcess);
        EXPECT_TRUE(isProcess || GetLastError() == ERROR_INVALID_HANDLE);
        EXPECT_EQ(GetFileSize(closed, nullptr), INVALID_FILE_SIZE);
        EXPECT_FALSE(WriteFile(closed, "x", 1, &written, nullptr));
    }
}

TEST(FrameworkFile, GathersWrites)
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
    EXPECT_FALSE(file.Open(folder.Path("no/b"), CFile::modeCreate | CFile::modeReadWrite));
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
}
