// xelini check, list, get, exists and diff, and the command line itself.
#include "xelini/xelini_run.h"

namespace {

struct ShowRow {
    const char* rule;
    Arguments arguments;
    std::string file;
    int status;
    std::string out;
    std::string message;
};

void expectRows(const std::vector<ShowRow>& rows, const Surroundings& around = {})
{
    for (const ShowRow& row : rows)
        expectRow({row.rule, row.arguments, row.file, row.status, row.out, row.message, row.file},
                  around);
}

const std::string kTwoSections = "top=0\n[B]\nx=2\n[A]\nkey = v = w \nx=\n";

struct CheckRow {
    const char* rule;
    std::string file;
    std::string out; // without the name of the file and the line end; empty when refused
    std::string message;
};

void expectChecked(const std::vector<CheckRow>& rows)
{
    for (const CheckRow& row : rows) {
        const bool refused = row.out.empty();
        const std::string out = refused ? "" : "p.ini: " + row.out + "\n";
        expectRow({row.rule, "check|p.ini", row.file, refused, out, row.message, row.file});
    }
}

TEST(XeliniCheck, TellsWhatAFileIs)
{
    expectChecked({
        {"8-bit text", kTwoSections, "8-bit text, 3 sections, 4 entries", ""},
        {"headers alone make no section", "[A]\n", "8-bit text, 0 sections, 0 entries", ""},
        {"one byte", ";", "8-bit text, 0 sections, 0 entries", ""},
        {"UTF-16 without a mark", Utf16Bytes("[A]\nk=v\n"), "UTF-16LE, 1 section, 1 entry", ""},
        {"a repeated key, with both lines", "[A]\r\rk=1\rj=1\r\nk=2",
         "8-bit text, 1 section, 2 entries",
         "p.ini:5: warning: key 'k' of section 'A' repeats line 3; the last one counts"},
        {"UTF-8 without a mark", "a=1\nb=\xC3\xA9\n", "8-bit text, 1 section, 2 entries",
         "p.ini:2: warning: looks like UTF-8, which devices show garbled; mend it with 'xelini "
         "convert p.ini --encoding 8bit --from utf-8'"},
        {"a foreign mark", "\xFE\xFF\0["s,
         "8-bit text behind the mark of UTF-16BE, 0 sections, 0 entries",
         "p.ini:1: warning: begins with the mark of UTF-16BE, but devices read 8-bit text behind "
         "it; save the file as 8-bit text or UTF-16LE\n"
         "xelini: p.ini:1: warning: text behind a zero character is not read"},
        {"text behind a zero character", "a=1\0b\n\n\0c"s, "8-bit text, 1 section, 1 entry",
         "p.ini:1: warning: text behind a zero character is not read\n"
         "xelini: p.ini:3: warning: text behind a zero character is not read"},
    });
}

TEST(XeliniCheck, NamesLineRuleAndRemedyOfARefusedFile)
{
    expectChecked({
        {"a mark may be why", "\xEF\xBB\xBF[A]\r\n\xD7\x90=1", "",
         "p.ini:1: warning: begins with the mark of UTF-8, but devices read 8-bit text behind it; "
         "save the file as 8-bit text or UTF-16LE\n"
         "xelini: p.ini:2: warning: looks like UTF-8, which devices show garbled; mend it with "
         "'xelini convert p.ini --encoding 8bit --from utf-8'\n"
         "xelini: p.ini:2: line starts with a character that begins no line; a key starts with a "
         "letter or digit, a header with '[', a comment with ';', '#' or '/'"},
        {"lines count as in an editor", "a=1\r\n\r\r\n\n[A\n", "",
         "p.ini:5: section header lacks its closing ']'; nothing but white space may follow it"},
        {"indented", Utf16Bytes("[ABC]\r\n a=1"), "",
         "p.ini:2: line starts with a space or tab; remove the white space in front, or all of the "
         "line"},
        {"no =", "a=1\nb\n", "",
         "p.ini:2: entry lacks '='; write key=value, or start a comment with ';', '#' or '/'"},
        {"empty", "", "",
         "p.ini: is empty, and devices cannot read an empty file; write at least one line, which "
         "may be a comment"},
    });
}

TEST(XeliniCheck, ChecksAllFilesAndEndsWithTheWorst)
{
    XeliniFolder folder;
    folder.Write("a.ini", "a=1");
    folder.Write("b.ini", "b");
    const Outcome outcome = folder.run("check|gone.ini|b.ini|a.ini");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "a.ini: 8-bit text, 1 section, 1 entry\n");
    EXPECT_EQ(outcome.err.find("xelini: gone.ini: cannot be opened: no such file or directory\n"),
              0u);
    EXPECT_EQ(folder.run("check|-").err.find("xelini: -: is empty, and devices cannot"), 0u);
    EXPECT_EQ(folder.run("check|a.ini|b.ini|a.ini").status, 1);
}

