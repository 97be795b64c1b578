#include <gtest/gtest.h>

#include "xelutils/files/file_funcs.h"

using namespace FileFuncs;

namespace {

using String = CXelStringT<wchar_t>;

struct Pieces {
    String nameWithExt = L"?";
    String nameWithoutExt = L"?";
    String ext = L"?";
    String parentDirName = L"?";
    String parentDirPath = L"?";
    bool hasExt = false;

    explicit Pieces(const String& path)
    {
        hasExt = ExtractFileNameAndExtAndParentDirFromPathName(path, nameWithExt, nameWithoutExt,
                                                               ext, parentDirName, parentDirPath);
    }
};

} // namespace

TEST(PathNames, WhereNameAndExtensionBegin)
{
    const struct {
        String path;
        int nameStart;
        int extStart;
    } rows[] = {
        {L"", 0, 0},
        {L"name", 0, 4},
        {L"a/b\\c", 4, 5},
        {L"a\\b/c", 4, 5},
        {L"\\", 1, 1},
        {L"/", 1, 1},
        {L"\\dir\\", 5, 5},
        {L"\\dir\\file", 5, 9},
        {L"\\dir.d\\file", 7, 4},
        {L"\\a\\b.tar.gz", 3, 8},
        {L".", 0, 0},
        {L"\\a.", 1, 2},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(GetFileNameStart(row.path), row.nameStart) << testing::PrintToString(row.path);
        EXPECT_EQ(GetFileExtStart(row.path), row.extStart) << testing::PrintToString(row.path);
    }
}

TEST(PathNames, Pieces)
{
    const struct {
        String path;
        String nameWithExt;
        String nameWithoutExt;
        String ext;
        String pathWithoutExt;
        String dir;
    } rows[] = {
        {L"", L"", L"", L"", L"", L""},
        {L"\\a\\b.txt", L"b.txt", L"b", L"txt", L"\\a\\b", L"\\a"},
        {L"file.txt", L"file.txt", L"file", L"txt", L"file", L""},
        {L"\\file.txt", L"file.txt", L"file", L"txt", L"\\file", L""},
        {L"\\a\\b.tar.gz", L"b.tar.gz", L"b.tar", L"gz", L"\\a\\b.tar", L"\\a"},
        {L"\\a\\b.", L"b.", L"b", L"", L"\\a\\b", L"\\a"},
        {L"\\a\\b", L"b", L"b", L"", L"\\a\\b", L"\\a"},
        {L"\\a\\.b", L".b", L"", L"b", L"\\a\\", L"\\a"},
        {L"\\a/b.c", L"b.c", L"b", L"c", L"\\a/b", L"\\a"},
        {L"\\a\\b\\", L"", L"", L"", L"\\a\\b\\", L"\\a\\b"},
        {L"\\", L"", L"", L"", L"\\", L""},
        {L"\\a\\\\b", L"b", L"b", L"", L"\\a\\\\b", L"\\a\\"},
        // The folder's dot counts when the file has none.
        {L"\\dir.d\\file", L"file", L"", L"d\\file", L"\\dir", L"\\dir.d"},
        {L"\\dir.\\file", L"file", L"", L"\\file", L"\\dir", L"\\dir."},
    };
    for (const auto& row : rows) {
        const String path = row.path;
        EXPECT_EQ(ExtractFileNameWithExtFromPathName(path), row.nameWithExt);
        EXPECT_EQ(ExtractFileNameWithoutExtFromPathName(path), row.nameWithoutExt);
        EXPECT_EQ(ExtractFileNameExtFromPathName(path), row.ext);
        EXPECT_EQ(ExtractPathNameWithoutExtFromPathName(path), row.pathWithoutExt);
        EXPECT_EQ(ExtractDirNameWithoutSlashFromPathName(path), row.dir);
        if (HasFailure())
            FAIL() << testing::PrintToString(path);
    }
}

TEST(PathNames, SearchStopsAtAZeroButPiecesReachToTheEnd)
{
    const String path(L"\\a.b\0\\c.d", 9);
    EXPECT_EQ(GetFileNameStart(path), 1);
    EXPECT_EQ(GetFileExtStart(path), 2);
    EXPECT_EQ(ExtractFileNameWithExtFromPathName(path).GetLength(), 8);
    EXPECT_EQ(ExtractFileNameExtFromPathName(path).GetLength(), 6);
    EXPECT_EQ(GetFileExtStart(String(L"a\0.b", 4)), 4);
}

TEST(PathNames, ParentFolderIsNamedAndItsOwnPlaceGiven)
{
    const struct {
        String path;
        String nameWithExt;
        String nameWithoutExt;
        String ext;
        String parentDirName;
        String parentDirPath;
        bool hasExt;
    } rows[] = {
        {L"\\Storage\\Jobs\\a.txt", L"a.txt", L"a", L"txt", L"Jobs", L"\\Storage", true},
        {L"\\Jobs\\a", L"a", L"a", L"", L"Jobs", L"", false},
        {L"\\Jobs\\a.", L"a.", L"a", L"", L"Jobs", L"", false},
        {L"a.txt", L"a.txt", L"a", L"txt", L"", L"", true},
        {L"\\A/B\\c.d", L"c.d", L"c", L"d", L"B", L"\\A", true},
        {L"\\A\\B\\", L"", L"", L"", L"B", L"\\A", false},
        {L"", L"", L"", L"", L"", L"", false},
    };
    for (const auto& row : rows) {
        const Pieces pieces{String(row.path)};
        EXPECT_EQ(pieces.nameWithExt, row.nameWithExt);
        EXPECT_EQ(pieces.nameWithoutExt, row.nameWithoutExt);
        EXPECT_EQ(pieces.ext, row.ext);
        EXPECT_EQ(pieces.parentDirName, row.parentDirName);
        EXPECT_EQ(pieces.parentDirPath, row.parentDirPath);
        EXPECT_EQ(pieces.hasExt, row.hasExt);
        if (HasFailure())
            FAIL() << testing::PrintToString(row.path);
    }
}

TEST(PathNames, ThePathMayBeAnOutput)
{
    String path = L"\\Storage\\Jobs\\a.txt";
    Pieces pieces{String()};
    EXPECT_TRUE(ExtractFileNameAndExtAndParentDirFromPathName(
        path, path, pieces.nameWithoutExt, pieces.ext, pieces.parentDirName, pieces.parentDirPath));
    EXPECT_EQ(path, String(L"a.txt"));
    EXPECT_EQ(pieces.parentDirName, String(L"Jobs"));
    EXPECT_EQ(pieces.parentDirPath, String(L"\\Storage"));
}
