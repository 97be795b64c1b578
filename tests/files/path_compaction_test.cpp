#include <gtest/gtest.h>

#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/platform/fixed_cell_window.h"

using namespace FileFuncsEx;

namespace {

using String = CXelStringT<wchar_t>;

String Compact(const wchar_t* path, int columns, wchar_t separator = '\\')
{
    const FixedCellWindow window(columns);
    return CompactPath(&window, path, separator);
}

constexpr const wchar_t* kJob = L"\\Storage Card\\Jobs\\2024\\file.txt";

} // namespace

TEST(CompactPath, TakesOnePieceAfterTheOther)
{
    const struct {
        int columns;
        String compact;
    } rows[] = {
        // 32 cells are available: a tenth of 35 is 3.
        {35, kJob},
        {34, L"\\...\\Jobs\\2024\\file.txt"},
        {25, L"\\...\\Jobs\\2024\\file.txt"},
        {24, L"\\...\\2024\\file.txt"},
        {20, L"\\...\\2024\\file.txt"},
        {19, L"\\...\\2024\\file.txt"},
        {18, L"\\...\\file.txt"},
        // The file's name stays, whether it fits or not.
        {14, L"\\...\\file.txt"},
        {1, L"\\...\\file.txt"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Compact(kJob, row.columns), row.compact) << row.columns;
}

TEST(CompactPath, ATenthOfTheWidthIsCutToWholeUnits)
{
    const struct {
        int columns;
        bool nineFit;
        bool tenFit;
    } rows[] = {{8, false, false}, {9, true, false}, {10, true, false}, {11, true, true}};
    for (const auto& row : rows) {
        EXPECT_EQ(Compact(L"\\abcd\\efg", row.columns) == L"\\abcd\\efg", row.nineFit);
        EXPECT_EQ(Compact(L"\\abcd\\efgh", row.columns) == L"\\abcd\\efgh", row.tenFit);
    }
}

TEST(CompactPath, WhichComponentsGo)
{
    const struct {
        const char* rule;
        String path;
        int columns;
        String compact;
    } rows[] = {
        {"what has no separator in front stays", L"Storage\\Jobs\\2024\\x", 19,
         L"Storage\\...\\2024\\x"},
        {"and is no end", L"Storage\\Jobs\\2024\\x", 1, L"Storage\\...\\x"},
        {"short folders in front stay", L"\\a\\bb\\Jobs\\x\\file", 17, L"\\a\\bb\\...\\x\\file"},
        {"those behind the ellipsis go", L"\\a\\bb\\Jobs\\x\\file", 16, L"\\a\\bb\\...\\file"},
        {"short folders alone", L"\\a\\bb\\file", 1, L"\\a\\bb\\file"},
        {"three characters are enough", L"\\abc\\Jobs\\file", 10, L"\\...\\file"},
        {"a file alone", L"\\file name.txt", 1, L"\\file name.txt"},
        {"no separator", L"file name.txt", 1, L"file name.txt"},
        {"other separators are none", L"\\abcd/efgh/file", 1, L"\\abcd/efgh/file"},
        {"an empty component ends it", L"\\\\server\\Jobs\\file", 1, L"\\\\server\\Jobs\\file"},
        {"also behind a short one", L"\\a\\\\Jobs\\file", 1, L"\\a\\\\Jobs\\file"},
        {"but goes behind the ellipsis", L"\\Jobs\\\\x\\file", 12, L"\\...\\x\\file"},
        {"the only folder", L"\\abcd\\file", 9, L"\\...\\file"},
        {"wide characters take two cells", L"\\\x65E5\x672C\x8A9E\\file", 12, L"\\...\\file"},
        {"and fit in two", L"\\\x65E5\x672C\x8A9E\\file", 13, L"\\\x65E5\x672C\x8A9E\\file"},
        {"a pair counts as two", L"\\\xD83D\xDE00\\file", 1, L"\\\xD83D\xDE00\\file"},
        {"a pair goes whole", L"\\a\xD83D\xDE00\\file", 1, L"\\...\\file"},
        {"a pair goes whole", L"\\ab\xD83D\xDE00z\\file", 1, L"\\...\\file"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Compact(row.path, row.columns), row.compact) << row.rule;
}

TEST(CompactPath, SeparatorIsTheCallers)
{
    EXPECT_EQ(Compact(L"/media/card\\1/jobs/file", 15, '/'), String(L"/.../jobs/file"));
    EXPECT_EQ(Compact(L"/media/card/jobs/", 15, '/'), String(L"/.../card/jobs/"));
    // A dot between the dots of the ellipsis.
    EXPECT_EQ(Compact(L".abcde.fgh.ij", 1, '.'), String(L".....ij"));
    // The terminator is never taken for one.
    EXPECT_EQ(Compact(kJob, 1, '\0'), kJob);
}

TEST(CompactPath, ClosingSeparator)
{
    const struct {
        const char* rule;
        String path;
        int columns;
        String compact;
    } rows[] = {
        {"is not measured", L"\\Jobs\\file\\", 11, L"\\Jobs\\file\\"},
        {"comes back to a shorter path", L"\\Jobs\\2024\\file\\", 10, L"\\...\\file\\"},
        {"only one of two", L"\\Jobs\\\\", 1, L"\\...\\\\"},
        {"does not come back without width", L"\\Jobs\\", 0, L"\\Jobs"},
        {"nor with a negative one", L"\\Jobs\\", -5, L"\\Jobs"},
        {"stays on three characters", L"\\a\\", 0, L"\\a\\"},
        {"stays on three characters", L"\\a\\", 1, L"\\a\\"},
        {"goes from four", L"\\ab\\", 0, L"\\ab"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Compact(row.path, row.columns), row.compact) << row.rule;
}

TEST(CompactPath, WithoutWindowOrPath)
{
    EXPECT_EQ(CompactPath(nullptr, L"\\a\\b\\", '\\'), String(L"\\a\\b"));
    EXPECT_EQ(CompactPath(nullptr, L"\\a\\", '\\'), String(L"\\a\\"));
    EXPECT_EQ(CompactPath(nullptr, kJob, '\\'), kJob);
    EXPECT_TRUE(CompactPath(nullptr, nullptr, '\\').IsEmpty());
    EXPECT_EQ(Compact(nullptr, 40), String(L""));
    EXPECT_EQ(Compact(L"", 40), String(L""));
}
