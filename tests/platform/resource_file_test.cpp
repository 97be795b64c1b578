#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "support/test_folder.h"
#include "xelutils/platform/framework.h"
#include "xelutils/platform/framework/resource_file.h"

namespace {

using namespace std::string_literals;
using Wide = xel_text::CXelStringT<wchar_t>;

// ---- Files made by hand -------------------------------------------------------------------

std::string Word(unsigned value)
{
    return {static_cast<char>(value & 0xFF), static_cast<char>(value >> 8)};
}

std::string Dword(std::size_t value)
{
    return Word(value & 0xFFFF) + Word(value >> 16 & 0xFFFF);
}

std::string Number(unsigned value)
{
    return Word(0xFFFF) + Word(value);
}

std::string Padded(std::string bytes)
{
    bytes.resize((bytes.size() + 3) / 4 * 4);
    return bytes;
}

std::string Resource(const std::string& type, const std::string& name, const std::string& data,
                     const std::string& fixedFields = std::string(16, '\0'))
{
    const std::string labels = Padded(type + name);
    return Dword(data.size()) + Dword(8 + labels.size() + 16) + labels + fixedFields + Padded(data);
}

std::string Empty()
{
    return Resource(Number(0), Number(0), "");
}

// A table that holds one string.
std::string Table(std::size_t place, const std::string& ascii)
{
    std::string data;
    for (std::size_t i = 0; i < 16; ++i)
        data +=
            i == place ? Word(static_cast<unsigned>(ascii.size())) + Utf16Bytes(ascii) : Word(0);
    return data;
}

std::string StringTable(unsigned name, const std::string& data)
{
    return Resource(Number(6), Number(name), data);
}

// "1=a 2=b", or "refused".
std::string Strings(const std::string& file)
{
    std::vector<ResourceString> strings{{7, {L'x'}}};
    if (!ReadResourceStrings(reinterpret_cast<const unsigned char*>(file.data()), file.size(),
                             strings)) {
        EXPECT_EQ(strings.size(), 1u);
        return "refused";
    }
    std::string result;
    for (const ResourceString& string : strings) {
        result += (result.empty() ? "" : " ") + std::to_string(string.id) + "=";
        for (const wchar_t unit : string.text)
            result += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return result;
}

} // namespace

TEST(ResourceFile, Reads)
{
    const std::string textType = Utf16Bytes("TYPE\0"s), textName = Utf16Bytes("NAMES\0"s);
    const std::string first = StringTable(1, Table(1, "one"));
    const std::string unpadded = StringTable(2, Table(0, "odd"));
    const struct {
        const char* rule;
        std::string file;
        std::string strings;
    } rows[] = {
        {"no strings", Empty(), ""},
        {"identifiers go by table and place",
         Empty() + first + StringTable(2, Table(0, "a")) + StringTable(4096, Table(15, "z")),
         "1=one 16=a 65535=z"},
        {"languages stand in the order of the file",
         Empty() + first + StringTable(1, Table(1, "eins")), "1=one 1=eins"},
        {"other kinds are passed over",
         Empty() + Resource(Number(10), Number(1), "\1") + Resource(textType, textName, "abcde") +
             Resource(textType, Number(6), "") + first,
         "1=one"},
        {"text may hold zeros", Empty() + StringTable(1, Table(0, "a\0b"s)), "0=a\0b"s},
        {"the last resource may go unpadded", Empty() + unpadded.substr(0, unpadded.size() - 2),
         "16=odd"},
        {"flags and language do not matter",
         Empty() + Resource(Number(6), Number(1), Table(2, "x"), std::string(16, '\x55')), "2=x"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Strings(row.file), row.strings) << row.rule;
}

TEST(ResourceFile, RefusesWhatIsUnsound)
{
    const std::string good = StringTable(1, Table(1, "one")), table = Table(1, "one");
    const std::string fixed(16, '\0');
    // A header of that length with numbers for type and name, and the data that it tells of.
    const auto header = [&](std::size_t length, std::size_t data = 0) {
        return Empty() + Dword(data) + Dword(length) + Number(9) + Number(1) + fixed;
    };
    const struct {
        const char* fault;
        std::string file;
    } rows[] = {
        {"empty file", ""},
        {"no empty resource in front", good},
        {"first resource has data", Resource(Number(0), Number(0), "abcd") + good},
        {"first resource has a type", Resource(Number(1), Number(0), "") + good},
        {"first resource has a name", Resource(Number(0), Number(1), "") + good},
        {"first resource has a text", Resource(Word(0), Number(0), "") + good},
        {"first resource has flags", Resource(Number(0), Number(0), "", fixed.substr(1) + "\1")},
        {"16-bit resource file", "\xFF\x06\0\xFF\1\0\0\0"s + std::string(40, '\0')},
        {"header smaller than its sizes", Empty() + Dword(0) + Dword(7) + fixed + fixed},
        {"header without fields", header(16)},
        {"header a field short", header(28)},
        {"header with more", header(36) + Dword(0)},
        {"header ends in the type", header(10)},
        {"header beyond the file", header(33)},
        {"header of all sizes", header(0xFFFFFFFF)},
        {"type without end",
         Empty() + Dword(0) + Dword(32) + Utf16Bytes(std::string(12, 'T')) + Number(6)},
        {"data beyond the file", header(32, 1)},
        {"data of all sizes", header(32, 0xFFFFFFFF)},
        {"table with a text for a name", Empty() + Resource(Number(6), Utf16Bytes("A\0"s), table)},
        {"table 0", Empty() + StringTable(0, table)},
        {"table 4097", Empty() + StringTable(4097, table)},
        {"fifteen strings", Empty() + StringTable(1, table.substr(0, table.size() - 2))},
        {"half a length", Empty() + StringTable(1, table.substr(0, table.size() - 1))},
        {"string beyond", Empty() + StringTable(1, std::string(30, '\0') + Word(1)) + good},
        {"table with more", Empty() + StringTable(1, table + Word(0))},
        {"bytes behind the last resource", Empty() + good + Dword(0)},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Strings(row.file), "refused") << row.fault;
}

TEST(ResourceFile, EndsOnlyBetweenResources)
{
    const std::string first = Empty(), second = first + StringTable(1, Table(0, "ab"));
    const std::string file = second + StringTable(2, Table(0, "cd"));
    for (std::size_t size = 0; size < file.size(); ++size)
        EXPECT_EQ(Strings(file.substr(0, size)), size == first.size()    ? ""
                                                 : size == second.size() ? "0=ab"
                                                                         : "refused");
}

// ---- Registered files ---------------------------------------------------------------------

namespace {

// The text, and the length that the loader told.
std::string Load(UINT id, UINT size = 700)
{
    std::vector<wchar_t> buffer(size, L'#');
    const int length = AfxLoadString(id, buffer.data(), size);
    return std::to_string(length) + ":" + xel_text::ToUtf8(Wide(buffer.data()));
}

std::string Digits(std::size_t length)
{
    std::string digits;
    while (digits.size() < length)
        digits += static_cast<char>('0' + digits.size() % 10);
    return std::to_string(length) + ":" + digits;
}

} // namespace

TEST(StringResources, LoadsWhatAResourceCompilerMade)
{
    const Wide name = xel_text::FromUtf8(XELUTILS_STRINGS_RES);
    ASSERT_TRUE(RegisterStringResources(name));
    for (const UINT length : {255u, 256u, 600u})
        EXPECT_EQ(Load(length), Digits(length));
    EXPECT_EQ(Load(300, 256), Digits(255));
    EXPECT_EQ(Load(300, 301), Digits(300));
    const struct {
        UINT id;
        const char* text;
    } rows[] = {
        {101, "9:gemeinsam"},
        {102, "15:only in English"},
        {110, "9:gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80"},
        {111, "17:letzter der Tafel"},
        {112, "16:erster der Tafel"},
        {120, "15:nur auf Deutsch"},
        {65535, "15:the last of all"},
        {0x10000 + 101, "9:gemeinsam"},
        {103, "0:"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Load(row.id), row.text) << row.id;
    EXPECT_TRUE(UnregisterStringResources(name));
    EXPECT_EQ(Load(101), "0:");
    EXPECT_FALSE(UnregisterStringResources(name));
}

TEST(StringResources, RegisteredLastWins)
{
    const TestFolder folder;
    const Wide first = folder.Write("first.res", Empty() + StringTable(1, Table(1, "first")));
    const Wide second = folder.Write("second.res", Empty() + StringTable(1, Table(1, "second")) +
                                                       StringTable(1, Table(2, "later")) +
                                                       StringTable(1, Table(2, "latest")));
    const CStringTableEntry code[] = {{1, L"code"}};

    ASSERT_TRUE(RegisterStringResources(first));
    EXPECT_EQ(Load(1), "5:first");
    RegisterStringTable(code, 1);
    EXPECT_EQ(Load(1), "4:code");
    ASSERT_TRUE(RegisterStringResources(second));
    EXPECT_EQ(Load(1), "6:second");
    EXPECT_EQ(Load(2), "5:later");
    EXPECT_TRUE(UnregisterStringResources(second));
    EXPECT_EQ(Load(1), "4:code");
    EXPECT_TRUE(UnregisterStringTable(code));
    EXPECT_EQ(Load(1), "5:first");
    EXPECT_TRUE(UnregisterStringResources(first));
    EXPECT_EQ(Load(1), "0:");
}

TEST(StringResources, CopiesZerosAndCutsAtTheBuffer)
{
    const TestFolder folder;
    const Wide name = folder.Write("a.res", Empty() + StringTable(1, Table(0, "a\0bc"s)));
    ASSERT_TRUE(RegisterStringResources(name));
    wchar_t buffer[6] = L"#####";
    EXPECT_EQ(AfxLoadString(0, buffer, 4), 3);
    EXPECT_EQ(std::u16string(buffer, buffer + 5), u"a\0b\0#"s);
    EXPECT_EQ(AfxLoadString(0, buffer, 1), 0);
    EXPECT_EQ(std::u16string(buffer, buffer + 3), u"\0\0b"s);
    EXPECT_EQ(AfxLoadString(0, nullptr, 4), 0);
    EXPECT_TRUE(UnregisterStringResources(name));
}

TEST(StringResources, Refusals)
{
    const TestFolder folder;
    const std::string good = Empty() + StringTable(1, Table(1, "one"));
    const std::pair<Wide, DWORD> rows[] = {
        {folder.Path("missing.res"), ERROR_FILE_NOT_FOUND},
        {folder.Write("empty.res", ""), ERROR_BAD_FORMAT},
        {folder.Write("cut.res", good.substr(0, good.size() - 4)), ERROR_BAD_FORMAT},
    };
    for (const auto& [name, error] : rows) {
        SetLastError(ERROR_SUCCESS);
        EXPECT_FALSE(RegisterStringResources(name));
        EXPECT_EQ(GetLastError(), error) << error;
        EXPECT_FALSE(UnregisterStringResources(name));
    }
    EXPECT_FALSE(RegisterStringResources(nullptr));
    EXPECT_EQ(Load(1), "0:");
}

TEST(StringResources, ThreadsLoadWhileOthersRegister)
{
    const TestFolder folder;
    const Wide name = folder.Write("a.res", Empty() + StringTable(1, Table(1, "text")));
    std::atomic<bool> done = false;
    std::thread registrar([&] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_TRUE(RegisterStringResources(name));
            EXPECT_TRUE(UnregisterStringResources(name));
        }
        done = true;
    });
    while (!done) {
        const std::string loaded = Load(1, 8);
        EXPECT_TRUE(loaded == "4:text" || loaded == "0:") << loaded;
    }
    registrar.join();
}
