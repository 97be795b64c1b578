// The device's own calls, under the device's own names, as far as the library makes them.
//
// On a device tool chain this header is one line that includes the device's own. Elsewhere the
// calls answer as the device would, so that nothing above asks where it runs:
//
// - Names of files are device paths in UTF-16: "\" and "/" separate, a leading separator is the
//   device's root, and case does not count when a name as written is missing.
// - A call that fails has set the last error of its thread to the device's number (GetLastError);
//   one that succeeds leaves it alone.
// - Sizes are bytes, lengths of text are units of the text's own width, times are milliseconds.
// - Locale settings of the host program change nothing.
#pragma once

#if defined(_WIN32)
#include "xelutils/platform/windows/coredll.h"
#else

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#if defined(__GLIBC__)
#include <sys/single_threaded.h>
#endif

static_assert(sizeof(wchar_t) == 2, "wchar_t must have 16 bits: compile with -fshort-wchar");

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using UINT = unsigned int;
using SIZE_T = std::size_t;
using HANDLE = void*;

constexpr BOOL TRUE = 1;
constexpr BOOL FALSE = 0;

// ---- Errors -------------------------------------------------------------------------------

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_NO_MORE_FILES = 18;
constexpr DWORD ERROR_BAD_FORMAT = 11;
constexpr DWORD ERROR_WRITE_PROTECT = 19;
constexpr DWORD ERROR_WRITE_FAULT = 29;
constexpr DWORD ERROR_READ_FAULT = 30;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_NOT_SUPPORTED = 50;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_INVALID_NAME = 123;
constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
constexpr DWORD ERROR_WAIT_NO_CHILDREN = 128;
constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
constexpr DWORD ERROR_MORE_DATA = 234;
constexpr DWORD ERROR_NO_WORK_DONE = 235;
constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
constexpr DWORD ERROR_DIRECTORY = 267;
constexpr DWORD ERROR_INVALID_ADDRESS = 487;
constexpr DWORD ERROR_INVALID_FLAGS = 1004;
constexpr DWORD ERROR_FILE_INVALID = 1006;
constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;

DWORD GetLastError();
void SetLastError(DWORD error);

// ---- Handles and files --------------------------------------------------------------------

inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(~std::uintptr_t{0});

constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;
constexpr DWORD FILE_SHARE_READ = 1;
constexpr DWORD FILE_SHARE_WRITE = 2;
constexpr DWORD CREATE_NEW = 1;
constexpr DWORD CREATE_ALWAYS = 2;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD OPEN_ALWAYS = 4;
constexpr DWORD TRUNCATE_EXISTING = 5;
constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x01;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x100;
constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x400;
constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;

// Regular files only; INVALID_HANDLE_VALUE for anything else and for every failure. FIFOs and
// devices are not even opened. Security and template are ignored. A file opened for writing
// without FILE_SHARE_WRITE is locked against other such writers before it is truncated
// (ERROR_SHARING_VIOLATION for the second one); readers are always let in.
//
// After success with CREATE_ALWAYS or OPEN_ALWAYS the last error tells whether the file was there:
// ERROR_ALREADY_EXISTS, or ERROR_SUCCESS.
HANDLE CreateFileW(const wchar_t* name, DWORD access, DWORD share, void* security, DWORD creation,
                   DWORD attributes, HANDLE templateFile);

// As CreateFileW, for a handle that is to be mapped. The file's size is taken once, here, and
// both GetFileSize and the mapping answer with it, also when the file grows or shrinks later.
HANDLE CreateFileForMappingW(const wchar_t* name, DWORD access, DWORD share, void* security,
                             DWORD creation, DWORD attributes, HANDLE templateFile);

// Low 32 bits of the size; the high ones go to `high` unless it is null. INVALID_FILE_SIZE on
// failure.
DWORD GetFileSize(HANDLE file, DWORD* high);

// Steps of 100 ns since 1 January 1601, UTC.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

