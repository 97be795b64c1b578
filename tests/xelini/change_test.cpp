// xelini set, unset, convert and merge: what changes, what stays, and what is refused.
#include "xelini/xelini_run.h"

namespace {

const std::string kMark = "\xFF\xFE";

struct ChangeRow {
    const char* rule;
    Arguments arguments;
    std::string before;
    std::string result;
};

// The result is what the file holds then.
void expectDone(const std::vector<ChangeRow>& rows)
{
    for (const ChangeRow& row : rows)
        expectRow({row.rule, row.arguments, row.before, 0, "", "", row.result});
}

// The result is the message; the file stays as it was.
void expectRefused(const std::vector<ChangeRow>& rows)
{
    for (const ChangeRow& row : rows)
        expectRow({row.rule, row.arguments, row.before, 1, "", row.result, row.before});
}

TEST(XeliniSet, ReplacesTheValueThatCounts)
{
    expectDone({
        {"and keeps every other byte", "set|p.ini|A|k|2", "; c\r\n\n[A] \t\n\rk=1\r;d\r\n\r\n",
         "; c\r\n\n[A] \t\n\rk=2\r;d\r\n\r\n"},
        {"the last line of a repeated key", "set|p.ini|A|k|3", "[A]\nk=1\n[B]\nk=1\n[A]\nk=2\n",
         "[A]\nk=1\n[B]\nk=1\n[A]\nk=3\n"},
        {"behind a line of blanks no section goes on", "set|p.ini||y|3", "[A]\nx=1\n \ny=2\n",
         "[A]\nx=1\n \ny=3\n"},
        {"in UTF-16, whose zero fill stays", "set|p.ini|A|k|w", Utf16Bytes("[A]\nk=v\0\0"s),
         Utf16Bytes("[A]\nk=w\0\0"s)},
        {"bytes of = that meet across two characters are no =",
         "set|p.ini||k\xE3\xB4\x80\xC4\x80|w", kMark + "k\0\0\x3D\0\x01=\0v\0"s,
         kMark + "k\0\0\x3D\0\x01=\0w\0"s},
        {"behind a mark of UTF-8", "set|p.ini||k|w", "\xEF\xBB\xBFk=v\n", "\xEF\xBB\xBFk=w\n"},
        {"several at once", "set|p.ini|A|k|1|B|j|2|A|k|3", "[B]\nj=0\n[A]\n",
         "[B]\nj=2\n[A]\nk=3\n"},
        {"texts that look like options or lists", "set|p.ini|--|A|k|-x|A|j|[1,2]", "[A]\nk=\n",
         "[A]\nk=-x\nj=[1,2]\n"},
    });
}

TEST(XeliniSet, FindsThePlaceOfANewEntry)
{
    expectDone({
        {"behind the last entry of its section", "set|p.ini|A|n|1",
         "[A]\nx=1\n; c\n\n[B]\ny=1\r\n[A]\nz=1\r\n;d\n",
         "[A]\nx=1\n; c\n\n[B]\ny=1\r\n[A]\nz=1\r\nn=1\r\n;d\n"},
        {"before the first header", "set|p.ini||n|1", ";c\n[A]\rx=1\n", ";c\nn=1\n[A]\rx=1\n"},
        {"no section, behind a line of blanks", "set|p.ini||n|1", "[A]\n\t\ny=1",
         "[A]\n\t\ny=1\nn=1\n"},
        {"a new section at the end", "set|p.ini|N|n|1", "[A]\n \ny=1\n", "[A]\n \ny=1\n[N]\nn=1\n"},
        {"whose last line gets its break", "set|p.ini|N|n|1", "[A]\rx=1", "[A]\rx=1\r[N]\rn=1\r"},
        {"names keep spaces and brackets", "set|p.ini| a]b |n|1", ";\n", ";\n[ a]b ]\nn=1\n"},
        {"before the zero that ends the text", "set|p.ini|N|n|1", "x=1\n\0junk=2\n"s,
         "x=1\n[N]\nn=1\n\0junk=2\n"s},
        {"in UTF-16 with its mark", "set|p.ini|N|n|\xF0\x9F\x98\x80", kMark + Utf16Bytes("x=1"),
         kMark + Utf16Bytes("x=1\r\n[N]\r\nn=") + "\x3D\xD8\x00\xDE"s + Utf16Bytes("\r\n")},
        {"where the mark is needed now", "set|p.ini||\xD0\xB0|1", Utf16Bytes("[ABC]\n"),
         kMark + "\x30\x04"s + Utf16Bytes("=1\n[ABC]\n")},
        {"a missing file", "set|p.ini|A|k|1|A|j|2|--encoding|8bit", kMissing,
         "[A]\r\nk=1\r\nj=2\r\n"},
        {"an empty file", "set|p.ini||k|1|--encoding|utf16le", "", Utf16Bytes("k=1\r\n")},
    });
}

TEST(XeliniSet, RefusesWhatWouldNotReadBack)
{
    const std::string file = "[A]\nk=v\n";
    expectRefused({
        {"line break in a value", "set|p.ini|A|k|a\nb", file,
         "p.ini: the value for key 'k' contains a line break; an entry is one line"},
        {"line break in a section", "set|p.ini|A\n|k|v", file,
         "p.ini: section 'A\n' contains a line break; a header is one line"},
        {"empty key", "set|p.ini|A||v", file, "p.ini: a key cannot be empty"},
        {"key with =", "set|p.ini|A|a=b|v", file,
         "p.ini: key 'a=b' would not read back; a key ends at its first '='"},
        {"all or nothing", "set|p.ini|A|k|w|A|_|v", file,
         "p.ini: key '_' would not read back; a key starts with a letter or digit"},
        {"not in the code page", "set|p.ini|A|k|x\xE4\xB8\xAD", file,
         "p.ini: the value for key 'k' contains '\xE4\xB8\xAD' (U+4E2D), which the 8-bit code page "
         "cannot hold; convert the file to utf16le first"},
        {"not ASCII behind a mark of UTF-8", "set|p.ini|A|k|\xC3\xA9", "\xEF\xBB\xBF[A]\nk=v\n",
         "p.ini: the value for key 'k' is not plain ASCII, but the file has the mark of UTF-8, "
         "which devices do not read; convert it first (xelini convert --from utf-8)"},
        {"another mark", "set|p.ini|A|k|v", "\xFE\xFF\0["s,
         "p.ini: begins with the mark of an encoding that devices do not read; save it as 8-bit "
         "text or UTF-16LE first"},
        {"text behind a zero", "set|p.ini|A|k|w", "[A]\nk=v\0old\n"s,
         "p.ini:2: text behind a zero character would be lost; --allow-cut drops it"},
        {"a text that would be taken for a mark", "set|p.ini||\xC3\xBF\xC3\xBE|w", "[A]\n",
         "p.ini: the changed file would not read as it is meant to; nothing is changed"},
        {"a refused file", "set|p.ini|A|k|w", "[A]\nk\n",
         "p.ini:2: entry lacks '='; write key=value, or start a comment with ';', '#' or '/'"},
    });
    expectRow({"missing", "set|p.ini|A|k|w", kMissing, 2, "",
               "p.ini: cannot be opened: no such file or directory; --encoding makes it",
               kMissing});
    expectDone({{"text behind a zero may go", "set|p.ini|A|k|w|--allow-cut", "[A]\nk=v\0old\n"s,
                 "[A]\nk=w\n"}});
}

TEST(XeliniUnset, RemovesEveryLineAskedFor)
{
    expectDone({
        {"of a key", "unset|p.ini|A|k", "[A]\nk=1\n;c\nj=1\n[B]\nk=2\n[A]\nk=3\n",
         "[A]\n;c\nj=1\n[B]\nk=2\n[A]\n"},
        {"of a section, not its comments", "unset|p.ini|A",
         "[A]\nk=1\n;c\n\n[B]\nk=2\n[A]\nk=3\n \nj=1\n", ";c\n\n[B]\nk=2\n \nj=1\n"},
        {"of no section", "unset|p.ini|", "x=1\n[A]\n \ny=1\n", "[A]\n \n"},
        {"the last of UTF-16", "unset|p.ini|A|k", kMark + Utf16Bytes("k=v\n[A]\nk=v\n"),
         kMark + Utf16Bytes("k=v\n[A]\n")},
    });
    expectRefused({
        {"no such key", "unset|p.ini|A|K", "[A]\nk=1\n", "p.ini: no key 'K' in section 'A'"},
        {"UTF-16 behind a header's zero", "unset|p.ini|A",
         "\xFF\xFE" + Utf16Bytes("[A] \0x\nk=v\n"s),
         "p.ini:1: text behind a zero character would be lost; --allow-cut drops it"},
        {"nothing left", "unset|p.ini|A", "[A]\nk=1\n",
         "p.ini: would be empty, and devices cannot read an empty file; leave a comment in it, or "
         "remove the file"},
    });
}

TEST(XeliniConvert, ChangesTheEncodingAlone)
{
    const std::string text = "; \xE9\r\n\n[A]\rk=\x80\x81";
    const std::string wide =
        Utf16Bytes("; ") + "\xE9\0"s + Utf16Bytes("\r\n\n[A]\rk=") + "\xAC\x20\x81\0"s;
    expectDone({
        {"8-bit to UTF-16", "convert|p.ini|--encoding|utf16le", text, wide},
        {"a mark goes with UTF-16", "convert|p.ini|--encoding|8bit", kMark + wide, text},
        {"zero fill stays", "convert|p.ini|--encoding|8bit", Utf16Bytes("[ABC]\nk=v\0\0"s),
         "[ABC]\nk=v\0\0"s},
        {"from UTF-8", "convert|p.ini|--encoding|8bit|--from|utf-8",
         "\xEF\xBB\xBF;\xC3\xA9\nk=\xE2\x82\xAC", ";\xE9\nk=\x80"},
        {"from UTF-8 to UTF-16", "convert|p.ini|--encoding|utf16le|--from|utf-8",
         ";\xE4\xB8\xAD long", kMark + ";\0\x2D\x4E"s + Utf16Bytes(" long")},
        {"text behind a zero may go", "convert|p.ini|--encoding|utf16le|--allow-cut",
         "[A]\nk=v\0x\n\0y"s, Utf16Bytes("[A]\nk=v\n")},
    });
    expectRefused({
        {"a comment that the code page cannot hold", "convert|p.ini|--encoding|8bit",
         Utf16Bytes("[ABC]\n;") + "\x2D\x4E",
         "p.ini:2: '\xE4\xB8\xAD' (U+4E2D) is not in the 8-bit code page; replace it first"},
        {"text behind the zero that ends the text", "convert|p.ini|--encoding|utf16le", "k=v\n\0x"s,
         "p.ini:2: text behind a zero character would be lost; --allow-cut drops it"},
        {"a zero that ends 8-bit text only", "convert|p.ini|--encoding|8bit",
         Utf16Bytes("key=v\0x"s),
         "p.ini:1: text behind a zero character would not be read in 8-bit text; remove it first"},
        {"a foreign mark", "convert|p.ini|--encoding|utf16le", "\xEF\xBB\xBFk=v",
         "p.ini: begins with the mark of another encoding; for UTF-8 give --from utf-8, else save "
         "it as 8-bit text or UTF-16LE first"},
        {"not from UTF-8", "convert|p.ini|--encoding|8bit|--from|utf-8", "a=1\r\nk=\xE9\n",
         "p.ini:2: is not UTF-8; leave --from away for text in the 8-bit code page"},
        {"refused once decoded", "convert|p.ini|--encoding|8bit|--from|utf-8",
         "a=1\n\xE2\x82\xAC=1\n",
         "p.ini:2: line starts with a character that begins no line; a key starts with a letter or "
         "digit, a header with '[', a comment with ';', '#' or '/'"},
    });
    expectRow({"as a filter", "convert|-|--encoding|utf16le", kMissing, 0, Utf16Bytes("[A]\nk=v\n"),
               "", kMissing},
              {.input = "[A]\nk=v\n"});
}

TEST(XeliniMerge, LaysFilesOverABase)
{
    XeliniFolder folder;
    folder.Write("base.ini", "z=0\n[B]\nk=1\nj=1\n");
    folder.Write("over.ini", "[A]\nx=1\n[B]\nk=2\n");
    folder.Write("wide.ini", kMark + Utf16Bytes("k=v"));
    const auto expectMerge = [&](const char* arguments, const char* file,
                                 const std::string& bytes) {
        const Outcome outcome = folder.run(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(folder.Read(file), bytes);
    };
    // The section with the empty name stands first and without its unreadable header.
    expectMerge("merge|base.ini|over.ini|-o|new.ini", "new.ini",
                "z=0\r\n\r\n[A]\r\nx=1\r\n\r\n[B]\r\nj=1\r\nk=2\r\n\r\n");
    expectMerge("merge|over.ini|wide.ini|-o|new2.ini", "new2.ini",
                Utf16Bytes("k=v\r\n\r\n[A]\r\nx=1\r\n\r\n[B]\r\nk=2\r\n\r\n"));
    // An existing file is edited: comments and order stay, what is in no input goes.
    folder.Write("out.ini", ";c\n[C]\nq=1\n[B]\nk=0\nq=2\n");
    expectMerge("merge|over.ini|base.ini|-o|out.ini", "out.ini",
                ";c\nz=0\n[B]\nk=1\nj=1\n[A]\nx=1\n");
    expectMerge("merge|base.ini|over.ini|-o|base.ini", "base.ini",
                "z=0\n[B]\nk=2\nj=1\n[A]\nx=1\n");
    folder.Write("none.ini", "[A]\n");
    const Outcome empty = folder.run("merge|none.ini|none.ini|-o|new3.ini");
    EXPECT_EQ(empty.status, 1);
    EXPECT_FALSE(std::filesystem::exists(folder.HostPath("new3.ini")));
    EXPECT_EQ(folder.run("merge|over.ini|none.ini|-o|-").out,
              "[A]\r\nx=1\r\n\r\n[B]\r\nk=2\r\n\r\n");
}

} // namespace
