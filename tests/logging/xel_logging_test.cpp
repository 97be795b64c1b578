#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/child_process.h"
#include "support/target.h"
#include "support/test_folder.h"
#include "xelutils/files/file_funcs.h"
#include "xelutils/logging/xel_logging.h"

namespace {

using Lines = std::vector<std::u16string>;

// The file's lines without their ends. A file without mark or with an end that is none gives one
// line that says so.
Lines LinesOf(std::string_view bytes)
{
    if (!bytes.starts_with("\xFF\xFE") || bytes.size() % 2 != 0)
        return {u"<no mark, or half a unit>"};
    std::u16string text;
    for (std::size_t i = 2; i < bytes.size(); i += 2)
        text += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                      static_cast<unsigned char>(bytes[i + 1]) << 8);
    Lines lines;
    while (!text.empty()) {
        const std::size_t end = text.find(u"\r\n");
        if (end == text.npos)
            return {u"<no line end>"};
        lines.push_back(text.substr(0, end));
        text.erase(0, end + 2);
    }
    return lines;
}

// Without the time, which must be one of the first minute.
std::u16string Untimed(const std::u16string& line)
{
    constexpr std::u16string_view kShape = u"000dd.ddd ;";
    if (line.size() < kShape.size())
        return u"<short line> " + line;
    for (std::size_t i = 0; i < kShape.size(); ++i) {
        const bool isDigit = line[i] >= '0' && line[i] <= '9';
        if (kShape[i] == 'd' ? !isDigit : line[i] != kShape[i])
            return u"<no time> " + line;
    }
    return line.substr(kShape.size());
}

Lines Untimed(Lines lines)
{
    for (std::u16string& line : lines)
        line = Untimed(line);
    return lines;
}

// Today's start line, or the one of a minute ago when that is what `line` says.
std::u16string StartLine(const std::u16string& program, const std::u16string& line)
{
    std::u16string expected;
    for (int minutesAgo = 0; minutesAgo < 2 && expected != line; ++minutesAgo) {
        FILETIME time;
        FileFuncs::xelGetSystemTimeAsFileTime(time);
        const auto steps =
            (static_cast<long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime) -
            minutesAgo * 600'000'000LL;
        time = {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
        xel_text::CXelStringT<wchar_t> date, clock;
        FileFuncs::ConvertAndFormatFileTime(time, &date, &clock);
        expected = u" 7 ; Program " + program + u" started on " +
                   std::u16string(xel_text::ToUtf16(date)) + u" " +
                   std::u16string(xel_text::ToUtf16(clock));
    }
    return expected;
}

class LogTest : public testing::Test {
protected:
    // Copies the program to `name` and runs it there. What it shows a debugger goes to the file
    // "err". True when it came to its end.
    bool Run(const std::string& name, const std::vector<std::string>& arguments,
             const std::string& debugOutput = "") const
    {
        Install(name);
        ChildStart start = StartOf(name, arguments, debugOutput);
        start.error = m_folder.HostPath("err");
        start.showsDebugOutput = true;
        return RunChild(start) == 42;
    }
    // Nothing of what surrounds the tests counts.
    ChildStart StartOf(const std::string& name, const std::vector<std::string>& arguments,
                       const std::string& debugOutput = "") const
    {
        return {.program = m_folder.HostPath(name),
                .arguments = arguments,
                .folder = m_folder.HostPath(""),
                .environment = {
                    {"XEL_DEBUG_OUTPUT", debugOutput}, {"XEL_DEVICE_ROOT", ""}, {"XEL_ACP", ""}}};
    }
    void Install(const std::string& name) const
    {
        std::filesystem::create_directories(
            std::filesystem::path(m_folder.HostPath(name)).parent_path());
        std::filesystem::copy_file(LOG_CHILD_PROGRAM, m_folder.HostPath(name),
                                   std::filesystem::copy_options::skip_existing);
    }
    // What the log holds between its first line and its last one, without times. Says so instead
    // when one of these is not as it should be.
    Lines Messages(const std::string& name, const std::string& log)
    {
        Lines lines = Untimed(LinesOf(m_folder.Read(log)));
        if (lines.size() < 2 || lines.front() != StartLine(DevicePath(name), lines.front()) ||
            lines.back() != u" 7 ; Logging finished") {
            lines.insert(lines.begin(), u"<no whole log>");
            return lines;
        }
        return {lines.begin() + 1, lines.end() - 1};
    }
    std::u16string DevicePath(const std::string& name) const
    {
        const std::string host = std::filesystem::canonical(m_folder.HostPath(name)).string();
        const auto path = xel_text::FromUtf8(host);
        std::u16string text(xel_text::ToUtf16(path));
        std::replace(text.begin(), text.end(), u'/', u'\\');
        return text;
    }

    TestFolder m_folder;
};

} // namespace

