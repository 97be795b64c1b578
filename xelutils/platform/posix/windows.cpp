#include "xelutils/platform/coredll.h"
#include "xelutils/platform/host_window.h"
#include "xelutils/platform/posix/errors.h"

namespace {

// The window itself stands in for its device context.
const HostWindow* WindowOf(HDC context)
{
    return reinterpret_cast<const HostWindow*>(context);
}

} // namespace

BOOL GetClientRect(HWND window, RECT* rect)
{
    if (window == nullptr)
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    *rect = {0, 0, window->ClientWidth(), 0};
    return TRUE;
}

HDC GetWindowDC(HWND window)
{
    if (window == nullptr)
        Fail(ERROR_INVALID_WINDOW_HANDLE);
    return reinterpret_cast<HDC>(window);
}

int ReleaseDC(HWND window, HDC context)
{
    if (window == nullptr || WindowOf(context) != window)
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    return 1;
}

BOOL GetTextExtentExPointW(HDC context, const wchar_t* text, int length, int maxExtent, int* fit,
                           int* extents, SIZE* size)
{
    if (context == nullptr)
        return Fail(ERROR_INVALID_WINDOW_HANDLE);
    if (length < 0 || maxExtent != 0 || fit != nullptr || extents != nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    *size = {WindowOf(context)->TextWidth(text, length), 0};
    return TRUE;
}
