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

#include <atomic>
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
constexpr DWORD ERROR_WRITE_PROTECT = 19;
constexpr DWORD ERROR_WRITE_FAULT = 29;
constexpr DWORD ERROR_READ_FAULT = 30;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_INVALID_NAME = 123;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
constexpr DWORD ERROR_INVALID_ADDRESS = 487;
constexpr DWORD ERROR_INVALID_FLAGS = 1004;
constexpr DWORD ERROR_FILE_INVALID = 1006;

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
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;

// Regular files only; INVALID_HANDLE_VALUE for anything else and for every failure. Nothing
// blocks on a FIFO or a device. Security and template are ignored. A file opened for writing
// without FILE_SHARE_WRITE is locked against other such writers before it is truncated
// (ERROR_SHARING_VIOLATION for the second one); readers are always let in.
HANDLE CreateFileW(const wchar_t* name, DWORD access, DWORD share, void* security, DWORD creation,
                   DWORD attributes, HANDLE templateFile);

// As CreateFileW, for a handle that is to be mapped. The file's size is taken once, here, and
// both GetFileSize and the mapping answer with it, also when the file grows or shrinks later.
HANDLE CreateFileForMappingW(const wchar_t* name, DWORD access, DWORD share, void* security,
                             DWORD creation, DWORD attributes, HANDLE templateFile);

// Low 32 bits of the size; the high ones go to `high` unless it is null. INVALID_FILE_SIZE on
// failure.
DWORD GetFileSize(HANDLE file, DWORD* high);

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
