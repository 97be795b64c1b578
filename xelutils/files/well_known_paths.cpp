#include <atomic>

#include "xelutils/files/file_funcs.h"

using xel_text::CXelStringT;

namespace {

CXelStringT<wchar_t> QueryApplicationPath()
{
    wchar_t name[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, name, MAX_PATH);
    // Not every platform terminates a name that it had to cut.
    name[MAX_PATH - 1] = 0;
    return name;
}

struct WellKnownPaths {
    CXelStringT<wchar_t> application = QueryApplicationPath();
    // Without a separator the index is -1, of which Left makes the empty text.
    CXelStringT<wchar_t> program = application.Left(application.ReverseFind('\\'));
    CXelStringT<wchar_t> root = program;
    CXelStringT<wchar_t> documents = program;
};

// Set when the record has gone at the end of the program.
constinit std::atomic<bool> g_released = false;

struct WellKnownRecord : WellKnownPaths {
    ~WellKnownRecord() { g_released = true; }
};

CXelStringT<wchar_t> WellKnownPath(CXelStringT<wchar_t> WellKnownPaths::*which)
{
    // Destructors of static objects may come later than the record's: they are answered anew.
    if (g_released)
        return WellKnownPaths().*which;
    static const WellKnownRecord record;
    return record.*which;
}

} // namespace

CXelStringT<wchar_t> GetApplicationPath()
{
    return WellKnownPath(&WellKnownPaths::application);
}

CXelStringT<wchar_t> GetExeDir()
{
    return WellKnownPath(&WellKnownPaths::program);
}

CXelStringT<wchar_t> GetRootDir()
{
    return WellKnownPath(&WellKnownPaths::root);
}

CXelStringT<wchar_t> GetDocsDir()
{
    return WellKnownPath(&WellKnownPaths::documents);
}
