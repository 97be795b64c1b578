#include <gtest/gtest.h>

#include "support/test_window.h"
#include "xelutils/files/file_funcs_ex.h"

using namespace FileFuncsEx;

namespace {

using String = CXelStringT<wchar_t>;

// In a window that has exactly so much available: a tenth of its width stays free, cut to whole
// units.
String CompactInto(int available, const wchar_t* path, wchar_t separator = '\\')
{
    const TestWindow window(available > 0 ? available + (available - 1) / 9 : available);
    return CompactPath(window.Handle(), path, separator);
}

// Where nothing fits.
String Compact(const wchar_t* path, wchar_t separator = '\\')
{
    return CompactInto(1, path, separator);
}

constexpr const wchar_t* kJob = L"\\Storage Card\\Jobs\\2024\\file.txt";

} // namespace

// Each form fits into its own width, and not into one unit less; the file's name stays, whether it
// fits or not.
TEST(CompactPath, TakesOnePieceAfterTheOther)
{
    const String forms[] = {kJob, L"\\...\\Jobs\\2024\\file.txt", L"\\...\\2024\\file.txt",
                            L"\\...\\file.txt"};
    for (int i = 0; i < 4; ++i) {
        const int width = WidthOf(forms[i]);
        ASSERT_GT(width, 0);
        EXPECT_EQ(CompactInto(width, kJob), forms[i]);
        EXPECT_EQ(CompactInto(width - 1, kJob), forms[i < 3 ? i + 1 : 3]);
    }
    EXPECT_EQ(Compact(kJob), forms[3]);
}

TEST(CompactPath, ATenthOfTheWidthIsCutToWholeUnits)
{
    const auto fits = [](int width, const String& path) {
        const TestWindow window(width);
        return CompactPath(window.Handle(), path, L'\\') == path;
    };
    String path = L"\\abcd\\efg";
    for (int i = 0; i < 10; ++i, path += L"i") {
        const int width = WidthOf(path), smallest = width + (width - 1) / 9;
        EXPECT_TRUE(fits(smallest, path)) << smallest;
        EXPECT_FALSE(fits(smallest - 1, path)) << smallest;
    }
}

TEST(CompactPath, WhichComponentsGo)
{
    const struct {
        const char* rule;
        String path;
        // Just fits, or the window takes nothing.
        bool fits;
        String compact;
    } rows[] = {
        {"what has no separator in front stays", L"Storage\\Jobs\\2024\\x", true,
         L"Storage\\...\\2024\\x"},
        {"and is no end", L"Storage\\Jobs\\2024\\x", false, L"Storage\\...\\x"},
        {"short folders in front stay", L"\\a\\bb\\Jobs\\x\\file", true, L"\\a\\bb\\...\\x\\file"},
        {"those behind the ellipsis go", L"\\a\\bb\\Jobs\\x\\file", true, L"\\a\\bb\\...\\file"},
        {"short folders alone", L"\\a\\bb\\file", false, L"\\a\\bb\\file"},
        {"three characters are enough", L"\\abc\\Jobs\\file", true, L"\\...\\file"},
        {"a file alone", L"\\file name.txt", false, L"\\file name.txt"},
        {"no separator", L"file name.txt", false, L"file name.txt"},
        {"other separators are none", L"\\abcd/efgh/file", false, L"\\abcd/efgh/file"},
        {"an empty component ends it", L"\\\\server\\Jobs\\file", false, L"\\\\server\\Jobs\\file"},
        {"also behind a short one", L"\\a\\\\Jobs\\file", false, L"\\a\\\\Jobs\\file"},
        {"but goes behind the ellipsis", L"\\Jobs\\\\x\\file", true, L"\\...\\x\\file"},
        {"the only folder", L"\\abcd\\file", true, L"\\...\\file"},
        {"wide characters", L"\\\x65E5\x672C\x8A9E\\file", true, L"\\...\\file"},
        {"which fit", L"\\\x65E5\x672C\x8A9E\\file", true, L"\\\x65E5\x672C\x8A9E\\file"},
        {"a pair counts as two", L"\\\xD83D\xDE00\\file", false, L"\\\xD83D\xDE00\\file"},
        {"a pair goes whole", L"\\a\xD83D\xDE00\\file", false, L"\\...\\file"},
        {"a pair goes whole", L"\\ab\xD83D\xDE00z\\file", false, L"\\...\\file"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(CompactInto(row.fits ? WidthOf(row.compact) : 1, row.path), row.compact)
            << row.rule;
}

TEST(CompactPath, SeparatorIsTheCallers)
{
    const String job = L"/.../jobs/file", card = L"/.../card/jobs";
    EXPECT_EQ(CompactInto(WidthOf(job), L"/media/card\\1/jobs/file", '/'), job);
    EXPECT_EQ(CompactInto(WidthOf(card), L"/media/card/jobs/", '/'), card + L"/");
    // A dot between the dots of the ellipsis.
    EXPECT_EQ(Compact(L".abcde.fgh.ij", '.'), String(L".....ij"));
    // The terminator is never taken for one.
    EXPECT_EQ(Compact(kJob, '\0'), kJob);
}

TEST(CompactPath, ClosingSeparator)
{
    const struct {
        const char* rule;
        String path;
        int available;
        String compact;
    } rows[] = {
        {"is not measured", L"\\Jobs\\file\\", WidthOf(L"\\Jobs\\file"), L"\\Jobs\\file\\"},
        {"comes back to a shorter path", L"\\Jobs\\2024\\file\\", WidthOf(L"\\...\\file"),
         L"\\...\\file\\"},
        {"only one of two", L"\\Jobs\\\\", 1, L"\\...\\\\"},
        {"does not come back without width", L"\\Jobs\\", 0, L"\\Jobs"},
        {"nor with a negative one", L"\\Jobs\\", -5, L"\\Jobs"},
        {"stays on three characters", L"\\a\\", 0, L"\\a\\"},
        {"stays on three characters", L"\\a\\", 1, L"\\a\\"},
        {"goes from four", L"\\ab\\", 0, L"\\ab"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(CompactInto(row.available, row.path), row.compact) << row.rule;
}

TEST(CompactPath, WithoutWindowOrPath)
{
    EXPECT_EQ(CompactPath(nullptr, L"\\a\\b\\", '\\'), String(L"\\a\\b"));
    EXPECT_EQ(CompactPath(nullptr, L"\\a\\", '\\'), String(L"\\a\\"));
    EXPECT_EQ(CompactPath(nullptr, kJob, '\\'), kJob);
    EXPECT_TRUE(CompactPath(nullptr, nullptr, '\\').IsEmpty());
    EXPECT_EQ(CompactInto(40, nullptr), String(L""));
    EXPECT_EQ(CompactInto(40, L""), String(L""));
}
