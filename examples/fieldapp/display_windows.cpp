#include "examples/fieldapp/display.h"
#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/platform/coredll.h"

namespace {

// Of the font that a window has until another one is chosen.
int AverageCharacterWidth(HWND window)
{
    TEXTMETRICW metrics = {};
    const HDC context = GetWindowDC(window);
    GetTextMetricsW(context, &metrics);
    ReleaseDC(window, context);
    return static_cast<int>(metrics.tmAveCharWidth);
}

} // namespace

// In a window that nobody sees.
xel_text::CXelStringT<wchar_t> PathOnDisplay(int columns,
                                             const xel_text::CXelStringT<wchar_t>& path)
{
    const HWND window = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 10, 10, HWND_MESSAGE,
                                        nullptr, nullptr, nullptr);
    if (window == nullptr)
        return path;
    MoveWindow(window, 0, 0, columns * AverageCharacterWidth(window), 10, FALSE);
    const xel_text::CXelStringT<wchar_t> shown = FileFuncsEx::CompactPath(window, path, L'\\');
    DestroyWindow(window);
    return shown;
}
