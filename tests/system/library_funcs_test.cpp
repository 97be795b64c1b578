#include "xelutils/system/library_funcs.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/target.h"
#include "support/test_folder.h"

namespace {

using WideString = xel_text::CXelStringT<wchar_t>;
using Arguments = std::vector<WideString, xel_mem::xel_dl_allocator<WideString>>;

// ---- Libraries ----------------------------------------------------------------------------

class LibraryTest : public testing::Test {
protected:
    // Runs the program in \dir of a device root; what it prints, and what a debugger sees between
    // the first line of the log and the last, without times. Windows has no such root: there the
    // paths in it lose what stands before.
    std::string Run(const std::string& library, const std::string& function = "")
    {
        Copy(LIBRARY_CHILD_PROGRAM, "dir/child");
        const std::string folder =
            std::filesystem::path(m_folder.HostPath("")).make_preferred().string();
        ChildStart start = {.program = m_folder.HostPath("dir/child"),
                            .arguments = {library},
                            .folder = folder,
                            .environment = {{"XEL_DEVICE_ROOT", folder}},
                            .output = m_folder.HostPath("out"),
                            .error = m_folder.HostPath("err"),
                            .showsDebugOutput = true};
        if (!function.empty())
            start.arguments.push_back(function);
        EXPECT_EQ(RunChild(start), 0);
        std::string text = m_folder.Read("out") + TracesOf(m_folder.Read("err"));
        std::erase(text, '\r');
        const std::string above = std::filesystem::path(folder).parent_path().string();
        const std::string prefix = OnHost("", above.c_str());
        for (std::size_t at; !prefix.empty() && (at = text.find(prefix)) != text.npos;)
            text.erase(at, prefix.size());
        return text;
    }
    static std::string TracesOf(const std::string& lines)
    {
        std::string traces;
        for (std::size_t start = 0; start < lines.size();) {
            const std::size_t end = lines.find("\r\n", start);
            const std::string line = lines.substr(start, end - start);
            if (line.find("; Program ") == line.npos && line.find("; Logging fin") == line.npos)
                traces += line.substr(line.find("; 7 ; ") + 6) + '\n';
            start = end == lines.npos ? end : end + 2;
        }
        return traces;
    }
    void Copy(const std::string& file, const std::string& name)
    {
        const std::filesystem::path target = m_folder.HostPath(name);
        std::filesystem::create_directories(target.parent_path());
        std::filesystem::copy_file(file, target, std::filesystem::copy_options::skip_existing);
    }

    TestFolder m_folder;
};

} // namespace

TEST_F(LibraryTest, IsTakenFromTheProgramsFolderFirst)
{
    Copy(TEST_PLUGIN, "dir/plugin.dll");
    m_folder.Write("Windows/plugin.dll", "another one, which nobody must look at");
    EXPECT_EQ(Run("Plugin.DLL", "PluginAnswer"), "true, library, 42\nfreed\nnull again\n");
    EXPECT_EQ(Run("plugin.dll"), "true, library, 0\nfreed\nnull again\n");
}

TEST_F(LibraryTest, IsTakenFromTheSystemFolderNextAndThatIsTraced)
{
    // One that Windows has there.
    const std::string library = OnHost("plugin.dll", "System32\\version.dll");
    const std::string function = OnHost("PluginAnswer", "");
    Copy(TEST_PLUGIN, "Windows/plugin.dll");
    EXPECT_EQ(Run(library, function),
              OnHost("true, library, 42\nfreed\nnull again\n", "true, library, 0\nnull again\n") +
                  ("Could not load library \\dir\\" + library) + " err code = 126\n");
}

TEST_F(LibraryTest, IsTakenFromTheHostsFolderOnlyWhereThereIsNoSystemFolder)
{
    const std::string first = "Could not load library \\dir\\libm.so.6 err code = 126\n";
    EXPECT_EQ(Run("libm.so.6"), "true, library, 0\nnull again\n" + first);
    std::filesystem::create_directories(m_folder.HostPath("WINDOWS"));
    EXPECT_EQ(Run("libm.so.6"), "false, null, 0\n" + first + "Could not load libm.so.6 !\n");
}

TEST_F(LibraryTest, StaysInTheHandleWhenItLacksTheFunction)
{
    Copy(TEST_PLUGIN, "dir/plugin.dll");
    EXPECT_EQ(Run("plugin.dll", "pluginanswer"),
              "freed\nfalse, library, 0\n"
              "Missing function 'pluginanswer' in plugin.dll.\n");
}

TEST_F(LibraryTest, IsNoLibraryWhateverItIsCalled)
{
    m_folder.Write("plugin.dll", "in the working directory");
    std::filesystem::create_directories(m_folder.HostPath("dir"));
    m_folder.Write("dir/plugin.dll", "text");
    EXPECT_EQ(Run("plugin.dll", "PluginAnswer"),
              "false, null, 0\n"
              "Could not load library \\dir\\plugin.dll err code = 193\n"
              "Could not load plugin.dll !\n");
}

