#include "tools/xelini/host_file.h"

namespace xelini {

namespace {

constexpr std::size_t kSmallestRead = 64 * 1024;

// The size of a regular file tells how much to ask for at once; others are read in pieces.
std::size_t sizeOfFirstRead(HostFile::Number file)
{
    FileState state;
    if (!findState(file, state) || state.kind != FileState::Kind::regular)
        return kSmallestRead;
    // One byte more, so that the end shows without a second growth.
    return static_cast<std::size_t>(state.size) + 1;
}

} // namespace

bool readAll(HostFile::Number file, std::string& bytes)
{
    std::size_t used = bytes.size();
    bytes.resize(used + sizeOfFirstRead(file));
    for (;;) {
        if (used == bytes.size())
            bytes.resize(used + kSmallestRead + used / 2);
        const std::ptrdiff_t got = readSome(file, bytes.data() + used, bytes.size() - used);
        if (got <= 0) {
            bytes.resize(used);
            return got == 0;
        }
        used += static_cast<std::size_t>(got);
    }
}

bool writeAll(HostFile::Number file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const std::ptrdiff_t written = writeSome(file, bytes);
        if (written < 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace xelini
