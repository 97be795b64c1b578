// A window of a chosen width, in which texts are measured: of cells, or a real one whose font has
// letters of many widths.
#pragma once

#include "xelutils/platform/framework.h"
#include "xelutils/text/xel_string.h"

#if defined(_WIN32)

class TestWindow {
public:
    explicit TestWindow(int width)
        : m_window(CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, width, 10, HWND_MESSAGE,
                                   nullptr, nullptr, nullptr))
    {
    }
    ~TestWindow() { DestroyWindow(m_window); }
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    HWND Handle() const { return m_window; }

private:
    const HWND m_window;
};

#else

#include "xelutils/platform/fixed_cell_window.h"

class TestWindow {
public:
    explicit TestWindow(int width) : m_window(width) {}

    HWND Handle() const { return &m_window; }

private:
    const FixedCellWindow m_window;
};

#endif

inline int WidthOf(const xel_text::CXelStringT<wchar_t>& text)
{
    const TestWindow window(1);
    const CWindowDC context(window.Handle());
    SIZE size = {};
    GetTextExtentExPointW(context.GetSafeHdc(), text, text.GetLength(), 0, nullptr, nullptr, &size);
    return static_cast<int>(size.cx);
}
