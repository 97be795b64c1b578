// In a real window, whose font has letters of many widths.
#include <gtest/gtest.h>

#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/platform/framework.h"

using namespace FileFuncsEx;

namespace {

using String = CXelStringT<wchar_t>;

class HiddenWindow {
public:
    HiddenWindow()
        : m_window(CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 10, 10, HWND_MESSAGE, nullptr,
                                   nullptr, nullptr))
    {
    }
    ~HiddenWindow() { DestroyWindow(m_window); }
    HiddenWindow(const HiddenWindow&) = delete;
    HiddenWindow& operator=(const HiddenWindow&) = delete;

    int WidthOf(const String& text) const
    {
        const CWindowDC context(m_window);
        SIZE size = {};
        GetTextExtentExPointW(context.GetSafeHdc(), text, text.GetLength(), 0, nullptr, nullptr,
                              &size);
        return static_cast<int>(size.cx);
    }
    String Compact(const wchar_t* path, int available) const
    {
        // A tenth of the width stays free, cut to whole units.
        int width = available;
        while (width - static_cast<int>(width * 0.1) < available)
            ++width;
        MoveWindow(m_window, 0, 0, width, 10, FALSE);
        return CompactPath(m_window, path, L'\\');
    }

private:
    const HWND m_window;
};

} // namespace

TEST(CompactPathInWindow, EachFormFitsExactlyIntoItsOwnWidth)
{
    const HiddenWindow window;
    const String forms[] = {L"\\Storage Card\\Jobs\\2024\\file.txt", L"\\...\\Jobs\\2024\\file.txt",
                            L"\\...\\2024\\file.txt", L"\\...\\file.txt"};
    ASSERT_GT(window.WidthOf(forms[3]), 0);
    EXPECT_NE(window.WidthOf(L"iiii"), window.WidthOf(L"WWWW"));
    for (int i = 0; i < 4; ++i) {
        const int width = window.WidthOf(forms[i]);
        EXPECT_EQ(window.Compact(forms[0], width), forms[i]);
        EXPECT_EQ(window.Compact(forms[0], width - 1), forms[i < 3 ? i + 1 : 3]);
    }
}