// Each time may be null. A host that keeps no time of creation answers with the last write.
BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite);

// -1, 0 or 1 when the first is earlier, equal or later.
LONG CompareFileTime(const FILETIME* first, const FILETIME* second);

// Writes all `size` bytes or fails; `written` holds what reached the file in either case.
BOOL WriteFile(HANDLE file, const void* data, DWORD size, DWORD* written, void* overlapped);

// Harmless, and false, on INVALID_HANDLE_VALUE and null.
BOOL CloseHandle(HANDLE handle);

constexpr DWORD PAGE_NOACCESS = 0x01;
constexpr DWORD PAGE_READONLY = 0x02;
constexpr DWORD PAGE_READWRITE = 0x04;
constexpr DWORD FILE_MAP_READ = 4;

// A read-only mapping of a whole file opened with CreateFileForMappingW: `protect` is
// PAGE_READONLY, the size 0/0, no name. Null on failure; an empty file cannot be mapped
// (ERROR_FILE_INVALID).
HANDLE CreateFileMappingW(HANDLE file, void* security, DWORD protect, DWORD sizeHigh, DWORD sizeLow,
                          const wchar_t* name);

// A view of the whole mapping (FILE_MAP_READ, offset 0/0, size 0), or null. At least four zero
// bytes stand after the file's last one, whatever its size. The view is a private picture of the
// file: what other programs do to the file afterwards neither shows in it nor faults a reader.
void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size);
BOOL UnmapViewOfFile(const void* view);

// ---- Listing and changing folders ---------------------------------------------------------
//
// A link met in a listing is a file (ARCHIVE and REPARSE_POINT), whatever it leads to. Asked for
// by its own name it answers for its target, with REPARSE_POINT added; one that leads nowhere
// answers for itself. What removes, copies or changes acts on the link that stands last in a
// name and never on what lies behind it. Links further up in a name are followed.
//
// A missing name is ERROR_FILE_NOT_FOUND, one in a missing folder ERROR_PATH_NOT_FOUND. A closing
// separator is ignored for folders, for all else it is ERROR_PATH_NOT_FOUND.

constexpr int MAX_PATH = 260;
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;

// Attributes are DIRECTORY for a folder and ARCHIVE for all else, with READONLY when nobody may
// write to it (never for a folder) and REPARSE_POINT for a link. A folder's size is 0.
struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    // Always 0.
    DWORD dwOID;
    wchar_t cFileName[MAX_PATH];
};
static_assert(sizeof(WIN32_FIND_DATAW) == 560, "the device's record, which programs store whole");

// Lists what matches the mask that `name` ends with, in the host's order, without "." and "..";
// an empty folder lists nothing (ERROR_FILE_NOT_FOUND). "*" stands for any units, "?" for exactly
// one, "*.*" for every name; case does not count. A mask that is itself the name of an entry means
// that entry alone, except "*" and "*.*". Without "*" and "?" the one file or folder of that name.
//
// The listing is read whole, here, and holds no descriptor until FindClose, only memory. What is
// made or removed meanwhile may or may not show; no name shows twice. Names that the record cannot
// hold are left out: cut to fit they would be the names of other files.
HANDLE FindFirstFileW(const wchar_t* name, WIN32_FIND_DATAW* data);

// ERROR_NO_MORE_FILES after the last entry.
BOOL FindNextFileW(HANDLE listing, WIN32_FIND_DATAW* data);

// Harmless, and false, on INVALID_HANDLE_VALUE, null and handles of files.
BOOL FindClose(HANDLE listing);

// INVALID_FILE_ATTRIBUTES on failure.
DWORD GetFileAttributesW(const wchar_t* name);

// Of all attributes only READONLY means something, and that not for folders. Setting it takes the
// right to write from everybody, clearing it gives it to the owner. A link cannot be made
// read-only (ERROR_ACCESS_DENIED), and clearing does nothing to it.
BOOL SetFileAttributesW(const wchar_t* name, DWORD attributes);

