// Settings with SimpleIni, keys with their case as in the library. It has no file of UTF-16 on
// this system; there its text is converted with GLib.
#include <cstdio>
#include <memory>

#define SI_NO_CONVERSION
#include <SimpleIni.h>
#include <glib.h>

#include "settings_files.h"

namespace bench {

namespace {

CSimpleIniCaseA* Ini(void* holder)
{
    return static_cast<CSimpleIniCaseA*>(holder);
}

std::unique_ptr<CSimpleIniCaseA> NewIni()
{
    auto ini = std::make_unique<CSimpleIniCaseA>();
    ini->SetSpaces(false);
    return ini;
}

bool LoadUtf16(CSimpleIniCaseA& ini, const char* path)
{
    gchar* bytes = nullptr;
    gsize size = 0;
    if (!g_file_get_contents(path, &bytes, &size, nullptr))
        return false;
    glong length = 0;
    const auto* units = reinterpret_cast<const gunichar2*>(bytes) + 1;
    gchar* text =
        g_utf16_to_utf8(units, static_cast<glong>(size / 2 - 1), nullptr, &length, nullptr);
    const bool loaded = text && ini.LoadData(text, static_cast<size_t>(length)) == SI_OK;
    g_free(text);
    g_free(bytes);
    return loaded;
}

void* Read(const char* path, Encoding encoding)
{
    auto ini = NewIni();
    const bool read =
        encoding == Encoding::utf16 ? LoadUtf16(*ini, path) : ini->LoadFile(path) == SI_OK;
    return read ? ini.release() : nullptr;
}

std::string Value(void* holder, const Entry& entry)
{
    return Ini(holder)->GetValue(entry.section.c_str(), entry.key.c_str(), "");
}

bool WriteUtf16(CSimpleIniCaseA& ini, const char* path)
{
    std::string text;
    if (ini.Save(text) != SI_OK)
        return false;
    glong length = 0;
    gunichar2* units =
        g_utf8_to_utf16(text.data(), static_cast<glong>(text.size()), nullptr, &length, nullptr);
    FILE* file = std::fopen(path, "wb");
    const auto count = static_cast<size_t>(length);
    const bool written = units && file && std::fwrite(units, sizeof *units, count, file) == count;
    const bool closed = file && std::fclose(file) == 0;
    g_free(units);
    return written && closed;
}

bool Write(void* holder, const char* path, Encoding encoding)
{
    return encoding == Encoding::utf16 ? WriteUtf16(*Ini(holder), path)
                                       : Ini(holder)->SaveFile(path, false) == SI_OK;
}

void Destroy(void* holder)
{
    delete Ini(holder);
}

} // namespace

SettingsProgram SimpleIni()
{
    return {"SimpleIni", Read, Value, Write, Destroy};
}

} // namespace bench
