// xelini where it meets a POSIX host: modes, links, names of any bytes, full disks, and the
// device's surroundings, which the environment chooses there.
#include "support/file_size_limit.h"
#include "xelini/xelini_run.h"

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

mode_t modeOf(const std::string& path)
{
    struct stat info = {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777;
}

const char kSet[] = "set|p.ini|A|k|w";

TEST(XeliniOnPosix, KeepsModeAndLinks)
{
    XeliniFolder folder;
    fs::create_directory(folder.HostPath("there"));
    folder.Write("there/real.ini", "[A]\nk=v\n");
    fs::permissions(folder.HostPath("there/real.ini"), fs::perms(0640));
    fs::create_symlink("there/real.ini", folder.HostPath("p.ini"));
    EXPECT_EQ(folder.run(kSet).status, 0);
    EXPECT_TRUE(fs::is_symlink(folder.HostPath("p.ini")));
    EXPECT_EQ(folder.Read("there/real.ini"), "[A]\nk=w\n");
    EXPECT_EQ(modeOf(folder.HostPath("there/real.ini")), 0640u);
    EXPECT_EQ(folder.fileCount(), 2u);

    const mode_t mask = ::umask(027);
    EXPECT_EQ(folder.run("set|new.ini|A|k|v|--encoding|8bit").status, 0);
    ::umask(mask);
    EXPECT_EQ(modeOf(folder.HostPath("new.ini")), 0640u);

    fs::create_symlink("nowhere", folder.HostPath("link.ini"));
    const Outcome link = folder.run("set|link.ini|A|k|v|--encoding|8bit");
    EXPECT_EQ(link.status, 2);
    EXPECT_EQ(link.err, "xelini: link.ini: is a link that leads nowhere\n");
    EXPECT_EQ(folder.fileCount(), 4u);
}

TEST(XeliniOnPosix, FileIsAHostPathWhateverTheDeviceRootIs)
{
    XeliniFolder folder;
    const std::string name = "a\\b\xE9.ini";
    folder.Write(name, "[A]\nk=v\n");
    fs::create_directory(folder.HostPath("root"));
    const Surroundings around = {.deviceRoot = "root"};
    EXPECT_EQ(folder.run("set|" + name + "|A|k|w", around).status, 0);
    EXPECT_EQ(folder.run("get|" + folder.HostPath(name) + "|A|k", around).out, "w\n");
    // Another case is another file to the host.
    EXPECT_EQ(folder.run("get|A\\B\xE9.INI|A|k", around).status, 2);
}

TEST(XeliniOnPosix, FullDiskLeavesTheOldFile)
{
    const std::string large(5000, 'x');
    {
        // The program inherits it.
        const FileSizeLimit limit(4096);
        expectRow({"the limit ends the write", "set|p.ini|A|k|" + large, "[A]\nk=v\n", 2, "",
                   "p.ini: cannot be written: file too large", "[A]\nk=v\n"});
    }
    XeliniFolder folder;
    folder.Write("p.ini", "[A]\nk=v\n");
    fs::create_symlink("/dev/full", folder.HostPath("full"));
    const Outcome full = folder.run("convert|p.ini|--encoding|8bit|-o|full");
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(full.err, "xelini: full: cannot be written: not a regular file\n");
}

TEST(XeliniOnPosix, FolderThatTakesNoNewFile)
{
    // The longest name of the new file would be longer than the system allows.
    constexpr std::size_t kFolderLength = PATH_MAX - 11;
    constexpr std::size_t kLongestName = 200;
    XeliniFolder folder;
    std::string deep = folder.HostPath("d");
    while (deep.size() + 1 < kFolderLength)
        deep += "/" + std::string(std::min(kLongestName, kFolderLength - deep.size() - 1), 'd');
    fs::create_directories(deep);
    std::ofstream(deep + "/p.ini") << "[A]\nk=v\n";
    const Outcome outcome = folder.run("set|" + deep + "/p.ini|A|k|w");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err,
              "xelini: " + deep +
                  "/p.ini: cannot write a new file in its folder: file name too long\n");
    EXPECT_EQ(folder.run("get|" + deep + "/p.ini|A|k").out, "v\n");
}

TEST(XeliniOnPosix, OtherCodePages)
{
    expectRow({"Cyrillic", "get|p.ini||k", "k=\xE4", 0, "\xD0\xB4\n", "", "k=\xE4"},
              {.codePage = "1251"});
    expectRow({"two ways to write a character", "convert|p.ini|--encoding|utf16le",
               ";\x87\x90\x81\x45", 0, "", "", "\xFF\xFE;\0\x52\x22\xFB\x30"s},
              {.codePage = "932"});
    expectRow({"undefined bytes of a double-byte page", "convert|p.ini|--encoding|utf16le",
               ";\x81\x20", 1, "",
               "p.ini:1: bytes that the 8-bit code page does not define would be lost; correct "
               "them first",
               ";\x81\x20"},
              {.codePage = "932"});
}

} // namespace