// ERROR_ALREADY_EXISTS when anything has the name, also in other case.
BOOL CreateDirectoryW(const wchar_t* name, void* security);

// An empty folder only; ERROR_DIR_NOT_EMPTY for others, ERROR_DIRECTORY for links and files. The
// root and the working directory stay, by whatever name (ERROR_ACCESS_DENIED).
BOOL RemoveDirectoryW(const wchar_t* name);

// Anything but a folder, and but what is read-only (ERROR_ACCESS_DENIED for both).
BOOL DeleteFileW(const wchar_t* name);

// Copies content, permissions and time of the last write of a file; a link is copied as a link.
// Nothing else is copied (ERROR_ACCESS_DENIED). Of a file that is written to meanwhile, no more is
// copied than it had at the beginning. The target appears, or is replaced, in one step when the
// copy is complete, also when the program is killed before; it is untouched after a failure:
//
// - ERROR_FILE_EXISTS when it exists and `failIfExists` says so,
// - ERROR_SHARING_VIOLATION when it is the source itself, by whatever name, or when a writer has
//   it open that shuts out others,
// - ERROR_ACCESS_DENIED when it is read-only, a folder or a device.
BOOL CopyFileW(const wchar_t* existing, const wchar_t* target, BOOL failIfExists);

// ---- Storage cards ------------------------------------------------------------------------
//
// The folder that a removable card is mounted at has TEMPORARY beside DIRECTORY among its
// attributes. CreateFileW opens the card's volume under the folder's name with "\vol:" behind it,
// for reading only; all that the handle is good for is this query. Other folders have no volume.

constexpr DWORD IOCTL_DISK_GET_STORAGEID = 0x71C24;

// The only `code` is IOCTL_DISK_GET_STORAGEID, the input null and 0, `overlapped` null. The output
// starts with four words: size of the whole record in bytes, flags (1 there is no manufacturer, 2
// there is no serial number), and from the start of the record the places of the manufacturer's
// name and the serial number, 0 for what there is not. Both are terminated narrow text behind the
// header. An output that is too small is ERROR_INSUFFICIENT_BUFFER; its first word says what is
// needed. `returned` holds the number of bytes stored.
BOOL DeviceIoControl(HANDLE device, DWORD code, void* input, DWORD inputSize, void* output,
                     DWORD outputSize, DWORD* returned, void* overlapped);

// ---- Time ---------------------------------------------------------------------------------

struct SYSTEMTIME {
    // 1601 to 30827.
    WORD wYear;
    WORD wMonth;
    // Sunday is 0.
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};

// UTC.
void GetSystemTime(SYSTEMTIME* time);

// Ignores the day of the week. ERROR_INVALID_PARAMETER for a date that there is not.
BOOL SystemTimeToFileTime(const SYSTEMTIME* time, FILETIME* fileTime);

// ERROR_INVALID_PARAMETER for times with the highest bit set.
BOOL FileTimeToSystemTime(const FILETIME* fileTime, SYSTEMTIME* time);

// By the zone's present offset: a time of last winter, asked for in summer, is an hour off, as it
// is on the device. ERROR_INVALID_PARAMETER where the result would lie before 1601 or have the
// highest bit set.
BOOL FileTimeToLocalFileTime(const FILETIME* fileTime, FILETIME* localFileTime);

// Milliseconds since the host started, without those that it slept; begins again after 2^32.
DWORD GetTickCount();

// ---- Virtual memory and system information ------------------------------------------------

constexpr DWORD MEM_COMMIT = 0x1000;
constexpr DWORD MEM_RESERVE = 0x2000;
constexpr DWORD MEM_RELEASE = 0x8000;
constexpr DWORD MEM_FREE = 0x10000;
constexpr DWORD MEM_PRIVATE = 0x20000;
constexpr DWORD MEM_TOP_DOWN = 0x100000;

