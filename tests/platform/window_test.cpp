#include <gtest/gtest.h>

#include "support/test_folder.h"
#include "xelutils/platform/fixed_cell_window.h"
#include "xelutils/platform/framework.h"

TEST(FixedCellWindow, CellsOfCharacters)
{
    const struct {
        const char* rule;
        const wchar_t* text;
        int cells;
    } rows[] = {
        {"nothing", L"", 0},
        {"letters", L"a\xE9\x416\x3A9", 4},
        {"soft hyphen", L"a\xADz", 3},
        {"letter and what combines with it", L"e\x301", 1},
        {"enclosing mark", L"1\x20E3", 1},
        {"joiners, and the mark of a direction", L"a\x200D\x200Bz\xFEFF\x200E", 2},
        {"sign that is seen though a format", L"\x600", 1},
        {"ideographs", L"\x4E2D\x6587", 4},
        {"first and last of the first extension", L"\x3400\x4DBF", 4},
        {"hexagrams are narrow", L"\x4DC0", 1},
        {"kana, and their half-wide forms", L"\x30AB\xFF76", 3},
        {"full-wide letter", L"\xFF21", 2},
        {"syllable of Hangul", L"\xAC00", 2},
        {"the same put together", L"\x1100\x1161\x11A8", 2},
        {"box and arrow", L"\x2500\x2192", 2},
        {"emoji in two units", L"\xD83D\xDE00", 2},
        {"its tone combines", L"\xD83D\xDC4D\xFE0F", 2},
        {"letter in two units", L"\xD801\xDC00", 1},
        {"ideograph in two units", L"\xD840\xDC00", 2},
        {"mark in two units", L"a\xD834\xDD65", 2},
        {"selector in two units", L"\x8FBB\xDB40\xDD00", 2},
        {"surrogates alone", L"\xD83Dz\xDE00", 3},
    };
    for (const auto& row : rows) {
        const xel_text::CXelStringT<wchar_t> text = row.text;
        EXPECT_EQ(CellsOfText(text, text.GetLength()), row.cells) << row.rule;
    }
    EXPECT_EQ(CellsOfText(L"\xD83D\xDE00", 1), 1) << "half a character";
    EXPECT_EQ(CellsOfText(L"a\0\x4E2D", 3), 4) << "a zero is a character";
    EXPECT_EQ(CellsOfText(L"a", -1), 0);
    EXPECT_EQ(CellsOfText(nullptr, 0), 0);
}

TEST(Window, AnswersThroughTheCalls)
{
    const FixedCellWindow window(40);
    RECT client = {1, 2, 3, 4};
    EXPECT_TRUE(GetClientRect(&window, &client));
    EXPECT_EQ(client.left, 0);
    EXPECT_EQ(client.top, 0);
    EXPECT_EQ(client.right, 40);
    EXPECT_EQ(client.bottom, 0);

    const CWindowDC context(&window);
    ASSERT_NE(context.GetSafeHdc(), nullptr);
    SIZE size = {-1, -1};
    EXPECT_TRUE(
        GetTextExtentExPointW(context.GetSafeHdc(), L"a\x4E2D!", 2, 0, nullptr, nullptr, &size));
    EXPECT_EQ(size.cx, 3);
    EXPECT_EQ(size.cy, 0);
}

TEST(Window, RefusesWhatIsNone)
{
    const FixedCellWindow window(40);
    const FixedCellWindow other(40);
    const HDC context = GetWindowDC(&window);
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
    expect(CWindowDC(nullptr).GetSafeHdc() != nullptr, ERROR_INVALID_WINDOW_HANDLE);
    expect(ReleaseDC(&other, context) != 0, ERROR_INVALID_WINDOW_HANDLE);
    expect(GetTextExtentExPointW(nullptr, L"a", 1, 0, nullptr, nullptr, &size),
           ERROR_INVALID_WINDOW_HANDLE);
    expect(GetTextExtentExPointW(context, L"a", -1, 0, nullptr, nullptr, &size),
           ERROR_INVALID_PARAMETER);
    expect(GetTextExtentExPointW(context, L"a", 1, 9, &fit, nullptr, &size),
           ERROR_INVALID_PARAMETER);
    EXPECT_EQ(ReleaseDC(&window, context), 1);
}
