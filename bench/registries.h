// A registry's key with many values, or what comes near it.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

struct RegistryProgram {
    const char* name;
    // The file of a key with the entries 0 to `entries` - 1 of settings_files.h, as text.
    std::string (*file)(std::size_t entries);
    // From now on the file at `path`, read at once. False when it was refused.
    bool (*read)(const char* path);
    // Makes a list of the names of all values; returns how many there are.
    std::size_t (*list)();
    std::string (*value)(const char* name);
};

RegistryProgram XelutilsRegistry();
RegistryProgram KeyFileRegistry();

} // namespace bench