struct SYSTEM_INFO {
    DWORD dwPageSize;
    void* lpMinimumApplicationAddress;
    void* lpMaximumApplicationAddress;
    DWORD dwNumberOfProcessors;
    DWORD dwAllocationGranularity;
};
void GetSystemInfo(SYSTEM_INFO* info);

struct MEMORY_BASIC_INFORMATION {
    void* BaseAddress;
    void* AllocationBase;
    DWORD AllocationProtect;
    SIZE_T RegionSize;
    DWORD State;
    DWORD Protect;
    DWORD Type;
};

// Either reserves `size` bytes (MEM_RESERVE, PAGE_NOACCESS, with or without MEM_TOP_DOWN; a null
// address) or commits exactly one whole reservation (MEM_COMMIT, PAGE_READWRITE). A reservation
// lies below 4 GiB, at a multiple of 64 KiB, in the lowest or with MEM_TOP_DOWN the highest gap
// between reservations that takes it. Null when there is none.
void* VirtualAlloc(void* address, SIZE_T size, DWORD type, DWORD protect);

// Describes the pages from `address` (rounded down to a page) to the end of its reservation.
// Returns the number of bytes stored; 0 for an address in no reservation.
SIZE_T VirtualQuery(const void* address, MEMORY_BASIC_INFORMATION* info, SIZE_T length);

// MEM_RELEASE with size 0 gives back the whole reservation that starts at `address`.
BOOL VirtualFree(void* address, SIZE_T size, DWORD type);

struct MEMORYSTATUS {
    DWORD dwLength;
    DWORD dwMemoryLoad;
    DWORD dwTotalPhys;
    DWORD dwAvailPhys;
    DWORD dwTotalPageFile;
    DWORD dwAvailPageFile;
    DWORD dwTotalVirtual;
    DWORD dwAvailVirtual;
};

// Bytes, each figure saturated to 32 bits; the load is a percentage.
void GlobalMemoryStatus(MEMORYSTATUS* status);

// ---- Threads ------------------------------------------------------------------------------

void Sleep(DWORD milliseconds);

// A lock that the thread which has it may take again; it is free when it was left as often.
struct CRITICAL_SECTION {
    // The host's own lock.
    void* host[6];
};

void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);

// Full barriers. While the process has a single thread nothing can come between the steps, and
// the bus lock, which costs more than all the rest of a small allocation, is left out.
namespace interlocked {

inline bool SingleThreaded()
{
#if defined(__GLIBC__)
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

inline std::atomic_ref<LONG> Word(volatile LONG* word)
{
    return std::atomic_ref<LONG>(*const_cast<LONG*>(word));
}

} // namespace interlocked

// Returns the new value.
inline LONG InterlockedIncrement(volatile LONG* word)
{
    if (interlocked::SingleThreaded()) {
        const LONG value = *word + 1;
        *word = value;
        return value;
    }
    return interlocked::Word(word).fetch_add(1) + 1;
}

// Returns the new value.
inline LONG InterlockedDecrement(volatile LONG* word)
{
    if (interlocked::SingleThreaded()) {
        const LONG value = *word - 1;
        *word = value;
        return value;
    }
    return interlocked::Word(word).fetch_sub(1) - 1;
}

// Returns the old value.
inline LONG InterlockedExchange(volatile LONG* word, LONG value)
{
    if (interlocked::SingleThreaded()) {
        const LONG old = *word;
        *word = value;
        return old;
    }
    return interlocked::Word(word).exchange(value);
}

// Stores `value` if the word equals `comparand`; returns the old value.
inline LONG InterlockedCompareExchange(volatile LONG* word, LONG value, LONG comparand)
{
    if (interlocked::SingleThreaded()) {
        const LONG old = *word;
        if (old == comparand)
            *word = value;
        return old;
    }
    interlocked::Word(word).compare_exchange_strong(comparand, value);
    return comparand;
}

// ---- Registry -----------------------------------------------------------------------------
//
// A text file as the device's registry editor exports it, on the host: the environment's
// XEL_REGISTRY names it, else it is "registry.reg" in the user's data folder ($XDG_DATA_HOME, else
// ~/.local/share). A missing file is a registry without keys. Lines that are broken are left out;
// the first of them is named on the debugger's output. Nothing is ever written.
//
// A file that has changed is read again when a root is next used. An open key, with all below it,
// stays as it was when it was opened. Names are compared without case. Keys and values are listed
// in the order of the file.
//
// The result of these calls is the error's number; the last error is left alone.

struct HKEY__;
using HKEY = HKEY__*;

// Always open.
inline const HKEY HKEY_CLASSES_ROOT = reinterpret_cast<HKEY>(std::uintptr_t{0x80000000});
inline const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(std::uintptr_t{0x80000001});
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::uintptr_t{0x80000002});
inline const HKEY HKEY_USERS = reinterpret_cast<HKEY>(std::uintptr_t{0x80000003});

