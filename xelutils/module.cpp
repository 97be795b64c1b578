#include "xelutils/module.h"

#include <cstdlib>
#include <new>

#include "xelutils/platform/framework.h"
#include "xelutils/system/library_funcs.h"

namespace xel_module {

namespace {

// Neither may have a destructor that the exit table runs: the steps below are the whole order.
constinit AFX_EXTENSION_MODULE g_module = {};
constinit CDynLinkLibrary* g_record = nullptr;

void* PlaceOfRecord()
{
    alignas(CDynLinkLibrary) static unsigned char s_place[sizeof(CDynLinkLibrary)];
    return s_place;
}

} // namespace

void RawAttach()
{
    AfxSetRegistrationsAside();
}

bool Register()
{
    if (!AfxInitExtensionModule(g_module, GetXelDllBaseAddress()))
        return false;
    g_record = new (PlaceOfRecord()) CDynLinkLibrary(g_module);
    return true;
}

void Unregister()
{
    if (g_record == nullptr)
        return;
    g_record->~CDynLinkLibrary();
    g_record = nullptr;
    AfxTermExtensionModule(g_module);
}

void RawDetach()
{
    AfxPutRegistrationsBack();
}

namespace {

// The exit table runs in reverse order of registration, so that each end stands where its
// beginning asks for it. The log's initialiser (110) lies between these two.
struct RawEntry {
    RawEntry()
    {
        std::atexit(RawDetach);
        RawAttach();
    }
};
[[gnu::init_priority(102)]] const RawEntry g_rawEntry;

struct Registration {
    Registration()
    {
        if (!Register()) {
            // Loading fails. An initialiser has no other way to refuse.
            OutputDebugStringW(L"xelutils: not accepted as an extension module\r\n");
            std::abort();
        }
        std::atexit(Unregister);
    }
};
[[gnu::init_priority(120)]] const Registration g_registration;

} // namespace

} // namespace xel_module

const void* GetXelDllBaseAddress()
{
    return reinterpret_cast<const void*>(&GetXelDllBaseAddress);
}
