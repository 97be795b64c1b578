// A new file beside the one that it is going to replace.
#pragma once

#include <string>

#include "tools/xelini/file_descriptor.h"

namespace xelini {

// Readable and writable by its owner alone. It is removed by the destructor, and by the signals
// that end a program from outside (interrupt, hang-up, termination). One at a time.
class TemporaryFile {
public:
    // Its file is not open, with errno set, when the folder takes no new file.
    explicit TemporaryFile(const std::string& folder);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const FileDescriptor& file() const { return m_file; }
    const std::string& path() const { return m_path; }
    // From now on it belongs to somebody else.
    void keep();

private:
    std::string m_path;
    FileDescriptor m_file;
};

// Renames `from` to `to`. Unless `mayReplace`, a file that has appeared at `to` makes it fail with
// EEXIST. False with errno set.
bool renameOver(const std::string& from, const std::string& to, bool mayReplace);

} // namespace xelini
