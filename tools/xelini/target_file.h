// The file that a command changes or makes. Whatever fails, the old file stays as it was, and no
// new one is left beside it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "tools/xelini/file_descriptor.h"

namespace xelini {

class TargetFile {
public:
    // Shown the file with the new bytes before it takes the target's place; throws to refuse it.
    using Check = std::function<void(const FileDescriptor& written)>;

    // `path` as given on the command line; "-" is standard output. Links are followed. An existing
    // file is locked as long as this object lives, against the library's writers and other
    // commands of this program; one that holds it for seconds makes this fail. Throws Failure,
    // also for what is no regular file and for a file that may not be written.
    explicit TargetFile(const std::string& path);

    const std::string& name() const { return m_name; }
    bool isStandardOutput() const { return m_isStandardOutput; }
    bool exists() const { return m_file.isOpen(); }
    // False for a missing file.
    bool isEmpty() const { return exists() && m_state.st_size == 0; }
    // Whether the path of an input leads to this very file.
    bool isSameFileAs(const std::string& path) const;

    // Writes `bytes` beside the target, has them checked, and puts them in its place: with the
    // old file's mode and owner, flushed to the disk. Nothing is written when the target holds
    // just these bytes. On standard output they are checked first and then printed. Throws
    // Failure.
    void replace(std::string_view bytes, const Check& check) const;

private:
    void openLocked();
    bool isStillTheFile() const;
    bool holds(std::string_view bytes) const;
    void print(std::string_view bytes, const Check& check) const;
    std::string folder() const;
    void writeBeside(int descriptor, std::string_view bytes) const;
    void takeOwnerAndMode(int descriptor) const;
    void takePlace(const std::string& temporary) const;

    std::string m_name;
    // Where the links lead.
    std::string m_path;
    FileDescriptor m_file;
    // As it was when it was opened; unused when there is no file.
    struct stat m_state = {};
    bool m_isStandardOutput;
};

} // namespace xelini
