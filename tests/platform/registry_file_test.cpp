#include "xelutils/platform/posix/registry_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <thread>

#include "support/registry_fixture.h"
#include "xelutils/system/xel_registry.h"

namespace {

using Wide = xel_text::CXelStringT<wchar_t>;

bool HasKey(const wchar_t* name, HKEY root = HKEY_CURRENT_USER)
{
    xel_registry::StringVector names;
    return xel_registry::EnumSections(root, name, names);
}

// What is said about the file, without the folders on the way to it.
std::string ReportOfTwoLooks(bool hasKey)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(HasKey(L"A"), hasKey);
    EXPECT_EQ(HasKey(L"A"), hasKey);
    const std::string report = testing::internal::GetCapturedStderr();
    return report.substr(std::min(report.find("test.reg"), report.size()));
}

} // namespace

TEST(RegistryFile, IsReadAgainWhenItHasChanged)
{
    const TestRegistry registry;
    EXPECT_FALSE(HasKey(L"A")) << "no file yet";
    // In place, of the same size, and faster than the clock of files ticks.
    for (const char name : std::string("ABCDEFGH")) {
        std::ofstream(registry.FileName()) << "REGEDIT4\n[HKEY_CURRENT_USER\\" << name << "]\n";
        EXPECT_TRUE(HasKey(Wide(name, 1))) << name;
    }
    HKEY key;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, nullptr, 0, 0, &key), 0);
    std::filesystem::remove(registry.FileName());
    EXPECT_FALSE(HasKey(L"H"));
    EXPECT_TRUE(HasKey(L"H", key)) << "as it was when it was opened";
    RegCloseKey(key);
}

TEST(RegistryFile, IsReportedOnceWhenBroken)
{
    const TestRegistry registry;
    const std::string sound = "REGEDIT4\n[HKEY_CURRENT_USER\\A]\n";
    registry.Import(sound);
    EXPECT_EQ(ReportOfTwoLooks(true), "");
    registry.Import(sound + "x\n\"a\"=\"b\ny");
    EXPECT_EQ(ReportOfTwoLooks(true),
              "test.reg:3: neither a key nor a value nor a comment; lines left out: 3\r\n");
    registry.Import(sound + "\n\"a\"=\"b");
    EXPECT_EQ(ReportOfTwoLooks(true), "test.reg:4: a text lacks its closing quote\r\n");
    std::filesystem::remove(registry.FileName());
    EXPECT_EQ(ReportOfTwoLooks(false), "test.reg is missing\r\n");
    ASSERT_EQ(mkfifo(registry.FileName().c_str(), 0600), 0);
    EXPECT_EQ(ReportOfTwoLooks(false), "test.reg is no file\r\n") << "nothing waits for a writer";
}

TEST(RegistryFile, Name)
{
    const struct {
        const char* registry;
        const char* dataHome;
        const char* home;
        const char* name;
    } rows[] = {
        {"a.reg", "/data", "/home/a", "a.reg"},
        {"", "/data", "/home/a", "/data/registry.reg"},
        {nullptr, "data", "/home/a", "/home/a/.local/share/registry.reg"},
        {nullptr, "", nullptr, ""},
    };
    for (const auto& row : rows)
        EXPECT_EQ(RegistryFileName(row.registry, row.dataHome, row.home), row.name);
}

// Whoever lists a key sees one state of the file; a text that grows between the two questions for
// it is read whole or not at all.
TEST(RegistryFile, IsReplacedWhileThreadsReadRace)
{
    const std::string user = "REGEDIT4\n[HKEY_CURRENT_USER]\n@=\"";
    const std::string states[] = {
        user + "s\"\n[HKEY_CURRENT_USER\\K\\a1]\n[HKEY_CURRENT_USER\\K\\a2]\n",
        user + std::string(100, 'l') + "\"\n[HKEY_CURRENT_USER\\K\\b1]\n"};
    const TestRegistry registry;
    registry.Import(states[0]);
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (unsigned i = 1; i <= 200; ++i)
            registry.Import(states[i % 2]);
        done = true;
    });
    while (!done) {
        xel_registry::StringVector names;
        EXPECT_TRUE(xel_registry::EnumSections(HKEY_CURRENT_USER, L"K", names));
        EXPECT_EQ(names.size(), names.front() == L"a1" ? 2u : 1u);
        Wide text;
        const bool isRead = xel_registry::ReadStringValue(HKEY_CURRENT_USER, nullptr, L"", text);
        EXPECT_TRUE(isRead ? text == L"s" || text == Wide(L'l', 100) : text.IsEmpty());
    }
    writer.join();
}
