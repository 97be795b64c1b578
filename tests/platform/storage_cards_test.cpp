#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/test_folder.h"
#include "xelutils/files/file_funcs_ex.h"
#include "xelutils/platform/posix/storage_cards.h"

namespace {

namespace fs = std::filesystem;
using WideString = xel_text::CXelStringT<wchar_t>;

// Mounts and disks as the kernel would tell of them. Each disk has a partition.
class StorageCards : public testing::Test {
protected:
    StorageCards() : m_top(fs::canonical(m_folder.HostPath("")).string())
    {
        UseCardSources({m_top + "/mountinfo", m_top + "/sys"});
    }
    ~StorageCards() override { UseCardSources({}); }

    void Write(const std::string& name, const std::string& text)
    {
        fs::create_directories(fs::path(m_top + '/' + name).parent_path());
        m_folder.Write(name, text);
    }

    // `device` is the disk's folder below sys/devices; 8:1 its partition.
    void AddDisk(const std::string& device, const std::string& number)
    {
        const std::string partition = "sys/devices/" + device + "/part";
        Write(partition + "/partition", "1\n");
        fs::create_directories(m_top + "/sys/dev/block");
        fs::create_directory_symlink(m_top + '/' + partition, m_top + "/sys/dev/block/" + number);
    }

    void AddMount(const std::string& folder, const std::string& number,
                  const std::string& source = "/dev/x1")
    {
        fs::create_directories(m_top + '/' + folder);
        std::string escaped = m_top + '/' + folder;
        for (std::size_t at; (at = escaped.find(' ')) != escaped.npos;)
            escaped.replace(at, 1, "\\040");
        m_mounts +=
            "36 35 " + number + " / " + escaped + " rw,noatime shared:1 - vfat " + source + " rw\n";
        Write("mountinfo", m_mounts);
    }

    // An SD card in a slot of its own, mounted at "Storage Card".
    void AddCard()
    {
        AddDisk("mmc0/mmc0:1234/block/mmcblk0", "179:1");
        Write("sys/devices/mmc0/mmc0:1234/block/mmcblk0/removable", "0\n");
        Write("sys/devices/mmc0/mmc0:1234/block/mmcblk0/device/type", "SD\n");
        Write("sys/devices/mmc0/mmc0:1234/serial", "0x0badcafe\n");
        Write("sys/devices/mmc0/mmc0:1234/manfid", "0x000003\n");
        AddMount("Storage Card", "179:1");
    }

    WideString Path(const std::string& name) const
    {
        return xel_text::FromUtf8(m_top + '/' + name);
    }
    HANDLE Open(const std::string& name, DWORD access = GENERIC_READ,
                DWORD creation = OPEN_EXISTING) const
    {
        return CreateFileW(Path(name), access, 0, nullptr, creation, 0, nullptr);
    }

    TestFolder m_folder;
    const std::string m_top;
    std::string m_mounts;
};

std::vector<std::string> Parsed(const char* text)
{
    std::vector<std::string> mounts;
    for (const Mount& mount : ParseMounts(text))
        mounts.push_back(mount.device + '|' + mount.mountPoint + '|' + mount.source);
    return mounts;
}

} // namespace

