#include <utility>

#include "xelutils/platform/framework.h"

namespace {

constinit AFX_MODULE_STATE g_state = {};

struct Registrations {
    CRuntimeClass* classes;
    COleObjectFactory* factories;
};
constinit Registrations g_aside = {};
constinit bool g_isAside = false;

// The lists of the state get these heads; the result are those that they had.
Registrations Exchange(Registrations heads)
{
    return {std::exchange(g_state.m_classList, heads.classes),
            std::exchange(g_state.m_factoryList, heads.factories)};
}

Registrations PutBack()
{
    g_isAside = false;
    return Exchange(std::exchange(g_aside, {}));
}

} // namespace

AFX_MODULE_STATE* AfxGetModuleState()
{
    return &g_state;
}

void AfxSetRegistrationsAside()
{
    if (g_isAside)
        return;
    g_aside = Exchange({});
    g_isAside = true;
}

void AfxPutRegistrationsBack()
{
    if (g_isAside)
        PutBack();
}

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& module, const void* address)
{
    if (module.bInitialized || !g_isAside)
        return FALSE;
    const Registrations collected = PutBack();
    module.hModule = address;
    module.pFirstSharedClass = collected.classes;
    module.pFirstSharedFactory = collected.factories;
    module.bInitialized = TRUE;
    return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE& module)
{
    module.hModule = nullptr;
    module.pFirstSharedClass = nullptr;
    module.pFirstSharedFactory = nullptr;
    module.bInitialized = FALSE;
}

CDynLinkLibrary::CDynLinkLibrary(const AFX_EXTENSION_MODULE& module)
    : m_hModule(module.hModule), m_classList(module.pFirstSharedClass),
      m_factoryList(module.pFirstSharedFactory), m_pNextDLL(g_state.m_libraryList),
      m_strings(module.strings)
{
    g_state.m_libraryList = this;
    if (m_strings != nullptr)
        RegisterStringTable(m_strings, module.stringCount);
}

CDynLinkLibrary::~CDynLinkLibrary()
{
    if (m_strings != nullptr)
        UnregisterStringTable(m_strings);
    CDynLinkLibrary** link = &g_state.m_libraryList;
    while (*link != nullptr && *link != this)
        link = &(*link)->m_pNextDLL;
    if (*link != nullptr)
        *link = m_pNextDLL;
}
