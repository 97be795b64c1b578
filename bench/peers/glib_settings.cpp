// Settings with GKeyFile; UTF-16 is converted with GLib as well.
#include <cstdio>

#include <glib.h>

#include "settings_files.h"

namespace bench {

namespace {

GKeyFile* File(void* holder)
{
    return static_cast<GKeyFile*>(holder);
}

bool LoadUtf16(GKeyFile* keyFile, const char* path)
{
    gchar* bytes = nullptr;
    gsize size = 0;
    if (!g_file_get_contents(path, &bytes, &size, nullptr))
        return false;
    glong length = 0;
    const auto* units = reinterpret_cast<const gunichar2*>(bytes) + 1;
    gchar* text =
        g_utf16_to_utf8(units, static_cast<glong>(size / 2 - 1), nullptr, &length, nullptr);
    const bool loaded = text && g_key_file_load_from_data(keyFile, text, static_cast<gsize>(length),
                                                          G_KEY_FILE_NONE, nullptr);
    g_free(text);
    g_free(bytes);
    return loaded;
}

void* Read(const char* path, Encoding encoding)
{
    GKeyFile* keyFile = g_key_file_new();
    const bool read = encoding == Encoding::utf16
                          ? LoadUtf16(keyFile, path)
                          : g_key_file_load_from_file(keyFile, path, G_KEY_FILE_NONE, nullptr);
    if (read)
        return keyFile;
    g_key_file_free(keyFile);
    return nullptr;
}

std::string Value(void* holder, const Entry& entry)
{
    gchar* found =
        g_key_file_get_value(File(holder), entry.section.c_str(), entry.key.c_str(), nullptr);
    const std::string value = found ? found : "";
    g_free(found);
    return value;
}

bool WriteFile(const char* path, const void* bytes, gsize size)
{
    FILE* file = std::fopen(path, "wb");
    if (!file)
        return false;
    const bool written = std::fwrite(bytes, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

// Not with GLib's own saving, which flushes the disk and renames.
bool Write(void* holder, const char* path, Encoding encoding)
{
    gsize size = 0;
    gchar* text = g_key_file_to_data(File(holder), &size, nullptr);
    bool written = false;
    if (encoding == Encoding::utf16) {
        glong length = 0;
        gunichar2* units =
            g_utf8_to_utf16(text, static_cast<glong>(size), nullptr, &length, nullptr);
        written = units && WriteFile(path, units, static_cast<gsize>(length) * sizeof *units);
        g_free(units);
    } else {
        written = WriteFile(path, text, size);
    }
    g_free(text);
    return written;
}

void Destroy(void* holder)
{
    g_key_file_free(File(holder));
}

} // namespace

SettingsProgram KeyFile()
{
    return {"GKeyFile", Read, Value, Write, Destroy};
}

} // namespace bench