// Types of values. Text is UTF-16 with a terminator that counts, unless a file leaves it out.
constexpr DWORD REG_NONE = 0;
constexpr DWORD REG_SZ = 1;
constexpr DWORD REG_EXPAND_SZ = 2;
constexpr DWORD REG_BINARY = 3;
constexpr DWORD REG_DWORD = 4;
constexpr DWORD REG_MULTI_SZ = 7;

// `subKey` is a path with "\" between the names; null or empty it means `key` itself. Options and
// access are ignored. ERROR_FILE_NOT_FOUND when there is no such key.
LONG RegOpenKeyExW(HKEY key, const wchar_t* subKey, DWORD options, DWORD access, HKEY* result);

// The name of the sub-key at `index`. `nameLength` is the buffer's length in units, terminator
// included, and becomes the name's, without it. ERROR_MORE_DATA, and nothing is stored, when the
// name does not fit; ERROR_NO_MORE_ITEMS behind the last one. `reserved` and `lastWrite` are null;
// classes are empty, and their arguments may be null.
LONG RegEnumKeyExW(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, DWORD* reserved,
                   wchar_t* className, DWORD* classLength, FILETIME* lastWrite);

// The same for the value at `index`; the name of a key's default value is empty. Type and data may
// be null; they are given as RegQueryValueExW gives them.
LONG RegEnumValueW(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, DWORD* reserved,
                   DWORD* type, BYTE* data, DWORD* dataSize);

// A value's type and data, the bytes as they are stored; a null or empty name means the default
// value. `dataSize` is the buffer's size in bytes and becomes the data's. Without a buffer only the
// size is given; with one that is too small nothing is stored there (ERROR_MORE_DATA), but type
// and size are. ERROR_FILE_NOT_FOUND when there is no such value.
LONG RegQueryValueExW(HKEY key, const wchar_t* valueName, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* dataSize);

// Harmless for the roots. ERROR_INVALID_HANDLE for what is no open key, here and above.
LONG RegCloseKey(HKEY key);

// ---- Modules and debugger output -----------------------------------------------------------

using HMODULE = void*;

// The device path of the running program, by which its file can be opened; only for the null
// module (ERROR_MOD_NOT_FOUND for others). Of a program whose file has gone it is the last name
// that it had. Returns the number of units without the terminator, 0 on failure. Of a longer
// path `buffer` holds the first size - 1 units and a terminator; the result is `size` then, with
// ERROR_INSUFFICIENT_BUFFER.
DWORD GetModuleFileNameW(HMODULE module, wchar_t* buffer, DWORD size);

// Text for who watches the program: UTF-8 on standard error, each text in one piece; nothing when
// XEL_DEBUG_OUTPUT is "none" at the first call. A surrogate without its partner becomes U+FFFD.
// Nothing happens to a program whose standard error is closed, was so when it started, or leads
// to a reader who has gone (there is no SIGPIPE); for one who does not read on, the first text
// waits a second, those behind it not at all. Leaves errno and the last error alone.
void OutputDebugStringW(const wchar_t* text);

// ---- Libraries ----------------------------------------------------------------------------

