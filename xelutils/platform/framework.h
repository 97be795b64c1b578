// The classes of the platform's application framework that the library meets, the same code on
// every target: the framework's string, its file object, and the loader of string resources.
#pragma once

#include <cstddef>
#include <cstring>
#include <vector>

#include "xelutils/export.h"
#include "xelutils/platform/coredll.h"

// The framework's string: wide text that is always terminated and may hold zero characters.
class XELUTILS_API CString {
public:
    CString();
    // Null gives the empty string.
    CString(const wchar_t* text);
    // Converts from the system's code page; null gives the empty string.
    CString(const char* text);
    // Takes `length` units, zeros included; a length below 1 gives the empty string.
    CString(const wchar_t* text, int length);
    CString(const char* text, int length);

    int GetLength() const;
    bool IsEmpty() const;
    operator const wchar_t*() const;

    // By the text up to the first zero character.
    friend XELUTILS_API bool operator==(const CString& first, const wchar_t* second);
    friend bool operator==(const CString& first, const CString& second)
    {
        return first == static_cast<const wchar_t*>(second);
    }

private:
    // The text with its terminator; empty for the empty string.
    std::vector<wchar_t> m_text;
};

// A span of time: a signed 32-bit number of seconds.
class CTimeSpan {
public:
    CTimeSpan() = default;
    // In seconds.
    explicit CTimeSpan(LONG seconds) : m_seconds(seconds) {}
    // What does not fit 32 bits of seconds wraps.
    CTimeSpan(LONG days, int hours, int minutes, int seconds)
        : m_seconds(static_cast<LONG>(((days * 24LL + hours) * 60 + minutes) * 60 + seconds))
    {
    }

    LONG GetTotalSeconds() const { return m_seconds; }

private:
    LONG m_seconds = 0;
};

// The out-of-memory failure. It is thrown as a pointer, which the catcher must not delete.
class XELUTILS_API CMemoryException {
public:
    virtual ~CMemoryException();
};

// Throws the one CMemoryException*.
[[noreturn]] XELUTILS_API void AfxThrowMemoryException();

// What CFile::Write throws.
class CFileException {
public:
    explicit CFileException(DWORD osError) : m_lOsError(osError) {}
    // The platform's error number.
    DWORD m_lOsError;
};

// The framework's file object. Not copyable; destroying it closes the file.
class XELUTILS_API CFile {
public:
    enum OpenFlags : UINT {
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareDenyWrite = 0x0020,
        modeCreate = 0x1000,
    };

    CFile() = default;
    ~CFile();
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    // Creates or truncates the file `name`: modeCreate with either modeWrite or modeReadWrite.
    // Writers other than this one are shut out, with or without shareDenyWrite. False, with the
    // reason in GetLastError, when that fails; a file that was open is closed first.
    bool Open(const wchar_t* name, UINT flags);

    // Hands `size` bytes to the platform in one call, or gathers them (see GatherWrites). A write
    // that comes out short has failed.
    // Throws CFileException.
    void Write(const void* data, UINT size)
    {
        if (size > m_gathered.size() - m_gatheredBytes || m_failure != 0) {
            WriteThrough(data, size);
        } else if (size != 0) {
            std::memcpy(m_gathered.data() + m_gatheredBytes, data, size);
            m_gatheredBytes += size;
        }
    }

    // From now on writes are gathered and handed on in large blocks, the last one by Flush or
    // Close. A failure then shows at a later write or at Flush; after one, every further write
    // and flush fails too.
    void GatherWrites();

    // Hands on what was gathered. Throws CFileException.
    void Flush();

    // Hands on what was gathered, as far as that works, and closes. Does not throw.
    void Close();

private:
    void WriteThrough(const void* data, UINT size);
    void HandOn(const void* data, UINT size);

    HANDLE m_file = INVALID_HANDLE_VALUE;
    bool m_gathering = false;
    // First failure while gathering; 0 while there is none.
    DWORD m_failure = 0;
    // Empty while writes are not gathered.
    std::vector<unsigned char> m_gathered;
    std::size_t m_gatheredBytes = 0;
};

// The framework's critical section. The thread that has it may take it again.
class CCriticalSection {
public:
    CCriticalSection() { InitializeCriticalSection(&m_section); }
    ~CCriticalSection() { DeleteCriticalSection(&m_section); }
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    void Lock() { EnterCriticalSection(&m_section); }
    void Unlock() { LeaveCriticalSection(&m_section); }

private:
    CRITICAL_SECTION m_section;
};

// Holds a critical section while it lives.
class CSingleLock {
public:
    // `lockNow` says whether it takes the section at once or leaves it alone.
    explicit CSingleLock(CCriticalSection* section, BOOL lockNow)
        : m_section(lockNow ? section : nullptr)
    {
        if (m_section)
            m_section->Lock();
    }
    ~CSingleLock()
    {
        if (m_section)
            m_section->Unlock();
    }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

private:
    CCriticalSection* const m_section;
};

