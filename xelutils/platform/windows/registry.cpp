#include "xelutils/platform/windows/device_calls.h"

#undef RegOpenKeyExW

namespace device_calls {

LONG OpenKey(HKEY key, const wchar_t* subKey, DWORD, DWORD, HKEY* result)
{
    return ::RegOpenKeyExW(key, subKey, 0, KEY_READ, result);
}

} // namespace device_calls
