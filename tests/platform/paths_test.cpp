#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/errors.h"

namespace {

std::u16string Text(const std::vector<wchar_t>& units)
{
    return {units.begin(), units.end()};
}

// Without the terminator.
std::u16string DevicePath(std::string_view hostPath, const PathBases& bases)
{
    const std::vector<wchar_t> units = DevicePathFromHost(hostPath, bases);
    return {units.begin(), units.end() - 1};
}

const PathBases kBases{"/srv/device", "/srv/device/work"};
const PathBases kOutside{"/srv/device", "/home/me"};
const PathBases kHostRoot{"", "/home/me"};

} // namespace

TEST(Paths, FromDeviceToHost)
{
    const struct {
        const char* rule;
        const wchar_t* name;
        const PathBases& bases;
        const char* host;
    } rows[] = {
        {"below the root", L"\\Docs\\a.ini", kBases, "/srv/device/Docs/a.ini"},
        {"both separators, repeated", L"//Docs\\/\\a.ini", kBases, "/srv/device/Docs/a.ini"},
        {"the root itself", L"\\", kBases, "/srv/device"},
        {"not above the root", L"\\..\\..\\a", kBases, "/srv/device/a"},
        {"dots in the middle", L"\\a\\.\\b\\..\\c", kBases, "/srv/device/a/c"},
        {"three dots are a name", L"\\...\\..a", kBases, "/srv/device/.../..a"},
        {"the way to the host", L"\\.host\\etc\\x", kBases, "/etc/x"},
        {"in any case", L"/.Host/etc", kBases, "/etc"},
        {"a root of its own", L"\\.host\\..\\etc", kBases, "/etc"},
        {"only once", L"\\.host\\.host\\x", kBases, "/.host/x"},
        {"reached through dots", L"\\a\\..\\.host\\x", kBases, "/x"},
        {"only at the root", L"\\a\\.host\\x", kBases, "/srv/device/a/.host/x"},
        {"longer names are names", L"\\.hosts", kBases, "/srv/device/.hosts"},
        {"relative", L"b\\c", kBases, "/srv/device/work/b/c"},
        {"relative, not above the root", L"..\\..\\..\\c", kBases, "/srv/device/c"},
        {"relative, outside the root", L"..\\..\\..\\c", kOutside, "/c"},
        {"relative is never the way to the host", L".host\\c", kBases, "/srv/device/work/.host/c"},
        {"default root", L"\\home\\x", kHostRoot, "/home/x"},
        {"default root, host", L"\\.host\\home\\x", kHostRoot, "/home/x"},
        {"UTF-8", L"\\\u00E9\u4E2D\xD83D\xDE00", kHostRoot,
         "/\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80"},
        {"carried byte", L"\\a\xDCFF", kHostRoot, "/a\xFF"},
        {"carried backslash", L"\\a\uF05C", kHostRoot, "/a\\"},
    };
    for (const auto& row : rows) {
        const std::optional<HostPath> path = ResolveDevicePath(row.name, row.bases);
        ASSERT_TRUE(path) << row.rule;
        EXPECT_EQ(path->text, row.host) << row.rule;
    }
    EXPECT_STREQ(ResolveDevicePath(L"\\", kHostRoot)->Name(), "/");
}

TEST(Paths, NamesThatNoHostNameStandsFor)
{
    const struct {
        const char* rule;
        const wchar_t* name;
    } rows[] = {
        {"empty", L""},
        {"high surrogate alone", L"\\a\xD800"},
        {"low surrogate alone", L"\\\xDC00"
                                L"a"},
        {"surrogates the wrong way round", L"\\\xDE00\xD83D"},
        {"carried bytes that are a character: a second name for it", L"\\\xDCC3\xDCA9"},
    };
    for (const auto& row : rows)
        EXPECT_FALSE(ResolveDevicePath(row.name, kHostRoot)) << row.rule;
}

TEST(Paths, TrailingSeparatorAndDotsMeanFolders)
{
    const struct {
        const wchar_t* name;
        bool folder;
    } rows[] = {{L"\\a", false},  {L"\\a\\", true}, {L"\\a\\.", true},
                {L"a\\..", true}, {L"\\", true},    {L"\\.host", true}};
    for (const auto& row : rows)
        EXPECT_EQ(ResolveDevicePath(row.name, kBases)->endsInSeparator, row.folder);
}

