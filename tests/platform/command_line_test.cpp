#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/utf8_arguments.h"
#include "xelutils/platform/posix/command_line.h"

TEST(SplitCommandLine, RulesOfBlanksQuotesAndBackslashes)
{
    const struct {
        const char* rule;
        const wchar_t* commandLine;
        std::vector<std::string> arguments;
    } rows[] = {
        {"nothing", L"", {}},
        {"blanks and tabs separate", L" \t-a  x\t", {"-a", "x"}},
        {"a line break does not", L"a\nb", {"a\nb"}},
        {"quotes keep blanks", LR"("b c" d"e f"g)", {"b c", "de fg"}},
        {"an empty argument", LR"("" a "")", {"", "a", ""}},
        {"an open quote reaches to the end", LR"(a "b c )", {"a", "b c "}},
        {"a quote alone opens an empty argument", LR"(")", {""}},
        {"two quotes inside quotes are one, which closes them", LR"("a"" b")", {R"(a")", "b"}},
        {"two quotes outside are nothing", LR"(a""b c)", {"ab", "c"}},
        {"backslashes are plain", LR"(\a\\b\ \\ c\)", {R"(\a\\b\)", R"(\\)", R"(c\)"}},
        {"one before a quote makes it text", LR"(\" "\"x y")", {R"(")", R"("x y)"}},
        {"two are one, and the quote counts", LR"("x\\" y\\"a b")", {R"(x\)", R"(y\a b)"}},
        {"three are one, and the quote is text", LR"(x\\\" y)", {R"(x\")", "y"}},
        {"four are two", LR"("x y\\\\" z)", {R"(x y\\)", "z"}},
        {"escaped, then two inside quotes", LR"("a\\""b")", {R"(a\"b)"}},
        {"UTF-8 of every length", L"\x7F\xE9\x20AC\xD83D\xDE00", {"\x7F\xC3\xA9€\xF0\x9F\x98\x80"}},
        {"half a character",
         L"\xD83D \xDC7F \xDD00",
         {"\xEF\xBF\xBD", "\xEF\xBF\xBD", "\xEF\xBF\xBD"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SplitCommandLine(row.commandLine), row.arguments) << row.rule;
        EXPECT_EQ(SplitByHost(row.commandLine).value_or(row.arguments), row.arguments) << row.rule;
    }
    const std::vector<std::string> carriedBytes = {"\x80\xFF"};
    EXPECT_EQ(SplitCommandLine(L"\xDC80\xDCFF"), carriedBytes);
}
