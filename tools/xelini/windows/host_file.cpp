#include "tools/xelini/host_file.h"

#include <windows.h>

#include <algorithm>

#include "tools/xelini/windows/left_overs.h"
#include "tools/xelini/windows/paths.h"
#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

// The system counts the bytes of a call in 32 bits.
constexpr std::size_t kLargestPiece = 1 << 30;

std::uint64_t joined(DWORD high, DWORD low)
{
    return std::uint64_t{high} << 32 | low;
}

bool isConsole(HANDLE file)
{
    DWORD mode;
    return GetConsoleMode(file, &mode);
}

// A console shows bytes in a code page of its own; characters it shows as they are.
std::ptrdiff_t writeToConsole(HANDLE console, std::string_view utf8)
{
    const xel_text::CXelStringT<wchar_t> text = xel_text::FromUtf8(utf8);
    const wchar_t* rest = text.begin();
    while (rest != text.end()) {
        constexpr std::ptrdiff_t kMostUnits = 8 * 1024;
        const auto count = static_cast<DWORD>(std::min(text.end() - rest, kMostUnits));
        DWORD written = 0;
        if (!WriteConsoleW(console, rest, count, &written, nullptr))
            return -1;
        rest += written;
    }
    return static_cast<std::ptrdiff_t>(utf8.size());
}

} // namespace

HostFile::~HostFile()
{
    if (isOpen())
        CloseHandle(handleOf(m_number));
}

HostFile::Number numberOf(StandardStream stream)
{
    switch (stream) {
    case StandardStream::input:
        return numberOf(GetStdHandle(STD_INPUT_HANDLE));
    case StandardStream::output:
        return numberOf(GetStdHandle(STD_OUTPUT_HANDLE));
    default:
        return numberOf(GetStdHandle(STD_ERROR_HANDLE));
    }
}

HostFile openForReading(const std::string& path)
{
    return openShared(path, GENERIC_READ);
}

bool findState(HostFile::Number file, FileState& state)
{
    const HANDLE handle = handleOf(file);
    if (GetFileType(handle) != FILE_TYPE_DISK) {
        state = {};
        return true;
    }
    BY_HANDLE_FILE_INFORMATION info;
    FILE_BASIC_INFO times;
    if (!GetFileInformationByHandle(handle, &info) ||
        !GetFileInformationByHandleEx(handle, FileBasicInfo, &times, sizeof times))
        return false;
    const bool isFolder = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    state = {.kind = isFolder ? FileState::Kind::folder : FileState::Kind::regular,
             .volume = info.dwVolumeSerialNumber,
             .numberOnVolume = joined(info.nFileIndexHigh, info.nFileIndexLow),
             .size = joined(info.nFileSizeHigh, info.nFileSizeLow),
             .writeTime = static_cast<std::uint64_t>(times.LastWriteTime.QuadPart),
             .changeTime = static_cast<std::uint64_t>(times.ChangeTime.QuadPart)};
    return true;
}

bool findState(const std::string& path, FileState& state)
{
    const HostFile file = openShared(path, FILE_READ_ATTRIBUTES);
    return file.isOpen() && findState(file.number(), state);
}

bool rewind(HostFile::Number file)
{
    return SetFilePointerEx(handleOf(file), {}, nullptr, FILE_BEGIN);
}

std::ptrdiff_t readSome(HostFile::Number file, char* bytes, std::size_t size)
{
    DWORD got = 0;
    if (ReadFile(handleOf(file), bytes, static_cast<DWORD>(std::min(size, kLargestPiece)), &got,
                 nullptr))
        return static_cast<std::ptrdiff_t>(got);
    // How a pipe ends whose writers are gone.
    return GetLastError() == ERROR_BROKEN_PIPE ? 0 : -1;
}

std::ptrdiff_t writeSome(HostFile::Number file, std::string_view bytes)
{
    if (isConsole(handleOf(file)))
        return writeToConsole(handleOf(file), bytes);
    const auto size = static_cast<DWORD>(std::min(bytes.size(), kLargestPiece));
    DWORD written = 0;
    if (!WriteFile(handleOf(file), bytes.data(), size, &written, nullptr))
        return -1;
    return static_cast<std::ptrdiff_t>(written);
}

// In the folder of the person's temporary files. The library's reader shares a file with readers
// only, so it is filled first and then opened for reading.
HostFile makeMemoryFile(std::string_view bytes)
{
    wchar_t folder[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH)
        return {};
    const std::string path = makeLeftOver(xel_text::ToUtf8({folder, static_cast<int>(length)}));
    if (path.empty())
        return {};
    const HostFile writer = openShared(path, GENERIC_WRITE);
    if (!writer.isOpen() || !writeAll(writer.number(), bytes))
        return {};
    return openForReading(path);
}

std::vector<wchar_t> devicePathOf(const HostFile& file)
{
    const std::wstring path = widePath(file.path());
    return {path.c_str(), path.c_str() + path.size() + 1};
}

} // namespace xelini
