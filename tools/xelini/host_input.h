// Where a command reads from: a file of the host, or standard input.
#pragma once

#include <string>

#include "tools/xelini/host_file.h"

namespace xelini {

// What is no regular file (standard input, a pipe, a terminal) is read to its end at once and
// kept in memory, since settings are read from a whole file.
class HostInput {
public:
    // `path` as given on the command line; "-" is standard input. Throws Failure.
    explicit HostInput(const std::string& path);

    // How messages call it.
    const std::string& name() const { return m_name; }
    // A regular file, open for reading.
    const HostFile& file() const { return m_file; }
    // Throws Failure.
    std::string bytes() const;

private:
    void spool(HostFile::Number source);

    std::string m_name;
    HostFile m_file;
};

} // namespace xelini
