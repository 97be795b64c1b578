#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "support/test_folder.h"
#include "xelutils/settings/settings_streams.h"

using namespace xel_settings;
using String = xel_text::CXelStringT<wchar_t>;
using namespace std::string_literals;

namespace {

std::vector<String> Lines(CSettingsReader& reader)
{
    std::vector<String> lines;
    while (!reader.isEnd())
        lines.push_back(reader.readLine());
    EXPECT_EQ(reader.readLine().GetLength(), 0);
    return lines;
}

// Reads from memory that ends with the text, so that a sanitizer sees every step beyond it.
std::vector<String> NarrowLines(const std::string& text)
{
    const std::vector<char> exact(text.begin(), text.end());
    CSettingsReaderNarrow reader(exact.data(), static_cast<std::uint32_t>(exact.size()));
    return Lines(reader);
}
std::vector<String> WideLines(const std::string& bytes)
{
    std::vector<wchar_t> exact((bytes.size() + 1) / 2);
    if (!bytes.empty())
        std::memcpy(exact.data(), bytes.data(), bytes.size());
    CSettingsReaderWide reader(exact.data(), static_cast<std::uint32_t>(bytes.size()));
    return Lines(reader);
}

TEST(SettingsReader, SplitsLinesInBothWidths)
{
    const struct {
        const char* rule;
        std::string text;
        std::vector<String> lines;
    } rows[] = {
        {"runs of breaks count once", "a\r\n\r\n\nb", {L"a", L"b"}},
        {"CR, LF, CR LF and LF CR", "a\rb\nc\r\nd\n\re", {L"a", L"b", L"c", L"d", L"e"}},
        {"leading and trailing breaks", "\n\r\na\n\n", {L"a"}},
        {"only breaks give one empty line", "\r\n\n", {L""}},
        {"zero at the start of a line ends", "a\n\0b\n"s, {L"a"}},
        {"zero at the start of all", "\0a"s, {}},
        {"zeros that fill the end", "[s]\r\nk=v\0\0\0"s, {L"[s]", L"k=v"}},
        {"zeros behind the last break", "[s]\r\nk=v\r\n\0\0"s, {L"[s]", L"k=v"}},
        {"nothing", "", {}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(NarrowLines(row.text), row.lines) << row.rule;
        EXPECT_EQ(WideLines(Utf16Bytes(row.text)), row.lines) << row.rule << ", wide";
    }
}

TEST(SettingsReader, ZerosInsideALine)
{
    const std::vector<String> wide = WideLines(Utf16Bytes("a\0b\nc"s));
    ASSERT_EQ(wide.size(), 2u);
    EXPECT_EQ(wide[0].GetLength(), 3) << "kept";
    EXPECT_EQ(wide[1], L"c");
    EXPECT_EQ(WideLines(Utf16Bytes("a\0\nb"s))[0].GetLength(), 2) << "before a break, too";
    EXPECT_EQ(NarrowLines("a\0b\nc"s), (std::vector<String>{L"a", L"c"})) << "cut by conversion";
}

TEST(SettingsReader, HalfACharacterAtTheEndIsDropped)
{
    EXPECT_EQ(WideLines(Utf16Bytes("k=v") + "x"), std::vector<String>{L"k=v"});
    EXPECT_EQ(WideLines("x"), std::vector<String>{});
}

TEST(SettingsReader, LongLinesAreCutAtTheLimit)
{
    for (const std::uint32_t over : {0u, 1u}) {
        const std::string text(CSettingsReader::kLongestLine + over, 'x');
        CSettingsReaderNarrow reader(text.data(), static_cast<std::uint32_t>(text.size()));
        EXPECT_EQ(reader.readLine().GetLength(), static_cast<int>(CSettingsReader::kLongestLine));
        EXPECT_EQ(reader.hasCutLine(), over != 0);
        EXPECT_TRUE(reader.isEnd());
    }
}

TEST(SettingsReader, NullIsAnEnd)
{
    CSettingsReaderNarrow narrow(nullptr, 10);
    CSettingsReaderWide wide(nullptr, 10);
    EXPECT_TRUE(narrow.isEnd() && wide.isEnd());
    EXPECT_TRUE(narrow.readLine().IsEmpty() && wide.readLine().IsEmpty());
}

TEST(SettingsReader, NarrowTextIsConvertedByTheCodePage)
{
    EXPECT_EQ(NarrowLines("\x80=\xE9"), std::vector<String>{L"\x20AC=\x00E9"});
}

// The last line comes out exactly, wherever the file ends within a page.
TEST(MappedFile, EndsWithItsBytesAtEverySize)
{
    TestFolder folder;
    for (const std::size_t size : {1, 2, 3, 4094, 4095, 4096, 4097, 4098, 8192, 65536}) {
        const String path = folder.Write("f", std::string(size, 'x'));
        CMappedFile file;
        ASSERT_TRUE(file.open(path));
        EXPECT_EQ(file.size, size);
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_EQ(file.view[size + i], 0) << size;
        CSettingsReaderNarrow narrow(file.view, file.size);
        EXPECT_EQ(narrow.readLine(), String(L'x', static_cast<int>(size)));
        EXPECT_TRUE(narrow.isEnd());
        CSettingsReaderWide wide(file.view, file.size);
        EXPECT_EQ(wide.readLine(),
                  String(static_cast<wchar_t>(0x7878), static_cast<int>(size / 2)));
        EXPECT_TRUE(wide.isEnd());
    }
}

TEST(MappedFile, FailsCleanly)
{
    TestFolder folder;
    CMappedFile file;
    EXPECT_FALSE(file.open(folder.Write("empty", "")));
    EXPECT_EQ(GetLastError(), ERROR_FILE_INVALID);
    EXPECT_FALSE(file.open(folder.Path("missing")));
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_FALSE(file.open(folder.Path("")));
    EXPECT_FALSE(file.isOpen);
    EXPECT_TRUE(file.open(folder.Write("full", "x")));
    EXPECT_FALSE(file.open(folder.Path("missing")));
    EXPECT_TRUE(!file.view && file.hFile == INVALID_HANDLE_VALUE && !file.hMapping && !file.size);
}

TEST(SettingsWriter, WritesExactBytes)
{
    TestFolder folder;
    const auto fill = [&](CSettingsWriter& writer, const char* name) {
        EXPECT_TRUE(writer.open(folder.Path(name)));
        EXPECT_TRUE(writer.write(L"a\x20AC"));
        EXPECT_EQ(folder.Read(name).size(), name[0] == 'w' ? 4u : 2u) << "has reached the file";
        EXPECT_TRUE(writer.writeLine(L"b\x4E2D"));
        EXPECT_TRUE(writer.writeLine(String()));
    };
    folder.Write("narrow", "longer than what comes, and old");
    CSettingsWriterNarrow narrow;
    fill(narrow, "narrow");
    EXPECT_EQ(folder.Read("narrow"), "a\x80\x62?\r\n\r\n");
    CSettingsWriterWide wide;
    fill(wide, "wide");
    EXPECT_EQ(folder.Read("wide"), "a\0\xAC\x20\x62\0\x2D\x4E\r\0\n\0\r\0\n\0"s);
}

TEST(SettingsWriter, FailuresAreFalseAndLeaveItUsable)
{
    TestFolder folder;
    CSettingsWriterWide writer;
    EXPECT_FALSE(writer.write(L"x")) << "not open";
    EXPECT_FALSE(writer.open(folder.Path("no/such/folder")));
    EXPECT_FALSE(writer.writeLine(L"x"));
    EXPECT_TRUE(writer.open(folder.Path("f")));
    EXPECT_TRUE(writer.write(L"x"));

    CSettingsWriterWide closed;
    closed.gatherWrites();
    EXPECT_TRUE(closed.write(L"x")) << "gathered";
    EXPECT_FALSE(closed.flush());
    EXPECT_FALSE(closed.write(L"x")) << "and what follows fails too";
}

} // namespace