// The device context of a window, given back at the end of the object's life.
class CWindowDC {
public:
    explicit CWindowDC(HWND window) : m_window(window), m_context(GetWindowDC(window)) {}
    ~CWindowDC()
    {
        if (m_context)
            ReleaseDC(m_window, m_context);
    }
    CWindowDC(const CWindowDC&) = delete;
    CWindowDC& operator=(const CWindowDC&) = delete;

    // Null when the window gave none.
    HDC GetSafeHdc() const { return m_context; }

private:
    const HWND m_window;
    const HDC m_context;
};

// One string of a string table.
struct CStringTableEntry {
    UINT id;
    // Terminated text.
    const wchar_t* text;
};

// Adds a table of strings to those that AfxLoadString searches. The program keeps table and
// texts alive. Of tables that hold the same identifier, the one registered last wins. Safe from
// several threads.
XELUTILS_API void RegisterStringTable(const CStringTableEntry* entries, std::size_t count);

// Takes a table out again, as often as it was registered; false when it was not.
XELUTILS_API bool UnregisterStringTable(const CStringTableEntry* entries);

// Adds the string tables of a compiled resource file (.res), read whole here, so that one resource
// script serves device and host. Of a string that the file has in several languages the first
// counts. False, with nothing added, for a file that cannot be read (reason in GetLastError) or
// that is no sound resource file (ERROR_BAD_FORMAT).
XELUTILS_API bool RegisterStringResources(const wchar_t* fileName);

// Takes all that was read from files of this name, as it was given, out again; false when there is
// nothing.
XELUTILS_API bool UnregisterStringResources(const wchar_t* fileName);

// The framework's loader of string resources: copies the string `id` (its low 16 bits) into
// `buffer`, which holds `size` characters, cut to size - 1 characters and always terminated.
// Returns the number of characters copied without the terminator; 0 for a missing identifier,
// which leaves the empty text. A null buffer or a size below 1 gives 0.
XELUTILS_API int AfxLoadString(UINT id, wchar_t* buffer, UINT size);

// ---- Extension modules ----------------------------------------------------------------------
//
// A library that extends the framework registers itself while it is loaded, and takes itself out
// again while it is unloaded; the system lets one library at a time do either. In order:
//
//   AfxSetRegistrationsAside    the lists of the current module state are empty now
//   ...                         initialisers of the library register their classes and factories
//   AfxInitExtensionModule      those are the library's; the state has its own lists back
//   CDynLinkLibrary             the record that the framework searches for resources

// A class known by its name at run time. Links and names are the owner's.
struct CRuntimeClass {
    const char* m_lpszClassName;
    CRuntimeClass* m_pNextClass;
};

// What makes objects of one kind.
struct COleObjectFactory {
    COleObjectFactory* m_pNextFactory;
};

class CDynLinkLibrary;

// What a module, or a program, has registered; each list begins with the newest.
struct AFX_MODULE_STATE {
    CRuntimeClass* m_classList;
    COleObjectFactory* m_factoryList;
    CDynLinkLibrary* m_libraryList;
};

// The state of this process. Never null.
AFX_MODULE_STATE* AfxGetModuleState();

// What an extension library gives to the framework. The library keeps it alive, zero at first but
// for its strings.
struct AFX_EXTENSION_MODULE {
    // The library's own string table, or null and 0.
    const CStringTableEntry* strings;
    std::size_t stringCount;
    BOOL bInitialized;
    // Some address of the library.
    const void* hModule;
    CRuntimeClass* pFirstSharedClass;
    COleObjectFactory* pFirstSharedFactory;
};

// Empties the lists of classes and factories until AfxInitExtensionModule puts them back. Cannot
// fail; what is aside already stays there.
void AfxSetRegistrationsAside();

// Puts back what is aside, where AfxInitExtensionModule has not; what was registered since then is
// forgotten.
void AfxPutRegistrationsBack();

// Hands to `module` what was registered since the lists were set aside, and puts them back. FALSE,
// and nothing happened, when `module` is initialised or nothing is aside.
BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE& module, const void* address);

// Leaves `module` as it was before AfxInitExtensionModule. Its record must be gone.
void AfxTermExtensionModule(AFX_EXTENSION_MODULE& module);

// The framework's record of an initialised extension module: from its making to its end the
// module's strings are among those that AfxLoadString searches.
class CDynLinkLibrary {
public:
    explicit CDynLinkLibrary(const AFX_EXTENSION_MODULE& module);
    ~CDynLinkLibrary();
    CDynLinkLibrary(const CDynLinkLibrary&) = delete;
    CDynLinkLibrary& operator=(const CDynLinkLibrary&) = delete;

    const void* const m_hModule;
    CRuntimeClass* const m_classList;
    COleObjectFactory* const m_factoryList;
    // The record made before this one.
    CDynLinkLibrary* m_pNextDLL;

private:
    const CStringTableEntry* const m_strings;
};
