#include "tools/xelini/code_page.h"

#include <windows.h>

namespace xelini {

wchar_t unitOfUndefinedBytes()
{
    CPINFOEXW info = {};
    return GetCPInfoExW(CP_ACP, 0, &info) ? info.UnicodeDefaultChar : L'?';
}

} // namespace xelini