using HINSTANCE = HMODULE;
using FARPROC = int (*)();

// Loads the file with this name and no other: there is no search, not for a bare name either. A
// name without a dot in its last component means the one with ".dll" behind it, as on the device; a
// dot at its end, the one without. Below "\Windows\", where the device's root has no such folder, a
// name means a file of the host's own library folder, the one that the C library was loaded from. A
// library that is loaded already is not loaded again; each call is to be undone by a FreeLibrary.
//
// Whoever may write to the file, a folder on the way to it or a link there decides what code runs:
// links are followed, and ".." in a name leads out of the folder that it was appended to.
//
// Null on failure: ERROR_MOD_NOT_FOUND when there is no such file or something that it needs is
// missing (what, the host's loader tells the debugger's output), ERROR_BAD_EXE_FORMAT when it is
// no library for this processor, ERROR_ACCESS_DENIED when it cannot be read or is no file.
HMODULE LoadLibraryW(const wchar_t* name);

// What the library, or one that it was linked with, calls `name`; case counts. Null, and
// ERROR_PROC_NOT_FOUND, when there is nothing; ERROR_INVALID_HANDLE for a library that is not
// loaded (any more).
FARPROC GetProcAddressW(HMODULE module, const wchar_t* name);

// ERROR_INVALID_HANDLE for a library that is not loaded (any more).
BOOL FreeLibrary(HMODULE module);

// ---- Child programs -----------------------------------------------------------------------
//
// A child that nobody waits for is collected by a later CreateProcessW, whatever became of its
// handles; until then it costs an entry in the host's process table and a descriptor. One that has
// been collected costs nothing but the handles.
//
// A host that ignores SIGCHLD, or takes the status of every child by a wait of its own, leaves
// nothing to be known here: both questions about the child fail with ERROR_WAIT_NO_CHILDREN then,
// the wait once the child has ended.

constexpr DWORD CREATE_NEW_CONSOLE = 0x10;
constexpr DWORD INFINITE = 0xFFFFFFFF;
constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
constexpr DWORD STILL_ACTIVE = 259;

// Nothing of it is looked at.
struct STARTUPINFOW {
    // 68 on every target, as the device has it, though pointers may be longer here.
    DWORD cb;
    wchar_t* lpReserved;
    wchar_t* lpDesktop;
    wchar_t* lpTitle;
    DWORD dwX;
    DWORD dwY;
    DWORD dwXSize;
    DWORD dwYSize;
    DWORD dwXCountChars;
    DWORD dwYCountChars;
    DWORD dwFillAttribute;
    DWORD dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    BYTE* lpReserved2;
    HANDLE hStdInput;
    HANDLE hStdOutput;
    HANDLE hStdError;
};
static_assert(sizeof(void*) != 4 || sizeof(STARTUPINFOW) == 68, "the device's record");

struct PROCESS_INFORMATION {
    // Both to be closed; they are good for the same calls.
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};

// Starts the program with this name; there is no search and no shell. The child's arguments are
// the program's name, as the host has it, and the words of the command line, which does not name
// the program. They are UTF-8; units that carry a byte of a file's name become that byte.
//
//   a "b c" d"e f"g  =>  a, b c, de fg       two backslashes before a quote are one backslash,
//   "x\\" \\"y"      =>  x\, \y               and the quote means what it meant without them
//   \" "\"" "a""b"   =>  ", ", a"b            so written, it is part of the text
//   \a\\b            =>  \a\\b                elsewhere backslashes are nothing special
//
// The child inherits environment, working directory and the three standard streams, but no other
// descriptor, and every signal has its usual effect there. Attributes, environment and directory
// are null, nothing is inherited by wish, and `flags` is 0 or CREATE_NEW_CONSOLE, which means
// nothing here (ERROR_INVALID_PARAMETER otherwise). `commandLine` may be null and stays as it is.
//
// ERROR_ACCESS_DENIED for a folder and for a file that may not be executed, ERROR_BAD_EXE_FORMAT
// for one that the host cannot execute, or whose interpreter it does not find.
BOOL CreateProcessW(const wchar_t* program, wchar_t* commandLine, void* processAttributes,
                    void* threadAttributes, BOOL inheritHandles, DWORD flags, void* environment,
                    const wchar_t* directory, STARTUPINFOW* startup,
                    PROCESS_INFORMATION* information);

