// Compiled resource files (.res): their string tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// One string of a resource file. It may hold zero characters and is never empty: to the device an
// empty string is a missing one.
struct ResourceString {
    std::uint16_t id;
    std::vector<wchar_t> text;
};

// Reads the strings of all languages, in the order of the file, so the same identifier may come
// more than once. Resources of other kinds are passed over. False, with `strings` unchanged, when
// anything in the file is unsound.
bool ReadResourceStrings(const unsigned char* bytes, std::size_t size,
                         std::vector<ResourceString>& strings);
