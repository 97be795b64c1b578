// One group of a GKeyFile in the place of a registry's key.
#include <glib.h>

#include "registries.h"
#include "settings_files.h"

namespace bench {

namespace {

constexpr char kGroup[] = "Panel";

GKeyFile*& Current()
{
    static GKeyFile* s_current = nullptr;
    return s_current;
}

std::string File(std::size_t entries)
{
    std::string text = std::string("[") + kGroup + "]\r\n";
    for (std::size_t number = 0; number < entries; ++number) {
        const Entry entry = MakeEntry(number);
        text += entry.key + '=' + entry.value + "\r\n";
    }
    return text;
}

bool Read(const char* path)
{
    if (Current())
        g_key_file_free(Current());
    Current() = g_key_file_new();
    return g_key_file_load_from_file(Current(), path, G_KEY_FILE_NONE, nullptr);
}

std::size_t List()
{
    gsize count = 0;
    g_strfreev(g_key_file_get_keys(Current(), kGroup, &count, nullptr));
    return count;
}

std::string Value(const char* name)
{
    gchar* found = g_key_file_get_value(Current(), kGroup, name, nullptr);
    const std::string value = found ? found : "";
    g_free(found);
    return value;
}

} // namespace

RegistryProgram KeyFileRegistry()
{
    return {"GKeyFile", File, Read, List, Value};
}

} // namespace bench
