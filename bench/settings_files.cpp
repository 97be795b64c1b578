#include "settings_files.h"

#include <cstdint>
#include <cstdio>

namespace bench {

namespace {

constexpr std::size_t kMinValue = 8;
constexpr std::size_t kMaxValue = 20;

std::string Value(std::size_t number)
{
    static constexpr char kCharacters[] =
        "abcdefghijklmnopqrstuvwxyz0123456789.-ABCDEFGHIJKLMNOPQRST";
    std::uint64_t bits = (number + 1) * 0x9E3779B97F4A7C15U;
    std::string value(kMinValue + (bits >> 32) % (kMaxValue - kMinValue + 1), ' ');
    for (char& c : value) {
        bits = bits * 6364136223846793005U + 1442695040888963407U;
        c = kCharacters[(bits >> 33) % (sizeof kCharacters - 1)];
    }
    return value;
}

std::string Numbered(const char* pattern, std::size_t number)
{
    char text[32];
    std::snprintf(text, sizeof text, pattern, number);
    return text;
}

std::string ToUtf16(const std::string& ascii)
{
    std::string bytes = "\xFF\xFE";
    for (const char c : ascii) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

} // namespace

Entry MakeEntry(std::size_t number)
{
    return {Numbered("section%04zu", number / kEntriesInSection), Numbered("key%06zu", number),
            Value(number)};
}

std::string SettingsFile(std::size_t entries, Encoding encoding)
{
    std::string text;
    for (std::size_t i = 0; i < entries; ++i) {
        const Entry entry = MakeEntry(i);
        if (i % kEntriesInSection == 0)
            text += (i == 0 ? "[" : "\r\n[") + entry.section + "]\r\n";
        text += entry.key + "=" + entry.value + "\r\n";
    }
    return encoding == Encoding::utf16 ? ToUtf16(text) : text;
}

} // namespace bench
