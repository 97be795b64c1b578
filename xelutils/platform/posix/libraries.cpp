#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "xelutils/platform/coredll.h"
#include "xelutils/platform/posix/device_root.h"
#include "xelutils/platform/posix/errors.h"
#include "xelutils/platform/posix/files.h"
#include "xelutils/platform/posix/path_lookup.h"
#include "xelutils/platform/posix/utf.h"
#include "xelutils/platform/posix/wide_length.h"
#include "xelutils/platform/unload.h"

namespace {

// ---- Finding the file ---------------------------------------------------------------------

// A path of the host that is there, in whatever case.
std::optional<std::string> Find(const HostPath& path, LookFor lookFor)
{
    struct stat status;
    if (stat(path.Name(), &status) == 0 && (lookFor != LookFor::Folder || S_ISDIR(status.st_mode)))
        return path.text;
    return FindWithoutCase(path, lookFor);
}

// The folder that the C library was loaded from; empty in a program that was linked without the
// loader.
std::string HostLibraryFolder()
{
    Dl_info info = {};
    if (dladdr(reinterpret_cast<void*>(&dladdr), &info) == 0 || info.dli_fname == nullptr ||
        info.dli_fname[0] != '/')
        return {};
    const std::string library = info.dli_fname;
    return library.substr(0, library.rfind('/'));
}

// `folder` is one in the device's root.
bool LiesBelow(const HostPath& path, const HostPath& folder)
{
    const std::size_t length = folder.text.size();
    return path.baseLength == folder.baseLength && path.text.size() > length &&
           path.text[length] == '/' &&
           _stricmp(path.text.substr(0, length).c_str(), folder.text.c_str()) == 0;
}

// Where the device root has no folder for libraries, the host's takes its place.
void ReplaceMissingSystemFolder(HostPath& path)
{
    const std::optional<HostPath> system = ResolveDevicePath(L"\\Windows");
    if (!system || !LiesBelow(path, *system) || Find(*system, LookFor::Folder))
        return;
    const std::string hostFolder = HostLibraryFolder();
    if (hostFolder.empty())
        return;
    path.text.replace(0, system->text.size(), hostFolder);
    path.baseLength = hostFolder.size();
}

// A last component without a dot means one that ends with ".dll", unless a dot at its end says that
// it has none.
void CompleteExtension(HostPath& path)
{
    const std::size_t start = path.text.rfind('/') + 1;
    if (path.text.find('.', start) == std::string::npos)
        path.text += ".dll";
    else if (path.text.back() == '.')
        path.text.pop_back();
}

std::optional<std::string> FindLibrary(const wchar_t* name)
{
    std::optional<HostPath> path = ResolveDevicePath(name);
    if (!path || path->endsInSeparator)
        return std::nullopt;
    CompleteExtension(*path);
    if (!IsRelativeDevicePath(name))
        ReplaceMissingSystemFolder(*path);
    return Find(*path, LookFor::Target);
}

// ---- Looking at the file ------------------------------------------------------------------

ElfW(Half) OwnMachine()
{
    Dl_info info = {};
    if (dladdr(reinterpret_cast<void*>(&LoadLibraryW), &info) == 0 || info.dli_fbase == nullptr)
        return EM_NONE;
    return static_cast<const ElfW(Ehdr)*>(info.dli_fbase)->e_machine;
}

bool IsForThisProcessor(const ElfW(Ehdr) & header)
{
    constexpr unsigned char kOwnClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
    return std::string_view(reinterpret_cast<const char*>(header.e_ident), SELFMAG) == ELFMAG &&
           header.e_ident[EI_CLASS] == kOwnClass && header.e_machine == OwnMachine() &&
           header.e_phentsize == sizeof(ElfW(Phdr));
}

bool ReadAt(const OpenFile& file, std::uint64_t place, void* target, std::size_t size)
{
    const auto offset = static_cast<off_t>(place);
    return pread(file.descriptor, target, size, offset) == static_cast<ssize_t>(size);
}

// Whether the file has all that the loader would map: it maps first, and what is not there ends
// the program when it is touched.
bool IsWhole(const OpenFile& file, const ElfW(Ehdr) & header, std::uint64_t sizeBytes)
{
    std::vector<ElfW(Phdr)> segments(header.e_phnum);
    if (!ReadAt(file, header.e_phoff, segments.data(), segments.size() * sizeof(ElfW(Phdr))))
        return false;
    return std::all_of(segments.begin(), segments.end(), [sizeBytes](const ElfW(Phdr) & segment) {
        return segment.p_offset <= sizeBytes && segment.p_filesz <= sizeBytes - segment.p_offset;
    });
}

// ERROR_SUCCESS for a library that the loader can be trusted with. It would wait on a FIFO.
DWORD LookAt(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return ErrorFromErrno(errno);
    if (!S_ISREG(status.st_mode))
        return ERROR_ACCESS_DENIED;
    const int descriptor = OpenHostFile(path.c_str(), O_RDONLY | O_NONBLOCK);
    if (descriptor < 0)
        return ErrorFromErrno(errno);
    const OpenFile file(descriptor);
    // Another file may have come to the name meanwhile.
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        return ERROR_ACCESS_DENIED;
    ElfW(Ehdr) header;
    const bool isLibrary = ReadAt(file, 0, &header, sizeof header) && IsForThisProcessor(header) &&
                           IsWhole(file, header, static_cast<std::uint64_t>(status.st_size));
    return isLibrary ? ERROR_SUCCESS : ERROR_BAD_EXE_FORMAT;
}

// ---- What is loaded -----------------------------------------------------------------------

// The loader trusts its handles: one that was given back, which callers do once too often, must
// not reach it.
class LoadedLibraries {
public:
    void Add(HMODULE module)
    {
        const std::lock_guard guard(m_lock);
        ++m_references[module];
    }
    bool Remove(HMODULE module)
    {
        const std::lock_guard guard(m_lock);
        const auto found = m_references.find(module);
        if (found == m_references.end())
            return false;
        if (--found->second == 0)
            m_references.erase(found);
        return true;
    }
    bool Contains(HMODULE module)
    {
        const std::lock_guard guard(m_lock);
        return m_references.count(module) != 0;
    }

private:
    std::mutex m_lock;
    std::map<HMODULE, std::size_t> m_references;
};

LoadedLibraries& Loaded()
{
    // Lasting: libraries may still be freed while the program ends.
    static LoadedLibraries& s_loaded = MakeLasting<LoadedLibraries>();
    return s_loaded;
}

void TellDebugger(const char* reason)
{
    std::vector<wchar_t> line = DeviceNameFromHost(reason != nullptr ? reason : "");
    line.insert(line.end(), {'\n', 0});
    OutputDebugStringW(line.data());
}

std::string Utf8Name(const wchar_t* name)
{
    std::string utf8;
    for (const wchar_t* const end = name + WideLength(name); name != end;)
        AppendUtf8(utf8, TakeCharacter(name, end));
    return utf8;
}

// Below this, the device's programs mean a number, not a name; there are no numbers here.
bool IsOrdinal(const wchar_t* name)
{
    return reinterpret_cast<std::uintptr_t>(name) < 0x10000;
}

} // namespace

