// The few things that the programs ask of the host.
#pragma once

#include <string>

namespace bench {

// Ends the program with a message and status 1.
[[noreturn]] void Fail(const std::string& message);

// The full path of the running program.
std::string OwnPath();

// A file in the folder for temporary files, removed when the object goes.
class TempFile {
public:
    explicit TempFile(const std::string& content = {});
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const char* path() const { return m_path.c_str(); }
    std::string read() const;

private:
    std::string m_path;
};

// Bytes of this process that are in memory now.
long ResidentBytes();

// What a program prints before it ends with status 0; anything else ends this program. The
// arguments must not hold characters that a shell minds.
std::string OutputOf(const std::string& commandLine);

} // namespace bench
