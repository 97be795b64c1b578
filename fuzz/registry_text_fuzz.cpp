// Arbitrary bytes as a registry file: what was read hangs together, and reading it again from a
// file written out of it gives the same.
#include <cstdio>
#include <set>
#include <string>

#include "fuzz_input.h"
#include "xelutils/platform/posix/registry_text.h"

namespace {

void AppendUnit(std::string& bytes, char16_t unit)
{
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
}

void Append(std::string& bytes, std::u16string_view text)
{
    for (const char16_t unit : text)
        AppendUnit(bytes, unit);
}

void AppendQuoted(std::string& bytes, std::u16string_view text)
{
    AppendUnit(bytes, u'"');
    for (const char16_t unit : text) {
        if (unit == '"' || unit == '\\')
            AppendUnit(bytes, u'\\');
        AppendUnit(bytes, unit);
    }
    AppendUnit(bytes, u'"');
}

void AppendNumber(std::string& bytes, unsigned number)
{
    char text[16];
    const int length = std::snprintf(text, sizeof text, "%x", number);
    Append(bytes, std::u16string(text, text + length));
}

// Every value in hex, with a line of its own for each byte.
void AppendKey(std::string& bytes, const std::u16string& path, const RegistryKey& key)
{
    Append(bytes, u"[" + path + u"]\r\n");
    for (const auto& value : key.values.All()) {
        AppendQuoted(bytes, value->name);
        Append(bytes, u"=hex(");
        AppendNumber(bytes, value->type);
        Append(bytes, u"):");
        for (const BYTE byte : value->data) {
            Append(bytes, u"\\\r\n  ");
            AppendNumber(bytes, byte);
            Append(bytes, u",");
        }
        Append(bytes, u"\r\n");
    }
    for (const auto& each : key.keys.All())
        AppendKey(bytes, path + u"\\" + each->name, *each);
}

std::string Written(const Registry& registry)
{
    std::string bytes = "\xFF\xFE";
    Append(bytes, u"Windows Registry Editor Version 5.00\r\n");
    for (std::size_t root = 0; root < std::size(kRegistryRoots); ++root)
        AppendKey(bytes, std::u16string(kRegistryRoots[root]), registry.roots[root]);
    return bytes;
}

template <class Items> void RequireNamesToBeFound(const Items& items)
{
    for (const auto& each : items.All())
        FUZZ_REQUIRE(each && items.Find(each->name) == each.get());
}

void Require(const RegistryKey& key)
{
    RequireNamesToBeFound(key.values);
    RequireNamesToBeFound(key.keys);
    for (const auto& each : key.keys.All()) {
        FUZZ_REQUIRE(!each->name.empty());
        Require(*each);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const std::string kStarts[] = {
        "", "REGEDIT4\n[HKEY_CURRENT_USER\\a]\n",
        "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\a]\n"};
    const std::string bytes = kStarts[size % std::size(kStarts)] + std::string(data, data + size);
    RegistryFaults faults;
    const Registry registry = ReadRegistryText(bytes, faults);
    FUZZ_REQUIRE((faults.count == 0) == (faults.what == nullptr));
    for (const RegistryKey& root : registry.roots)
        Require(root);

    const std::string written = Written(registry);
    const Registry again = ReadRegistryText(written, faults);
    FUZZ_REQUIRE(faults.count == 0);
    FUZZ_REQUIRE(Written(again) == written);
    return 0;
}
