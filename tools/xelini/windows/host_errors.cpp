#include "tools/xelini/host_errors.h"

#include <windows.h>

#include <iterator>

#include "xelutils/text/xel_utf.h"

namespace xelini {

namespace {

// As other hosts put it: the same files give the same messages everywhere.
const char* commonReason(DWORD error)
{
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
        return "no such file or directory";
    case ERROR_ACCESS_DENIED:
        return "permission denied";
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
        return "file exists";
    case ERROR_DIRECTORY:
        return "not a directory";
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return "no space left on device";
    case ERROR_FILE_TOO_LARGE:
        return "file too large";
    case ERROR_FILENAME_EXCED_RANGE:
        return "file name too long";
    case ERROR_WRITE_PROTECT:
        return "read-only file system";
    case ERROR_TOO_MANY_OPEN_FILES:
        return "too many open files";
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
        return "cannot allocate memory";
    case ERROR_INVALID_HANDLE:
        return "bad file descriptor";
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
        return "broken pipe";
    case ERROR_CRC:
    case ERROR_IO_DEVICE:
        return "input/output error";
    default:
        return nullptr;
    }
}

// Empty when it has none in English.
std::string wordsOfTheSystem(DWORD error)
{
    wchar_t words[512];
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, error, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), words,
        static_cast<DWORD>(std::size(words)), nullptr);
    std::string text = xel_text::ToUtf8({words, static_cast<int>(length)});
    text.erase(text.find_last_not_of(" .") + 1);
    return text;
}

} // namespace

int lastError()
{
    return static_cast<int>(GetLastError());
}

std::string systemReason(int error)
{
    if (const char* const reason = commonReason(static_cast<DWORD>(error)))
        return reason;
    std::string words = wordsOfTheSystem(static_cast<DWORD>(error));
    if (words.empty())
        return "system error " + std::to_string(error);
    if (words[0] >= 'A' && words[0] <= 'Z')
        words[0] = static_cast<char>(words[0] - 'A' + 'a');
    return words;
}

} // namespace xelini