// Waits for the end of a child for so many milliseconds, or INFINITE: WAIT_OBJECT_0, WAIT_TIMEOUT,
// or WAIT_FAILED with the last error. Only children can be waited for.
DWORD WaitForSingleObject(HANDLE process, DWORD milliseconds);

// STILL_ACTIVE while the child runs. The host keeps the lowest 8 bits of what a program exits with
// (259 arrives as 3); one that a signal ended has 128 and the signal's number.
BOOL GetExitCodeProcess(HANDLE process, DWORD* exitCode);

// ---- Text ---------------------------------------------------------------------------------

constexpr UINT CP_ACP = 0;

// Pages are 874, 932, 936, 949, 950, 1250 to 1258, and 0 for the system's, which is windows-1252
// unless the environment's XEL_ACP named another of these when it was first asked for. Others fail
// with ERROR_INVALID_PARAMETER, flags other than 0 with ERROR_INVALID_FLAGS. Bytes that a page
// leaves open are control characters or private units, both ways.
//
// A source length of -1 takes the text with its terminator. A target size of 0 asks for the size
// needed. The result is the number of units stored, 0 on failure. A target that is too small
// gives 0 and ERROR_INSUFFICIENT_BUFFER; it holds what did fit, and nothing behind it is touched.
// What a page cannot hold becomes the default character, "?" when `defaultChar` is null.
int MultiByteToWideChar(UINT codePage, DWORD flags, const char* source, int sourceLength,
                        wchar_t* target, int targetSize);
int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* source, int sourceLength,
                        char* target, int targetSize, const char* defaultChar,
                        BOOL* usedDefaultChar);

// Masks of the character classes.
constexpr int _UPPER = 0x1;
constexpr int _LOWER = 0x2;
constexpr int _DIGIT = 0x4;
constexpr int _SPACE = 0x8;
constexpr int _ALPHA = 0x103;

// Non-zero when the 16-bit character `c` is in one of the classes of `mask`; by the Unicode
// tables of the device (é and 中 are letters, € and surrogates are not).
int _isctype(int c, int mask);

// The device's own form, which takes a mask; only _SPACE is asked for. An overload beside the
// C library's function of this name, whose classes are other numbers.
int iswctype(wchar_t c, unsigned short mask);

// In place, up to the terminator; one unit becomes one unit. The wide ones know all of Unicode's
// simple case pairs, the narrow ones only A to Z.
wchar_t* _wcsupr(wchar_t* text);
wchar_t* _wcslwr(wchar_t* text);
wchar_t* _wcsrev(wchar_t* text);
char* _strupr(char* text);
char* _strlwr(char* text);
char* _strrev(char* text);

// Below, equal to or above zero, by the lower-case forms as unsigned numbers.
int _wcsicmp(const wchar_t* first, const wchar_t* second);
int _stricmp(const char* first, const char* second);

// The standard streams: 0 input, 1 output, 2 error.
FILE* _getstdfilex(int number);

// ---- Formatting and scanning ---------------------------------------------------------------

