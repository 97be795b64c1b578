#include "tools/xelini/code_page.h"

#include "xelutils/platform/posix/code_pages.h"

namespace xelini {

wchar_t unitOfUndefinedBytes()
{
    return FindCodePage(CP_ACP)->defaultUnit;
}

} // namespace xelini
