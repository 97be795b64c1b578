#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "support/test_folder.h"
#include "xelutils/platform/posix/registry_text.h"

namespace {

using namespace std::string_literals;

// ---- A registry as text: name(value=type:bytes ...){key ...} ------------------------------

std::string Hex(const char* format, unsigned number)
{
    char text[16];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

std::string Picture(const std::u16string& name)
{
    std::string text;
    for (const char16_t unit : name)
        text += unit < 0x80 ? std::string(1, static_cast<char>(unit)) : Hex("\\u%04x", unit);
    return text;
}

std::string Picture(const RegistryKey& key)
{
    std::string text = Picture(key.name);
    std::string between;
    text += '(';
    for (const auto& value : key.values.All()) {
        text += between + Picture(value->name) + '=' + Hex("%x", value->type) + ':';
        for (const BYTE byte : value->data)
            text += Hex("%02x", byte);
        between = " ";
    }
    text += ')';
    for (const auto& each : key.keys.All())
        text += '{' + Picture(*each) + '}';
    return text;
}

// With the number of the first broken line and how many there are.
std::string Read(const std::string& bytes)
{
    RegistryFaults faults;
    const Registry registry = ReadRegistryText(bytes, faults);
    std::string text;
    for (const RegistryKey& root : registry.roots) {
        const std::string picture = Picture(root);
        if (picture != "()")
            text += Hex("%u", static_cast<unsigned>(&root - registry.roots)) + picture;
    }
    if (faults.count != 0)
        text += "!" + std::to_string(faults.line) + "x" + std::to_string(faults.count);
    EXPECT_EQ(faults.what == nullptr, faults.count == 0);
    return text;
}

struct Row {
    const char* rule;
    std::string text;
    const char* expected;
};

const std::string kVersion5 = "Windows Registry Editor Version 5.00\n";

} // namespace

TEST(RegistryText, Values)
{
    const Row rows[] = {
        {"text ends in a zero", R"("a"="b")", "a=1:62000000"},
        {"the default value", R"(@="b")", "=1:62000000"},
        {"the default value by its name", R"(""="")", "=1:0000"},
        {"quotes and backslashes are doubled", R"("a\"\\"="\\\"")", "a\"\\=1:5c0022000000"},
        {"blanks and a comment", "\t\"a\" = \"b\" ; c", "a=1:62000000"},
        {"no comment inside text", R"("a;=]"=";")", "a;=]=1:3b000000"},
        {"keywords in any case", R"("a"=DWORD:2A)", "a=4:2a000000"},
        {"eight digits", R"("a"=dword:87654321)", "a=4:21436587"},
        {"nine digits", R"("a"=dword:087654321)", "!3x1"},
        {"no digit", R"("a"=dword:)", "!3x1"},
        {"no bytes", R"("a"=hex:)", "a=3:"},
        {"bytes", R"("a"=hex:1,0a, FF ,)", "a=3:010aff"},
        {"other types", "\"a\"=hex(b):01\n\"c\"=hex(0):\n\"d\"=hex(ffffffff):02",
         "a=b:01 c=0: d=ffffffff:02"},
        {"bytes of text are kept as they are", R"("a"=hex(2):61,00,62)", "a=2:610062"},
        {"continued", "\"a\"=hex:01,\\\r\n  02,\\ ; b\r\n; c\r\n  03", "a=3:010203"},
        {"three digits", R"("a"=hex:001)", "!3x1"},
        {"no comma", R"("a"=hex:01 02)", "!3x1"},
        {"no digits", R"("a"=hex:0g)", "!3x1"},
        {"type without bracket", R"("a"=hex(2:01)", "!3x1"},
        {"type without digits", R"("a"=hex():01)", "!3x1"},
        {"continued by nothing", "\"a\"=hex:01,\\", "!3x1"},
        {"continued by a value", "\"a\"=hex:01,\\\n\"b\"=\"\"", "b=1:0000!3x1"},
        {"a broken value goes with all its lines", "\"a\"=hex:x,\\\n01,\\\n02\n\"b\"=\"\"",
         "b=1:0000!3x1"},
        {"text without end", "\"a\"=\"b\n\"c\"=\"\"", "c=1:0000!3x1"},
        {"a single backslash", R"("a"="C:\b")", "!3x1"},
        {"an escaped end", R"("a"="\)", "!3x1"},
        {"name without end", "\"a=\n", "!3x1"},
        {"no equals sign", R"("a" "b")", "!3x1"},
        {"no value", R"("a"=)", "!3x1"},
        {"text without quotes", R"("a"=b)", "!3x1"},
        {"name without quotes", R"(a="b")", "!3x1"},
        {"something behind", R"("a"="b" c)", "!3x1"},
        {"a zero character", "\"a\"=\"b\0c\"\n\"d\"=\"\""s, "d=1:0000!3x1"},
        {"the last of a name counts and keeps the place", "\"a\"=\"\"\n\"b\"=hex:\n\"A\"=hex:1",
         "a=3:01 b=3:"},
        {"removed", "\"a\"=hex:\n\"b\"=hex:\n\"A\" = - ; c\n\"x\"=-\n\"a\"=hex:1", "b=3: a=3:01"},
        {"found behind one that was removed", "\"a\"=hex:\n\"b\"=hex:\n\"a\"=-\n\"B\"=hex:1",
         "b=3:01"},
    };
    for (const Row& row : rows) {
        std::string expected = row.expected;
        const std::size_t fault = std::min(expected.find('!'), expected.size());
        const std::string values = expected.substr(0, fault);
        expected = "1(){K(" + values + ")}" + expected.substr(fault);
        EXPECT_EQ(Read(kVersion5 + "[HKEY_CURRENT_USER\\K]\n" + row.text), expected) << row.rule;
    }
}