TEST(Mounts, LinesOfTheKernel)
{
    using List = std::vector<std::string>;
    const struct {
        const char* rule;
        const char* text;
        List mounts;
    } rows[] = {
        {"nothing", "", {}},
        {"one, with an optional field",
         "36 35 8:17 / /media/card rw shared:1 - vfat /dev/sdb1 rw\n",
         {"8:17|/media/card|/dev/sdb1"}},
        {"none, two and a last line without end",
         "1 2 0:5 /x /a rw - tmpfs none rw\n3 4 8:1 / / rw a:1 b:2 - ext4 /dev/sda1 rw",
         {"0:5|/a|none", "8:1|/|/dev/sda1"}},
        {"escaped characters",
         "1 2 8:1 / /a\\040b\\134c\\011\\012 rw - vfat /dev/x\\040y rw\n",
         {"8:1|/a b\\c\t\n|/dev/x y"}},
        {"what only looks escaped",
         "1 2 8:1 / /a\\04\\x12\\\\048 rw - vfat /dev/x rw\n",
         {"8:1|/a\\04\\x12\\\\048|/dev/x"}},
        {"lines that end too soon", "1\n\n1 2 8:1 / /a rw -\n1 2 8:1 / /a rw shared:1\n", {}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Parsed(row.text), row.mounts) << row.rule;
}

TEST_F(StorageCards, MountPointIsTemporaryFolder)
{
    AddCard();
    fs::create_directories(m_top + "/Storage Card/Jobs");
    fs::create_directories(m_top + "/Documents");
    fs::create_directory_symlink("Storage Card", m_top + "/link");
    const struct {
        const char* name;
        DWORD attributes;
    } rows[] = {
        {"Storage Card", 0x110}, {"storage card/", 0x110}, {"Storage Card/Jobs", 0x10},
        {"Documents", 0x10},     {"link", 0x510},          {"mountinfo", 0x20},
    };
    for (const auto& row : rows)
        EXPECT_EQ(GetFileAttributesW(Path(row.name)), row.attributes) << row.name;

    std::map<std::string, DWORD> listed;
    WIN32_FIND_DATAW data;
    const HANDLE listing = FindFirstFileW(Path("*"), &data);
    do
        listed[xel_text::ToUtf8(data.cFileName)] = data.dwFileAttributes;
    while (FindNextFileW(listing, &data));
    FindClose(listing);
    EXPECT_EQ(listed, (std::map<std::string, DWORD>{{"Storage Card", 0x110},
                                                    {"Documents", 0x10},
                                                    {"link", 0x420},
                                                    {"mountinfo", 0x20},
                                                    {"sys", 0x10}}));
}

TEST_F(StorageCards, WhatCountsAsCard)
{
    // A card reader is a USB device; its serial number is that of the device, not of the hub.
    AddDisk("hub/usb1/block/sdb", "8:17");
    Write("sys/devices/hub/serial", "of the hub\n");
    Write("sys/devices/hub/usb1/idVendor", "05e3\n");
    Write("sys/devices/hub/usb1/block/sdb/removable", "1\n");
    AddMount("reader", "8:17");
    // A disk inside.
    AddDisk("ata/block/sda", "8:1");
    Write("sys/devices/ata/serial", "of the disk\n");
    Write("sys/devices/ata/block/sda/removable", "0\n");
    AddMount("disk", "8:1");
    // Memory that is soldered in, as its slot says.
    AddDisk("mmc1/block/mmcblk1", "179:8");
    Write("sys/devices/mmc1/block/mmcblk1/device/type", "MMC\n");
    AddMount("soldered", "179:8");
    // Two mounts of one folder: the later one covers the other.
    AddMount("covered", "8:17");
    AddMount("covered", "8:1");
    // A file system with a number of its own, known by what is mounted.
    fs::create_directories(m_top + "/sys/class/block");
    fs::create_directory_symlink(m_top + "/sys/devices/hub/usb1/block/sdb/part",
                                 m_top + "/sys/class/block/sdb1");
    AddMount("own number", "0:55", "/dev/sdb1");
    AddMount("no disk", "0:56", "tmpfs");

    EXPECT_TRUE(IsCardMountPoint(m_top + "/reader"));
    EXPECT_FALSE(IsCardMountPoint(m_top + "/disk"));
    EXPECT_FALSE(IsCardMountPoint(m_top + "/soldered"));
    EXPECT_FALSE(IsCardMountPoint(m_top + "/covered"));
    EXPECT_TRUE(IsCardMountPoint(m_top + "/own number"));
    EXPECT_FALSE(IsCardMountPoint(m_top + "/no disk"));
    EXPECT_FALSE(IsCardMountPoint(m_top + "/missing"));

    ASSERT_TRUE(FindVolume(Path("reader/vol:")));
    EXPECT_EQ(FindVolume(Path("reader/vol:"))->serialNumber, "");
    Write("sys/devices/hub/usb1/serial", " 4711 \n");
    Write("sys/devices/hub/usb1/manufacturer", "Maker\n");
    EXPECT_EQ(FindVolume(Path("reader/vol:"))->serialNumber, "4711");
    EXPECT_EQ(FindVolume(Path("READER\\VOL:"))->manufacturer, "Maker");
    EXPECT_FALSE(FindVolume(Path("disk/vol:")));
    EXPECT_FALSE(FindVolume(Path("readervol:")));
    EXPECT_FALSE(FindVolume(Path("reader/vol")));
    EXPECT_FALSE(FindVolume(L"vol:"));
    EXPECT_FALSE(FindVolume(L""));
}

TEST_F(StorageCards, VolumeTellsItsIdentification)
{
    AddCard();
    const HANDLE volume = Open("Storage Card/vol:");
    ASSERT_NE(volume, INVALID_HANDLE_VALUE);
    char record[500];
    std::memset(record, 'x', sizeof record);
    DWORD returned = 0;
    ASSERT_TRUE(DeviceIoControl(volume, IOCTL_DISK_GET_STORAGEID, nullptr, 0, record, 500,
                                &returned, nullptr));
    using namespace std::string_literals;
    const std::string expected = "\x24\0\0\0\0\0\0\0\x10\0\0\0\x19\0\0\0"
                                 "0x000003\0"
                                 "0x0badcafe\0"s;
    EXPECT_EQ(std::string(record, sizeof record), expected + std::string(500 - 0x24, 'x'));
    EXPECT_EQ(returned, 0x24u);

    // One byte too few.
    std::memset(record, 'x', sizeof record);
    EXPECT_FALSE(DeviceIoControl(volume, IOCTL_DISK_GET_STORAGEID, nullptr, 0, record, 0x23,
                                 &returned, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(std::string(record, 8), "\x24\0\0\0xxxx"s);
    EXPECT_EQ(returned, 0u);
    EXPECT_FALSE(DeviceIoControl(volume, 0x71C20, nullptr, 0, record, 500, &returned, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_NOT_SUPPORTED);

    // It is no file, and no listing.
    DWORD high = 0;
    EXPECT_EQ(GetFileSize(volume, &high), INVALID_FILE_SIZE);
    EXPECT_FALSE(FindClose(volume));
    EXPECT_TRUE(CloseHandle(volume));
    EXPECT_FALSE(DeviceIoControl(volume, IOCTL_DISK_GET_STORAGEID, nullptr, 0, record, 500,
                                 &returned, nullptr));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
}

TEST_F(StorageCards, VolumeWithoutTextsSaysSo)
{
    AddCard();
    fs::remove(m_top + "/sys/devices/mmc0/mmc0:1234/serial");
    const HANDLE volume = Open("Storage Card/vol:");
    DWORD record[4] = {};
    ASSERT_TRUE(DeviceIoControl(volume, IOCTL_DISK_GET_STORAGEID, nullptr, 0, record, sizeof record,
                                nullptr, nullptr));
    EXPECT_EQ(record[0], 16u);
    EXPECT_EQ(record[1], 3u);
    EXPECT_EQ(record[2], 0u);
    EXPECT_EQ(record[3], 0u);
    CloseHandle(volume);
}

TEST_F(StorageCards, VolumesAreForReadingAndFilesKeepTheirName)
{
    AddCard();
    EXPECT_EQ(Open("Storage Card/vol:", GENERIC_READ | GENERIC_WRITE), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Open("Storage Card/vol:", GENERIC_READ, CREATE_ALWAYS), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Open("sys/vol:"), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    Write("sys/vol:", "a file");
    const HANDLE file = Open("sys/vol:");
    EXPECT_EQ(GetFileSize(file, nullptr), 6u);
    CloseHandle(file);
}

TEST_F(StorageCards, PathsOnCards)
{
    // The folder below the root is what counts, so the card is mounted there.
    const std::string firstFolder = m_top.substr(0, m_top.find('/', 1));
    AddCard();
    const std::string mounts = "36 35 179:1 / " + firstFolder + " rw - vfat /dev/x1 rw\n";
    EXPECT_EQ(FileFuncsEx::IsPathOnFlashCard(xel_text::FromUtf8(firstFolder + "/a")), 0);
    Write("mountinfo", mounts);
    std::string path = firstFolder + "/a/b.txt";
    std::replace(path.begin(), path.end(), '/', '\\');
    EXPECT_EQ(FileFuncsEx::IsPathOnFlashCard(xel_text::FromUtf8(path)), 1);
    fs::remove(m_top + "/sys/devices/mmc0/mmc0:1234/serial");
    EXPECT_EQ(FileFuncsEx::IsPathOnFlashCard(xel_text::FromUtf8(path)), 0);
}