TEST(Paths, EveryHostNameHasOneDeviceName)
{
    const struct {
        const char* rule;
        const char* host;
        std::u16string device;
    } rows[] = {
        {"well-formed", "\xC3\xA9\xF0\x9F\x98\x80", u"\u00E9\xD83D\xDE00"},
        {"backslash", "a\\b", u"a\uF05Cb"},
        {"what carries a backslash", "\xEF\x81\x9C", u"\xDCEF\xDC81\xDC9C"},
        {"no UTF-8",
         "\xFF\x80"
         "a",
         u"\xDCFF\xDC80"
         u"a"},
        {"cut short", "\xE4\xB8", u"\xDCE4\xDCB8"},
        {"cut short before a letter", "\xE4\xB8z", u"\xDCE4\xDCB8z"},
        {"overlong", "\xC0\xAF\xE0\x80\xAF", u"\xDCC0\xDCAF\xDCE0\xDC80\xDCAF"},
        {"surrogate in UTF-8", "\xED\xB2\x80", u"\xDCED\xDCB2\xDC80"},
        {"above Unicode", "\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"},
        {"a character that looks like a pair with a carrier", "\xF0\x9F\x82\x80", u"\xD83C\xDC80"},
        {"then a carried byte", "\xF0\x9F\x82\x80\x80", u"\xD83C\xDC80\xDC80"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Text(DeviceNameFromHost(row.host)), row.device) << row.rule;
        const std::vector<wchar_t> path =
            DevicePathFromHost(std::string("/x/") + row.host, kHostRoot);
        const std::optional<HostPath> back = ResolveDevicePath(path.data(), kHostRoot);
        ASSERT_TRUE(back) << row.rule;
        EXPECT_EQ(back->text, std::string("/x/") + row.host) << row.rule;
    }
}

TEST(Paths, FromHostToDevice)
{
    const struct {
        const char* rule;
        const char* host;
        const PathBases& bases;
        std::u16string device;
    } rows[] = {
        {"below the root", "/srv/device/Docs/a.ini", kBases, u"\\Docs\\a.ini"},
        {"outside", "/srv/devices/a", kBases, u"\\.host\\srv\\devices\\a"},
        {"the root", "/srv/device/", kBases, u"\\"},
        {"above the root", "/srv", kBases, u"\\.host\\srv"},
        {"default root", "//etc/./x/", kHostRoot, u"\\etc\\x"},
        {"the host's root", "/", kHostRoot, u"\\"},
        {"the host's root from a device's", "/", kBases, u"\\.host"},
        {"hidden by the way to the host", "/.HOST/x", kHostRoot, u"\\.host\\.HOST\\x"},
        {"hidden in a device root", "/srv/device/.host", kBases, u"\\.host\\srv\\device\\.host"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(DevicePath(row.host, row.bases), row.device) << row.rule;
}

TEST(Paths, EnvironmentNamesTheRoot)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto check = [] {
        if (chdir("/usr/bin") != 0)
            std::exit(2);
        setenv("XEL_DEVICE_ROOT", "../bin/../lib/", 1);
        const bool right =
            ResolveDevicePath(L"\\x")->text == "/usr/lib/x" &&
            ResolveDevicePath(L"x")->text == "/usr/bin/x" &&
            Text(DevicePathFromHost("../lib/y")) == std::u16string(u"\\y\0", 3) &&
            Text(DevicePathFromHost("y")) == std::u16string(u"\\.host\\usr\\bin\\y\0", 17) &&
            Text(DevicePathFromHost("")) == std::u16string(1, u'\0');
        std::exit(right ? 0 : 1);
    };
    EXPECT_EXIT(check(), testing::ExitedWithCode(0), "");
    EXPECT_FALSE(ResolveDevicePath(nullptr));
    EXPECT_EQ(GetLastError(), ERROR_PATH_NOT_FOUND);
    EXPECT_FALSE(ResolveDevicePath(L"\\\xD800"));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_NAME);
}