TEST(XeliniShow, PrintsWhatTheReaderFinds)
{
    expectRows({
        {"values keep their spaces", "get|p.ini|A|key ", kTwoSections, 0, " v = w \n", ""},
        {"an empty value", "get|p.ini|A|x", kTwoSections, 0, "\n", ""},
        {"output is UTF-8", "get|p.ini||\xC3\xA9", "\xE9=\x80"s, 0, "\xE2\x82\xAC\n", ""},
        {"missing key", "get|p.ini|A|key", kTwoSections, 1, "",
         "p.ini: no key 'key' in section 'A'"},
        {"an empty default", "get|p.ini|A|key|--default=", kTwoSections, 0, "\n", ""},
        {"a refused file has no default", "get|p.ini|A|k|--default|d", "[A", 1, "",
         "p.ini:1: section header lacks its closing ']'; nothing but white space may follow it"},
        {"a half pair in plain text", "get|p.ini||k", "\xFF\xFEk\0=\0\x00\xD8"s, 0,
         "\xEF\xBF\xBD\n", ""},
        {"a key that exists", "exists|p.ini|A|x", kTwoSections, 0, "", ""},
        {"a key that does not", "exists|p.ini|A|y", kTwoSections, 1, "", ""},
        {"a section without entries", "exists|p.ini|A", "[A]", 1, "", ""},
        {"plain list", "list|p.ini", kTwoSections, 0,
         "top=0\n\n[A]\nkey = v = w \nx=\n\n[B]\nx=2\n", ""},
        {"list of a missing section", "list|p.ini|C", kTwoSections, 1, "", "p.ini: no section 'C'"},
        {"JSON", "list|p.ini|--json|A", kTwoSections, 0,
         "{\n  \"A\": {\n    \"key \": \" v = w \",\n    \"x\": \"\"\n  }\n}\n", ""},
        {"JSON escapes", "list|p.ini|--json",
         "\xFF\xFEk\0=\0\"\0\\\0\t\0\x01\0\0\0\x7F\0\xE9\0\x3D\xD8\x00\xDE\x00\xDC\x00\xD8x\0"s, 0,
         "{\n  \"\": {\n    \"k\": \"\\\"\\\\\\t\\u0001\\u0000\\u007f\xC3\xA9\xF0\x9F\x98\x80"
         "\\udc00\\ud800x\"\n  }\n}\n",
         ""},
    });
    // Standard input is a pipe or a file; both are read whole.
    expectRow({"standard input", "get|-||k", kMissing, 0, "v\n", "", kMissing}, {.input = "k=v"});
}

TEST(XeliniDiff, ShowsEntriesThatDiffer)
{
    XeliniFolder folder;
    folder.Write("a.ini", "[A]\nx=1\ny=2\nz=3\n[B]\nk=v\n");
    folder.Write("b.ini", Utf16Bytes("[A]\ny=3\nz=3\nw=4\n\n[C]\nk=v\n"));
    const Outcome plain = folder.run("diff|a.ini|b.ini");
    EXPECT_EQ(plain.status, 1);
    EXPECT_EQ(plain.out, "[A]\n+w=4\n-x=1\n-y=2\n+y=3\n\n[B]\n-k=v\n\n[C]\n+k=v\n");
    EXPECT_EQ(
        folder.run("diff|a.ini|b.ini|--json").out,
        "{\n  \"A\": {\n    \"w\": {\"a\": null, \"b\": \"4\"},\n"
        "    \"x\": {\"a\": \"1\", \"b\": null},\n    \"y\": {\"a\": \"2\", \"b\": \"3\"}\n  },\n"
        "  \"B\": {\n    \"k\": {\"a\": \"v\", \"b\": null}\n  },\n"
        "  \"C\": {\n    \"k\": {\"a\": null, \"b\": \"v\"}\n  }\n}\n");
    const Outcome equal = folder.run("diff|a.ini|a.ini|--json");
    EXPECT_EQ(equal.status, 0);
    EXPECT_EQ(equal.out, "{}\n");
}

TEST(XeliniCommandLine, WrongUseEndsWithTwo)
{
    expectRows({
        {"no command", "", kMissing, 2, "", "a subcommand is required; see xelini --help"},
        {"unknown command", "put", kMissing, 2, "", "there is no command 'put'; see xelini --help"},
        {"too many", "get|a|b|c|d", kMissing, 2, "",
         "the following argument was not expected: d; see xelini get --help"},
        {"no triple", "set|p.ini|A|k", kMissing, 2, "",
         "set takes triples: SECTION KEY VALUE [SECTION KEY VALUE ...]"},
        {"encoding", "convert|p.ini|--encoding|utf8", kMissing, 2, "",
         "--encoding takes 8bit or utf16le, not 'utf8'"},
        {"standard input twice", "diff|-|-", kMissing, 2, "",
         "standard input can be read only once"},
        {"version", "--version", kMissing, 0, "xelini 0.1.0\n", ""},
    });
    XeliniFolder folder;
    EXPECT_EQ(folder.run("set|--help").status, 0);
    EXPECT_NE(folder.run("--help").out.find("Exit status: 0 done"), std::string::npos);
}

} // namespace