TEST_F(LogTest, HasEveryKindOfTrace)
{
    ASSERT_TRUE(Run("app.exe", {"kinds"}));
    using namespace std::string_literals;
    EXPECT_EQ(Messages("app.exe", "app.log.txt"), (Lines{
                                                      u" 7 ; 100% plain",
                                                      u" 7 ; 1 a b",
                                                      u" 7 ; 2 c d",
                                                      u" 7 ; narrow|wide|framework|7",
                                                      u" 7 ; narrow|wide|framework",
                                                      u" 7 ; format narrow",
                                                      u" 7 ; format wide",
                                                      u" 7 ; \u20AC by the code page, ",
                                                      u" 7 ; \u00E9\U0001F600 \xD800 \0|not cut"s,
                                                      u" 7 ; ",
                                                      u" 7 ; ",
                                                  }));
}

TEST_F(LogTest, StandsBesideTheProgram)
{
    const struct {
        const char* rule;
        const char* program;
        const char* log;
    } rows[] = {
        {"the extension goes", "app.exe", "app.log.txt"},
        {"only the last one", "app.v2.exe", "app.v2.log.txt"},
        {"none to go", "app", "app.log.txt"},
        {"a folder's dot counts where the name has none", "dir.d/app", "dir.log.txt"},
        {"a hidden program has no other name", ".app", ".log.txt"},
        // Names that the C++ library of Windows cannot make, or that are a folder there.
        {"letters of any script", OnHost("\xC3\xA9\xF0\x9F\x98\x80.exe", "a.exe"),
         OnHost("\xC3\xA9\xF0\x9F\x98\x80.log.txt", "a.log.txt")},
        {"bytes that are no UTF-8", OnHost("a\xFF.exe", "b.exe"),
         OnHost("a\xFF.log.txt", "b.log.txt")},
        {"a backslash in a host's name", "a\\b.exe", "a\\b.log.txt"},
    };
    for (const auto& row : rows) {
        EXPECT_TRUE(Run(row.program, {"line"})) << row.rule;
        const Lines lines = Untimed(LinesOf(m_folder.Read(row.log)));
        ASSERT_EQ(lines.size(), 3u) << row.rule;
        EXPECT_EQ(lines[1], u" 7 ; line") << row.rule;
        std::filesystem::remove(m_folder.HostPath(row.log));
    }
}

TEST_F(LogTest, ReplacesTheLogOfTheRunBefore)
{
    m_folder.Write("app.log.txt", std::string(10000, 'x'));
    ASSERT_TRUE(Run("app.exe", {"line"}));
    EXPECT_EQ(Messages("app.exe", "app.log.txt"), (Lines{u" 7 ; line"}));
}

TEST_F(LogTest, DropsDebugLevels)
{
    ASSERT_TRUE(Run("app.exe", {"levels"}));
    EXPECT_EQ(Messages("app.exe", "app.log.txt"),
              (Lines{u" 7 ; level 0", u" 7 ; level 1", u" 7 ; level 2", u" 7 ; level 3",
                     u" 7 ; no argument"}));
}

TEST_F(LogTest, IsMadeByADebugTraceToo)
{
    ASSERT_TRUE(Run("app.exe", {"debug"}));
    EXPECT_EQ(Messages("app.exe", "app.log.txt"), Lines{});
}

