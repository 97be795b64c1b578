// xelini where it meets Windows: paths, attributes, and files that others have open.
#include "xelini/xelini_run.h"

namespace {

namespace fs = std::filesystem;

const char kSet[] = "set|p.ini|A|k|w";

TEST(XeliniOnWindows, TakesPathsInEveryForm)
{
    XeliniFolder folder;
    folder.Write("p.ini", "[A]\nk=v\n");
    fs::create_directory(folder.HostPath("there"));
    const std::string absolute = fs::absolute(folder.HostPath("p.ini")).make_preferred().string();
    const std::string deep = "there/" + std::string(200, 'd');
    fs::create_directory(folder.HostPath(deep));
    const std::string longest = deep + "/" + std::string(200, 'f') + ".ini";
    const std::string forms[] = {"there\\..\\p.ini", "there/../P.INI", absolute, absolute.substr(2),
                                 "\\\\?\\" + absolute,
                                 // The letters of both are in the code page, but not in ASCII.
                                 "\xC3\xA4\xC3\xB6.ini", "\xD0\x96.ini", longest};
    for (const std::string& form : forms) {
        const Outcome set = folder.run("set|" + form + "|A|" + "k|w|--encoding|8bit");
        EXPECT_EQ(set.status, 0) << set.err;
        EXPECT_EQ(folder.run("check|" + form).out, form + ": 8-bit text, 1 section, 1 entry\n");
    }
    EXPECT_TRUE(fs::exists(fs::path(folder.HostPath("")) / L"\u0416.ini"));
    EXPECT_EQ(folder.fileCount(), 4u);
    EXPECT_EQ(folder.run("get|a*b|A|k").err, "xelini: a*b: cannot be opened: invalid name\n");
}

TEST(XeliniOnWindows, KeepsAttributesAndWhatIsReadOnly)
{
    XeliniFolder folder;
    const auto path = folder.Write("p.ini", "[A]\nk=v\n");
    SetFileAttributesW(path, FILE_ATTRIBUTE_HIDDEN);
    const DWORD attributes = GetFileAttributesW(path);
    EXPECT_EQ(folder.run(kSet).status, 0);
    EXPECT_EQ(folder.Read("p.ini"), "[A]\nk=w\n");
    EXPECT_EQ(GetFileAttributesW(path), attributes);

    SetFileAttributesW(path, FILE_ATTRIBUTE_READONLY);
    const Outcome outcome = folder.run("set|p.ini|A|k|x");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "xelini: p.ini: cannot be written: permission denied\n");
    EXPECT_EQ(folder.Read("p.ini"), "[A]\nk=w\n");
    EXPECT_EQ(folder.fileCount(), 1u);
    SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
}

TEST(XeliniOnWindows, WaitsForOthersThatHaveTheFileOpen)
{
    constexpr DWORD kLongerThanARun = 1000;
    for (const DWORD access : {DWORD{GENERIC_READ}, DWORD{GENERIC_WRITE}}) {
        XeliniFolder folder;
        const auto path = folder.Write("p.ini", "[A]\nk=v\n");
        const HANDLE other = CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                         OPEN_EXISTING, 0, nullptr);
        ChildProcess process(folder.start(kSet));
        EXPECT_FALSE(process.EndsWithin(kLongerThanARun)) << access;
        EXPECT_EQ(folder.Read("p.ini"), "[A]\nk=v\n");
        CloseHandle(other);
        EXPECT_EQ(folder.finish(process).status, 0) << access;
        EXPECT_EQ(folder.Read("p.ini"), "[A]\nk=w\n");
        EXPECT_EQ(folder.fileCount(), 1u);
    }
}

} // namespace
