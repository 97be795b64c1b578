// Files of the host: owned, and read and written whole. What is only declared here has one
// implementation for each kind of host; lastError (host_errors.h) tells why something failed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace xelini {

// Closes what it owns.
class HostFile {
public:
    // What the host calls an open file: a descriptor, or a handle.
    using Number = std::intptr_t;
    // Of a file that is not open, on every host.
    static constexpr Number kNone = -1;

    HostFile() = default;
    explicit HostFile(Number number, std::string path = {})
        : m_number(number), m_path(std::move(path))
    {
    }
    HostFile(HostFile&& other) noexcept
        : m_number(std::exchange(other.m_number, kNone)), m_path(std::move(other.m_path))
    {
    }
    HostFile& operator=(HostFile&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        std::swap(m_path, other.m_path);
        return *this;
    }
    ~HostFile();

    Number number() const { return m_number; }
    bool isOpen() const { return m_number != kNone; }
    // For devicePathOf, on hosts whose files can be reached by nothing else.
    const std::string& path() const { return m_path; }

private:
    Number m_number = kNone;
    std::string m_path;
};

// What tells one file from another, and a file that was written from one that was not.
struct FileState {
    enum class Kind { regular, folder, other };

    Kind kind = Kind::other;
    std::uint64_t volume = 0;
    std::uint64_t numberOnVolume = 0;
    std::uint64_t size = 0;
    // In steps of the host. The second one catches a writer that sets the first one back.
    std::uint64_t writeTime = 0;
    std::uint64_t changeTime = 0;

    bool operator==(const FileState&) const = default;
};

enum class StandardStream { input, output, error };

// Nobody owns it: it stays open.
HostFile::Number numberOf(StandardStream stream);

// Follows links. Folders can be opened too. Others may write to the file meanwhile.
HostFile openForReading(const std::string& path);

// False when it cannot be told.
bool findState(HostFile::Number file, FileState& state);
// Follows links; false also when there is nothing at that path.
bool findState(const std::string& path, FileState& state);

// Every read starts where the one before has ended.
bool rewind(HostFile::Number file);

// At most one piece of it, as the host gives and takes them: how many bytes it was, 0 at the end
// of what is read, and -1 when it fails.
std::ptrdiff_t readSome(HostFile::Number file, char* bytes, std::size_t size);
std::ptrdiff_t writeSome(HostFile::Number file, std::string_view bytes);

// Appends everything from the present position on. False when it fails.
bool readAll(HostFile::Number file, std::string& bytes);

// False when it fails; part of the bytes may have been written.
bool writeAll(HostFile::Number file, std::string_view bytes);

// A file that holds `bytes` and is gone when the program ends. Not open when the system has no
// room for it.
HostFile makeMemoryFile(std::string_view bytes);

// The terminated path by which the library's calls in this process open the same file once more.
std::vector<wchar_t> devicePathOf(const HostFile& file);

} // namespace xelini
