// xelini never loses anything: what stays of a file when writing fails, and what it keeps.
#include "xelini/xelini_run.h"

#include <chrono>
#include <list>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

// Tells one file from another; always 0 on desktop Windows.
ino_t fileNumber(const std::string& path)
{
    struct stat info = {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_ino;
}

const char kSet[] = "set|p.ini|A|k|w";
const std::string kLargeInput(256 * 1024, ';');

TEST(XeliniSafety, WritesNothingWhenNothingWouldChange)
{
    XeliniFolder folder;
    folder.Write("p.ini", "[A]\nk=w\n");
    const std::string path = folder.HostPath("p.ini");
    fs::last_write_time(path, fs::last_write_time(path) - std::chrono::hours(24));
    const auto time = fs::last_write_time(path);
    const auto number = fileNumber(path);
    const char* const commands[] = {kSet, "convert|p.ini|--encoding|8bit",
                                    "merge|p.ini|p.ini|-o|p.ini"};
    for (const auto& command : commands) {
        EXPECT_EQ(folder.run(command).status, 0) << command;
        EXPECT_EQ(fileNumber(path), number) << command;
        EXPECT_EQ(fs::last_write_time(path), time) << command;
    }
}

TEST(XeliniSafety, WhatIsNoFileStays)
{
    XeliniFolder folder;
    fs::create_directory(folder.HostPath("p.ini"));
    const Outcome directory = folder.run(kSet);
    EXPECT_EQ(directory.status, 2);
    EXPECT_EQ(directory.err, "xelini: p.ini: cannot be written: is a directory\n");
    EXPECT_EQ(folder.fileCount(), 1u);
}

// The program waits for its standard input after it has looked at its target.
Outcome convertWhile(const XeliniFolder& folder, void (*interfere)(const std::string& target))
{
    ChildStart start = folder.start("convert|-|--encoding|8bit|-o|p.ini");
    start.input.clear();
    start.waitsForInput = true;
    ChildProcess process(start);
    // More than a pipe holds: when all of it is gone, the program is reading.
    EXPECT_TRUE(process.Feed(kLargeInput));
    interfere(folder.HostPath("p.ini"));
    return folder.finish(process);
}

void writeOther(const std::string& target)
{
    std::ofstream(target, std::ios::binary) << "k=other\n";
}

void removeTarget(const std::string& target)
{
    std::error_code mayBeHeld;
    fs::remove(target, mayBeHeld);
}

TEST(XeliniSafety, ChangesOfOthersAreNotOverwritten)
{
    const struct {
        const char* rule;
        std::string before;
        void (*interfere)(const std::string& target);
        const char* message;
        std::string after;
        bool windowsKeepsOut; // nobody else can write to or remove an open file there
    } rows[] = {
        {"changed", "k=v\n", writeOther, "was changed by another program meanwhile; try again",
         "k=other\n", true},
        {"removed", "k=v\n", removeTarget, "was removed by another program meanwhile", "", true},
        {"appeared", kMissing, writeOther, "cannot be written: file exists", "k=other\n", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rule);
        XeliniFolder folder;
        if (row.before != kMissing)
            folder.Write("p.ini", row.before);
        const Outcome outcome = convertWhile(folder, row.interfere);
        const bool isKeptOut = OnHost(false, row.windowsKeepsOut);
        EXPECT_EQ(outcome.status, isKeptOut ? 0 : 2);
        EXPECT_EQ(outcome.err, isKeptOut ? "" : "xelini: p.ini: "s + row.message + "\n");
        EXPECT_EQ(folder.Read("p.ini"), isKeptOut ? kLargeInput : row.after);
        EXPECT_EQ(folder.fileCount(), isKeptOut || !row.after.empty() ? 1u : 0u);
    }
}

TEST(XeliniSafety, SimultaneousChangesAllCount)
{
    constexpr int kPrograms = 8;
    XeliniFolder folder;
    folder.Write("p.ini", "[A]\n");
    std::list<ChildProcess> children;
    for (int i = 0; i < kPrograms; ++i)
        children.emplace_back(folder.start("set|p.ini|A|k" + std::to_string(i) + "|v"));
    for (ChildProcess& child : children)
        EXPECT_EQ(folder.finish(child).status, 0);
    EXPECT_EQ(folder.run("check|p.ini").out, "p.ini: 8-bit text, 1 section, 8 entries\n");
    EXPECT_EQ(folder.fileCount(), 1u);
}

} // namespace
