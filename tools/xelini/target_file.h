// The file that a command changes or makes. Whatever fails, the old file stays as it was, and no
// new one is left beside it.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "tools/xelini/host_file.h"
#include "tools/xelini/temporary_file.h"

namespace xelini {

class TargetFile {
public:
    // Shown the file with the new bytes before it takes the target's place; throws to refuse it.
    using Check = std::function<void(const HostFile& written)>;

    // `path` as given on the command line; "-" is standard output. Links are followed. An existing
    // file is held as long as this object lives, against the library's writers and other
    // commands of this program; one that holds it for seconds makes this fail. Throws Failure,
    // also for what is no regular file and for a file that may not be written.
    explicit TargetFile(const std::string& path);

    const std::string& name() const { return m_name; }
    bool isStandardOutput() const { return m_isStandardOutput; }
    bool exists() const { return m_exists; }
    // False for a missing file.
    bool isEmpty() const { return m_exists && m_state.size == 0; }

    // Writes `bytes` beside the target, has them checked, and puts them in its place: with the
    // old file's owner and rights, flushed to the disk. Nothing is written when the target holds
    // just these bytes. On standard output they are checked first and then printed. Throws
    // Failure.
    void replace(std::string_view bytes, const Check& check);

private:
    // The same on every host.
    void refuseOthersThanFiles() const;
    void refuseIfChanged() const;
    bool holds(std::string_view bytes) const;
    void print(std::string_view bytes, const Check& check) const;

    // The host's part. All of these throw Failure.

    // Follows the links of m_path, and looks whether anything is there.
    void findTarget();
    void openHeld();
    // Of the file; ready for the name of another one in it.
    std::string folder() const;
    // Gives a new file the bytes, and the old one's owner and rights, and flushes it.
    void writeBeside(TemporaryFile& file, std::string_view bytes) const;
    void takeOwnerAndRights(const TemporaryFile& file) const;
    // In one step. Without a target, a file that has appeared in its place is not replaced.
    void takePlace(const TemporaryFile& file);

    std::string m_name;
    // Where the links lead.
    std::string m_path;
    HostFile m_file;
    // What keeps other commands of this program waiting, where it is not the open file itself.
    HostFile m_turn;
    bool m_exists = false;
    // As it was when it was opened; unused when there is no file.
    FileState m_state;
    bool m_isStandardOutput;
};

} // namespace xelini
