#include "xelutils/system/library_funcs.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/test_folder.h"

namespace {

using WideString = xel_text::CXelStringT<wchar_t>;
using Arguments = std::vector<WideString, xel_mem::xel_dl_allocator<WideString>>;

// ---- Libraries ----------------------------------------------------------------------------

class LibraryTest : public testing::Test {
protected:
    // Runs the program in \dir of a device root; what it prints, and what a debugger sees between
    // the first line of the log and the last, without times.
    std::string Run(const std::string& arguments, const std::string& root = "")
    {
        Copy(LIBRARY_CHILD_PROGRAM, "dir/child");
        const std::string command = "cd '" + m_folder.HostPath("") + "' && XEL_DEVICE_ROOT='" +
                                    m_folder.HostPath(root) + "' dir/child " + arguments +
                                    " >out 2>err";
        EXPECT_EQ(std::system(command.c_str()), 0);
        std::string traces;
        const std::string lines = m_folder.Read("err");
        for (std::size_t start = 0; start < lines.size();) {
            const std::size_t end = lines.find("\r\n", start);
            const std::string line = lines.substr(start, end - start);
            if (line.find("; Program ") == line.npos && line.find("; Logging fin") == line.npos)
                traces += line.substr(line.find("; 7 ; ") + 6) + '\n';
            start = end == lines.npos ? end : end + 2;
        }
        return m_folder.Read("out") + traces;
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
    EXPECT_EQ(Run("Plugin.DLL PluginAnswer"), "true, library, 42\nfreed\nnull again\n");
    EXPECT_EQ(Run("plugin.dll"), "true, library, 0\nfreed\nnull again\n");
}

TEST_F(LibraryTest, IsTakenFromTheSystemFolderNextAndThatIsTraced)
{
    Copy(TEST_PLUGIN, "Windows/plugin.dll");
    EXPECT_EQ(Run("plugin.dll PluginAnswer"),
              "true, library, 42\nfreed\nnull again\n"
              "Could not load library \\dir\\plugin.dll err code = 126\n");
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
    EXPECT_EQ(Run("plugin.dll pluginanswer"), "freed\nfalse, library, 0\n"
                                              "Missing function 'pluginanswer' in plugin.dll.\n");
}

TEST_F(LibraryTest, IsNoLibraryWhateverItIsCalled)
{
    m_folder.Write("plugin.dll", "in the working directory");
    std::filesystem::create_directories(m_folder.HostPath("dir"));
    m_folder.Write("dir/plugin.dll", "text");
    EXPECT_EQ(Run("plugin.dll PluginAnswer"),
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
    for (const unsigned long code : {0ul, 1ul, 255ul}) {
        WideString arguments;
        arguments.Format(L"exit %d ", static_cast<int>(code));
        Launch(arguments);
        EXPECT_TRUE(m_result);
        EXPECT_EQ(m_exitCode, code);
    }
    EXPECT_FALSE(LaunchExe(m_folder.Path("missing"), L"", m_exitCode));
    EXPECT_EQ(m_exitCode, 255u);
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
