#include <gtest/gtest.h>

#include "support/target.h"
#include "support/test_window.h"
#include "xelutils/platform/fixed_cell_window.h"

// Marks and selectors take no cell, ideographs and full-wide forms two, hexagrams and surrogates
// without partner one.
TEST(FixedCellWindow, CellsOfCharacters)
{
    const struct {
        const wchar_t* text;
        int cells;
    } rows[] = {
        {L"a\x200D\x200Bz", 2},     {L"\x3400\x4DBF", 4},  {L"a\xADz", 3},       {L"", 0},
        {L"a\xE9\x416\x3A9", 4},    {L"\x30AB\xFF76", 3},  {L"e\x301", 1},       {L"\x600", 1},
        {L"\x1100\x1161\x11A8", 2}, {L"\xD83D\xDE00", 2},  {L"1\x20E3", 1},      {L"\xFF21", 2},
        {L"\xD83D\xDC4D\xFE0F", 2}, {L"a\xD834\xDD65", 2}, {L"\xD801\xDC00", 1}, {L"\x4DC0", 1},
        {L"\x8FBB\xDB40\xDD00", 2}, {L"\xD83Dz\xDE00", 3}, {L"\xD840\xDC00", 2}, {L"\xAC00", 2},
    };
    for (const auto& row : rows) {
        const xel_text::CXelStringT<wchar_t> text = row.text;
        EXPECT_EQ(CellsOfText(text, text.GetLength()), row.cells) << &row - rows;
    }
    EXPECT_EQ(CellsOfText(L"\xD83D\xDE00", 1), 1) << "half a character";
    EXPECT_EQ(CellsOfText(L"a\0\x4E2D", 3), 4) << "a zero is a character";
    EXPECT_EQ(CellsOfText(L"a", -1), 0);
    EXPECT_EQ(CellsOfText(nullptr, 0), 0);
}

TEST(Window, AnswersThroughTheCalls)
{
    const TestWindow window(40);
    RECT client = {1, 2, 3, 4};
    EXPECT_TRUE(GetClientRect(window.Handle(), &client));
    EXPECT_TRUE(client.left == 0 && client.top == 0);
    EXPECT_EQ(client.right, 40);

    const CWindowDC context(window.Handle());
    ASSERT_NE(context.GetSafeHdc(), nullptr);
    SIZE size = {-1, -1};
    EXPECT_TRUE(
        GetTextExtentExPointW(context.GetSafeHdc(), L"a\x4E2D!", 2, 0, nullptr, nullptr, &size));
    EXPECT_EQ(size.cx, WidthOf(L"a\x4E2D"));
    EXPECT_EQ(size.cy == 0, !kOnWindows) << "only a font has a height";
}

TEST(Window, RefusesWhatIsNone)
{
    const TestWindow window(40), other(40);
    const HDC context = GetWindowDC(window.Handle());
    RECT client = {};
    SIZE size = {};
    int fit = 0;
    const auto expect = [](bool done, DWORD error) {
        EXPECT_FALSE(done);
        EXPECT_EQ(GetLastError(), error);
        SetLastError(ERROR_SUCCESS);
    };
    expect(GetClientRect(nullptr, &client), ERROR_INVALID_WINDOW_HANDLE);
    expect(GetWindowDC(nullptr) != nullptr, ERROR_INVALID_WINDOW_HANDLE);
    expect(ReleaseDC(other.Handle(), context) != 0, ERROR_INVALID_WINDOW_HANDLE);
    expect(GetTextExtentExPointW(nullptr, L"a", 1, 0, nullptr, nullptr, &size),
           ERROR_INVALID_WINDOW_HANDLE);
    expect(GetTextExtentExPointW(context, L"a", -1, 0, nullptr, nullptr, &size),
           ERROR_INVALID_PARAMETER);
    expect(GetTextExtentExPointW(context, L"a", 1, 9, &fit, nullptr, &size),
           ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ReleaseDC(window.Handle(), context), 1);
}