// The run-time's formatter. Stores at most `count` characters and returns the length of the whole
// text; the terminator is stored only where there is room behind the text. -1 means only that the
// text is longer than `count`: the buffer is full then, without a terminator (where half a
// double-byte character would be the last one, zeros stand). A fault in the format ends the text
// where it is met.
//
//   %[flags][width][.precision][size]conversion        flags - + space # 0
//   d i u o x X p, e E f g G, c s                      text of the format's own width
//   C S                                                text of the other width
//   sizes h, l or w before c s C S                     narrow and wide whatever the format is
//   sizes h, l or I32, ll or I64, I before integers    16, 32, 64 bits and those of a pointer
//
// `l` is 32 bits also where the host's long has 64; L means nothing, a long double is a double.
// Infinities and the like are "1.#INF", "1.#QNAN", "-1.#IND"; exponents have three digits; ties
// are rounded away from zero; a null text is "(null)". %n ends the text: nothing is ever stored
// through an argument. Text of the other width is converted by the system's code page.
int _vsnprintf(char* buffer, SIZE_T count, const char* format, va_list arguments);
int _vsnwprintf(wchar_t* buffer, SIZE_T count, const wchar_t* format, va_list arguments);

namespace scanning {

// What swscanf does, over the addresses that it was given. A conversion that has no address left
// ends the scan.
int Scan(const wchar_t* text, const wchar_t* format, void* const* outputs, std::size_t count);

} // namespace scanning

// The run-time's scanner: the number of conversions stored, or -1 when the text ended before the
// first of them. Conversions are d i o u x X p, e f g, c s and sets in brackets, n, and * before
// any of them to store nothing. Texts are stored whole unless a width is given, c without a
// terminator: the outputs must have room. Integers wrap to the size of their conversion (h 16 bits,
// l 32, I64 or ll 64); "inf", "nan" and hexadecimal floats are no numbers; the decimal point is
// ".".
//
// A template, and so beside the C library's function of this name, which takes wide characters of
// another size.
template <class... Outputs>
int swscanf(const wchar_t* text, const wchar_t* format, Outputs*... outputs)
{
    void* const places[] = {outputs..., nullptr};
    return scanning::Scan(text, format, places, sizeof...(outputs));
}

using HLOCAL = void*;

constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
constexpr DWORD FORMAT_MESSAGE_FROM_STRING = 0x400;

// The platform's message formatter: the message is the text at `source`, its inserts are %1 to
// %99 with an optional format of the formatter above, %1!5d!. Only with both flags; identifier,
// language and size are 0. `buffer` is the address of a pointer that receives the new text, to be
// freed with LocalFree. Returns its length; 0, and a null pointer there, when there is no text
// (ERROR_NO_WORK_DONE) or the message cannot be read (ERROR_INVALID_PARAMETER).
//
//   %1!*.*s! %3  width, precision and text of %1 are the arguments 1 to 3, that of %3 is the 4th:
//                an insert with stars moves those of all higher numbers one place on
//   %n %r %t     line break (CR LF), CR, tab; a line break of the pattern becomes CR LF too
//   %0           ends the message; % before any other character is that character
//
// Floating point is not among the inserts. Widths and precisions go up to 65535; larger ones are
// ERROR_INVALID_PARAMETER.
DWORD FormatMessageW(DWORD flags, const void* source, DWORD messageId, DWORD languageId,
                     wchar_t* buffer, DWORD size, va_list* arguments);

// Null is harmless. Always null.
HLOCAL LocalFree(HLOCAL memory);

// ---- Windows and drawing -------------------------------------------------------------------

// What answers for a window; see platform/host_window.h.
class HostWindow;
using HWND = const HostWindow*;

struct HostDeviceContext;
using HDC = const HostDeviceContext*;

struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};

struct SIZE {
    LONG cx;
    LONG cy;
};

// From 0/0; the height is unknown, and 0. Null is ERROR_INVALID_WINDOW_HANDLE, here and below.
BOOL GetClientRect(HWND window, RECT* rect);

// To be given back with ReleaseDC. Null on failure.
HDC GetWindowDC(HWND window);

// 1, or 0 on failure.
int ReleaseDC(HWND window, HDC context);

// The width of the first `length` units of `text`; the height is unknown, and 0. How many units
// fit and where each one ends cannot be asked: `maxExtent` is 0, `fit` and `extents` are null.
BOOL GetTextExtentExPointW(HDC context, const wchar_t* text, int length, int maxExtent, int* fit,
                           int* extents, SIZE* size);

#endif
