#include <gtest/gtest.h>

#include "support/test_folder.h"
#include "xelutils/settings/xel_settings.h"

using namespace xel_settings;
using String = xel_text::CXelStringT<wchar_t>;
using namespace std::string_literals;

namespace {

// A store as text: [name]key=value|key=value[...
std::string Flat(const CThreeTupleStore& store)
{
    std::string flat;
    for (const auto& [key, section] : store.sections()) {
        flat += "[" + xel_text::ToUtf8(section.name) + "]";
        for (const auto& [name, value] : section.entries)
            flat += xel_text::ToUtf8(name) + "=" + xel_text::ToUtf8(value) + "|";
    }
    return flat;
}

struct Result {
    bool accepted;
    std::string store;
    EXelTextEncoding encoding;
    CSettingsDiagnosis diagnosis;
};

constexpr auto kUntouched = static_cast<EXelTextEncoding>(77);

Result Read(const TestFolder& folder, const std::string& bytes)
{
    CThreeTupleStore store;
    store.setValue(L"old", L"old", L"old");
    Result result{};
    result.encoding = kUntouched;
    result.accepted =
        readSettingsAsIni(folder.Write("f.ini", bytes), store, result.encoding, result.diagnosis);
    result.store = Flat(store);
    return result;
}

TEST(IniReader, AcceptedTextsInBothWidths)
{
    const struct {
        const char* rule;
        std::string text;
        const char* store;
    } rows[] = {
        {"entry before any header", "key=value", "[]key=value|"},
        {"blank line ends the section", "[A]\nx=1\n   \ny=2\n", "[]y=2|[A]x=1|"},
        {"tabs and spaces are blank", "[A]\n \t \t\ny=2", "[]y=2|"},
        {"empty line does not", "[A]\nx=1\n\n\ny=2\n", "[A]x=1|y=2|"},
        {"repeated header continues", "[A]\nx=1\n[B]\nz=3\n[A]\nx=2\ny=4", "[A]x=2|y=4|[B]z=3|"},
        {"nothing is trimmed", "Name = x \n", "[]Name = x |"},
        {"first equals sign splits", "a=b=c\nd=\n", "[]a=b=c|d=|"},
        {"spaces behind a header", "[A] \t\nx=1", "[A]x=1|"},
        {"name keeps spaces", "[ a ]\nx=1", "[ a ]x=1|"},
        {"brackets in a name", "[a]b]\nx=1\n[[]\ny=2\n[]]\nz=3", "[[]y=2|[]]z=3|[a]b]x=1|"},
        {"header alone makes no section", "[long header]\n", ""},
        {"digits start an entry", "0=a\n9=b", "[]0=a|9=b|"},
        {"keys keep their case", "b=1\na=1\nB=1", "[]B=1|a=1|b=1|"},
        {"comment sign inside a value", "a=b;c # d", "[]a=b;c # d|"},
        {"text behind a zero is not read", "[A]\nx=1\n\0?broken"s, "[A]x=1|"},
    };
    TestFolder folder;
    for (const auto& row : rows) {
        const Result narrow = Read(folder, row.text);
        EXPECT_TRUE(narrow.accepted) << row.rule;
        EXPECT_EQ(narrow.store, row.store) << row.rule;
        EXPECT_EQ(narrow.encoding, TEXT_ENCODING_8BIT) << row.rule;
        EXPECT_EQ(narrow.diagnosis.fault, ESettingsFault::none) << row.rule;
        for (const char* mark : {"", "\xFF\xFE"}) {
            const Result wide = Read(folder, mark + Utf16Bytes(row.text));
            EXPECT_TRUE(wide.accepted) << row.rule;
            EXPECT_EQ(wide.store, row.store) << row.rule;
            EXPECT_EQ(wide.encoding, TEXT_ENCODING_UTF16LE) << row.rule;
        }
    }
}

TEST(IniReader, RefusedLinesInBothWidths)
{
    using enum ESettingsFault;
    const struct {
        const char* rule;
        std::string text;
        unsigned long line;
        ESettingsFault fault;
        const char* store;
    } rows[] = {
        {"comment behind a header", "[A] ; c\n", 1, headerNotClosed, ""},
        {"bracket alone", "[", 1, headerNotClosed, ""},
        {"empty name", "[A]\nx=1\n[]\n", 3, headerWithoutName, "[A]x=1|"},
        {"indented entry, tab", "[A]\n\tx=1\n", 2, indentedLine, ""},
        {"no equals sign", "key\n", 1, entryWithoutEquals, ""},
        {"underscore", "_a=1\n", 1, invalidFirstCharacter, ""},
        {"no key", "=1\n", 1, invalidFirstCharacter, ""},
        {"empty lines count", "\r\n\r\n\n\r[A]\r\n\r\nbad\r\n", 7, entryWithoutEquals, ""},
        {"lines behind are not read", "a=1\nbad\nb=2", 2, entryWithoutEquals, "[]a=1|"},
    };
    TestFolder folder;
    for (const auto& row : rows) {
        for (const bool wide : {false, true}) {
            const Result result = Read(folder, wide ? "\xFF\xFE" + Utf16Bytes(row.text) : row.text);
            EXPECT_FALSE(result.accepted) << row.rule;
            EXPECT_EQ(result.diagnosis.line, row.line) << row.rule;
            EXPECT_EQ(result.diagnosis.fault, row.fault) << row.rule;
            EXPECT_EQ(result.store, row.store) << row.rule << ": what stood before is kept";
            EXPECT_EQ(result.encoding, kUntouched) << row.rule;
        }
    }
}

// By the device's tables, not the host's locale.
TEST(IniReader, LettersAndDigitsOfAllScripts)
{
    const struct {
        const char* first;
        bool accepted;
    } rows[] = {
        {"\xC3\xA9", true},
        {"\xD9\xA3", true},
        {"\xC3\x97", false},
        {"\xF0\x9F\x98\x80", false},
    };
    TestFolder folder;
    for (const auto& row : rows) {
        const String text = xel_text::FromUtf8(row.first + "=1"s);
        const std::string bytes(reinterpret_cast<const char*>(text.begin()),
                                static_cast<std::size_t>(text.GetLength()) * 2);
        EXPECT_EQ(Read(folder, "\xFF\xFE" + bytes).accepted, row.accepted) << row.first;
    }
    EXPECT_EQ(Read(folder, "\xE9=\x80").store, "[]\xC3\xA9=\xE2\x82\xAC|");
}

TEST(IniReader, OtherMarksAreSkippedAndTheTextIsReadAsBytes)
{
    TestFolder folder;
    const Result utf8 = Read(folder, "\xEF\xBB\xBF[A]\nx=\xC3\xA9");
    EXPECT_TRUE(utf8.accepted);
    EXPECT_EQ(utf8.store, "[A]x=\xC3\x83\xC2\xA9|");
    EXPECT_EQ(utf8.encoding, TEXT_ENCODING_UNKNOWN);
    const Result bigEndian = Read(folder, "\xFE\xFF\0[\0A\0]\0\n\0b\0a\0d"s);
    EXPECT_TRUE(bigEndian.accepted) << "ends at the first byte";
    EXPECT_EQ(bigEndian.store, "");
    EXPECT_EQ(bigEndian.encoding, TEXT_ENCODING_UNKNOWN);
    EXPECT_EQ(Read(folder, "[").diagnosis.fault, ESettingsFault::headerNotClosed)
        << "one byte is read as 8-bit text";
    EXPECT_TRUE(Read(folder, "\xFF\xFE").accepted) << "a mark and nothing else";
}

TEST(IniReader, FilesThatCannotBeOpenedLeaveTheStore)
{
    TestFolder folder;
    folder.Write("empty", "");
    std::filesystem::create_directory(folder.HostPath("folder"));
    const struct {
        const char* name;
        ESettingsFault fault;
        DWORD error;
    } rows[] = {{"missing", ESettingsFault::cannotOpen, ERROR_FILE_NOT_FOUND},
                {"no/folder", ESettingsFault::cannotOpen, ERROR_PATH_NOT_FOUND},
                {"folder", ESettingsFault::cannotOpen, ERROR_ACCESS_DENIED},
                {"empty", ESettingsFault::emptyFile, 0}};
    for (const auto& row : rows) {
        CThreeTupleStore store;
        store.setValue(L"a", L"b", L"c");
        EXelTextEncoding encoding = kUntouched;
        CSettingsDiagnosis diagnosis;
        EXPECT_FALSE(readSettingsAsIni(folder.Path(row.name), store, encoding, diagnosis));
        EXPECT_EQ(Flat(store), "[a]b=c|") << row.name;
        EXPECT_EQ(encoding, kUntouched);
        EXPECT_EQ(diagnosis.fault, row.fault) << row.name;
        EXPECT_EQ(diagnosis.systemError, row.error) << row.name;
        EXPECT_EQ(diagnosis.line, 0u);
    }
}

TEST(IniWriter, WritesExactBytesInBothWidths)
{
    CThreeTupleStore store;
    store.setValue(L"A", L"b", L"2");
    store.setValue(L"A", L"a", L" 1=\x20AC\x4E2D ");
    store.setValue(L"Empty", L"x", L"");
    store.removeValue(L"Empty", L"x");
    store.setValue(L"", L"k", L"");
    TestFolder folder;
    EXPECT_TRUE(writeSettingsAsIni(folder.Path("narrow"), store, TEXT_ENCODING_UNKNOWN));
    EXPECT_EQ(folder.Read("narrow"),
              "[]\r\nk=\r\n\r\n[A]\r\na= 1=\x80? \r\nb=2\r\n\r\n[Empty]\r\n\r\n");
    EXPECT_TRUE(writeSettingsAsIni(folder.Path("wide"), store, TEXT_ENCODING_UTF16LE));
    EXPECT_EQ(folder.Read("wide"), Utf16Bytes("[]\r\nk=\r\n\r\n[A]\r\na= 1=") + "\xAC\x20\x2D\x4E" +
                                       Utf16Bytes(" \r\nb=2\r\n\r\n[Empty]\r\n\r\n"));

    const_cast<CThreeTupleSection&>(store.sections().at(L"A")).name = L"Name";
    store.removeSection(L"");
    EXPECT_TRUE(writeSettingsAsIni(folder.Path("narrow"), store, TEXT_ENCODING_8BIT));
    EXPECT_EQ(folder.Read("narrow").substr(0, 8), "[Name]\r\n") << "the name, not the key";
    EXPECT_TRUE(writeSettingsAsIni(folder.Path("narrow"), CThreeTupleStore(), TEXT_ENCODING_8BIT));
    EXPECT_EQ(folder.Read("narrow"), "");
    EXPECT_FALSE(writeSettingsAsIni(folder.Path("no/folder"), store, TEXT_ENCODING_8BIT));
}

TEST(IniWriter, LargeStoresComeBackInBothWidths)
{
    CThreeTupleStore store;
    for (int i = 0; i < 20000; ++i) {
        const String number = xel_text::FromUtf8(std::to_string(i * 7919 % 20000));
        store.setValue(L"section " + number.Left(2), L"k" + number, number + L" \x00E9");
    }
    TestFolder folder;
    for (const EXelTextEncoding encoding : {TEXT_ENCODING_8BIT, TEXT_ENCODING_UTF16LE}) {
        EXPECT_TRUE(writeSettingsAsIni(folder.Path("f"), store, encoding));
        CThreeTupleStore again;
        EXelTextEncoding found = kUntouched;
        EXPECT_TRUE(readSettingsAsIni(folder.Path("f"), again, found));
        EXPECT_EQ(found, encoding);
        EXPECT_TRUE(again == store);
    }
}

} // namespace