TEST_F(LogTest, IsNotMadeWithoutTrace)
{
    ASSERT_TRUE(Run("app.exe", {"nothing"}));
    EXPECT_FALSE(std::filesystem::exists(m_folder.HostPath("app.log.txt")));
    EXPECT_EQ(m_folder.Read("err"), "");
}

TEST_F(LogTest, CutsMessagesAt2048Characters)
{
    ASSERT_TRUE(Run("app.exe", {"long"}));
    const auto line = [](char16_t unit, std::size_t count) {
        return u" 7 ; " + std::u16string(count, unit);
    };
    EXPECT_EQ(Messages("app.exe", "app.log.txt"),
              (Lines{line('n', 2047), line('w', 2047), line('n', 2048), line('w', 2048),
                     line('n', 2048), line('w', 2048), u" 7 ; short"}));
}

TEST_F(LogTest, ThreadsDoNotMixLines)
{
    ASSERT_TRUE(Run("app.exe", {"threads", "1000"}));
    const Lines lines = Messages("app.exe", "app.log.txt");
    ASSERT_EQ(lines.size(), 4000u);
    std::map<std::u16string, int> nextLines;
    for (const std::u16string& line : lines) {
        // The thread, and what is next of it.
        const std::size_t number = line.find(u" line ");
        ASSERT_NE(number, line.npos);
        int& next = nextLines[line.substr(0, number)];
        const std::string digits = std::to_string(next++);
        ASSERT_EQ(line.substr(number), u" line " + std::u16string(digits.begin(), digits.end()));
    }
    EXPECT_EQ(nextLines, (std::map<std::u16string, int>{{u" 7 ; thread 0", 1000},
                                                        {u" 7 ; thread 1", 1000},
                                                        {u" 7 ; thread 2", 1000},
                                                        {u" 7 ; thread 3", 1000}}));
}

// Who comes second waits until the start line is written, and loses nothing.
TEST_F(LogTest, ThreadsMayAllComeFirst)
{
    for (int round = 0; round < 30; ++round) {
        ASSERT_TRUE(Run("app.exe", {"threads", "1"}));
        Lines lines = Messages("app.exe", "app.log.txt");
        std::sort(lines.begin(), lines.end());
        ASSERT_EQ(lines, (Lines{u" 7 ; thread 0 line 0", u" 7 ; thread 1 line 0",
                                u" 7 ; thread 2 line 0", u" 7 ; thread 3 line 0"}));
    }
}

