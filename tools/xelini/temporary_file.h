// A new file beside the one that it is going to replace.
#pragma once

#include <string>

#include "tools/xelini/host_file.h"

namespace xelini {

// Empty at first. It is removed by the destructor, and when the program is ended from outside
// (interrupt, hang-up, termination, a closed console). One at a time.
class TemporaryFile {
public:
    // Its file is not open when the folder takes no new file; lastError tells why.
    explicit TemporaryFile(const std::string& folder);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    HostFile& file() { return m_file; }
    const HostFile& file() const { return m_file; }
    const std::string& path() const { return m_path; }
    // From now on it belongs to somebody else.
    void keep();

private:
    std::string m_path;
    HostFile m_file;
};

} // namespace xelini
