#include <cstdlib>

#include "registries.h"
#include "settings_files.h"
#include "xelutils/system/xel_registry.h"
#include "xelutils/text/xel_utf.h"

namespace bench {

namespace {

constexpr wchar_t kSubKey[] = L"Software\\Panel";

std::string File(std::size_t entries)
{
    std::string text = "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\Panel]\r\n";
    for (std::size_t number = 0; number < entries; ++number) {
        const Entry entry = MakeEntry(number);
        // No value holds quotes or backslashes.
        text += '"' + entry.key + "\"=\"" + entry.value + "\"\r\n";
    }
    return text;
}

bool Read(const char* path)
{
    // Another name than before, so the file is read at the first look.
    setenv("XEL_REGISTRY", path, 1);
    xel_registry::StringVector names;
    return xel_registry::EnumSections(HKEY_CURRENT_USER, kSubKey, names);
}

std::size_t List()
{
    xel_registry::StringVector names;
    xel_registry::EnumEntries(HKEY_CURRENT_USER, kSubKey, names);
    return names.size();
}

std::string Value(const char* name)
{
    xel_text::CXelStringT<wchar_t> value;
    xel_registry::ReadStringValue(HKEY_CURRENT_USER, kSubKey, xel_text::FromUtf8(name), value);
    return xel_text::ToUtf8(value);
}

} // namespace

RegistryProgram XelutilsRegistry()
{
    return {"xelutils", File, Read, List, Value};
}

} // namespace bench