TEST_F(LogTest, LinesHaveTheirTime)
{
    ASSERT_TRUE(Run("app.exe", {"wait"}));
    const Lines lines = LinesOf(m_folder.Read("app.log.txt"));
    ASSERT_EQ(lines.size(), 4u);
    const auto milliseconds = [&lines](std::size_t index) {
        const std::u16string& line = lines[index];
        const std::string digits(line.begin(), line.begin() + 9);
        return std::stoi(digits.substr(0, 5)) * 1000 + std::stoi(digits.substr(6));
    };
    EXPECT_EQ(lines[1].substr(9), u" ; 7 ; before");
    EXPECT_EQ(lines[2].substr(9), u" ; 7 ; behind");
    EXPECT_GE(milliseconds(2) - milliseconds(1), 1029);
    EXPECT_LT(milliseconds(2), 30'000);
}

TEST_F(LogTest, EndsBehindStaticObjectsAndStaysEnded)
{
    ASSERT_TRUE(Run("app.exe", {"static-objects"}));
    EXPECT_EQ(Messages("app.exe", "app.log.txt"),
              (Lines{u" 7 ; main", u" 7 ; local static", u" 7 ; static object"}));
    const std::string shown = m_folder.Read("err");
    EXPECT_TRUE(shown.ends_with(" ; too late\r\n")) << shown;
}

TEST_F(LogTest, CanBeginWhileTheProgramEnds)
{
    ASSERT_TRUE(Run("app.exe", {"first-at-end"}));
    EXPECT_EQ(Messages("app.exe", "app.log.txt"),
              (Lines{u" 7 ; local static", u" 7 ; static object"}));
}

TEST_F(LogTest, DoesNotBeginBehindItsEnd)
{
    ASSERT_TRUE(Run("app.exe", {"first-too-late"}));
    EXPECT_FALSE(std::filesystem::exists(m_folder.HostPath("app.log.txt")));
    EXPECT_EQ(m_folder.Read("err").substr(9), " ; 7 ; too late\r\n");
}

TEST_F(LogTest, IsShownOnStandardError)
{
    ASSERT_TRUE(Run("app.exe", {"kinds"}));
    std::u16string shown;
    for (const std::u16string& line : LinesOf(m_folder.Read("app.log.txt"))) {
        // What is behind a zero is not shown.
        const std::size_t zero = line.find(u'\0');
        shown += line.substr(0, zero);
        shown += zero == line.npos ? u"\r\n" : u"";
    }
    const std::size_t alone = shown.find(u'\xD800');
    ASSERT_NE(alone, shown.npos);
    shown[alone] = u'\xFFFD';
    const auto text = xel_text::FromUtf16(shown);
    // A debugger gets it by the code page.
    const xel_text::CXelStringT<wchar_t> narrowed{xel_text::CXelStringT<char>(text)};
    EXPECT_EQ(m_folder.Read("err"), xel_text::ToUtf8(OnHost(text, narrowed)));
}

TEST_F(LogTest, IsNotShownWhenSilenced)
{
    ASSERT_TRUE(Run("app.exe", {"line"}, "none"));
    EXPECT_EQ(m_folder.Read("err"), "");
    EXPECT_EQ(Messages("app.exe", "app.log.txt"), (Lines{u" 7 ; line"}));
}

TEST_F(LogTest, LeavesFilesAloneThatTookTheNumberOfStandardError)
{
    Install("app.exe");
    // Nor does the log take the number of a stream.
    for (const std::string closed : {"2>&-", "0<&- 1>&- 2>&-"}) {
        const std::string command = "cd '" + m_folder.HostPath("") +
                                    "' && { ./app.exe own-file data " + closed +
                                    "; test $? = 42; }";
        ASSERT_EQ(std::system(command.c_str()), 0) << closed;
        EXPECT_EQ(m_folder.Read("data"), "mine");
        EXPECT_EQ(Messages("app.exe", "app.log.txt"), (Lines{u" 7 ; not for the file"}));
    }
}

TEST_F(LogTest, IsOnlyShownWhenItsFileCannotBeMade)
{
    // A folder stands in its place.
    std::filesystem::create_directories(m_folder.HostPath("app.log.txt/x"));
    ASSERT_TRUE(Run("app.exe", {"line"}));
    std::string shown = m_folder.Read("err");
    // There is no start line.
    ASSERT_EQ(std::count(shown.begin(), shown.end(), '\n'), 2);
    EXPECT_EQ(shown.substr(0, 3), "000");
    EXPECT_EQ(shown.substr(9, 14), " ; 7 ; line\r\n0");
    EXPECT_TRUE(shown.ends_with(" ; 7 ; Logging finished\r\n")) << shown;
}

TEST_F(LogTest, SecondProgramLeavesTheFirstOnesFileAlone)
{
    Install("app.exe");
    ChildStart start = StartOf("app.exe", {"until-input-ends"}, "none");
    start.waitsForInput = true;
    ChildProcess first(start);
    // The file has the start line, and then the first message.
    const auto hasBoth = [&] { return LinesOf(m_folder.Read("app.log.txt")).size() >= 2; };
    for (int i = 0; i < 30'000 && !hasBoth(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_TRUE(hasBoth());

    EXPECT_TRUE(Run("app.exe", {"line"}));
    const std::string shown = m_folder.Read("err");
    EXPECT_NE(shown.find(" ; line\r\n"), shown.npos) << shown;
    EXPECT_EQ(first.Wait(), 42);
    EXPECT_EQ(Messages("app.exe", "app.log.txt"), (Lines{u" 7 ; begun", u" 7 ; ended"}));
}
