#include <cstdint>

#include "xelutils/files/file_funcs_ex.h"

namespace FileFuncsEx {

namespace {

// \Storage Card\Jobs\a.txt  =>  \Storage Card
CXelStringT<wchar_t> FirstFolder(const CXelStringT<wchar_t>& path)
{
    const int secondSeparator = path.GetAt(0) == '\\' ? path.Find('\\', 1) : -1;
    return secondSeparator > 0 ? path.Left(secondSeparator) : path;
}

// What the platform tells about the disk behind a volume: this header, then the texts that the
// offsets (bytes from the start of the record) point to.
struct StorageIdentification {
    static constexpr std::uint32_t kSize = 500;

    std::uint32_t size = kSize;
    std::uint32_t flags = 0;
    std::uint32_t manufacturerIdOffset = 0;
    std::uint32_t serialNumberOffset = 0;
    std::uint8_t texts[kSize - 4 * sizeof(std::uint32_t)] = {};
};
static_assert(sizeof(StorageIdentification) == StorageIdentification::kSize);
constexpr std::uint32_t kLeastSerialNumberOffset = 16;

bool HasSerialNumber(HANDLE volume)
{
    StorageIdentification record;
    DWORD returnedSize = 0;
    return DeviceIoControl(volume, IOCTL_DISK_GET_STORAGEID, nullptr, 0, &record, record.kSize,
                           &returnedSize, nullptr) &&
           record.serialNumberOffset >= kLeastSerialNumberOffset;
}

} // namespace

int IsPathOnFlashCard(const wchar_t* path)
{
    if (path == nullptr)
        return 0;
    const CXelStringT<wchar_t> folder = FirstFolder(path);
    // For a folder that is missing all attributes are set; it fails when its volume is opened.
    if ((GetFileAttributesW(folder) & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_TEMPORARY)) == 0)
        return 0;
    const HANDLE volume =
        CreateFileW(folder + L"\\vol:", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (volume == INVALID_HANDLE_VALUE)
        return 0;
    const bool hasSerialNumber = HasSerialNumber(volume);
    CloseHandle(volume);
    return hasSerialNumber ? 1 : 0;
}

} // namespace FileFuncsEx