TEST(GetLibraryFunction, NeedsAPlaceForTheLibrary)
{
    FARPROC function = nullptr;
    EXPECT_FALSE(GetLibraryFunction(nullptr, &function, L"cos", L"libm.so.6"));
    EXPECT_TRUE(function == nullptr);
}

// ---- Programs -----------------------------------------------------------------------------

namespace {

class LaunchTest : public testing::Test {
protected:
    LaunchTest() { std::filesystem::copy_file(ARGUMENT_CHILD_PROGRAM, m_folder.HostPath(m_name)); }

    // What the child got, each with "|" behind it.
    std::string Launch(const WideString& arguments)
    {
        m_exitCode = 1000;
        std::filesystem::remove(m_folder.HostPath(m_name + ".out"));
        m_result = LaunchExe(m_folder.Path(m_name), arguments, m_exitCode);
        std::string got = m_folder.Read(m_name + ".out");
        for (char& ch : got)
            ch = ch == 0 ? '|' : ch;
        return got;
    }

    TestFolder m_folder;
    const std::string m_name = "a program";
    bool m_result = false;
    unsigned long m_exitCode = 0;
};

} // namespace

TEST_F(LaunchTest, DropsTheLastCharacter)
{
    const struct {
        WideString arguments;
        const char* got;
    } rows[] = {
        {L"", ""},
        {L"a", ""},
        {L"-a x", "-a|"},
        {L"-a x ", "-a|x|"},
        {L"\"a b\"", "a b|"},
        {WideString(L"ab\0cd", 5), "ab|"},
        {WideString(L"\0b", 2), ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Launch(row.arguments), row.got);
        EXPECT_TRUE(m_result);
        EXPECT_EQ(m_exitCode, 42u);
    }
}

TEST_F(LaunchTest, TakesAsManyCharactersAsTheBufferHas)
{
    EXPECT_EQ(Launch(WideString(L'x', 260)), std::string(259, 'x') + '|');
    EXPECT_TRUE(m_result);
    EXPECT_EQ(Launch(WideString(L'x', 261)), "");
    EXPECT_FALSE(m_result);
    EXPECT_FALSE(std::filesystem::exists(m_folder.HostPath(m_name + ".out")));
    EXPECT_EQ(m_exitCode, 1000u);
}

TEST_F(LaunchTest, GivesTheExitCode)
{
    const struct {
        const wchar_t* arguments;
        bool result;
        unsigned long exitCode;
    } rows[] = {
        {L"exit 0 ", true, 0},
        {L"exit 1 ", true, 1},
        {L"exit 255 ", true, 255},
        // The number of a child that still runs; POSIX keeps 8 bits of it.
        {L"exit 259 ", OnHost(true, false), OnHost(3ul, 259ul)},
    };
    for (const auto& row : rows) {
        Launch(row.arguments);
        EXPECT_EQ(m_result, row.result) << row.exitCode;
        EXPECT_EQ(m_exitCode, row.exitCode);
    }
    m_exitCode = 1000;
    EXPECT_FALSE(LaunchExe(m_folder.Path("missing"), L"", m_exitCode));
    EXPECT_EQ(m_exitCode, 1000u);
}

TEST_F(LaunchTest, PassesOnWhatQuoteArgumentsMakes)
{
    const struct {
        std::vector<const wchar_t*> arguments;
        const wchar_t* commandLine;
        const char* got;
    } rows[] = {
        {{}, L"", ""},
        {{L"-f", LR"(\My Files\)"}, LR"(-f "\My Files\\" )", R"(-f|\My Files\|)"},
        {{L"", L"", L"a"}, LR"("" "" a )", "||a|"},
        {{LR"(a"b)", LR"(")"}, LR"("a\"b" "\"" )", R"(a"b|"|)"},
        {{LR"(\"b\)", LR"(\\a\b\\)"}, LR"("\\\"b\\" \\a\b\\ )", R"(\"b\|\\a\b\\|)"},
        {{LR"(a b\\" \)"}, LR"("a b\\\\\" \\" )", R"(a b\\" \|)"},
        {{L"\t", L"a\nb"}, L"\"\t\" \"a\nb\" ", "\t|a\nb|"},
        {{L"$HOME", L"*", L"'", L"`id`"}, L"$HOME * ' `id` ", "$HOME|*|'|`id`|"},
        {{L"\xE9\x20AC\xD83D\xDE00"}, L"\xE9\x20AC\xD83D\xDE00 ", "\xC3\xA9€\xF0\x9F\x98\x80|"},
    };
    for (const auto& row : rows) {
        const WideString commandLine =
            QuoteArguments(Arguments(row.arguments.begin(), row.arguments.end()));
        EXPECT_EQ(commandLine, WideString(row.commandLine));
        EXPECT_EQ(Launch(commandLine), row.got);
    }
}
