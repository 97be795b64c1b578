// xelini never loses anything: what stays of a file when writing fails, and what it keeps.
#include "xelini/xelini_run.h"

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

struct stat stateOf(const std::string& path)
{
    struct stat info = {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info;
}

const char kSet[] = "set|p.ini|A|k|w";

TEST(XeliniSafety, WritesNothingWhenNothingWouldChange)
{
    XeliniFolder folder;
    folder.Write("p.ini", "[A]\nk=w\n");
    fs::last_write_time(folder.HostPath("p.ini"), fs::file_time_type::min());
    const struct stat before = stateOf(folder.HostPath("p.ini"));
    const char* const commands[] = {kSet, "convert|p.ini|--encoding|8bit",
                                    "merge|p.ini|p.ini|-o|p.ini"};
    for (const auto& command : commands) {
        EXPECT_EQ(folder.run(command).status, 0) << command;
        const struct stat after = stateOf(folder.HostPath("p.ini"));
        EXPECT_EQ(after.st_ino, before.st_ino) << command;
        EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec) << command;
    }
}

TEST(XeliniSafety, KeepsModeAndLinks)
{
    XeliniFolder folder;
    fs::create_directory(folder.HostPath("there"));
    folder.Write("there/real.ini", "[A]\nk=v\n");
    fs::permissions(folder.HostPath("there/real.ini"), fs::perms(0640));
    fs::create_symlink("there/real.ini", folder.HostPath("p.ini"));
    EXPECT_EQ(folder.run(kSet).status, 0);
    EXPECT_TRUE(fs::is_symlink(folder.HostPath("p.ini")));
    EXPECT_EQ(folder.Read("there/real.ini"), "[A]\nk=w\n");
    EXPECT_EQ(stateOf(folder.HostPath("there/real.ini")).st_mode & 07777, 0640u);
    EXPECT_EQ(folder.fileCount(), 2u);

    const mode_t mask = ::umask(027);
    EXPECT_EQ(folder.run("set|new.ini|A|k|v|--encoding|8bit").status, 0);
    ::umask(mask);
    EXPECT_EQ(stateOf(folder.HostPath("new.ini")).st_mode & 07777, 0640u);
}

TEST(XeliniSafety, FileIsAHostPathWhateverTheDeviceRootIs)
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

TEST(XeliniSafety, FullDiskLeavesTheOldFile)
{
    const std::string large(5000, 'x');
    expectRow({"the limit ends the write", "set|p.ini|A|k|" + large, "[A]\nk=v\n", 2, "",
               "p.ini: cannot be written: file too large", "[A]\nk=v\n"},
              {.maxFileSize = 4096});
    XeliniFolder folder;
    folder.Write("p.ini", "[A]\nk=v\n");
    fs::create_symlink("/dev/full", folder.HostPath("full"));
    const Outcome full = folder.run("convert|p.ini|--encoding|8bit|-o|full");
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(full.err, "xelini: full: cannot be written: not a regular file\n");
}

TEST(XeliniSafety, FolderThatTakesNoNewFile)
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

TEST(XeliniSafety, WhatIsNoFileStays)
{
    XeliniFolder folder;
    fs::create_directory(folder.HostPath("p.ini"));
    fs::create_symlink("nowhere", folder.HostPath("link.ini"));
    const Outcome directory = folder.run(kSet);
    EXPECT_EQ(directory.status, 2);
    EXPECT_EQ(directory.err, "xelini: p.ini: cannot be written: is a directory\n");
    const Outcome link = folder.run("set|link.ini|A|k|v|--encoding|8bit");
    EXPECT_EQ(link.status, 2);
    EXPECT_EQ(link.err, "xelini: link.ini: is a link that leads nowhere\n");
    EXPECT_EQ(folder.fileCount(), 2u);
}

// The program waits for its standard input after it has looked at its target.
Outcome convertWhile(XeliniFolder& folder, void (*interfere)(const std::string& target))
{
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = folder.start("convert|-|--encoding|8bit|-o|p.ini", {}, ends[0]);
    ::close(ends[0]);
    // More than a pipe holds: when all of it is gone, the program is reading.
    const std::string input(256 * 1024, ';');
    EXPECT_EQ(::write(ends[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
    interfere(folder.HostPath("p.ini"));
    ::close(ends[1]);
    return folder.finish(child);
}

TEST(XeliniSafety, ChangesOfOthersAreNotOverwritten)
{
    XeliniFolder folder;
    folder.Write("p.ini", "k=v\n");
    const Outcome changed = convertWhile(
        folder, [](const std::string& target) { std::ofstream(target) << "k=other\n"; });
    EXPECT_EQ(changed.status, 2);
    EXPECT_EQ(changed.err, "xelini: p.ini: was changed by another program meanwhile; try again\n");
    EXPECT_EQ(folder.Read("p.ini"), "k=other\n");

    const Outcome removed =
        convertWhile(folder, [](const std::string& target) { fs::remove(target); });
    EXPECT_EQ(removed.err, "xelini: p.ini: was removed by another program meanwhile\n");

    const Outcome appeared =
        convertWhile(folder, [](const std::string& target) { std::ofstream(target) << "k=new\n"; });
    EXPECT_EQ(appeared.err, "xelini: p.ini: cannot be written: file exists\n");
    EXPECT_EQ(folder.Read("p.ini"), "k=new\n");
    EXPECT_EQ(folder.fileCount(), 1u);
}

TEST(XeliniSafety, SimultaneousChangesAllCount)
{
    constexpr int kPrograms = 8;
    XeliniFolder folder;
    folder.Write("p.ini", "[A]\n");
    std::vector<pid_t> children;
    for (int i = 0; i < kPrograms; ++i)
        children.push_back(folder.start("set|p.ini|A|k" + std::to_string(i) + "|v"));
    for (const pid_t child : children)
        EXPECT_EQ(folder.finish(child).status, 0);
    EXPECT_EQ(folder.run("check|p.ini").out, "p.ini: 8-bit text, 1 section, 8 entries\n");
    EXPECT_EQ(folder.fileCount(), 1u);
}

} // namespace
