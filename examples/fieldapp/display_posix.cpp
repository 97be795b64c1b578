#include "examples/fieldapp/display.h"
#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/platform/fixed_cell_window.h"

xel_text::CXelStringT<wchar_t> PathOnDisplay(int columns,
                                             const xel_text::CXelStringT<wchar_t>& path)
{
    FixedCellWindow window(columns);
    return FileFuncsEx::CompactPath(&window, path, L'\\');
}
