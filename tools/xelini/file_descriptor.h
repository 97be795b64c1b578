// The host's file descriptors: owned, and read and written whole.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace xelini {

// Closes what it owns; -1 is nothing.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int number) : m_number(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~FileDescriptor();

    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }

private:
    int m_number = -1;
};

// Appends everything from the present position on. False with errno set.
bool readAll(int descriptor, std::string& bytes);

// False with errno set; part of the bytes may have been written.
bool writeAll(int descriptor, std::string_view bytes);

// A file without a name that holds `bytes` and goes away with the descriptor. Not open when the
// system has no memory for it; errno is set then.
FileDescriptor makeMemoryFile(std::string_view bytes);

// The host path by which this process can open the same file once more, whatever its name has
// come to mean.
std::string pathOf(const FileDescriptor& descriptor);

} // namespace xelini