HMODULE LoadLibraryW(const wchar_t* name)
{
    const std::optional<std::string> path = FindLibrary(name);
    if (!path)
        return Fail(ERROR_MOD_NOT_FOUND), nullptr;
    if (const DWORD error = LookAt(*path); error != ERROR_SUCCESS)
        return Fail(error), nullptr;
    // The path is absolute, so the loader does not search.
    const HMODULE module = dlopen(path->c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        TellDebugger(dlerror());
        return Fail(ERROR_MOD_NOT_FOUND), nullptr;
    }
    Loaded().Add(module);
    return module;
}

FARPROC GetProcAddressW(HMODULE module, const wchar_t* name)
{
    if (!Loaded().Contains(module))
        return Fail(ERROR_INVALID_HANDLE), nullptr;
    void* const address = IsOrdinal(name) ? nullptr : dlsym(module, Utf8Name(name).c_str());
    if (address == nullptr)
        Fail(ERROR_PROC_NOT_FOUND);
    return reinterpret_cast<FARPROC>(address);
}

BOOL FreeLibrary(HMODULE module)
{
    if (!Loaded().Remove(module))
        return Fail(ERROR_INVALID_HANDLE);
    return dlclose(module) == 0 ? TRUE : Fail(ERROR_GEN_FAILURE);
}
