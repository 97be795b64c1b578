// The settings that the benchmarks read and write.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

constexpr std::size_t kEntriesInSection = 100;

enum class Encoding { eightBit, utf16 };

struct Entry {
    std::string section;
    std::string key;
    std::string value;
};

// Entry `number` of every file: sections section0000... of 100 entries, keys key000000...
// counted through the file, values of 8 to 20 printable ASCII characters.
Entry MakeEntry(std::size_t number);

// The file of that many entries, each section followed by an empty line, lines ending in CR LF;
// UTF-16LE with its mark.
std::string SettingsFile(std::size_t entries, Encoding encoding);

// Something that holds settings, behind the same functions for everybody. `Holder` is opaque.
struct SettingsProgram {
    const char* name;
    // Null when the file was refused.
    void* (*read)(const char* path, Encoding encoding);
    // What stands under a section and key; empty when it is missing.
    std::string (*value)(void* holder, const Entry& entry);
    bool (*write)(void* holder, const char* path, Encoding encoding);
    void (*destroy)(void* holder);
};

SettingsProgram XelutilsSettings();
SettingsProgram SimpleIni();
SettingsProgram KeyFile();

} // namespace bench