TEST(RegistryText, Keys)
{
    const std::string user = "[HKEY_CURRENT_USER\\";
    const Row rows[] = {
        {"with all above it", user + "A\\B C]", "1(){A(){B C()}}"},
        {"roots", "[HKEY_CLASSES_ROOT]\n@=hex:\n[hkey_users\\a]\n[HKEY_LOCAL_MACHINE\\b] ; c",
         "0(=3:)2(){b()}3(){a()}"},
        {"in order, without case", user + "B]\n" + user + "A]\n" + user + "b\\C]",
         "1(){B(){C()}}{A()}"},
        {"brackets in names", user + "a]b[]", "1(){a]b[()}"},
        {"a closing separator", user + "a\\]", "1(){a()}"},
        {"removed with all below",
         user + "A\\B]\n" + user + "C]\n[-HKEY_CURRENT_USER\\a]\n@=hex:", "1(){C()}"},
        {"removed and made again",
         user + "A\\B]\n[-HKEY_CURRENT_USER\\A]\n" + user + "A]\n@=hex:", "1(){A(=3:)}"},
        {"removed where there is none", user + "A]\n[-HKEY_CURRENT_USER\\B\\C\\D]", "1(){A()}"},
        {"roots stay", "[-HKEY_CURRENT_USER]\n@=hex:", "!2x1"},
        {"other roots",
         user + "A]\n[HKEY_OTHER\\A]\n@=hex:\n[HKEY_USERS]\n@=hex:", "1(){A()}3(=3:)!3x1"},
        {"no closing bracket", user + "A]\n" + user + "B\n@=hex:\n" + user + "C]",
         "1(){A()}{C()}!3x1"},
        {"something behind", user + "A] b", "!2x1"},
        {"an empty name", user + "A\\\\B]", "!2x1"},
        {"a value before", "@=hex:\n" + user + "A]", "1(){A()}!2x1"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Read(kVersion5 + row.text), row.expected) << row.rule;
}

TEST(RegistryText, KeysLieAtMost512Deep)
{
    std::string path = "HKEY_USERS";
    for (int depth = 0; depth < 512; ++depth)
        path += "\\a";
    EXPECT_EQ(Read(kVersion5 + "[" + path + "\\b]"), "!2x1");
    const std::string picture = Read(kVersion5 + "[" + path + "]");
    EXPECT_EQ(std::count(picture.begin(), picture.end(), 'a'), 512);
}

TEST(RegistryText, EncodingsAndVersions)
{
    const std::string user = "[HKEY_USERS]\n";
    const std::string utf8 = "\xEF\xBB\xBF";
    const Row rows[] = {
        {"version 4 and its text bytes",
         "REGEDIT4\n" + user + "\"\xE9\"=\"\x80\"\n\"a\"=hex(2):e9,00\n\"b\"=hex(7):61,00,80,00,00",
         "3(\\u00e9=1:ac200000 a=2:e9000000 b=7:61000000ac2000000000)"},
        {"other types are bytes",
         "REGEDIT4\n" + user + "@=hex(1):e9\n\"a\"=hex:e9\n\"b\"=hex(2):", "3(=1:e9 a=3:e9 b=2:)"},
        {"version 5 in the code page", kVersion5 + user + "\"\xE9\"=\"\"", "3(\\u00e9=1:0000)"},
        {"UTF-8", utf8 + kVersion5 + user + "\"\xC3\xA9\"=\"\xF0\x9F\x98\x80\xFF\"",
         "3(\\u00e9=1:3dd800defdff0000)"},
        {"UTF-16 and half a unit", "\xFF\xFE" + Utf16Bytes(kVersion5 + user + "\"a\"=\"b\"") + "x",
         "3(a=1:62000000)"},
        {"letters beyond ASCII without case",
         utf8 + kVersion5 + user + "\"\xC3\xA9\"=hex:\n\"\xC3\x89\"=hex:1", "3(\\u00e9=3:01)"},
        {"line ends", "REGEDIT4\r\r\n" + user + "\r@=hex:\r\"a\"=hex:", "3(=3: a=3:)"},
        {"blank lines and comments before", "\n ; c\n REGEDIT4 ; c\n" + user + "x", "!5x1"},
        {"no header", user + "@=hex:", "!1x1"},
        {"another version", "REGEDIT\n" + user + "@=hex:", "!1x1"},
        {"one more digit", "REGEDIT40\n" + user + "@=hex:", "!1x1"},
        {"UTF-16 without mark", Utf16Bytes(kVersion5 + user + "@=hex:"), "!1x1"},
        {"nothing", "", "!0x1"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Read(row.text), row.expected) << row.rule;
}
